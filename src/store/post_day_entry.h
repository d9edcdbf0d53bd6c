#pragma once

#include "model/platform_type.h"
#include "model/post_status.h"

#include <QDateTime>
#include <QList>
#include <QString>
#include <QUuid>

// What a calendar draws of one scheduled post: enough to paint it without going back to
// the full post, so a month of thousands of posts paints from this alone.
struct PostDayEntry {
    QUuid id;
    // The publication instant in the calendar's time zone.
    QDateTime when;
    PostStatus status = PostStatus::queued;
    QList<PlatformType> networks;
    // The head post's first line, shortened.
    QString title;
    int threadLength = 1;
    // Failed because the instance stopped mid-publication (a retry finishes it).
    bool interrupted = false;

    bool needsAttention() const { return status == PostStatus::failed; }
    // Published and publishing posts keep their time.
    bool canMove() const { return status != PostStatus::published && status != PostStatus::processing; }
};
