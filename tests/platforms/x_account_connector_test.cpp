#include "platforms/x/x_account_connector.h"

#include "core/preference_store.h"
#include "core/system_clock.h"
#include "platforms/oauth/oauth_callback_hub.h"
#include "store/account_manager.h"
#include "support/coro_wait.h"
#include "support/fake_url_opener.h"
#include "support/fake_x_server.h"
#include "support/log_capture.h"
#include "support/temp_home.h"

#include <QNetworkAccessManager>
#include <QSignalSpy>
#include <QTimer>
#include <QUrlQuery>

#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace {

QString latin(const char* text)
{
    return QString::fromLatin1(text);
}

QUrl callbackUrl(const QString& query)
{
    return QUrl(QStringLiteral("quillo://oauth?") + query);
}

class XAccountConnectorTest : public ::testing::Test {
protected:
    XAccountConnectorTest()
        : store(home.paths())
        , accounts(store)
        , connector(network, hub, accounts, browser, clock, {server.baseUrl(), QUrl(QStringLiteral("https://x.example"))})
    {
        connector.setCallbackTimeout(5s);
    }

    // The browser "comes back" with these callbacks, one event-loop turn after opening.
    void browserReturns(QList<QUrl> callbacks)
    {
        browser.handler = [this, callbacks](const QUrl&) {
            QTimer::singleShot(0, [this, callbacks] {
                for (const QUrl& callback : callbacks)
                    hub.deliver(callback);
            });
            return true;
        };
    }

    QString failureOf(QCoro::Task<SocialAccount>&& task)
    {
        try {
            waitForTask(std::move(task));
        } catch (const XError& error) {
            return error.message();
        }
        ADD_FAILURE() << "connected although it should not";
        return {};
    }

    TempHome home;
    PreferenceStore store;
    AccountManager accounts;
    OAuthCallbackHub hub;
    FakeXServer server;
    QNetworkAccessManager network;
    FakeUrlOpener browser;
    SystemClock clock;
    XAccountConnector connector;
};

const QString kGoodCallback = QStringLiteral("oauth_token=req-token&oauth_verifier=the-verifier");

} // namespace

TEST_F(XAccountConnectorTest, connectsThroughTheBrowserAndStoresAfterVerification)
{
    // A Mastodon callback and a stale X one arrive first and are left alone.
    browserReturns({callbackUrl(QStringLiteral("code=abc")),
                    callbackUrl(QStringLiteral("oauth_token=old&oauth_verifier=x")), callbackUrl(kGoodCallback)});
    std::optional<LogCapture> log(std::in_place);
    const SocialAccount account =
        waitForTask(connector.connect(latin(FakeXServer::kConsumerKey), latin(FakeXServer::kConsumerSecret)));

    // Debug level included, no log line holds a key, secret, token, verifier or signature.
    QStringList secrets = {latin(FakeXServer::kConsumerKey),  latin(FakeXServer::kConsumerSecret),
                           latin(FakeXServer::kAccessToken),  latin(FakeXServer::kAccessSecret),
                           latin(FakeXServer::kRequestToken), latin(FakeXServer::kRequestSecret),
                           latin(FakeXServer::kVerifier)};
    for (const auto& request : server.requests())
        secrets << QString::fromLatin1(request.oauth.value("oauth_signature"));
    EXPECT_FALSE(log->lines().isEmpty());
    EXPECT_EQ(log->linesHoldingAnyOf(secrets), QStringList());
    log.reset();

    EXPECT_EQ(account.platform, PlatformType::x);
    EXPECT_EQ(account.name, QStringLiteral("quillo_user"));
    EXPECT_EQ(account.credentials.value(QStringLiteral("apiKey")), latin(FakeXServer::kConsumerKey));
    EXPECT_EQ(account.credentials.value(QStringLiteral("apiSecret")), latin(FakeXServer::kConsumerSecret));
    EXPECT_EQ(account.credentials.value(QStringLiteral("accessToken")), latin(FakeXServer::kAccessToken));
    EXPECT_EQ(account.credentials.value(QStringLiteral("accessSecret")), latin(FakeXServer::kAccessSecret));
    ASSERT_EQ(accounts.accounts().size(), 1);
    EXPECT_EQ(accounts.accounts().first().id, account.id);

    ASSERT_EQ(browser.opened.size(), 1);
    EXPECT_EQ(browser.opened[0].path(), QStringLiteral("/oauth/authorize"));
    EXPECT_EQ(QUrlQuery(browser.opened[0]).queryItemValue(QStringLiteral("oauth_token")), QStringLiteral("req-token"));

    EXPECT_EQ(server.rejectedSignatures(), 0);
    const auto requestToken = server.requestsTo("/oauth/request_token").at(0);
    EXPECT_EQ(requestToken.oauth.value("oauth_callback"), "quillo://oauth");
    EXPECT_FALSE(requestToken.oauth.contains("oauth_token"));
    const auto accessToken = server.requestsTo("/oauth/access_token").at(0);
    EXPECT_EQ(accessToken.oauth.value("oauth_token"), "req-token");
    EXPECT_EQ(accessToken.oauth.value("oauth_verifier"), "the-verifier");
    EXPECT_EQ(server.requestsTo("/1.1/account/verify_credentials.json").at(0).oauth.value("oauth_token"),
              FakeXServer::kAccessToken);
}

