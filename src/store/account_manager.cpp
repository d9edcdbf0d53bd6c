#include "store/account_manager.h"

#include "core/preference_keys.h"
#include "core/preference_store.h"
#include "model/accounts_backup.h"
#include "store/store_log.h"
#include "store/transfer_error.h"
#include "store/unreadable_document.h"

#include <QFile>
#include <QSaveFile>

#include <utility>

namespace {

QString joinedRawValues(const QList<PlatformType>& platforms)
{
    QStringList names;
    for (const PlatformType platform : platforms)
        names.append(rawValue(platform));
    return names.join(QStringLiteral(", "));
}

// Bluesky handles are case-insensitive and are often typed with a leading "@".
QString normalizedHandle(const QString& handle)
{
    QString folded = handle.trimmed().toLower();
    if (folded.startsWith(u'@'))
        folded.remove(0, 1);
    return folded;
}

QList<PlatformType> inPlatformOrder(const QList<PlatformType>& platforms)
{
    QList<PlatformType> ordered;
    for (const PlatformType platform : allPlatformTypes()) {
        if (platforms.contains(platform))
            ordered.append(platform);
    }
    return ordered;
}

} // namespace

AccountManager::AccountManager(PreferenceStore& store, QObject* parent)
    : QObject(parent)
    , m_store(store)
{
    reload();
}

void AccountManager::reload()
{
    m_store.sync();
    loadAccounts();
    loadPlatforms();
    // A fresh installation has no platform enabled, stored as an empty list; a reload
    // after a reset that cleared the store writes it again.
    if (!m_store.contains(PreferenceKeys::SocialPlatforms))
        savePlatforms();
}

void AccountManager::loadAccounts()
{
    m_accounts.clear();
    m_unreadable = false;
    const auto stored = m_store.data(PreferenceKeys::SocialAccounts);
    if (!stored)
        return;
    try {
        m_accounts = SocialAccount::decodeList(*stored);
    } catch (const CodingError& error) {
        // The stored document stays as it is; the next save keeps a copy of it first.
        m_unreadable = true;
        qCWarning(lcStore).noquote() << QStringLiteral("Failed to load accounts: ") + error.message();
    }
}

void AccountManager::loadPlatforms()
{
    m_enabledPlatforms.clear();
    const QStringList stored = m_store.stringListValue(PreferenceKeys::SocialPlatforms).value_or(QStringList());
    for (const QString& raw : stored) {
        if (const auto platform = platformTypeFromRawValue(raw); platform && !m_enabledPlatforms.contains(*platform))
            m_enabledPlatforms.append(*platform);
    }
    m_enabledPlatforms = inPlatformOrder(m_enabledPlatforms);
}

void AccountManager::saveAccounts()
{
    if (std::exchange(m_unreadable, false))
        UnreadableDocument::keep(m_store, PreferenceKeys::SocialAccounts, QStringLiteral("accounts"));
    try {
        if (!m_store.setData(PreferenceKeys::SocialAccounts, SocialAccount::encodeList(m_accounts)))
            qCWarning(lcStore).noquote() << QStringLiteral("Failed to save accounts: the file could not be written");
    } catch (const CodingError& error) {
        qCWarning(lcStore).noquote() << QStringLiteral("Failed to save accounts: ") + error.message();
    }
}

void AccountManager::savePlatforms()
{
    QStringList raw;
    for (const PlatformType platform : m_enabledPlatforms)
        raw.append(rawValue(platform));
    m_store.setValue(PreferenceKeys::SocialPlatforms, raw);
}

void AccountManager::changed()
{
    saveAccounts();
    Q_EMIT accountsDidChange();
}

QList<SocialAccount> AccountManager::accounts(PlatformType platform) const
{
    QList<SocialAccount> result;
    for (const SocialAccount& account : m_accounts) {
        if (account.platform == platform)
            result.append(account);
    }
    return result;
}

QList<SocialAccount> AccountManager::enabledAccounts(PlatformType platform) const
{
    QList<SocialAccount> result;
    for (const SocialAccount& account : m_accounts) {
        if (account.platform == platform && account.isEnabled)
            result.append(account);
    }
    return result;
}

