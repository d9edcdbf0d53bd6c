#pragma once

#include "store/post_day_entry.h"

#include <QAbstractListModel>
#include <QDate>

#include <optional>

class PostDayIndex;

// Every scheduled post (with the chosen status) in date order, one row each, for the
// calendar's list. Rows are drawn by the view only when they are visible.
class CalendarListModel : public QAbstractListModel {
    Q_OBJECT
public:
    static constexpr int IdRole = Qt::UserRole + 1;

    explicit CalendarListModel(const PostDayIndex& index, QObject* parent = nullptr);

    // Reads the index again.
    void reload(std::optional<PostStatus> status);
    // The first row on or after the day (the last row when none is).
    int rowForDay(QDate day) const;
    int rowOf(const QUuid& id) const;
    const PostDayEntry& entryAt(int row) const { return m_entries.at(row); }

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;

private:
    QString textOf(const PostDayEntry& entry) const;

    const PostDayIndex& m_index;
    QList<PostDayEntry> m_entries;
};
