#include "handler_fixture.h"

#include "commands/command_router.h"
#include "platforms/mastodon/mastodon_account_connector.h"
#include "platforms/oauth/oauth_callback_hub.h"
#include "platforms/oauth/scheme_handler_check.h"
#include "support/signing_in_browser.h"
#include "support/fake_mastodon_server.h"
#include "support/fake_url_opener.h"


namespace {

class FixedSchemes : public SchemeHandlerCheck {
public:
    bool isRegistered(const QString&) const override { return registered; }
    bool registered = true;
};

// `accounts?action=add&platform=mastodon` through the URL commands, the browser's
// "quillo://oauth?…" through the router that the command channel feeds, against a
// loopback instance that QUILLO_ENDPOINTS would name.
class MastodonConnectCommandTest : public HandlerFixture {
protected:
    MastodonConnectCommandTest()
        : router(hub, handler)
        , connector(network, hub, accounts, browser, clock, images, schemes,
                    Endpoints::parse(QStringLiteral("mastodon=") + server.baseUrl().toString()))
    {
        handler.setMastodonConnector(&connector);
        connector.setCallbackTimeout(std::chrono::seconds(10));
        // The browser follows the authorize page; a redirect to quillo:// goes to Quillo
        // as a clicked link would, through the command channel's router.
        browser.handler = [this](const QUrl& page) {
            SigningInBrowser::load(
                browserNetwork, page,
                [this](const QUrl& redirect) {
                    QCoro::connect(router.route(QString::fromUtf8(redirect.toEncoded())), &events,
                                   [this](const CommandOutcome& outcome) { callbackOutcomes.append(outcome); });
                },
                [this](const QByteArray& body) { shownCode = SigningInBrowser::shownCode(body); });
            return true;
        };
    }

    // The fixture's network outlives the server; its idle connections would hold the
    // server's shutdown until they time out.
    ~MastodonConnectCommandTest() override { network.clearConnectionCache(); }

    SocialAccount waitForConnection()
    {
        QSignalSpy connected(&connector, &MastodonAccountConnector::connected);
        QSignalSpy failed(&connector, &MastodonAccountConnector::connectionFailed);
        for (int i = 0; i < 100 && connected.isEmpty() && failed.isEmpty(); ++i)
            connected.wait(100);
        EXPECT_TRUE(failed.isEmpty()) << (failed.isEmpty() ? "" : failed[0][1].toString().toStdString());
        return connected.isEmpty() ? SocialAccount() : connected[0][0].value<SocialAccount>();
    }

    OAuthCallbackHub hub;
    CommandRouter router;
    FakeMastodonServer server;
    QNetworkAccessManager browserNetwork;
    FakeUrlOpener browser;
    FixedSchemes schemes;
    MastodonAccountConnector connector;
    QList<CommandOutcome> callbackOutcomes;
    QString shownCode;
};

} // namespace

TEST_F(MastodonConnectCommandTest, addingAMastodonAccountSignsInThroughTheBrowserCallback)
{
    const CommandOutcome outcome = send(QStringLiteral("quillo://accounts?action=add&platform=mastodon&instance=fake.example"));
    EXPECT_TRUE(outcome.ok);
    EXPECT_EQ(outcome.message, QStringLiteral("Opened mastodon account settings (addAccount=true, autoConnect=true)"));

    const SocialAccount account = waitForConnection();
    EXPECT_EQ(account.name, QStringLiteral("quillo@fake.example"));
    ASSERT_EQ(accounts.accounts(PlatformType::mastodon).size(), 1);
    EXPECT_EQ(accounts.accounts(PlatformType::mastodon)[0].credential(CredentialKeys::accessToken),
              QString::fromLatin1(FakeMastodonServer::kAccessToken));
    ASSERT_EQ(callbackOutcomes.size(), 1);
    EXPECT_TRUE(callbackOutcomes[0].ok);
    EXPECT_FALSE(callbackOutcomes[0].message.contains(QString::fromLatin1(FakeMastodonServer::kCode)));
    EXPECT_EQ(server.requestsTo("/oauth/token").size(), 1u);

    // autoConnect=false only opens the form.
    EXPECT_TRUE(send(QStringLiteral("quillo://accounts?action=add&platform=mastodon&autoConnect=false")).ok);
    EXPECT_EQ(server.requestsTo("/api/v1/apps").size(), 1u);
}

TEST_F(MastodonConnectCommandTest, withoutASchemeHandlerThePastedCodeArrivesAsACommand)
{
    schemes.registered = false;
    EXPECT_TRUE(send(QStringLiteral("quillo://accounts?action=add&platform=mastodon&instance=https://fake.example/")).ok);
    for (int i = 0; i < 100 && shownCode.isEmpty(); ++i)
        QSignalSpy(&connector, &MastodonAccountConnector::connected).wait(50);
    const QString pasted = shownCode;
    ASSERT_FALSE(pasted.isEmpty());

    QUrl callback(QStringLiteral("quillo://oauth"));
    callback.setQuery(QStringLiteral("code=") + QString::fromLatin1(QUrl::toPercentEncoding(pasted)));
    EXPECT_TRUE(waitForTask(router.route(callback.toString(QUrl::FullyEncoded))).ok);
    EXPECT_EQ(waitForConnection().credential(CredentialKeys::instance), QStringLiteral("fake.example"));
    EXPECT_EQ(server.requestsTo("/oauth/token").at(0).fields.value("redirect_uri"), "urn:ietf:wg:oauth:2.0:oob");
}
