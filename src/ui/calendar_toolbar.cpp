#include "ui/calendar_toolbar.h"

#include <QButtonGroup>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QToolButton>

#include <algorithm>
#include <array>

namespace {

struct StatusChoice {
    const char* label;
    std::optional<PostStatus> status;
};

const std::array<StatusChoice, 6> kStatusChoices{{{QT_TRANSLATE_NOOP("CalendarToolbar", "All posts"), std::nullopt},
                                                  {QT_TRANSLATE_NOOP("CalendarToolbar", "Drafts"), PostStatus::draft},
                                                  {QT_TRANSLATE_NOOP("CalendarToolbar", "Queued"), PostStatus::queued},
                                                  {QT_TRANSLATE_NOOP("CalendarToolbar", "Publishing"), PostStatus::processing},
                                                  {QT_TRANSLATE_NOOP("CalendarToolbar", "Published"), PostStatus::published},
                                                  {QT_TRANSLATE_NOOP("CalendarToolbar", "Failed"), PostStatus::failed}}};

} // namespace

CalendarToolbar::CalendarToolbar(QWidget* parent)
    : QWidget(parent)
    , m_title(new QLabel(this))
    , m_modes(new QButtonGroup(this))
    , m_statusBox(new QComboBox(this))
{
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    addNavigation();
    addModes();
    addStatusFilter();
}

void CalendarToolbar::addNavigation()
{
    auto* previous = new QToolButton(this);
    previous->setText(QStringLiteral("‹"));
    previous->setToolTip(tr("Previous"));
    auto* next = new QToolButton(this);
    next->setText(QStringLiteral("›"));
    next->setToolTip(tr("Next"));
    auto* today = new QPushButton(tr("Today"), this);
    connect(previous, &QToolButton::clicked, this, [this] { Q_EMIT stepRequested(-1); });
    connect(next, &QToolButton::clicked, this, [this] { Q_EMIT stepRequested(1); });
    connect(today, &QPushButton::clicked, this, &CalendarToolbar::todayRequested);
    QFont font = m_title->font();
    font.setBold(true);
    font.setPointSizeF(font.pointSizeF() * 1.3);
    m_title->setFont(font);
    auto* row = static_cast<QHBoxLayout*>(layout());
    row->addWidget(previous);
    row->addWidget(today);
    row->addWidget(next);
    row->addSpacing(8);
    row->addWidget(m_title, 1);
}

void CalendarToolbar::addModes()
{
    const std::array<std::pair<CalendarMode, QString>, 4> modes{{{CalendarMode::month, tr("Month")},
                                                                 {CalendarMode::week, tr("Week")},
                                                                 {CalendarMode::day, tr("Day")},
                                                                 {CalendarMode::list, tr("List")}}};
    for (const auto& [mode, label] : modes) {
        auto* button = new QToolButton(this);
        button->setText(label);
        button->setCheckable(true);
        m_modes->addButton(button, int(mode));
        layout()->addWidget(button);
    }
    connect(m_modes, &QButtonGroup::idClicked, this, [this](int id) { Q_EMIT modeChosen(CalendarMode(id)); });
}

void CalendarToolbar::addStatusFilter()
{
    for (const StatusChoice& choice : kStatusChoices)
        m_statusBox->addItem(tr(choice.label));
    connect(m_statusBox, &QComboBox::activated, this,
            [this](int choice) { Q_EMIT statusChosen(kStatusChoices.at(std::size_t(choice)).status); });
    static_cast<QHBoxLayout*>(layout())->addSpacing(8);
    layout()->addWidget(m_statusBox);
}

void CalendarToolbar::setTitle(const QString& title)
{
    m_title->setText(title);
}

void CalendarToolbar::setMode(CalendarMode mode)
{
    m_modes->button(int(mode))->setChecked(true);
}

void CalendarToolbar::setStatusFilter(std::optional<PostStatus> status)
{
    const auto row = std::find_if(kStatusChoices.cbegin(), kStatusChoices.cend(),
                                  [&](const StatusChoice& choice) { return choice.status == status; });
    m_statusBox->setCurrentIndex(int(row - kStatusChoices.cbegin()));
}