std::optional<SocialAccount> AccountManager::defaultAccount(PlatformType platform) const
{
    for (const SocialAccount& account : m_accounts) {
        if (account.platform == platform && account.isDefault)
            return account;
    }
    return std::nullopt;
}

std::optional<SocialAccount> AccountManager::account(const QUuid& id) const
{
    const qsizetype index = indexOf(id);
    return index < 0 ? std::nullopt : std::optional<SocialAccount>(m_accounts[index]);
}

qsizetype AccountManager::indexOf(const QUuid& id) const
{
    for (qsizetype i = 0; i < m_accounts.size(); ++i) {
        if (m_accounts[i].id == id)
            return i;
    }
    return -1;
}

QList<PlatformType> AccountManager::enabledPlatforms() const
{
    return m_enabledPlatforms;
}

void AccountManager::togglePlatform(PlatformType platform)
{
    qCInfo(lcStore).noquote() << QStringLiteral("Toggling platform ") + rawValue(platform);
    if (m_enabledPlatforms.contains(platform))
        m_enabledPlatforms.removeAll(platform);
    else
        m_enabledPlatforms = inPlatformOrder(m_enabledPlatforms + QList<PlatformType>{platform});
    savePlatforms();
    qCInfo(lcStore).noquote() << QStringLiteral("Enabled platforms are now: ") + joinedRawValues(m_enabledPlatforms);
    Q_EMIT accountsDidChange();
}

void AccountManager::setPlatformEnabled(PlatformType platform, bool enabled)
{
    if (isEnabled(platform) != enabled)
        togglePlatform(platform);
}

std::optional<QString> AccountManager::validate(const SocialAccount& account, bool checkDuplicates) const
{
    const auto isOther = [&](const SocialAccount& other) {
        return other.id != account.id && other.platform == account.platform;
    };
    switch (account.platform) {
    case PlatformType::x: {
        const QString key = account.credential(CredentialKeys::apiKey).trimmed();
        if (key.isEmpty() || account.credential(CredentialKeys::apiSecret).trimmed().isEmpty())
            return QStringLiteral("Please enter your X API Key and Secret first");
        if (!checkDuplicates)
            return std::nullopt;
        for (const SocialAccount& other : m_accounts) {
            if (isOther(other) && other.credential(CredentialKeys::apiKey).trimmed() == key)
                return QStringLiteral("An account with this API Key already exists");
        }
        return std::nullopt;
    }
    case PlatformType::bluesky: {
        const QString handle = normalizedHandle(account.credential(CredentialKeys::handle));
        if (handle.isEmpty() || account.credential(CredentialKeys::appPassword).trimmed().isEmpty())
            return QStringLiteral("Please enter your BlueSky handle and app password first");
        if (!checkDuplicates)
            return std::nullopt;
        for (const SocialAccount& other : m_accounts) {
            if (isOther(other) && normalizedHandle(other.credential(CredentialKeys::handle)) == handle)
                return QStringLiteral("An account with this handle already exists");
        }
        return std::nullopt;
    }
    case PlatformType::mastodon:
        return std::nullopt;
    }
    return std::nullopt;
}

std::optional<QString> AccountManager::addAccount(const SocialAccount& account)
{
    if (auto failure = validate(account, true)) {
        qCWarning(lcStore).noquote() << QStringLiteral("Attempted to add invalid account for ") + rawValue(account.platform)
                + QStringLiteral(": ") + *failure;
        return failure;
    }
    SocialAccount added = account;
    if (added.id.isNull())
        added.id = QUuid::createUuid();
    if (!defaultAccount(added.platform))
        added.isDefault = true;
    m_accounts.append(added);
    if (added.isDefault)
        makeOnlyDefault(m_accounts.size() - 1);
    changed();
    return std::nullopt;
}

void AccountManager::makeOnlyDefault(qsizetype index)
{
    const PlatformType platform = m_accounts[index].platform;
    for (qsizetype i = 0; i < m_accounts.size(); ++i) {
        if (m_accounts[i].platform == platform)
            m_accounts[i].isDefault = i == index;
    }
}

bool AccountManager::updateAccount(const SocialAccount& account)
{
    const qsizetype index = indexOf(account.id);
    if (index < 0)
        return false;
    m_accounts[index] = account;
    if (account.isDefault)
        makeOnlyDefault(index);
    changed();
    return true;
}

