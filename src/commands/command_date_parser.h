#pragma once

#include <QDateTime>
#include <QString>
#include <QTimeZone>

#include <optional>

// Dates given to URL commands. Accepted, in this order: ISO 8601 with fractional
// seconds, ISO 8601 without, then "yyyy-MM-ddTHH:mm:ss.SSS", "yyyy-MM-ddTHH:mm:ss" and
// "yyyy-MM-ddTHH:mm". The last three carry no zone and are read in `zone`.
namespace CommandDateParser {

std::optional<QDateTime> parse(const QString& text, const QTimeZone& zone);

} // namespace CommandDateParser
