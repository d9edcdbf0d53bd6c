#include "platforms/mastodon/mastodon_account_connector.h"

#include "core/preference_store.h"
#include "media/image_encoder.h"
#include "platforms/oauth/oauth_callback_hub.h"
#include "platforms/oauth/scheme_handler_check.h"
#include "store/account_manager.h"
#include "support/signing_in_browser.h"
#include "support/coro_wait.h"
#include "support/fake_mastodon_server.h"
#include "support/fake_url_opener.h"
#include "support/manual_clock.h"
#include "support/temp_home.h"

#include <QNetworkAccessManager>
#include <QSignalSpy>
#include <QTimer>
#include <QUrlQuery>

#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace {

class NoImages : public ImageEncoder {
public:
    QCoro::Task<QByteArray> encode(ImageEncodeRequest) override { co_return QByteArray(); }
};

class FixedSchemes : public SchemeHandlerCheck {
public:
    bool isRegistered(const QString& scheme) const override { return registered && scheme == QStringLiteral("quillo"); }
    bool registered = true;
};

QStringList s_logLines;
void captureLog(QtMsgType, const QMessageLogContext&, const QString& message)
{
    s_logLines.append(message);
}

Endpoints endpointsFor(const QUrl& base)
{
    return Endpoints::parse(QStringLiteral("mastodon=") + base.toString());
}

class MastodonAccountConnectorTest : public ::testing::Test {
protected:
    MastodonAccountConnectorTest()
        : store(home.paths())
        , accounts(store)
        , connector(network, hub, accounts, browser, clock, images, schemes, endpointsFor(server.baseUrl()))
    {
        s_logLines.clear();
        previousHandler = qInstallMessageHandler(captureLog);
        connector.setCallbackTimeout(5s);
        browserSignsIn();
    }

    ~MastodonAccountConnectorTest() override
    {
        qInstallMessageHandler(previousHandler);
        for (const QString& line : std::as_const(s_logLines)) {
            EXPECT_FALSE(line.contains(QString::fromLatin1(FakeMastodonServer::kAccessToken))) << line.toStdString();
            EXPECT_FALSE(line.contains(QString::fromLatin1(FakeMastodonServer::kClientSecret))) << line.toStdString();
        }
    }

    // A browser that loads the page: a redirect to "quillo://oauth?…" reaches Quillo
    // through the hub (as the command channel hands it over); a code page is read and
    // its code pasted.
    void browserSignsIn(QList<QUrl> before = {})
    {
        browser.handler = [this, before](const QUrl& page) {
            QTimer::singleShot(0, [this, before, page] {
                for (const QUrl& callback : before)
                    hub.deliver(callback);
                SigningInBrowser::load(
                    browserNetwork, page, [this](const QUrl& redirect) { hub.deliver(redirect); },
                    [this](const QByteArray& body) { pasted = connector.submitCode(SigningInBrowser::shownCode(body)); });
            });
            return true;
        };
    }

    // A browser that comes back with this callback instead of loading the page.
    void browserReturns(const QUrl& callback)
    {
        browser.handler = [this, callback](const QUrl&) {
            QTimer::singleShot(0, [this, callback] { hub.deliver(callback); });
            return true;
        };
    }

    QString failureOf(QCoro::Task<SocialAccount>&& task)
    {
        try {
            waitForTask(std::move(task));
        } catch (const MastodonError& error) {
            return error.message();
        }
        ADD_FAILURE() << "connected although it should not";
        return {};
    }

    TempHome home;
    PreferenceStore store;
    AccountManager accounts;
    OAuthCallbackHub hub;
    FakeMastodonServer server;
    QNetworkAccessManager network;
    QNetworkAccessManager browserNetwork;
    FakeUrlOpener browser;
    ManualClock clock;
    NoImages images;
    FixedSchemes schemes;
    MastodonAccountConnector connector;
    QtMessageHandler previousHandler = nullptr;
    bool pasted = false;
};

} // namespace

