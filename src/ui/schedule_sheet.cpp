#include "ui/schedule_sheet.h"

#include "compose/plain_date_parser.h"

#include <QComboBox>
#include <QDateTimeEdit>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTimeZone>
#include <QVBoxLayout>

namespace {

// Empty when the local time exists exactly once on that day.
QString daylightSavingNote(const QDate& date, const QTime& time, const QDateTime& resolved)
{
    if (resolved.time() != time || resolved.date() != date)
        return QObject::tr("%1 does not exist on %2 (the clocks go forward); it would be %3.")
            .arg(time.toString(QStringLiteral("HH:mm")), QLocale().toString(date, QLocale::ShortFormat),
                 resolved.time().toString(QStringLiteral("HH:mm")));
    const QDateTime hourLater = resolved.addSecs(3600);
    if (hourLater.time() == time && hourLater.date() == date)
        return QObject::tr("%1 happens twice on %2 (the clocks go back); the first one is used.")
            .arg(time.toString(QStringLiteral("HH:mm")), QLocale().toString(date, QLocale::ShortFormat));
    return {};
}

} // namespace

ScheduleSheet::ScheduleSheet(const QDateTime& now, const QString& destinations, QWidget* parent)
    : QDialog(parent)
    , m_now(now)
    , m_date(new QDateTimeEdit(this))
    , m_words(new QLineEdit(this))
    , m_status(new QComboBox(this))
    , m_warning(new QLabel(this))
    , m_summary(new QLabel(this))
    , m_buttons(new QDialogButtonBox(QDialogButtonBox::Save | QDialogButtonBox::Cancel, this))
    , m_destinations(destinations)
{
    setWindowTitle(tr("Schedule Post"));
    setMinimumWidth(440);
    m_date->setCalendarPopup(true);
    m_date->setDisplayFormat(QStringLiteral("yyyy-MM-dd HH:mm"));
    m_date->setDateTime(now.addSecs(3600));
    m_words->setPlaceholderText(tr("tomorrow 9:00, in 2 hours, next monday 8am"));
    m_status->addItem(tr("Queued: publish at that time"), int(PostStatus::queued));
    m_status->addItem(tr("Draft: keep it, do not publish"), int(PostStatus::draft));
    m_warning->setWordWrap(true);
    m_warning->setStyleSheet(QStringLiteral("color: #d08a00;"));
    m_summary->setWordWrap(true);

    auto* form = new QFormLayout;
    form->addRow(tr("Date and time:"), m_date);
    form->addRow(tr("Or in words:"), m_words);
    form->addRow(tr("Time zone:"), new QLabel(QString::fromUtf8(QTimeZone::systemTimeZoneId()), this));
    form->addRow(tr("Status:"), m_status);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(m_warning);
    layout->addWidget(m_summary);
    layout->addWidget(m_buttons);

    connect(m_words, &QLineEdit::textEdited, this, &ScheduleSheet::wordsEdited);
    connect(m_date, &QDateTimeEdit::dateTimeChanged, this, &ScheduleSheet::dateChanged);
    connect(m_status, &QComboBox::currentIndexChanged, this, &ScheduleSheet::dateChanged);
    connect(m_buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(m_buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    dateChanged();
}

QDateTime ScheduleSheet::scheduledDate() const
{
    return m_date->dateTime();
}

void ScheduleSheet::setScheduledDate(const QDateTime& date)
{
    m_date->setDateTime(date.toLocalTime());
}

PostStatus ScheduleSheet::status() const
{
    return PostStatus(m_status->currentData().toInt());
}

void ScheduleSheet::setStatus(PostStatus status)
{
    m_status->setCurrentIndex(m_status->findData(int(status)));
}

QString ScheduleSheet::warning() const
{
    return m_warning->text();
}

void ScheduleSheet::wordsEdited(const QString& text)
{
    if (text.trimmed().isEmpty()) {
        dateChanged();
        return;
    }
    const std::optional<QDateTime> parsed = PlainDateParser::parse(text, m_now);
    if (!parsed) {
        m_warning->setText(tr("Quillo does not understand \"%1\" as a date.").arg(text.trimmed()));
        m_warning->show();
        m_buttons->button(QDialogButtonBox::Save)->setEnabled(false);
        return;
    }
    const QSignalBlocker quiet(m_date);
    m_date->setDateTime(*parsed);
    dateChanged();
}

void ScheduleSheet::dateChanged()
{
    const QDateTime date = m_date->dateTime();
    QString note = daylightSavingNote(date.date(), date.time(), QDateTime(date.date(), date.time()));
    const bool past = status() == PostStatus::queued && date < m_now.addSecs(-60);
    if (past)
        note = tr("This time has passed: the post would go out at once.");
    m_warning->setText(note);
    m_warning->setVisible(!note.isEmpty());
    m_buttons->button(QDialogButtonBox::Save)->setEnabled(true);
    m_summary->setText(status() == PostStatus::draft
                           ? tr("Kept as a draft for %1.").arg(m_destinations)
                           : tr("Goes out %1 to %2.")
                                 .arg(QLocale().toString(date, QLocale::LongFormat), m_destinations));
}
