#pragma once

#include <QString>
#include <QStringView>

#include <optional>

// Where a scheduled post is in its life; the raw values are the stored text.
enum class PostStatus { draft, queued, processing, published, failed };

QString rawValue(PostStatus status);
std::optional<PostStatus> postStatusFromRawValue(QStringView raw);
