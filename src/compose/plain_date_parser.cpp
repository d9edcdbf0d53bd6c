#include "compose/plain_date_parser.h"

#include <QRegularExpression>
#include <QStringList>
#include <QTimeZone>

namespace PlainDateParser {
namespace {

std::optional<QTime> timeOf(const QString& text)
{
    static const QRegularExpression pattern(QStringLiteral("^(\\d{1,2})(?::(\\d{2}))?\\s*(am|pm)?$"));
    const QRegularExpressionMatch match = pattern.match(text);
    if (!match.hasMatch())
        return std::nullopt;
    int hour = match.captured(1).toInt();
    const int minute = match.captured(2).isEmpty() ? 0 : match.captured(2).toInt();
    const QString half = match.captured(3);
    if (half.isEmpty() && match.captured(2).isEmpty())
        return std::nullopt; // a bare number is not a time
    if (!half.isEmpty()) {
        if (hour < 1 || hour > 12)
            return std::nullopt;
        hour = hour % 12 + (half == u"pm" ? 12 : 0);
    }
    const QTime time(hour, minute);
    return time.isValid() ? std::optional<QTime>(time) : std::nullopt;
}

int weekdayOf(const QString& word)
{
    static const QStringList days = {QStringLiteral("monday"), QStringLiteral("tuesday"), QStringLiteral("wednesday"),
                                     QStringLiteral("thursday"), QStringLiteral("friday"), QStringLiteral("saturday"),
                                     QStringLiteral("sunday")};
    for (int i = 0; i < days.size(); ++i) {
        if (word == days[i] || (word.size() >= 3 && days[i].startsWith(word)))
            return i + 1;
    }
    return 0;
}

std::optional<QDateTime> relative(const QString& text, const QDateTime& now)
{
    static const QRegularExpression pattern(
        QStringLiteral("^in\\s+(\\d+)\\s*(m|min|mins|minute|minutes|h|hr|hrs|hour|hours|d|day|days|w|week|weeks)$"));
    const QRegularExpressionMatch match = pattern.match(text);
    if (!match.hasMatch())
        return std::nullopt;
    const qint64 amount = match.captured(1).toLongLong();
    const QChar unit = match.captured(2).at(0);
    if (unit == u'm')
        return now.addSecs(amount * 60);
    if (unit == u'h')
        return now.addSecs(amount * 3600);
    if (unit == u'd')
        return now.addDays(amount);
    return now.addDays(amount * 7);
}

// "tomorrow", "today", "next monday", "friday" and the time that follows, if any.
std::optional<QDateTime> dayAndTime(const QString& text, const QDateTime& now)
{
    QStringList words = text.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    QDate day = now.date();
    bool dayGiven = false;
    if (!words.isEmpty() && (words.first() == u"today" || words.first() == u"tomorrow")) {
        day = words.takeFirst() == u"tomorrow" ? day.addDays(1) : day;
        dayGiven = true;
    } else {
        const bool next = !words.isEmpty() && words.first() == u"next";
        if (next)
            words.removeFirst();
        if (const int weekday = words.isEmpty() ? 0 : weekdayOf(words.first())) {
            words.removeFirst();
            int ahead = (weekday - day.dayOfWeek() + 7) % 7;
            if (ahead == 0)
                ahead = 7; // "monday" on a Monday is the next one
            day = day.addDays(ahead);
            dayGiven = true;
        } else if (next) {
            return std::nullopt;
        }
    }
    if (!words.isEmpty() && words.first() == u"at")
        words.removeFirst();
    const QString rest = words.join(QString());
    std::optional<QTime> time = rest.isEmpty() ? std::nullopt : timeOf(rest);
    if (!rest.isEmpty() && !time)
        return std::nullopt;
    if (!dayGiven && !time)
        return std::nullopt;
    if (!time)
        time = QTime(9, 0); // a day alone: the morning
    QDateTime result(day, *time, now.timeZone());
    if (!dayGiven && result <= now)
        result = QDateTime(day.addDays(1), *time, now.timeZone());
    return result;
}

} // namespace

std::optional<QDateTime> parse(const QString& text, const QDateTime& now)
{
    const QString folded = text.simplified().toLower();
    if (folded.isEmpty())
        return std::nullopt;
    if (folded == u"now")
        return now;
    if (auto result = relative(folded, now))
        return result;
    return dayAndTime(folded, now);
}

} // namespace PlainDateParser
