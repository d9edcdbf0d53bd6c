#include "ui/data_settings_page.h"

#include "core/coding_error.h"
#include "model/accounts_backup.h"
#include "store/account_manager.h"
#include "store/scheduler_service.h"
#include "store/transfer_error.h"
#include "ui/settings_form.h"
#include "ui/ui_log.h"
#include "ui/user_prompts.h"

#include <QFile>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

const QString kImportFailed = QStringLiteral("Import Failed");

QString accountNames(const QList<SocialAccount>& accounts)
{
    QStringList names;
    for (const SocialAccount& account : accounts)
        names.append(QStringLiteral("@") + account.name + QStringLiteral(" (") + displayName(account.platform) + u')');
    return names.isEmpty() ? QStringLiteral("none") : names.join(QStringLiteral(", "));
}

QString platformNames(const QList<PlatformType>& platforms)
{
    QStringList names;
    for (const PlatformType platform : platforms)
        names.append(displayName(platform));
    return names.isEmpty() ? QStringLiteral("none") : names.join(QStringLiteral(", "));
}

QString posts(qsizetype count)
{
    return count == 1 ? QStringLiteral("1 scheduled post") : QStringLiteral("%1 scheduled posts").arg(count);
}

} // namespace

DataSettingsPage::DataSettingsPage(SchedulerService& scheduler, AccountManager& accounts, UserPrompts& prompts,
                                   QWidget* parent)
    : QWidget(parent)
    , m_scheduler(scheduler)
    , m_accounts(accounts)
    , m_prompts(prompts)
    , m_status(SettingsForm::statusLine(this))
{
    using namespace SettingsForm;
    QVBoxLayout* layout = pageLayout(this, QStringLiteral("Data"),
                                     QStringLiteral("Back up your schedule and accounts, or move them to another computer."));
    const auto addRow = [this, layout](std::initializer_list<std::pair<QString, void (DataSettingsPage::*)()>> buttons) {
        auto* row = new QHBoxLayout;
        for (const auto& [text, action] : buttons) {
            auto* button = new QPushButton(text, this);
            connect(button, &QPushButton::clicked, this, action);
            row->addWidget(button);
        }
        row->addStretch();
        layout->addLayout(row);
    };
    layout->addWidget(heading(QStringLiteral("Scheduled Posts"), this));
    layout->addWidget(caption(QStringLiteral("Saved as quillo-scheduled-posts.json. Importing replaces the whole schedule."), this));
    addRow({{QStringLiteral("Export Scheduled Posts…"), &DataSettingsPage::exportPosts},
            {QStringLiteral("Import Scheduled Posts…"), &DataSettingsPage::importPosts},
            {QStringLiteral("Clear All Scheduled Posts…"), &DataSettingsPage::clearPosts}});
    layout->addWidget(heading(QStringLiteral("Accounts"), this));
    layout->addWidget(caption(QStringLiteral("Saved as quillo-accounts-backup.json, with every account's credentials in "
                                             "clear text. Importing replaces your accounts and enabled networks."),
                              this));
    addRow({{QStringLiteral("Export Accounts…"), &DataSettingsPage::exportAccounts},
            {QStringLiteral("Import Accounts…"), &DataSettingsPage::importAccounts},
            {QStringLiteral("Remove All Accounts…"), &DataSettingsPage::clearAccounts}});
    layout->addWidget(m_status);
    layout->addStretch();
}

QPushButton* DataSettingsPage::button(const QString& text) const
{
    for (QPushButton* candidate : findChildren<QPushButton*>())
        if (candidate->text() == text)
            return candidate;
    return nullptr;
}

QString DataSettingsPage::statusText() const
{
    return m_status->text();
}

void DataSettingsPage::report(const QString& text)
{
    SettingsForm::setStatus(m_status, text);
    qCInfo(lcUi).noquote() << QStringLiteral("💾 ") + text;
}

void DataSettingsPage::exportPosts()
{
    if (m_scheduler.scheduledPosts().isEmpty()) {
        m_prompts.inform(this, QStringLiteral("Export Scheduled Posts"), TransferError::noPostsToExport().message());
        return;
    }
    const QString path = m_prompts.saveFileName(this, QStringLiteral("Export Scheduled Posts"),
                                                QString::fromLatin1(SchedulerService::kExportFileName));
    if (path.isEmpty())
        return;
    try {
        m_scheduler.exportToFile(path);
    } catch (const TransferError& error) {
        m_prompts.warn(this, error.title(), error.message());
        return;
    }
    report(QStringLiteral("Exported %1 to %2.").arg(posts(m_scheduler.scheduledPosts().size()), path));
}

