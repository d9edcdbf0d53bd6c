#pragma once

#include "model/platform_type.h"
#include "model/scheduled_post.h"
#include "model/social_account.h"
#include "store/account_selection.h"

#include <QList>
#include <QMap>
#include <QObject>
#include <QString>
#include <QUuid>

#include <optional>

class PreferenceStore;

// Owns the connected accounts, the globally enabled platforms and each platform's
// default account, persisted in the preference store ("SocialAccounts" as one JSON
// document, "SocialPlatforms" as a list of raw values). Every change rewrites the
// whole list and emits accountsDidChange(). Lives on the main thread.
//
// An account added to a platform that has no default yet becomes that platform's
// default. Without a default, `defaults`-mode posts fall back to every enabled
// account, so a second account added later would silently double every post; with
// the first account as default, adding accounts never changes where existing posts
// go. Removing or disabling the default does not promote another account.
class AccountManager : public QObject {
    Q_OBJECT

public:
    static constexpr const char* kBackupFileName = "quillo-accounts-backup.json";

    explicit AccountManager(PreferenceStore& store, QObject* parent = nullptr);

    // Reads the accounts and enabled platforms again (after another process wrote them).
    void reload();

    // In insertion order.
    const QList<SocialAccount>& accounts() const { return m_accounts; }
    QList<SocialAccount> accounts(PlatformType platform) const;
    QList<SocialAccount> enabledAccounts(PlatformType platform) const;
    std::optional<SocialAccount> defaultAccount(PlatformType platform) const;
    std::optional<SocialAccount> account(const QUuid& id) const;

    bool isEnabled(PlatformType platform) const { return m_enabledPlatforms.contains(platform); }
    // In the order x, bluesky, mastodon.
    QList<PlatformType> enabledPlatforms() const;
    void togglePlatform(PlatformType platform);
    void setPlatformEnabled(PlatformType platform, bool enabled);

    // The failure text for the account form, or nothing when the account is valid.
    // checkDuplicates: when adding (not when re-validating a stored account).
    std::optional<QString> validate(const SocialAccount& account, bool checkDuplicates) const;
    // Validates (with the duplicate checks), appends, saves and announces. Returns the
    // failure text and changes nothing when the account is invalid.
    std::optional<QString> addAccount(const SocialAccount& account);
    // Replaces the stored account with the same id (nickname, enabled, credentials).
    // Setting isDefault here clears it on the platform's other accounts. False when
    // no account has that id.
    bool updateAccount(const SocialAccount& account);
    bool setAccountEnabled(const QUuid& id, bool enabled);
    // The account becomes the only default of its platform.
    bool setDefault(const QUuid& id);
    bool removeAccount(const QUuid& id);
    void removeAllAccounts();

    // What the user typed in each platform's account form before connecting; never stored.
    QMap<QString, QString> temporaryCredentials(PlatformType platform) const;
    void setTemporaryCredentials(PlatformType platform, const QMap<QString, QString>& credentials);

    // Account selection for a scheduled post (see AccountSelection). The platforms
    // shown as live destinations, with one log line per decision:
    QList<PlatformType> displayPlatforms(const ScheduledPost& post) const;
    QList<AccountSelection::Decision> evaluatePlatforms(const ScheduledPost& post) const;
    // The concrete accounts a post is published through on a platform.
    QList<SocialAccount> accountsForPublishing(const ScheduledPost& post, PlatformType platform) const;

    // The backup document; throws AccountManagerError (noAccountsToExport) for an empty list.
    QByteArray exportBackup() const;
    // Writes the backup to a file; throws AccountManagerError.
    void exportBackup(const QString& filePath) const;
    // Replaces accounts and enabled platforms with a backup's; throws
    // AccountManagerError (importFailed) and changes nothing when it cannot be read.
    void importBackup(const QByteArray& document);
    void importBackupFile(const QString& filePath);

Q_SIGNALS:
    // "AccountManagerAccountsDidChange": after every change of accounts or platforms.
    void accountsDidChange();

private:
    void loadAccounts();
    void loadPlatforms();
    void saveAccounts();
    void savePlatforms();
    void changed();
    void makeOnlyDefault(qsizetype index);
    qsizetype indexOf(const QUuid& id) const;

    PreferenceStore& m_store;
    QList<SocialAccount> m_accounts;
    QList<PlatformType> m_enabledPlatforms;
    // The stored accounts could not be decoded at the last load: the next save keeps a
    // copy of them before replacing them.
    bool m_unreadable = false;
    QMap<PlatformType, QMap<QString, QString>> m_temporaryCredentials;
};
