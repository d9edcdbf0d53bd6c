#pragma once

#include "model/post_status.h"
#include "ui/calendar_mode.h"

#include <QWidget>

#include <optional>

class QButtonGroup;
class QComboBox;
class QLabel;

// The calendar's top row: back, today, forward, the period shown, the view switch and
// the status filter. It only reports choices; the window applies them.
class CalendarToolbar : public QWidget {
    Q_OBJECT
public:
    explicit CalendarToolbar(QWidget* parent = nullptr);

    void setTitle(const QString& title);
    void setMode(CalendarMode mode);
    void setStatusFilter(std::optional<PostStatus> status);
    QComboBox* statusBox() const { return m_statusBox; }

Q_SIGNALS:
    // -1 back, +1 forward.
    void stepRequested(int direction);
    void todayRequested();
    void modeChosen(CalendarMode mode);
    void statusChosen(std::optional<PostStatus> status);

private:
    void addNavigation();
    void addModes();
    void addStatusFilter();

    QLabel* m_title;
    QButtonGroup* m_modes;
    QComboBox* m_statusBox;
};
