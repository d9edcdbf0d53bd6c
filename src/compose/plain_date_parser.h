#pragma once

#include <QDateTime>
#include <QString>

#include <optional>

// Dates typed in plain words in the scheduling sheet: "now", "in 2 hours", "in 30 min",
// "tomorrow 9:00", "today 5pm", "next monday 8am", "friday 14:30", "9pm". A time without a
// day that has already passed today means tomorrow; a weekday means its next occurrence.
// Read in the local time zone of `now`.
namespace PlainDateParser {

std::optional<QDateTime> parse(const QString& text, const QDateTime& now);

} // namespace PlainDateParser
