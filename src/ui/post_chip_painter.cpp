#include "ui/post_chip_painter.h"

#include <QObject>
#include <QPainter>
#include <QPalette>

namespace {

constexpr int kRadius = 4;
constexpr int kBarWidth = 3;
constexpr int kPadding = 4;
constexpr int kRoomForNetworks = 150;

QString shortName(PlatformType network)
{
    switch (network) {
    case PlatformType::x:
        return QStringLiteral("X");
    case PlatformType::bluesky:
        return QStringLiteral("Bluesky");
    case PlatformType::mastodon:
        return QStringLiteral("Mastodon");
    }
    return {};
}

QString timeText(const PostDayEntry& entry)
{
    return entry.when.time().toString(QStringLiteral("HH:mm"));
}

} // namespace

QColor PostChipPainter::statusColor(PostStatus status)
{
    switch (status) {
    case PostStatus::draft:
        return QColor(0x8a, 0x8f, 0x98);
    case PostStatus::queued:
        return QColor(0x3d, 0x7e, 0xdb);
    case PostStatus::processing:
        return QColor(0xd9, 0x8c, 0x1f);
    case PostStatus::published:
        return QColor(0x2e, 0x9e, 0x5b);
    case PostStatus::failed:
        return QColor(0xd6, 0x36, 0x36);
    }
    return {};
}

QColor PostChipPainter::lineColor(const QPalette& palette, int alpha)
{
    QColor line = palette.color(QPalette::Text);
    line.setAlpha(alpha);
    return line;
}

QString PostChipPainter::statusText(const PostDayEntry& entry)
{
    if (entry.interrupted)
        return QObject::tr("Interrupted");
    switch (entry.status) {
    case PostStatus::draft:
        return QObject::tr("Draft");
    case PostStatus::queued:
        return QObject::tr("Queued");
    case PostStatus::processing:
        return QObject::tr("Publishing");
    case PostStatus::published:
        return QObject::tr("Published");
    case PostStatus::failed:
        return QObject::tr("Failed");
    }
    return {};
}

QString PostChipPainter::networksText(const QList<PlatformType>& networks)
{
    QStringList names;
    for (const PlatformType network : networks)
        names.append(shortName(network));
    return names.join(QStringLiteral(" · "));
}

QString PostChipPainter::networkInitials(const QList<PlatformType>& networks)
{
    QStringList initials;
    for (const PlatformType network : networks)
        initials.append(shortName(network).left(1));
    return initials.join(QLatin1Char(' '));
}

QString PostChipPainter::toolTip(const PostDayEntry& entry)
{
    return timeText(entry) + QStringLiteral(" · ") + statusText(entry) + QStringLiteral(" · ") + networksText(entry.networks)
        + QLatin1Char('\n') + entry.title;
}

void PostChipPainter::paintBackground(QPainter& painter, const QRect& rect, const PostDayEntry& entry,
                                      const QPalette& palette, bool selected)
{
    painter.save();
    const QColor status = statusColor(entry.status);
    QColor fill = status;
    if (!entry.needsAttention())
        fill.setAlpha(palette.color(QPalette::Base).lightness() > 128 ? 40 : 70);
    painter.setRenderHint(QPainter::Antialiasing, true);
    painter.setPen(selected ? QPen(palette.color(QPalette::Highlight), 2) : Qt::NoPen);
    painter.setBrush(fill);
    painter.drawRoundedRect(QRectF(rect).adjusted(0.5, 0.5, -0.5, -0.5), kRadius, kRadius);
    painter.setPen(Qt::NoPen);
    painter.setBrush(status);
    painter.drawRoundedRect(QRect(rect.left(), rect.top(), kBarWidth + kRadius, rect.height()), kRadius, kRadius);
    painter.restore();
}

QColor PostChipPainter::textColor(const PostDayEntry& entry, const QPalette& palette)
{
    return entry.needsAttention() ? QColor(Qt::white) : palette.color(QPalette::Text);
}

void PostChipPainter::paintLine(QPainter& painter, const QRect& rect, const PostDayEntry& entry, const QPalette& palette,
                                bool selected)
{
    paintBackground(painter, rect, entry, palette, selected);
    const QRect text = rect.adjusted(kBarWidth + kPadding + 2, 0, -kPadding, 0);
    const QString mark = entry.needsAttention() ? QStringLiteral("⚠ ") : QString();
    // Networks only where the title still has room after them.
    const QString networks = text.width() >= kRoomForNetworks ? networkInitials(entry.networks) + QLatin1Char(' ') : QString();
    const QString line = mark + timeText(entry) + QLatin1Char(' ') + networks + entry.title;
    painter.setPen(textColor(entry, palette));
    painter.drawText(text, Qt::AlignVCenter | Qt::AlignLeft,
                     painter.fontMetrics().elidedText(line, Qt::ElideRight, text.width()));
}

void PostChipPainter::paintBlock(QPainter& painter, const QRect& rect, const PostDayEntry& entry, const QPalette& palette,
                                 bool selected)
{
    paintBackground(painter, rect, entry, palette, selected);
    const QRect text = rect.adjusted(kBarWidth + kPadding + 2, 2, -kPadding, -2);
    const int lineHeight = painter.fontMetrics().height();
    const QString mark = entry.needsAttention() ? QStringLiteral("⚠ ") : QString();
    painter.setPen(textColor(entry, palette));
    QFont bold = painter.font();
    bold.setBold(true);
    painter.save();
    painter.setFont(bold);
    // Network names when they fit, their initials when the column is narrow.
    QString head = mark + timeText(entry) + QStringLiteral("  ") + networksText(entry.networks);
    if (painter.fontMetrics().horizontalAdvance(head) > text.width())
        head = mark + timeText(entry) + QStringLiteral("  ") + networkInitials(entry.networks);
    painter.drawText(QRect(text.left(), text.top(), text.width(), lineHeight), Qt::AlignLeft | Qt::AlignVCenter,
                     painter.fontMetrics().elidedText(head, Qt::ElideRight, text.width()));
    painter.restore();
    if (text.height() < 2 * lineHeight)
        return;
    const QRect body(text.left(), text.top() + lineHeight, text.width(), text.height() - lineHeight);
    painter.drawText(body, Qt::AlignLeft | Qt::AlignTop,
                     painter.fontMetrics().elidedText(entry.title, Qt::ElideRight, body.width()));
}
