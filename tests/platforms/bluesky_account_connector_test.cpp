#include "platforms/bluesky/blue_sky_account_connector.h"

#include "core/preference_store.h"
#include "store/account_manager.h"
#include "support/coro_wait.h"
#include "support/fake_xrpc_server.h"
#include "support/manual_clock.h"
#include "support/temp_home.h"

#include <QNetworkAccessManager>
#include <QSignalSpy>

#include <gtest/gtest.h>

namespace {

class BlueSkyAccountConnectorTest : public ::testing::Test {
protected:
    BlueSkyAccountConnectorTest()
        : store(home.paths())
        , accounts(store)
    {
    }

    BlueSkyError failureOf(QCoro::Task<SocialAccount>&& task)
    {
        try {
            waitForTask(std::move(task));
        } catch (const BlueSkyError& error) {
            return error;
        }
        ADD_FAILURE() << "no BlueSkyError";
        return BlueSkyError(BlueSkyError::Kind::invalidResponse);
    }

    FakeXrpcServer server;
    QNetworkAccessManager network;
    ManualClock clock;
    TempHome home;
    PreferenceStore store;
    AccountManager accounts;
};

} // namespace

TEST_F(BlueSkyAccountConnectorTest, storesAnAccountOnlyAfterARealSignIn)
{
    const QString viaEndpoints = QStringLiteral("bluesky=") + server.baseUrl().toString();
    BlueSkyAccountConnector flow(network, accounts, clock, Endpoints::parse(viaEndpoints));
    QSignalSpy failures(&flow, &BlueSkyAccountConnector::connectionFailed);

    struct Case {
        const char* name;
        QString handle;
        QString password;
        BlueSkyError::Kind kind;
        QString message;
    };
    const Case refused[] = {
        {"empty handle", QStringLiteral("  "), QStringLiteral("x"), BlueSkyError::Kind::accountRejected,
         QStringLiteral("Please enter your BlueSky handle and app password first")},
        {"empty password", QStringLiteral("alice.test"), QString(), BlueSkyError::Kind::accountRejected,
         QStringLiteral("Please enter your BlueSky handle and app password first")},
        {"wrong password", QStringLiteral("alice.test"), QStringLiteral("nope"), BlueSkyError::Kind::invalidCredentials,
         QStringLiteral("Invalid BlueSky handle or app password")},
    };
    for (const Case& c : refused) {
        SCOPED_TRACE(c.name);
        const BlueSkyError error = failureOf(flow.connect(c.handle, c.password));
        EXPECT_EQ(error.kind(), c.kind);
        EXPECT_EQ(error.message(), c.message);
    }
    EXPECT_EQ(server.sessionsCreated(), 0);
    EXPECT_EQ(failures.size(), 3);
    EXPECT_TRUE(accounts.accounts().isEmpty());

    const SocialAccount added =
        waitForTask(flow.connect(QStringLiteral(" @alice.test "), QString::fromLatin1(FakeXrpcServer::kAppPassword)));
    EXPECT_EQ(added.name, QStringLiteral("alice.test"));
    EXPECT_EQ(added.credential(CredentialKeys::handle), QStringLiteral("alice.test"));
    EXPECT_EQ(added.credential(CredentialKeys::appPassword), QString::fromLatin1(FakeXrpcServer::kAppPassword));
    EXPECT_FALSE(added.credentials.contains(CredentialKeys::service));
    ASSERT_EQ(accounts.accounts(PlatformType::bluesky).size(), 1);
    EXPECT_EQ(server.sessionsCreated(), 1);

    const BlueSkyError duplicate =
        failureOf(flow.connect(QStringLiteral("ALICE.test"), QString::fromLatin1(FakeXrpcServer::kAppPassword)));
    EXPECT_EQ(duplicate.message(), QStringLiteral("An account with this handle already exists"));
    EXPECT_EQ(server.sessionsCreated(), 1);
    EXPECT_EQ(failures.size(), 4);
    EXPECT_EQ(failures.last().at(1).toString(), duplicate.message());
}

TEST_F(BlueSkyAccountConnectorTest, connectButtonUsesWhatWasTypedIntoTheForm)
{
    BlueSkyAccountConnector flow(network, accounts, clock);
    QSignalSpy failures(&flow, &BlueSkyAccountConnector::connectionFailed);
    EXPECT_FALSE(waitForTask(flow.connectTypedCredentials()).has_value());
    ASSERT_EQ(failures.size(), 1);
    EXPECT_EQ(failures[0][1].toString(), QStringLiteral("Please enter your BlueSky handle and app password first"));

    const QMap<QString, QString> typed{{QString(CredentialKeys::handle), QStringLiteral("alice.test")},
                                       {QString(CredentialKeys::appPassword), QString::fromLatin1(FakeXrpcServer::kAppPassword)},
                                       {QString(CredentialKeys::service), server.baseUrl().toString()}};
    accounts.setTemporaryCredentials(PlatformType::bluesky, typed);
    const std::optional<SocialAccount> connected = waitForTask(flow.connectTypedCredentials());
    ASSERT_TRUE(connected.has_value());
    EXPECT_EQ(accounts.accounts(PlatformType::bluesky).value(0).id, connected->id);
    EXPECT_TRUE(accounts.temporaryCredentials(PlatformType::bluesky).isEmpty());
}

TEST_F(BlueSkyAccountConnectorTest, ownServerIsKeptAndEndpointsWin)
{
    // No QUILLO_ENDPOINTS: the "service" the user typed is where the sign-in goes and is kept.
    BlueSkyAccountConnector own(network, accounts, clock);
    const SocialAccount account = waitForTask(own.connect(QString::fromLatin1(FakeXrpcServer::kHandle),
                                                          QString::fromLatin1(FakeXrpcServer::kAppPassword),
                                                          server.baseUrl().toString() + QStringLiteral("/")));
    EXPECT_EQ(account.credential(CredentialKeys::service), server.baseUrl().toString() + QStringLiteral("/"));
    EXPECT_EQ(server.sessionsCreated(), 1);
    EXPECT_EQ(failureOf(own.connect(QStringLiteral("bob.test"), QStringLiteral("x"), QStringLiteral("ftp://pds.example")))
                  .kind(),
              BlueSkyError::Kind::accountRejected);

    // Where the client goes: QUILLO_ENDPOINTS, else the account's service, else bsky.social.
    SocialAccount plain = account;
    plain.credentials.remove(CredentialKeys::service);
    EXPECT_EQ(BlueSkyHosts::forAccount(plain, Endpoints()).service.toString(), QStringLiteral("https://bsky.social"));
    EXPECT_EQ(BlueSkyHosts::forAccount(account, Endpoints()).service.toString(), server.baseUrl().toString());
    const Endpoints endpoints = Endpoints::parse(QStringLiteral("x=http://127.0.0.1:9,bluesky=http://127.0.0.1:2583/"));
    EXPECT_EQ(BlueSkyHosts::forAccount(account, endpoints).service.toString(), QStringLiteral("http://127.0.0.1:2583"));
    EXPECT_EQ(BlueSkyHosts::forAccount(account, endpoints).web.toString(), QStringLiteral("https://bsky.app"));
}
