#pragma once

#include <QString>

#include <optional>

// How the calendar shows the schedule; the raw values are what "CalendarWindow.displayMode"
// stores and what quillo://calendar?view= names.
enum class CalendarMode { month, week, day, list };

QString rawValue(CalendarMode mode);
std::optional<CalendarMode> calendarModeFromRawValue(const QString& raw);
