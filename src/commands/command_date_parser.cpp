#include "commands/command_date_parser.h"

#include <QRegularExpression>

namespace CommandDateParser {
namespace {

struct Fields {
    QDate date;
    QTime time;
};

std::optional<Fields> fields(const QRegularExpressionMatch& match, int fractionGroup)
{
    const QString fraction = match.captured(fractionGroup);
    // Milliseconds from however many fraction digits were given.
    const int millis = fraction.isEmpty() ? 0 : QString(fraction + QStringLiteral("00")).left(3).toInt();
    const QDate date(match.captured(1).toInt(), match.captured(2).toInt(), match.captured(3).toInt());
    const QTime time(match.captured(4).toInt(), match.captured(5).toInt(),
                     match.captured(6).isEmpty() ? 0 : match.captured(6).toInt(), millis);
    if (!date.isValid() || !time.isValid())
        return std::nullopt;
    return Fields{date, time};
}

std::optional<QDateTime> parseZoned(const QString& text)
{
    static const QRegularExpression pattern(QStringLiteral(
        R"(^(\d{4})-(\d{2})-(\d{2})T(\d{2}):(\d{2}):(\d{2})(?:\.(\d{1,9}))?(Z|[+-]\d{2}:?\d{2})$)"));
    const auto match = pattern.match(text);
    if (!match.hasMatch())
        return std::nullopt;
    const auto parts = fields(match, 7);
    if (!parts)
        return std::nullopt;
    const QString zone = match.captured(8);
    if (zone == u'Z')
        return QDateTime(parts->date, parts->time, QTimeZone::utc());
    const QString digits = QString(zone).remove(u':');
    const int hours = digits.mid(1, 2).toInt();
    const int minutes = digits.mid(3, 2).toInt();
    if (hours > 23 || minutes > 59)
        return std::nullopt;
    const int offset = (zone.startsWith(u'-') ? -1 : 1) * (hours * 3600 + minutes * 60);
    return QDateTime(parts->date, parts->time, QTimeZone(offset));
}

std::optional<QDateTime> parseLocal(const QString& text, const QTimeZone& zone)
{
    static const QRegularExpression pattern(
        QStringLiteral(R"(^(\d{4})-(\d{2})-(\d{2})T(\d{2}):(\d{2})(?::(\d{2})(?:\.(\d{3}))?)?$)"));
    const auto match = pattern.match(text);
    if (!match.hasMatch())
        return std::nullopt;
    const auto parts = fields(match, 7);
    if (!parts)
        return std::nullopt;
    return QDateTime(parts->date, parts->time, zone.isValid() ? zone : QTimeZone::systemTimeZone());
}

} // namespace

std::optional<QDateTime> parse(const QString& text, const QTimeZone& zone)
{
    if (auto zoned = parseZoned(text))
        return zoned->toUTC();
    if (auto local = parseLocal(text, zone))
        return local->toUTC();
    return std::nullopt;
}

} // namespace CommandDateParser
