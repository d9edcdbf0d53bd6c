#pragma once

#include "platforms/oauth/oauth_signer.h"

#include <QByteArray>
#include <QMap>
#include <QNetworkReply>
#include <QString>
#include <QUrl>

#include <qcoro/qcorotask.h>

class Clock;
class QHttpMultiPart;
class QNetworkAccessManager;

// The answer to one signed request. A request that got no HTTP answer has status 0
// and the network error set.
struct OAuthAnswer {
    int status = 0;
    QByteArray body;
    QMap<QByteArray, QByteArray> headers; // names in lower case
    QNetworkReply::NetworkError error = QNetworkReply::NoError;
    QString errorString;

    bool isSuccess() const { return status >= 200 && status < 300; }
    QByteArray header(const QByteArray& lowerCaseName) const { return headers.value(lowerCaseName); }
};

// Sends requests signed with OAuth 1.0a through a QNetworkAccessManager.
class OAuthClient {
public:
    static constexpr int kDefaultTimeoutMs = 120000;

    OAuthClient(QNetworkAccessManager& network, OAuthCredential credential, const Clock& clock);

    const OAuthCredential& credential() const { return m_signer.credential(); }
    void setCredential(OAuthCredential credential) { m_signer.setCredential(std::move(credential)); }
    void setTimeout(int milliseconds) { m_timeoutMs = milliseconds; }

    QCoro::Task<OAuthAnswer> get(QUrl url);
    QCoro::Task<OAuthAnswer> postJson(QUrl url, QByteArray json);
    // A form-encoded POST; extra protocol parameters go into the header.
    QCoro::Task<OAuthAnswer> postForm(QUrl url, QByteArray form, OAuthParameters extraProtocolParameters = {});
    // Takes ownership of the multipart body; its fields are not signed.
    QCoro::Task<OAuthAnswer> postMultipart(QUrl url, QHttpMultiPart* multipart);

private:
    QCoro::Task<OAuthAnswer> finish(QNetworkReply* reply);
    QNetworkRequest signedRequest(const OAuthRequestParts& parts) const;

    QNetworkAccessManager& m_network;
    OAuthSigner m_signer;
    const Clock& m_clock;
    int m_timeoutMs = kDefaultTimeoutMs;
};
