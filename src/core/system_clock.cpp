#include "core/system_clock.h"

#include <QDateTime>

Timestamp SystemClock::now() const
{
    return Timestamp::fromDateTime(QDateTime::currentDateTimeUtc());
}