TEST_F(MastodonAccountConnectorTest, connectsThroughTheBrowserCallbackAndStoresTheAccount)
{
    server.setInstanceDocument({{"configuration", {{"statuses", {{"max_characters", 5000}, {"max_media_attachments", 6}}}}}});
    // An X sign-in's callback arrives first and is left alone.
    browserSignsIn({QUrl(QStringLiteral("quillo://oauth?oauth_token=t&oauth_verifier=v"))});
    QSignalSpy pages(&connector, &MastodonAccountConnector::authorizationRequested);

    const SocialAccount account = waitForTask(connector.connect(QStringLiteral("  HTTPS://Fake.Example/ ")));

    EXPECT_EQ(account.name, QStringLiteral("quillo@fake.example"));
    EXPECT_EQ(account.credentials,
              (QMap<QString, QString>{{QStringLiteral("instance"), QStringLiteral("fake.example")},
                                      {QStringLiteral("clientId"), QString::fromLatin1(FakeMastodonServer::kClientId)},
                                      {QStringLiteral("clientSecret"), QString::fromLatin1(FakeMastodonServer::kClientSecret)},
                                      {QStringLiteral("accessToken"), QString::fromLatin1(FakeMastodonServer::kAccessToken)},
                                      {QStringLiteral("maxCharacters"), QStringLiteral("5000")},
                                      {QStringLiteral("maxMediaAttachments"), QStringLiteral("6")}}));
    ASSERT_EQ(accounts.accounts().size(), 1);
    EXPECT_EQ(accounts.accounts().first().id, account.id);

    ASSERT_EQ(pages.size(), 1);
    EXPECT_FALSE(pages[0][1].toBool());
    ASSERT_EQ(browser.opened.size(), 1);
    EXPECT_EQ(QUrlQuery(browser.opened[0]).queryItemValue(QStringLiteral("redirect_uri")), QStringLiteral("quillo://oauth"));
    EXPECT_EQ(server.requestsTo("/api/v1/apps").at(0).json()["redirect_uris"], "quillo://oauth");
    EXPECT_EQ(server.requestsTo("/oauth/token").at(0).fields.value("redirect_uri"), "quillo://oauth");
    EXPECT_EQ(server.requestsTo("/oauth/token").at(0).fields.value("scope"), "write:media write:statuses");

    // Signing in again renews the same account instead of adding a second one.
    const SocialAccount again = waitForTask(connector.connect(QStringLiteral("fake.example")));
    EXPECT_EQ(again.id, account.id);
    EXPECT_EQ(accounts.accounts().size(), 1);
}

TEST_F(MastodonAccountConnectorTest, withoutASchemeHandlerThePersonPastesTheCode)
{
    schemes.registered = false;
    EXPECT_FALSE(connector.submitCode(QStringLiteral("early")));
    QSignalSpy pages(&connector, &MastodonAccountConnector::authorizationRequested);
    const SocialAccount account = waitForTask(connector.connect(QString()));
    EXPECT_TRUE(pasted);
    // An empty entry is the default instance; QUILLO_ENDPOINTS still points at the fake.
    EXPECT_EQ(account.credential(CredentialKeys::instance), QStringLiteral("mastodon.social"));
    ASSERT_EQ(pages.size(), 1);
    EXPECT_TRUE(pages[0][1].toBool());
    const QString oob = QString::fromLatin1(MastodonService::kOutOfBandRedirectUri);
    EXPECT_EQ(QUrlQuery(pages[0][0].toUrl()).queryItemValue(QStringLiteral("redirect_uri")), oob);
    EXPECT_EQ(server.requestsTo("/api/v1/apps").at(0).json()["redirect_uris"], oob.toStdString());
    EXPECT_EQ(server.requestsTo("/oauth/token").at(0).fields.value("redirect_uri"), oob.toUtf8());
    EXPECT_FALSE(connector.isWaitingForCode());
}

