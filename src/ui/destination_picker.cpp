#include "ui/destination_picker.h"

#include "store/account_manager.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QToolButton>

namespace {

const QList<PlatformType> kPlatforms = {PlatformType::x, PlatformType::bluesky, PlatformType::mastodon};

} // namespace

DestinationPicker::DestinationPicker(AccountManager& accounts, QWidget* parent)
    : QWidget(parent)
    , m_accounts(accounts)
{
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(new QLabel(tr("Post to:"), this));
    for (const PlatformType platform : kPlatforms) {
        auto* toggle = new QCheckBox(displayName(platform), this);
        const bool usable = m_accounts.isEnabled(platform);
        toggle->setChecked(usable);
        toggle->setToolTip(usable ? tr("Publish to %1").arg(displayName(platform))
                                  : tr("Connect a %1 account in the settings first").arg(displayName(platform)));
        auto* button = new QToolButton(this);
        button->setAutoRaise(true);
        button->setAccessibleName(tr("%1 accounts").arg(displayName(platform)));
        connect(toggle, &QCheckBox::toggled, this, [this, platform, button](bool on) {
            button->setEnabled(on);
            Q_EMIT changed();
        });
        connect(button, &QToolButton::clicked, this, [this, platform] { showAccountMenu(platform); });
        layout->addWidget(toggle);
        layout->addWidget(button);
        layout->addSpacing(8);
        m_toggles.insert(platform, toggle);
        m_accountButtons.insert(platform, button);
        button->setEnabled(usable);
        refreshButton(platform);
    }
    layout->addStretch();
    connect(&m_accounts, &AccountManager::accountsDidChange, this, [this] {
        for (const PlatformType platform : kPlatforms)
            refreshButton(platform);
    });
}

void DestinationPicker::selectPlatforms(const QStringList& names)
{
    if (names.isEmpty())
        return;
    QList<PlatformType> chosen;
    for (const QString& name : names) {
        if (const auto platform = platformTypeFromName(name))
            chosen << *platform;
    }
    for (auto it = m_toggles.cbegin(); it != m_toggles.cend(); ++it)
        it.value()->setChecked(chosen.contains(it.key()));
}

QList<PlatformType> DestinationPicker::selectedPlatforms() const
{
    QList<PlatformType> selected;
    for (const PlatformType platform : kPlatforms) {
        if (m_toggles.value(platform)->isChecked())
            selected << platform;
    }
    return selected;
}

void DestinationPicker::select(const ScheduledPost& post)
{
    selectPlatforms(post.platforms);
    for (const PlatformType platform : kPlatforms)
        setMode(platform, post.modeFor(platform), post.accountIds.value(platform));
}

ScheduledPost DestinationPicker::destinations() const
{
    ScheduledPost chosen;
    for (const PlatformType platform : selectedPlatforms()) {
        chosen.platforms << rawValue(platform);
        const ScheduledPostingMode mode = this->mode(platform);
        chosen.platformModes.insert(platform, mode);
        if (mode == ScheduledPostingMode::specific)
            chosen.accountIds.insert(platform, m_picked.value(platform));
    }
    return chosen;
}

void DestinationPicker::setMode(PlatformType platform, ScheduledPostingMode mode, const QList<QUuid>& picked)
{
    m_modes.insert(platform, mode);
    m_picked.insert(platform, mode == ScheduledPostingMode::specific ? picked : QList<QUuid>{});
    refreshButton(platform);
    Q_EMIT changed();
}

// The button names the accounts the thread will reach, so nobody has to open the menu to know.
void DestinationPicker::refreshButton(PlatformType platform)
{
    QToolButton* button = m_accountButtons.value(platform);
    ScheduledPost alone;
    alone.platforms << rawValue(platform);
    alone.platformModes.insert(platform, mode(platform));
    alone.accountIds.insert(platform, m_picked.value(platform));
    const QList<SocialAccount> reached = m_accounts.accountsForPublishing(alone, platform);
    switch (mode(platform)) {
    case ScheduledPostingMode::defaults:
        button->setText(reached.isEmpty() ? tr("no account ▾") : reached.first().displayName() + QStringLiteral(" ▾"));
        break;
    case ScheduledPostingMode::allEnabled:
        button->setText(reached.size() == 1 ? tr("all (1 account) ▾") : tr("all %1 accounts ▾").arg(reached.size()));
        break;
    case ScheduledPostingMode::specific:
        button->setText(reached.size() == 1 ? reached.first().displayName() + QStringLiteral(" ▾")
                                            : tr("%1 accounts ▾").arg(reached.size()));
        break;
    }
    button->setToolTip(tr("Which %1 accounts this goes to").arg(displayName(platform)));
}

void DestinationPicker::showAccountMenu(PlatformType platform)
{
    QMenu menu(this);
    QAction* byDefault = menu.addAction(tr("Default account"));
    QAction* all = menu.addAction(tr("All enabled accounts"));
    byDefault->setCheckable(true);
    all->setCheckable(true);
    byDefault->setChecked(mode(platform) == ScheduledPostingMode::defaults);
    all->setChecked(mode(platform) == ScheduledPostingMode::allEnabled);
    menu.addSection(tr("Only these"));
    const QList<QUuid> picked = m_picked.value(platform);
    for (const SocialAccount& account : m_accounts.enabledAccounts(platform)) {
        QAction* action = menu.addAction(account.displayName());
        action->setCheckable(true);
        action->setChecked(mode(platform) == ScheduledPostingMode::specific && picked.contains(account.id));
        action->setData(account.id);
    }
    QAction* community = nullptr;
    if (platform == PlatformType::x) {
        menu.addSeparator();
        community = menu.addAction(tr("X Community…"));
    }
    QAction* chosen = menu.exec(mapToGlobal(m_accountButtons.value(platform)->geometry().bottomLeft()));
    if (!chosen)
        return;
    if (chosen == community) {
        Q_EMIT communityRequested();
        return;
    }
    if (chosen == byDefault || chosen == all) {
        setMode(platform, chosen == byDefault ? ScheduledPostingMode::defaults : ScheduledPostingMode::allEnabled);
        return;
    }
    QList<QUuid> next = mode(platform) == ScheduledPostingMode::specific ? picked : QList<QUuid>{};
    const QUuid id = chosen->data().toUuid();
    if (!next.removeOne(id))
        next << id;
    setMode(platform, next.isEmpty() ? ScheduledPostingMode::defaults : ScheduledPostingMode::specific, next);
}
