#include "ui/account_row.h"

#include "store/account_manager.h"
#include "ui/ui_log.h"
#include "ui/user_prompts.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

AccountRow::AccountRow(const SocialAccount& account, AccountManager& accounts, UserPrompts& prompts, QWidget* parent)
    : QWidget(parent)
    , m_account(account)
    , m_accounts(accounts)
    , m_prompts(prompts)
    , m_nickname(new QLineEdit(account.nickname.value_or(QString()), this))
    , m_enabled(new QCheckBox(QStringLiteral("Enabled"), this))
    , m_default(new QPushButton(account.isDefault ? QStringLiteral("Default") : QStringLiteral("Make Default"), this))
    , m_remove(new QPushButton(QStringLiteral("Remove"), this))
{
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 2, 0, 2);
    // Fixed widths keep the rows' columns aligned; a long handle is elided, in full on hover.
    const QString handle = QStringLiteral("@") + account.name;
    auto* name = new QLabel(this);
    name->setFixedWidth(170);
    name->setText(name->fontMetrics().elidedText(handle, Qt::ElideMiddle, name->width()));
    name->setToolTip(handle);
    m_default->setMinimumWidth(m_default->fontMetrics().horizontalAdvance(QStringLiteral("Make Default")) + 24);
    m_nickname->setPlaceholderText(QStringLiteral("Enter a nickname for this account"));
    m_nickname->setMinimumWidth(m_nickname->fontMetrics().horizontalAdvance(m_nickname->placeholderText()) + 20);
    m_enabled->setChecked(account.isEnabled);
    m_enabled->setToolTip(QStringLiteral("Disabled accounts stay connected but are never posted to."));
    m_default->setEnabled(!account.isDefault);
    layout->addWidget(name);
    layout->addWidget(m_nickname, 1);
    layout->addWidget(m_enabled);
    layout->addWidget(m_default);
    layout->addWidget(m_remove);

    connect(m_nickname, &QLineEdit::editingFinished, this, &AccountRow::saveNickname);
    connect(m_enabled, &QCheckBox::toggled, this, [this](bool enabled) { m_accounts.setAccountEnabled(m_account.id, enabled); });
    connect(m_default, &QPushButton::clicked, this, [this] { m_accounts.setDefault(m_account.id); });
    connect(m_remove, &QPushButton::clicked, this, &AccountRow::remove);
}

void AccountRow::saveNickname()
{
    const QString typed = m_nickname->text().trimmed();
    const std::optional<QString> nickname = typed.isEmpty() ? std::nullopt : std::optional(typed);
    if (nickname == m_account.nickname)
        return;
    // Start from the stored account: another change may have landed since this row was made.
    SocialAccount updated = m_accounts.account(m_account.id).value_or(m_account);
    updated.nickname = nickname;
    m_account.nickname = nickname;
    m_accounts.updateAccount(updated);
}

void AccountRow::remove()
{
    const QString text = QStringLiteral("Remove @%1 from Quillo? Its stored credentials are deleted, and scheduled "
                                        "posts no longer go out through it.")
                             .arg(m_account.name);
    if (!m_prompts.confirm(this, QStringLiteral("Remove Account"), text, QStringLiteral("Remove")))
        return;
    qCInfo(lcUi).noquote() << QStringLiteral("🗑 Removing %1 account @%2").arg(displayName(m_account.platform), m_account.name);
    m_accounts.removeAccount(m_account.id);
}