TEST_F(MastodonAccountConnectorTest, everyFailureEndsWithTheSheetsMessageAndStoresNothing)
{
    struct Case {
        const char* name;
        QString instance;
        std::optional<QUrl> callback; // what the browser brings back; none: it signs in
        QByteArray failingPath;
        FakeMastodonServer::Reply answer;
        QString message;
    };
    const auto html = [](int status) { return FakeMastodonServer::Reply{status, "<html>no</html>", "text/html", {}, false}; };
    const auto jsonError = [](int status, const char* body) { return FakeMastodonServer::Reply{status, body, "application/json", {}, false}; };
    const QString host = QStringLiteral("fake.example");
    const Case cases[] = {
        {"script", QStringLiteral("javascript:alert(1)"), {}, {}, {},
         QStringLiteral("\"javascript:alert(1)\" is not a Mastodon instance. Enter its address, such as mastodon.social")},
        {"a page", QStringLiteral("fake.example/@alice"), {}, {}, {},
         QStringLiteral("Enter only the Mastodon instance's name, such as mastodon.social, not a page on it")},
        {"only a scheme", QStringLiteral("https://"), {}, {}, {}, QStringLiteral("Please enter your Mastodon instance URL first")},
        {"not mastodon", host, {}, "/api/v1/apps", html(404),
         QStringLiteral("The Mastodon instance could not be found. Please check the instance URL.")},
        {"html instead of json", host, {}, "/api/v1/apps", html(200), QStringLiteral("Received invalid response from Mastodon")},
        {"busy", host, {}, "/api/v1/apps", jsonError(429, R"({"error":"Too many requests"})"),
         QStringLiteral("Too many requests to Mastodon API. Please wait a moment and try again.")},
        {"down", host, {}, "/api/v1/apps", html(502),
         QStringLiteral("Mastodon servers are currently experiencing issues. Please try again later.")},
        {"denied", host, QUrl(QStringLiteral("quillo://oauth?error=access_denied&error_description=denied")), {}, {},
         QStringLiteral("Access to Mastodon API was denied. Please check if your credentials have the correct permissions.")},
        {"no code", host, QUrl(QStringLiteral("quillo://oauth?state=1&extra=2")), {}, {},
         QStringLiteral("The request to Mastodon was invalid. Please try again.")},
        {"stale code", host, {}, "/oauth/token", jsonError(400, R"({"error":"invalid_grant"})"),
         QStringLiteral("The request to Mastodon was invalid. Please try again.")},
        {"client refused", host, {}, "/oauth/token", jsonError(401, R"({"error":"invalid_client"})"),
         QStringLiteral("Unable to authenticate with Mastodon. Please check if your credentials are correct and try again.")},
        {"token refused", host, {}, "/api/v1/accounts/verify_credentials", jsonError(403, R"({"error":"forbidden"})"),
         QStringLiteral("Access to Mastodon API was denied. Please check if your credentials have the correct permissions.")},
        {"teapot", host, {}, "/api/v1/apps", jsonError(418, "{}"),
         QStringLiteral("An error occurred while connecting to Mastodon (Error 418)")},
    };
    QSignalSpy failures(&connector, &MastodonAccountConnector::connectionFailed);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        server.setOverride([&c](const FakeMastodonServer::Request& r) -> std::optional<FakeMastodonServer::Reply> {
            if (!c.failingPath.isEmpty() && r.path == c.failingPath)
                return c.answer;
            return std::nullopt;
        });
        if (c.callback)
            browserReturns(*c.callback);
        else
            browserSignsIn();
        EXPECT_EQ(failureOf(connector.connect(c.instance)), c.message);
        EXPECT_TRUE(accounts.accounts().isEmpty());
        ASSERT_FALSE(failures.isEmpty());
        EXPECT_EQ(failures.takeLast().at(1).toString(), c.message);
    }
    EXPECT_EQ(server.requestsTo("/api/v1/apps").size(), 10u); // none for the three refused names
}

TEST_F(MastodonAccountConnectorTest, anUnreachableInstanceOrABrowserThatNeverReturnsFails)
{
    MastodonAccountConnector nowhere(network, hub, accounts, browser, clock, images, schemes,
                                     endpointsFor(QUrl(QStringLiteral("http://127.0.0.1:1"))));
    EXPECT_EQ(failureOf(nowhere.connect(QStringLiteral("fake.example"))),
              QStringLiteral("The Mastodon instance could not be found. Please check the instance URL."));

    connector.setCallbackTimeout(50ms);
    browser.handler = [](const QUrl&) { return false; };
    EXPECT_EQ(failureOf(connector.connect(QStringLiteral("fake.example"))),
              QStringLiteral("An error occurred while connecting to Mastodon (Error 408)"));
    EXPECT_TRUE(server.requestsTo("/oauth/token").empty());
    EXPECT_TRUE(accounts.accounts().isEmpty());

    // The background start reports through the signal.
    QSignalSpy failures(&connector, &MastodonAccountConnector::connectionFailed);
    connector.start(QStringLiteral("mastodon.social:8443"));
    ASSERT_TRUE(!failures.isEmpty() || failures.wait(5000));
    EXPECT_EQ(failures[0][1].toString(), QStringLiteral("Enter the Mastodon instance without a port, such as mastodon.social"));
}
