#include "ui/account_settings_page.h"

#include "app/account_connectors.h"
#include "store/account_manager.h"
#include "ui/account_row.h"
#include "ui/blue_sky_account_form.h"
#include "ui/mastodon_account_form.h"
#include "ui/settings_form.h"
#include "ui/x_account_form.h"

#include <QCheckBox>
#include <QLabel>
#include <QSignalBlocker>
#include <QVBoxLayout>

AccountSettingsPage::AccountSettingsPage(PlatformType platform, AccountManager& accounts,
                                         const AccountConnectors* connectors, UserPrompts& prompts, QWidget* parent)
    : QWidget(parent)
    , m_platform(platform)
    , m_accounts(accounts)
    , m_prompts(prompts)
    , m_switch(new QCheckBox(QStringLiteral("Post to %1").arg(displayName(platform)), this))
    , m_list(new QVBoxLayout)
    , m_empty(SettingsForm::caption(QStringLiteral("No %1 accounts connected yet.").arg(displayName(platform)), this))
    , m_form(makeForm(connectors))
{
    using namespace SettingsForm;
    QVBoxLayout* layout = pageLayout(this, displayName(platform),
                                     QStringLiteral("The %1 accounts Quillo publishes through.").arg(displayName(platform)));
    layout->addWidget(m_switch);
    layout->addWidget(caption(QStringLiteral("When off, %1 is left out of every post, even with accounts connected.")
                                  .arg(displayName(platform)),
                              this));
    layout->addWidget(heading(QStringLiteral("Accounts"), this));
    m_list->setSpacing(2);
    layout->addLayout(m_list);
    layout->addWidget(m_empty);
    layout->addWidget(heading(QStringLiteral("Add an Account"), this));
    layout->addWidget(m_form);
    layout->addStretch();

    connect(m_switch, &QCheckBox::toggled, this, [this](bool on) { m_accounts.setPlatformEnabled(m_platform, on); });
    connect(&m_accounts, &AccountManager::accountsDidChange, this, &AccountSettingsPage::refresh);
    refresh();
}

AccountForm* AccountSettingsPage::makeForm(const AccountConnectors* connectors)
{
    switch (m_platform) {
    case PlatformType::x: return new XAccountForm(m_accounts, connectors ? &connectors->x : nullptr, this);
    case PlatformType::bluesky:
        return new BlueSkyAccountForm(m_accounts, connectors ? &connectors->bluesky : nullptr, this);
    case PlatformType::mastodon:
        return new MastodonAccountForm(m_accounts, connectors ? &connectors->mastodon : nullptr, this);
    }
    return nullptr;
}

void AccountSettingsPage::refresh()
{
    {
        const QSignalBlocker blocker(m_switch);
        m_switch->setChecked(m_accounts.isEnabled(m_platform));
    }
    // Later: a row may be the sender of the change that brought us here.
    for (AccountRow* row : std::as_const(m_rows)) {
        row->hide();
        row->deleteLater();
    }
    m_rows.clear();
    for (const SocialAccount& account : m_accounts.accounts(m_platform)) {
        auto* row = new AccountRow(account, m_accounts, m_prompts, this);
        m_list->addWidget(row);
        m_rows.append(row);
    }
    m_empty->setVisible(m_rows.isEmpty());
}