bool AccountManager::setAccountEnabled(const QUuid& id, bool enabled)
{
    const qsizetype index = indexOf(id);
    if (index < 0)
        return false;
    m_accounts[index].isEnabled = enabled;
    changed();
    return true;
}

bool AccountManager::setDefault(const QUuid& id)
{
    const qsizetype index = indexOf(id);
    if (index < 0)
        return false;
    makeOnlyDefault(index);
    changed();
    return true;
}

bool AccountManager::removeAccount(const QUuid& id)
{
    const qsizetype index = indexOf(id);
    if (index < 0)
        return false;
    m_accounts.removeAt(index);
    changed();
    return true;
}

void AccountManager::removeAllAccounts()
{
    m_accounts.clear();
    changed();
    qCInfo(lcStore).noquote() << QStringLiteral("All accounts cleared.");
}

QMap<QString, QString> AccountManager::temporaryCredentials(PlatformType platform) const
{
    return m_temporaryCredentials.value(platform);
}

void AccountManager::setTemporaryCredentials(PlatformType platform, const QMap<QString, QString>& credentials)
{
    m_temporaryCredentials.insert(platform, credentials);
}

QList<AccountSelection::Decision> AccountManager::evaluatePlatforms(const ScheduledPost& post) const
{
    const QList<AccountSelection::Decision> decisions = AccountSelection(m_accounts, m_enabledPlatforms).evaluate(post);
    for (const AccountSelection::Decision& decision : decisions) {
        qCInfo(lcStore).noquote() << QStringLiteral("   🔍 Evaluating platform: ") + decision.platformName;
        const QString mark = decision.included ? QStringLiteral("      ✅ Platform ") : QStringLiteral("      ❌ Platform ");
        qCInfo(lcStore).noquote() << mark + decision.platformName + u' ' + decision.reason;
    }
    return decisions;
}

QList<PlatformType> AccountManager::displayPlatforms(const ScheduledPost& post) const
{
    QList<PlatformType> shown;
    QStringList names;
    for (const AccountSelection::Decision& decision : evaluatePlatforms(post)) {
        if (decision.included && decision.platform && !shown.contains(*decision.platform)) {
            shown.append(*decision.platform);
            names.append(decision.platformName);
        }
    }
    qCInfo(lcStore).noquote() << QStringLiteral("📊 displayPlatforms result: ") + names.join(QStringLiteral(", "));
    return shown;
}

QList<SocialAccount> AccountManager::accountsForPublishing(const ScheduledPost& post, PlatformType platform) const
{
    return AccountSelection(m_accounts, m_enabledPlatforms).accountsFor(post, platform);
}

QByteArray AccountManager::exportBackup() const
{
    if (m_accounts.isEmpty())
        throw AccountManagerError::noAccountsToExport();
    AccountsBackup backup;
    backup.accounts = m_accounts;
    backup.enabledPlatforms = m_enabledPlatforms;
    try {
        return backup.encode();
    } catch (const CodingError& error) {
        throw AccountManagerError::exportFailed(error.message());
    }
}

void AccountManager::exportBackup(const QString& filePath) const
{
    const QByteArray document = exportBackup();
    QSaveFile file(filePath);
    // User-only, also when it replaces a file others could read: the backup holds
    // credentials in clear text.
    if (!file.open(QIODevice::WriteOnly) || !file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner)
        || file.write(document) != document.size() || !file.commit())
        throw AccountManagerError::exportFailed(file.errorString());
}

void AccountManager::importBackup(const QByteArray& document)
{
    AccountsBackup backup;
    try {
        backup = AccountsBackup::decodeDocument(document);
    } catch (const CodingError& error) {
        throw AccountManagerError::importFailed(error.message());
    }
    m_accounts = backup.accounts;
    m_enabledPlatforms = inPlatformOrder(backup.enabledPlatforms);
    savePlatforms();
    changed();
}

void AccountManager::importBackupFile(const QString& filePath)
{
    QFile file(filePath);
    if (!file.open(QIODevice::ReadOnly))
        throw AccountManagerError::importFailed(file.errorString());
    importBackup(file.readAll());
}
