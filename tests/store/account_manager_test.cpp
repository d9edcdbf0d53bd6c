#include "core/preference_keys.h"
#include "core/preference_store.h"
#include "store/account_manager.h"
#include "store/transfer_error.h"
#include "support/manual_clock.h"
#include "support/temp_home.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSignalSpy>

#include <gtest/gtest.h>

namespace {

SocialAccount xAccount(const QString& key, const QString& secret = QStringLiteral("secret"))
{
    return SocialAccount::create(PlatformType::x, QStringLiteral("@") + key,
                                 {{QStringLiteral("apiKey"), key}, {QStringLiteral("apiSecret"), secret}}, kFixedTestTime);
}

SocialAccount blueskyAccount(const QString& handle, const QString& password = QStringLiteral("app-pass"))
{
    return SocialAccount::create(PlatformType::bluesky, handle,
                                 {{QStringLiteral("handle"), handle}, {QStringLiteral("appPassword"), password}},
                                 kFixedTestTime);
}

class AccountManagerTest : public ::testing::Test {
protected:
    TempHome home;
    PreferenceStore store{home.paths()};
};

TEST_F(AccountManagerTest, FreshInstallationStoresNoEnabledPlatforms)
{
    ASSERT_FALSE(store.contains(PreferenceKeys::SocialPlatforms));
    AccountManager manager(store);
    EXPECT_TRUE(store.contains(PreferenceKeys::SocialPlatforms));
    EXPECT_EQ(store.stringListValue(PreferenceKeys::SocialPlatforms), QStringList());
    EXPECT_TRUE(manager.enabledPlatforms().isEmpty());

    QSignalSpy changes(&manager, &AccountManager::accountsDidChange);
    manager.togglePlatform(PlatformType::mastodon);
    manager.togglePlatform(PlatformType::x);
    EXPECT_EQ(store.stringListValue(PreferenceKeys::SocialPlatforms), (QStringList{QStringLiteral("x"), QStringLiteral("mastodon")}));
    manager.togglePlatform(PlatformType::mastodon);
    EXPECT_EQ(changes.count(), 3);

    AccountManager reopened(store);
    EXPECT_EQ(reopened.enabledPlatforms(), QList<PlatformType>{PlatformType::x});
}

TEST_F(AccountManagerTest, AccountsKeepInsertionOrderAndOneDefaultPerPlatform)
{
    AccountManager manager(store);
    QSignalSpy changes(&manager, &AccountManager::accountsDidChange);
    const SocialAccount first = xAccount(QStringLiteral("k1"));
    const SocialAccount sky = blueskyAccount(QStringLiteral("ada.bsky.social"));
    const SocialAccount second = xAccount(QStringLiteral("k2"));
    for (const SocialAccount& a : {first, sky, second})
        ASSERT_EQ(manager.addAccount(a), std::nullopt);

    // The first account of a platform becomes its default; later ones do not.
    EXPECT_EQ(manager.defaultAccount(PlatformType::x)->id, first.id);
    EXPECT_EQ(manager.defaultAccount(PlatformType::bluesky)->id, sky.id);
    EXPECT_FALSE(manager.account(second.id)->isDefault);

    ASSERT_TRUE(manager.setDefault(second.id));
    EXPECT_EQ(manager.defaultAccount(PlatformType::x)->id, second.id);
    EXPECT_FALSE(manager.account(first.id)->isDefault);
    EXPECT_TRUE(manager.account(sky.id)->isDefault) << "another platform's default is untouched";

    SocialAccount renamed = *manager.account(first.id);
    renamed.nickname = QStringLiteral("Work");
    renamed.isEnabled = false;
    ASSERT_TRUE(manager.updateAccount(renamed));
    EXPECT_FALSE(manager.setDefault(QUuid::createUuid()));

    AccountManager reopened(store);
    ASSERT_EQ(reopened.accounts().size(), 3);
    EXPECT_EQ(reopened.accounts()[0].id, first.id);
    EXPECT_EQ(reopened.accounts()[1].id, sky.id);
    EXPECT_EQ(reopened.accounts()[2].id, second.id);
    EXPECT_EQ(reopened.accounts()[0].displayName(), u"Work");
    EXPECT_EQ(reopened.enabledAccounts(PlatformType::x).size(), 1);

    ASSERT_TRUE(manager.removeAccount(second.id));
    EXPECT_EQ(manager.defaultAccount(PlatformType::x), std::nullopt) << "no account is promoted";
    manager.removeAllAccounts();
    EXPECT_TRUE(manager.accounts().isEmpty());
    EXPECT_EQ(changes.count(), 3 + 1 + 1 + 1 + 1);
    EXPECT_TRUE(AccountManager(store).accounts().isEmpty());
}

TEST_F(AccountManagerTest, ValidationAndDuplicateMessages)
{
    AccountManager manager(store);
    ASSERT_EQ(manager.addAccount(xAccount(QStringLiteral("key"))), std::nullopt);
    ASSERT_EQ(manager.addAccount(blueskyAccount(QStringLiteral("ada.bsky.social"))), std::nullopt);

    struct Case {
        SocialAccount account;
        std::optional<QString> message;
    };
    const Case cases[] = {
        {xAccount(QString()), QStringLiteral("Please enter your X API Key and Secret first")},
        {xAccount(QStringLiteral("other"), QStringLiteral("  ")), QStringLiteral("Please enter your X API Key and Secret first")},
        {xAccount(QStringLiteral("key")), QStringLiteral("An account with this API Key already exists")},
        {xAccount(QStringLiteral("other")), std::nullopt},
        {blueskyAccount(QString()), QStringLiteral("Please enter your BlueSky handle and app password first")},
        {blueskyAccount(QStringLiteral("bob.bsky.social"), QString()), QStringLiteral("Please enter your BlueSky handle and app password first")},
        {blueskyAccount(QStringLiteral("ada.bsky.social")), QStringLiteral("An account with this handle already exists")},
        {blueskyAccount(QStringLiteral("@Ada.bsky.social")), QStringLiteral("An account with this handle already exists")},
        {blueskyAccount(QStringLiteral("bob.bsky.social")), std::nullopt},
        {SocialAccount::create(PlatformType::mastodon, QStringLiteral("m"), {}, kFixedTestTime), std::nullopt},
    };
    QSignalSpy changes(&manager, &AccountManager::accountsDidChange);
    int added = 0;
    for (const Case& c : cases) {
        EXPECT_EQ(manager.addAccount(c.account), c.message) << c.account.name.toStdString();
        added += c.message ? 0 : 1;
    }
    EXPECT_EQ(manager.accounts().size(), 2 + added);
    EXPECT_EQ(changes.count(), added);

    // Re-validating a stored account skips the duplicate test.
    EXPECT_EQ(manager.validate(manager.accounts()[0], false), std::nullopt);
    EXPECT_EQ(manager.validate(xAccount(QStringLiteral("key")), false), std::nullopt);
}

TEST_F(AccountManagerTest, UndecodableStoreLoadsEmptyAndIsLeftAlone)
{
    const QByteArray broken = R"([{"id":"A0000000-0000-4000-8000-000000000001","platform":"x"}])";
    ASSERT_TRUE(store.setData(PreferenceKeys::SocialAccounts, broken));
    AccountManager manager(store);
    EXPECT_TRUE(manager.accounts().isEmpty());
    manager.togglePlatform(PlatformType::x);
    EXPECT_EQ(store.data(PreferenceKeys::SocialAccounts), broken);
    // The next deliberate change writes a good document and keeps the unreadable one
    // beside it, user-only.
    ASSERT_EQ(manager.addAccount(xAccount(QStringLiteral("k"))), std::nullopt);
    EXPECT_EQ(AccountManager(store).accounts().size(), 1);
    const QFileInfo stored(store.dataPath(PreferenceKeys::SocialAccounts));
    const QFileInfoList kept = stored.dir().entryInfoList({stored.fileName() + QStringLiteral(".unreadable-*")});
    ASSERT_EQ(kept.size(), 1);
    QFile copy(kept[0].filePath());
    ASSERT_TRUE(copy.open(QIODevice::ReadOnly));
    EXPECT_EQ(copy.readAll(), broken);
    EXPECT_EQ(kept[0].permissions() & (QFile::ReadGroup | QFile::ReadOther), 0);
}

TEST_F(AccountManagerTest, BackupExportAndImport)
{
    AccountManager manager(store);
    try {
        manager.exportBackup();
        FAIL() << "an empty list was exported";
    } catch (const AccountManagerError& error) {
        EXPECT_EQ(error.message(), u"No accounts to export.");
    }

    ASSERT_EQ(manager.addAccount(xAccount(QStringLiteral("k1"))), std::nullopt);
    ASSERT_EQ(manager.addAccount(blueskyAccount(QStringLiteral("ada.bsky.social"))), std::nullopt);
    manager.togglePlatform(PlatformType::bluesky);
    const QString file = home.path() + QStringLiteral("/quillo-accounts-backup.json");
    {
        // A file others could read is replaced by a user-only one: the backup holds
        // credentials in clear text.
        QFile earlier(file);
        ASSERT_TRUE(earlier.open(QIODevice::WriteOnly));
        earlier.setPermissions(earlier.permissions() | QFile::ReadGroup | QFile::ReadOther);
    }
    manager.exportBackup(file);
    EXPECT_EQ(QFileInfo(file).permissions() & (QFile::ReadGroup | QFile::ReadOther | QFile::WriteGroup | QFile::WriteOther), 0);
    const QList<SocialAccount> exported = manager.accounts();

    // A broken file changes nothing.
    QSignalSpy changes(&manager, &AccountManager::accountsDidChange);
    for (const QByteArray& bad : {QByteArray("{"), QByteArray(R"({"accounts":[{}],"enabledPlatforms":[]})")}) {
        try {
            manager.importBackup(bad);
            ADD_FAILURE() << bad.constData();
        } catch (const AccountManagerError& error) {
            EXPECT_EQ(error.title(), u"Import Failed");
            EXPECT_FALSE(error.message().isEmpty());
        }
    }
    EXPECT_THROW(manager.importBackupFile(home.path() + QStringLiteral("/missing.json")), AccountManagerError);
    EXPECT_EQ(changes.count(), 0);

    // Import replaces accounts and platforms.
    manager.removeAllAccounts();
    ASSERT_EQ(manager.addAccount(xAccount(QStringLiteral("other"))), std::nullopt);
    manager.togglePlatform(PlatformType::mastodon);
    manager.importBackupFile(file);
    ASSERT_EQ(manager.accounts().size(), exported.size());
    for (qsizetype i = 0; i < exported.size(); ++i) {
        EXPECT_EQ(manager.accounts()[i].id, exported[i].id);
        EXPECT_EQ(manager.accounts()[i].credentials, exported[i].credentials);
        // ISO 8601 text keeps milliseconds only.
        EXPECT_NEAR(manager.accounts()[i].createdAt.referenceSeconds(), exported[i].createdAt.referenceSeconds(), 0.001);
    }
    EXPECT_EQ(manager.enabledPlatforms(), QList<PlatformType>{PlatformType::bluesky});
    EXPECT_EQ(AccountManager(store).accounts().size(), exported.size());
}

} // namespace
