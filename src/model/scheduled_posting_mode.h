#pragma once

#include <QString>
#include <QStringView>

#include <optional>

// How a scheduled post picks its accounts on each platform:
// defaults - the platform's default account (with fallbacks, see AccountManager),
// allEnabled - every enabled account, specific - the accounts listed in accountIds.
enum class ScheduledPostingMode { defaults, allEnabled, specific };

QString rawValue(ScheduledPostingMode mode);
std::optional<ScheduledPostingMode> scheduledPostingModeFromRawValue(QStringView raw);
