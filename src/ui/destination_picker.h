#pragma once

#include "model/platform_type.h"
#include "model/scheduled_post.h"

#include <QMap>
#include <QWidget>

class AccountManager;
class QCheckBox;
class QToolButton;

// Where the thread goes: a toggle per network and, beside it, which of its accounts: the
// default one, all enabled ones, or the ones picked by hand.
class DestinationPicker : public QWidget {
    Q_OBJECT
public:
    explicit DestinationPicker(AccountManager& accounts, QWidget* parent = nullptr);

    // Chooses these networks (raw names as commands give them); others are unchecked.
    void selectPlatforms(const QStringList& names);
    QList<PlatformType> selectedPlatforms() const;
    // Takes over a stored post's networks, modes and picked accounts.
    void select(const ScheduledPost& post);
    // The choice as a scheduled post stores it: platforms, per-platform modes, account ids.
    ScheduledPost destinations() const;

    ScheduledPostingMode mode(PlatformType platform) const { return m_modes.value(platform, ScheduledPostingMode::defaults); }
    void setMode(PlatformType platform, ScheduledPostingMode mode, const QList<QUuid>& picked = {});
    QCheckBox* toggle(PlatformType platform) const { return m_toggles.value(platform); }
    QToolButton* accountButton(PlatformType platform) const { return m_accountButtons.value(platform); }

Q_SIGNALS:
    void changed();
    // "X Community…" in the X accounts menu.
    void communityRequested();

private:
    void refreshButton(PlatformType platform);
    void showAccountMenu(PlatformType platform);

    AccountManager& m_accounts;
    QMap<PlatformType, QCheckBox*> m_toggles;
    QMap<PlatformType, QToolButton*> m_accountButtons;
    QMap<PlatformType, ScheduledPostingMode> m_modes;
    QMap<PlatformType, QList<QUuid>> m_picked;
};
