#include "model/scheduled_posting_mode.h"

QString rawValue(ScheduledPostingMode mode)
{
    switch (mode) {
    case ScheduledPostingMode::defaults:
        return QStringLiteral("defaults");
    case ScheduledPostingMode::allEnabled:
        return QStringLiteral("allEnabled");
    case ScheduledPostingMode::specific:
        return QStringLiteral("specific");
    }
    return {};
}

std::optional<ScheduledPostingMode> scheduledPostingModeFromRawValue(QStringView raw)
{
    for (const auto mode : {ScheduledPostingMode::defaults, ScheduledPostingMode::allEnabled,
                            ScheduledPostingMode::specific}) {
        if (raw == rawValue(mode))
            return mode;
    }
    return std::nullopt;
}