QByteArray DataSettingsPage::readChosenFile(const QString& title, QString* path)
{
    *path = m_prompts.openFileName(this, title, QStringLiteral("JSON (*.json)"));
    if (path->isEmpty())
        return {};
    QFile file(*path);
    if (!file.open(QIODevice::ReadOnly)) {
        m_prompts.warn(this, kImportFailed, file.errorString());
        return {};
    }
    const QByteArray bytes = file.readAll();
    if (bytes.isEmpty())
        m_prompts.warn(this, kImportFailed, QStringLiteral("%1 is empty.").arg(*path));
    return bytes;
}

void DataSettingsPage::importPosts()
{
    QString path;
    const QByteArray document = readChosenFile(QStringLiteral("Import Scheduled Posts"), &path);
    if (document.isEmpty())
        return;
    QList<ScheduledPost> incoming;
    try {
        incoming = ScheduledPost::decodeList(document, DateEncoding::iso8601);
    } catch (const CodingError& error) {
        m_prompts.warn(this, kImportFailed, error.message());
        return;
    }
    const QString question = QStringLiteral("Replace your %1 with the %2 in %3? Posts that are not in the file are removed.")
                                 .arg(posts(m_scheduler.scheduledPosts().size()), posts(incoming.size()), path);
    if (!m_prompts.confirm(this, QStringLiteral("Import Scheduled Posts"), question, QStringLiteral("Replace")))
        return;
    try {
        m_scheduler.importDocument(document);
    } catch (const TransferError& error) {
        m_prompts.warn(this, error.title(), error.message());
        return;
    }
    report(QStringLiteral("Imported %1 from %2.").arg(posts(incoming.size()), path));
}

void DataSettingsPage::clearPosts()
{
    const QString question = QStringLiteral("Delete all %1? This cannot be undone.").arg(posts(m_scheduler.scheduledPosts().size()));
    if (!m_prompts.confirm(this, QStringLiteral("Clear All Scheduled Posts"), question, QStringLiteral("Delete All")))
        return;
    m_scheduler.clearAll();
    report(QStringLiteral("All scheduled posts cleared."));
}

void DataSettingsPage::exportAccounts()
{
    if (m_accounts.accounts().isEmpty()) {
        m_prompts.inform(this, QStringLiteral("Export Accounts"), TransferError::noAccountsToExport().message());
        return;
    }
    const QString warning = QStringLiteral("The backup holds your accounts' passwords and access tokens in clear text. "
                                           "Anyone who can read the file can post as you. Quillo makes it readable only "
                                           "by you; keep it somewhere private.");
    if (!m_prompts.confirm(this, QStringLiteral("Export Accounts"), warning, QStringLiteral("Continue")))
        return;
    const QString path = m_prompts.saveFileName(this, QStringLiteral("Export Accounts"),
                                                QString::fromLatin1(AccountManager::kBackupFileName));
    if (path.isEmpty())
        return;
    try {
        m_accounts.exportBackup(path);
    } catch (const TransferError& error) {
        m_prompts.warn(this, error.title(), error.message());
        return;
    }
    report(QStringLiteral("Exported %1 accounts to %2.").arg(m_accounts.accounts().size()).arg(path));
}

void DataSettingsPage::importAccounts()
{
    QString path;
    const QByteArray document = readChosenFile(QStringLiteral("Import Accounts"), &path);
    if (document.isEmpty())
        return;
    AccountsBackup backup;
    try {
        backup = AccountsBackup::decodeDocument(document);
    } catch (const CodingError& error) {
        m_prompts.warn(this, kImportFailed, error.message());
        return;
    }
    const QString question = QStringLiteral("Replace your accounts (%1) with the ones in %2: %3? Enabled networks "
                                            "become: %4.")
                                 .arg(accountNames(m_accounts.accounts()), path, accountNames(backup.accounts),
                                      platformNames(backup.enabledPlatforms));
    if (!m_prompts.confirm(this, QStringLiteral("Import Accounts"), question, QStringLiteral("Replace")))
        return;
    try {
        m_accounts.importBackup(document);
    } catch (const TransferError& error) {
        m_prompts.warn(this, error.title(), error.message());
        return;
    }
    report(QStringLiteral("Imported %1 accounts from %2.").arg(backup.accounts.size()).arg(path));
}

void DataSettingsPage::clearAccounts()
{
    const QString question = QStringLiteral("Remove all %1 accounts and their credentials from Quillo?")
                                 .arg(m_accounts.accounts().size());
    if (!m_prompts.confirm(this, QStringLiteral("Remove All Accounts"), question, QStringLiteral("Remove All")))
        return;
    m_accounts.removeAllAccounts();
    report(QStringLiteral("All accounts cleared."));
}
