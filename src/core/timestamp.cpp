#include "core/timestamp.h"

#include <QTimeZone>

#include <cmath>

Timestamp Timestamp::fromDateTime(const QDateTime& dateTime)
{
    return fromUnixSeconds(static_cast<double>(dateTime.toMSecsSinceEpoch()) / 1000.0);
}

QDateTime Timestamp::toDateTime() const
{
    // Years 1 to 9999: what four-digit ISO 8601 text can hold.
    constexpr double kFirstMs = -62135596800000.0;
    constexpr double kLastMs = 253402300799999.0;
    const double ms = unixSeconds() * 1000.0;
    if (!(ms >= kFirstMs && ms <= kLastMs))
        return {};
    const auto msecs = static_cast<qint64>(std::llround(ms));
    return QDateTime::fromMSecsSinceEpoch(msecs, QTimeZone::utc());
}

QString Timestamp::toIso8601() const
{
    const QDateTime utc = toDateTime();
    if (!utc.isValid())
        return {};
    const QString format = utc.time().msec() == 0 ? QStringLiteral("yyyy-MM-ddTHH:mm:ss'Z'")
                                                  : QStringLiteral("yyyy-MM-ddTHH:mm:ss.zzz'Z'");
    return utc.toString(format);
}

std::optional<Timestamp> Timestamp::fromIso8601(QStringView text)
{
    // A date without a zone would silently mean the reader's local time.
    if (text.size() < 20 || !text.contains(u'T'))
        return std::nullopt;
    const QDateTime parsed = QDateTime::fromString(text.toString(), Qt::ISODateWithMs);
    if (!parsed.isValid() || parsed.timeSpec() == Qt::LocalTime)
        return std::nullopt;
    return fromDateTime(parsed);
}
