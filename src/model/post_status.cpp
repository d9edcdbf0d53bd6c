#include "model/post_status.h"

#include <array>

namespace {
constexpr std::array kAll{PostStatus::draft, PostStatus::queued, PostStatus::processing, PostStatus::published,
                          PostStatus::failed};
}

QString rawValue(PostStatus status)
{
    switch (status) {
    case PostStatus::draft:
        return QStringLiteral("draft");
    case PostStatus::queued:
        return QStringLiteral("queued");
    case PostStatus::processing:
        return QStringLiteral("processing");
    case PostStatus::published:
        return QStringLiteral("published");
    case PostStatus::failed:
        return QStringLiteral("failed");
    }
    return {};
}

std::optional<PostStatus> postStatusFromRawValue(QStringView raw)
{
    for (const PostStatus status : kAll) {
        if (raw == rawValue(status))
            return status;
    }
    return std::nullopt;
}
