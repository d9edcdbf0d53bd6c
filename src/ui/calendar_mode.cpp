#include "ui/calendar_mode.h"

#include <array>

namespace {

struct Name {
    CalendarMode mode;
    const char* raw;
};

constexpr std::array<Name, 4> kNames{{{CalendarMode::month, "month"},
                                      {CalendarMode::week, "week"},
                                      {CalendarMode::day, "day"},
                                      {CalendarMode::list, "list"}}};

} // namespace

QString rawValue(CalendarMode mode)
{
    for (const Name& name : kNames) {
        if (name.mode == mode)
            return QString::fromLatin1(name.raw);
    }
    return {};
}

std::optional<CalendarMode> calendarModeFromRawValue(const QString& raw)
{
    for (const Name& name : kNames) {
        if (raw == QLatin1String(name.raw))
            return name.mode;
    }
    return std::nullopt;
}
