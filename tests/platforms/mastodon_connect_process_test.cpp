#include "core/preference_keys.h"
#include "core/preference_store.h"
#include "model/social_account.h"
#include "support/fake_mastodon_server.h"
#include "support/running_instance.h"

#include <QDeadlineTimer>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QThread>
#include <QUrlQuery>

#include <gtest/gtest.h>

// The whole sign-in as a person does it, against the built binary: the accounts command
// through the forwarder, the sign-in page (QUILLO_ENDPOINTS points the instance at the
// loopback Mastodon), then the callback through the forwarder again.
namespace {

QByteArray waitForLog(RunningInstance& instance, const QByteArray& text)
{
    const QDeadlineTimer deadline(15000);
    QByteArray log = instance.log();
    while (!log.contains(text) && !deadline.hasExpired()) {
        QThread::msleep(50);
        log = instance.log();
    }
    return log;
}

// What the browser does with the sign-in page: the quillo:// URL it is sent on to,
// or, for a code page, the callback carrying the code the person would paste.
QString callbackFor(const QUrl& page)
{
    QNetworkAccessManager browser;
    QNetworkRequest request(page);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    QNetworkReply* reply = browser.get(request);
    QSignalSpy finished(reply, &QNetworkReply::finished);
    if (!reply->isFinished())
        finished.wait(10000);
    reply->deleteLater();
    const QByteArray location = reply->rawHeader("Location");
    if (!location.isEmpty())
        return QString::fromUtf8(location);
    static const QRegularExpression input(QStringLiteral("class=\"oauth-code\" value=\"([^\"]*)\""));
    const QString code = input.match(QString::fromUtf8(reply->readAll())).captured(1);
    return QStringLiteral("quillo://oauth?code=") + QString::fromLatin1(QUrl::toPercentEncoding(code));
}

} // namespace

TEST(MastodonConnectProcess, connectsThroughTheForwarderAndKeepsSecretsOutOfTheLog)
{
    FakeMastodonServer server;
    server.setInstanceDocument({{"configuration", {{"statuses", {{"max_characters", 5000}}}}}});
    RunningInstance instance;
    instance.process().environment().insert(QStringLiteral("QUILLO_ENDPOINTS"),
                                            QStringLiteral("mastodon=") + server.baseUrl().toString());
    instance.process().environment().insert(QStringLiteral("QUILLO_NO_DESKTOP_OPENER"), QStringLiteral("1"));
    ASSERT_TRUE(instance.start());

    const auto add = instance.run({QStringLiteral("quillo://accounts?action=add&platform=mastodon&instance=Fake.Example")});
    EXPECT_EQ(add.exitCode, 0) << add.stderrText.constData();
    const QByteArray log = waitForLog(instance, "🔑 Sign in to Mastodon");
    static const QRegularExpression pageUrl(QStringLiteral(R"((http://\S+/oauth/authorize[^\s,]*))"));
    const QUrl page(pageUrl.match(QString::fromUtf8(log)).captured(1));
    ASSERT_TRUE(page.isValid()) << log.constData();
    EXPECT_EQ(QUrlQuery(page).queryItemValue(QStringLiteral("client_id")), QString::fromLatin1(FakeMastodonServer::kClientId));

    const auto back = instance.run({callbackFor(page)});
    EXPECT_EQ(back.exitCode, 0) << back.stderrText.constData();
    const QByteArray after = waitForLog(instance, "✅ Connected Mastodon account @quillo@fake.example");
    ASSERT_TRUE(after.contains("✅ Connected Mastodon account @quillo@fake.example")) << after.constData();

    PreferenceStore stored(instance.paths());
    const auto document = stored.data(PreferenceKeys::SocialAccounts);
    ASSERT_TRUE(document);
    const QList<SocialAccount> accounts = SocialAccount::decodeList(*document);
    ASSERT_EQ(accounts.size(), 1);
    EXPECT_EQ(accounts[0].credential(CredentialKeys::accessToken), QString::fromLatin1(FakeMastodonServer::kAccessToken));
    EXPECT_EQ(accounts[0].mastodonCharacterLimit(), 5000);

    for (const QByteArray& text : {instance.log(), add.stderrText, back.stderrText}) {
        EXPECT_FALSE(text.contains(FakeMastodonServer::kAccessToken));
        EXPECT_FALSE(text.contains(FakeMastodonServer::kClientSecret));
    }
}
