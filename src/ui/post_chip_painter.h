#pragma once

#include "store/post_day_entry.h"

#include <QColor>
#include <QString>

class QPainter;
class QPalette;
class QRect;

// Draws one post as a chip of the calendar's month and time grids, coloured by status.
// Failed posts are filled solid so none goes unnoticed in a busy month.
class PostChipPainter {
public:
    static QColor statusColor(PostStatus status);
    // Grid lines that stay faint in light and dark palettes alike.
    static QColor lineColor(const QPalette& palette, int alpha = 45);
    // "Queued", "Failed", "Interrupted", ...
    static QString statusText(const PostDayEntry& entry);
    // "X · Bluesky · Mastodon"
    static QString networksText(const QList<PlatformType>& networks);
    // "X B M": for chips too narrow for names.
    static QString networkInitials(const QList<PlatformType>& networks);

    // Time, status, networks and title, for a chip's tooltip.
    static QString toolTip(const PostDayEntry& entry);

    // One line: time, networks, title.
    static void paintLine(QPainter& painter, const QRect& rect, const PostDayEntry& entry, const QPalette& palette,
                          bool selected);
    // Time and networks on the first line, the title below when there is room.
    static void paintBlock(QPainter& painter, const QRect& rect, const PostDayEntry& entry, const QPalette& palette,
                           bool selected);

private:
    static void paintBackground(QPainter& painter, const QRect& rect, const PostDayEntry& entry, const QPalette& palette,
                                bool selected);
    static QColor textColor(const PostDayEntry& entry, const QPalette& palette);
};
