#include "compose/plain_date_parser.h"

#include <QTimeZone>

#include <gtest/gtest.h>

namespace {

// Wednesday 2026-11-25 14:30 in a fixed zone, so weekdays and "already passed" are known.
const QTimeZone kZone(3600);
const QDateTime kNow(QDate(2026, 11, 25), QTime(14, 30), kZone);

QDateTime at(int day, int hour, int minute = 0)
{
    return QDateTime(QDate(2026, 11, day), QTime(hour, minute), kZone);
}

} // namespace

TEST(PlainDateParserTest, ReadsTheWaysPeopleTypeATime)
{
    const struct {
        const char* text;
        QDateTime expected;
    } cases[] = {
        {"now", kNow},
        {"in 2 hours", kNow.addSecs(7200)},
        {"In 30 min", kNow.addSecs(1800)},
        {"in 3 days", kNow.addDays(3)},
        {"tomorrow 9:00", at(26, 9)},
        {"tomorrow at 9am", at(26, 9)},
        {"today 5pm", at(25, 17)},
        {"12am tomorrow", QDateTime()}, // the time comes after the day
        {"next monday 8am", at(30, 8)},
        {"friday 14:30", at(27, 14, 30)},
        {"wednesday 10:00", QDateTime(QDate(2026, 12, 2), QTime(10, 0), kZone)}, // today's weekday: next week
        {"9pm", at(25, 21)},
        {"9:00", at(26, 9)}, // already passed today
        {"12pm", at(26, 12)},
        {"tomorrow", at(26, 9)},
        {"13pm", QDateTime()},
        {"25:00", QDateTime()},
        {"next", QDateTime()},
        {"9", QDateTime()},
        {"", QDateTime()},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        const std::optional<QDateTime> parsed = PlainDateParser::parse(QString::fromUtf8(c.text), kNow);
        if (!c.expected.isValid()) {
            EXPECT_FALSE(parsed.has_value());
            continue;
        }
        ASSERT_TRUE(parsed.has_value());
        EXPECT_EQ(*parsed, c.expected);
    }
}
