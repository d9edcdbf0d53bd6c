#pragma once

#include "model/post_status.h"

#include <QDateTime>
#include <QDialog>

class QComboBox;
class QDateTimeEdit;
class QDialogButtonBox;
class QLabel;
class QLineEdit;

// When a thread goes out: date and time in the system's time zone, also typed in plain
// words, and whether it is queued or kept as a draft. A time that a daylight-saving change
// skips or repeats is pointed out, never moved silently.
class ScheduleSheet : public QDialog {
    Q_OBJECT
public:
    ScheduleSheet(const QDateTime& now, const QString& destinations, QWidget* parent = nullptr);

    QDateTime scheduledDate() const;
    void setScheduledDate(const QDateTime& date);
    PostStatus status() const;
    void setStatus(PostStatus status);
    // Typed into the plain-words field (tests drive it as a person would).
    QLineEdit* wordsField() const { return m_words; }
    QString warning() const;

private:
    void wordsEdited(const QString& text);
    void dateChanged();

    QDateTime m_now;
    QDateTimeEdit* m_date;
    QLineEdit* m_words;
    QComboBox* m_status;
    QLabel* m_warning;
    QLabel* m_summary;
    QDialogButtonBox* m_buttons;
    QString m_destinations;
};
