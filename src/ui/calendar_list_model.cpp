#include "ui/calendar_list_model.h"

#include "store/post_day_index.h"
#include "ui/post_chip_painter.h"

#include <QBrush>
#include <QFont>
#include <QLocale>

#include <algorithm>

CalendarListModel::CalendarListModel(const PostDayIndex& index, QObject* parent)
    : QAbstractListModel(parent)
    , m_index(index)
{
}

void CalendarListModel::reload(std::optional<PostStatus> status)
{
    beginResetModel();
    m_entries = m_index.allPosts(status);
    endResetModel();
}

int CalendarListModel::rowForDay(QDate day) const
{
    const auto found = std::lower_bound(m_entries.cbegin(), m_entries.cend(), day,
                                        [](const PostDayEntry& entry, QDate d) { return entry.when.date() < d; });
    if (found == m_entries.cend())
        return int(m_entries.size()) - 1;
    return int(found - m_entries.cbegin());
}

int CalendarListModel::rowOf(const QUuid& id) const
{
    for (qsizetype row = 0; row < m_entries.size(); ++row) {
        if (m_entries.at(row).id == id)
            return int(row);
    }
    return -1;
}

int CalendarListModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(m_entries.size());
}

QString CalendarListModel::textOf(const PostDayEntry& entry) const
{
    const QString when = QLocale().toString(entry.when.date(), QStringLiteral("ddd d MMM yyyy")) + QStringLiteral("  ")
        + entry.when.time().toString(QStringLiteral("HH:mm"));
    const QString thread = entry.threadLength > 1 ? tr("  (thread of %1)").arg(entry.threadLength) : QString();
    return when + QStringLiteral("  ·  ") + PostChipPainter::statusText(entry) + QStringLiteral("  ·  ")
        + PostChipPainter::networksText(entry.networks) + QLatin1Char('\n')
        + (entry.title.isEmpty() ? tr("(no text)") : entry.title) + thread;
}

QVariant CalendarListModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= m_entries.size())
        return {};
    const PostDayEntry& entry = m_entries.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
        return textOf(entry);
    case Qt::ToolTipRole:
        return PostChipPainter::statusText(entry);
    case Qt::DecorationRole:
        return PostChipPainter::statusColor(entry.status);
    case Qt::ForegroundRole:
        return entry.needsAttention() ? QVariant(QBrush(PostChipPainter::statusColor(entry.status))) : QVariant();
    case Qt::FontRole: {
        if (!entry.needsAttention())
            return {};
        QFont font;
        font.setBold(true);
        return font;
    }
    case IdRole:
        return entry.id;
    default:
        return {};
    }
}