TEST_F(XAccountConnectorTest, failedAttemptsStoreNothing)
{
    struct Case {
        const char* name;
        QString apiKey;
        QList<QUrl> callbacks;
        QByteArray failingPath; // answered with failingBody
        int failingStatus;
        QByteArray failingBody;
        QString message;
    };
    const QString key = latin(FakeXServer::kConsumerKey);
    const Case cases[] = {
        {"no keys", QString(), {}, {}, 0, {}, QStringLiteral("Please enter your X API Key and Secret first")},
        {"no verifier", key, {callbackUrl(QStringLiteral("oauth_token=req-token"))}, {}, 0, {},
         QStringLiteral("Missing oauth_verifier. Maybe use allowMissingOAuthVerifier=true")},
        {"user denied", key, {callbackUrl(QStringLiteral("denied=req-token"))}, {}, 0, {},
         QStringLiteral("Missing oauth_verifier. Maybe use allowMissingOAuthVerifier=true")},
        {"garbled request token", key, {callbackUrl(kGoodCallback)}, "/oauth/request_token", 200, "<html>oops",
         QStringLiteral("Could not get access token")},
        {"callback not confirmed", key, {callbackUrl(kGoodCallback)}, "/oauth/request_token", 200,
         "oauth_token=req-token&oauth_token_secret=s&oauth_callback_confirmed=false", QStringLiteral("Could not get access token")},
        {"callback confirmation missing", key, {callbackUrl(kGoodCallback)}, "/oauth/request_token", 200,
         "oauth_token=req-token&oauth_token_secret=s", QStringLiteral("Could not get access token")},
        {"access token without secret", key, {callbackUrl(kGoodCallback)}, "/oauth/access_token", 200,
         "oauth_token=abc", QStringLiteral("Could not get access token")},
        {"access token refused", key, {callbackUrl(kGoodCallback)}, "/oauth/access_token", 401, "denied",
         QStringLiteral("Could not get access token")},
        {"verification refused", key, {callbackUrl(kGoodCallback)}, "/1.1/account/verify_credentials.json", 401,
         "{}", QStringLiteral("Failed to authenticate with X")},
        {"verification not json", key, {callbackUrl(kGoodCallback)}, "/1.1/account/verify_credentials.json", 200,
         "nope", QStringLiteral("X API error (status 200)")},
    };
    QSignalSpy failures(&connector, &XAccountConnector::connectionFailed);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        server.setOverride([&](const FakeXServer::Request& r) -> std::optional<FakeXServer::Reply> {
            if (!c.failingPath.isEmpty() && r.path == c.failingPath)
                return FakeXServer::Reply{c.failingStatus, c.failingBody, "text/plain", {}};
            return std::nullopt;
        });
        browserReturns(c.callbacks);
        EXPECT_EQ(failureOf(connector.connect(c.apiKey, latin(FakeXServer::kConsumerSecret))), c.message);
        EXPECT_TRUE(accounts.accounts().isEmpty());
        ASSERT_FALSE(failures.isEmpty());
        EXPECT_EQ(failures.takeLast().at(1).toString(), c.message);
    }
}

TEST_F(XAccountConnectorTest, aBrowserThatNeverComesBackTimesOut)
{
    connector.setCallbackTimeout(50ms);
    browserReturns({});
    EXPECT_EQ(failureOf(connector.connect(latin(FakeXServer::kConsumerKey), latin(FakeXServer::kConsumerSecret))),
              QStringLiteral("X sign-in timed out: the browser did not come back to Quillo"));
    EXPECT_TRUE(server.requestsTo("/oauth/access_token").empty());
    EXPECT_TRUE(accounts.accounts().isEmpty());

    browser.handler = [](const QUrl&) { return false; };
    EXPECT_EQ(failureOf(connector.connect(latin(FakeXServer::kConsumerKey), latin(FakeXServer::kConsumerSecret))),
              QStringLiteral("Could not open the X sign-in page in the browser"));
}

TEST_F(XAccountConnectorTest, typedKeysAreVerifiedThenStoredOnce)
{
    const QString key = latin(FakeXServer::kConsumerKey);
    const QString secret = latin(FakeXServer::kConsumerSecret);
    EXPECT_EQ(failureOf(connector.connectWithAccessToken(key, secret, latin(FakeXServer::kAccessToken),
                                                         QStringLiteral("wrong secret"))),
              QStringLiteral("Failed to authenticate with X"));
    EXPECT_EQ(failureOf(connector.connectWithAccessToken(key, secret, latin(FakeXServer::kAccessToken), QString())),
              QStringLiteral("Please enter your X access token and access token secret"));
    EXPECT_TRUE(accounts.accounts().isEmpty());

    const SocialAccount account = waitForTask(connector.connectWithAccessToken(
        key, secret, latin(FakeXServer::kAccessToken), latin(FakeXServer::kAccessSecret)));
    EXPECT_EQ(account.name, QStringLiteral("quillo_user"));
    EXPECT_TRUE(browser.opened.isEmpty());
    EXPECT_EQ(failureOf(connector.connectWithAccessToken(key, secret, latin(FakeXServer::kAccessToken),
                                                         latin(FakeXServer::kAccessSecret))),
              QStringLiteral("An account with this API Key already exists"));
    EXPECT_EQ(accounts.accounts().size(), 1);
}
