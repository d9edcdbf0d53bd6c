#pragma once

#include <QDateTime>
#include <QString>

#include <compare>
#include <optional>

// An instant, kept as seconds (with fraction) since 2001-01-01 00:00:00 UTC: the
// form the stored documents use. Keeping the double itself, rather than a QDateTime
// with millisecond precision, lets a stored date survive a load and save unchanged.
class Timestamp {
public:
    // Seconds between 1970-01-01 and 2001-01-01, both UTC.
    static constexpr double kReferenceOffset = 978307200.0;

    constexpr Timestamp() = default;
    static constexpr Timestamp fromReferenceSeconds(double seconds) { return Timestamp(seconds); }
    static Timestamp fromDateTime(const QDateTime& dateTime);
    static Timestamp fromUnixSeconds(double seconds) { return Timestamp(seconds - kReferenceOffset); }

    constexpr double referenceSeconds() const { return m_seconds; }
    double unixSeconds() const { return m_seconds + kReferenceOffset; }
    // UTC, rounded to the millisecond; invalid outside the years 1 to 9999.
    QDateTime toDateTime() const;

    // "2024-01-15T10:30:00Z"; milliseconds are added only when the instant has them.
    // Empty when toDateTime() is invalid.
    QString toIso8601() const;
    // Accepts a date, a time and a zone ("Z" or an offset), optionally with fractions.
    static std::optional<Timestamp> fromIso8601(QStringView text);

    Timestamp addSeconds(double seconds) const { return Timestamp(m_seconds + seconds); }

    constexpr auto operator<=>(const Timestamp&) const = default;

private:
    constexpr explicit Timestamp(double seconds)
        : m_seconds(seconds)
    {
    }

    double m_seconds = 0.0;
};
