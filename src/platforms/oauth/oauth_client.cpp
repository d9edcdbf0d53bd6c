#include "platforms/oauth/oauth_client.h"

#include "core/clock.h"

#include <QHttpMultiPart>
#include <QNetworkAccessManager>
#include <QNetworkRequest>

#include <qcoro/qcoronetworkreply.h>

#include <memory>

namespace {

OAuthRequestParts parts(QByteArray method, const QUrl& url, QByteArray contentType = {}, QByteArray body = {},
                        OAuthParameters extra = {})
{
    OAuthRequestParts result;
    result.method = std::move(method);
    result.url = url;
    result.contentType = std::move(contentType);
    result.body = std::move(body);
    result.extraProtocolParameters = std::move(extra);
    return result;
}

struct LaterDeleter {
    void operator()(QObject* object) const { object->deleteLater(); }
};

} // namespace

OAuthClient::OAuthClient(QNetworkAccessManager& network, OAuthCredential credential, const Clock& clock)
    : m_network(network)
    , m_signer(std::move(credential))
    , m_clock(clock)
{
}

QNetworkRequest OAuthClient::signedRequest(const OAuthRequestParts& request) const
{
    QNetworkRequest network(request.url);
    network.setTransferTimeout(m_timeoutMs);
    network.setRawHeader("Authorization", m_signer.sign(request, m_clock.now()).authorizationHeader);
    if (!request.contentType.isEmpty() && !request.contentType.startsWith("multipart/"))
        network.setHeader(QNetworkRequest::ContentTypeHeader, request.contentType);
    return network;
}

QCoro::Task<OAuthAnswer> OAuthClient::get(QUrl url)
{
    const QNetworkRequest request = signedRequest(parts("GET", url));
    co_return co_await finish(m_network.get(request));
}

QCoro::Task<OAuthAnswer> OAuthClient::postJson(QUrl url, QByteArray json)
{
    const QNetworkRequest request =
        signedRequest(parts("POST", url, "application/json", json));
    co_return co_await finish(m_network.post(request, json));
}

QCoro::Task<OAuthAnswer> OAuthClient::postForm(QUrl url, QByteArray form, OAuthParameters extraProtocolParameters)
{
    const QNetworkRequest request = signedRequest(
        parts("POST", url, "application/x-www-form-urlencoded", form, std::move(extraProtocolParameters)));
    co_return co_await finish(m_network.post(request, form));
}

QCoro::Task<OAuthAnswer> OAuthClient::postMultipart(QUrl url, QHttpMultiPart* multipart)
{
    const QNetworkRequest request = signedRequest(parts("POST", url, "multipart/form-data"));
    QNetworkReply* reply = m_network.post(request, multipart);
    multipart->setParent(reply);
    co_return co_await finish(reply);
}

QCoro::Task<OAuthAnswer> OAuthClient::finish(QNetworkReply* raw)
{
    std::unique_ptr<QNetworkReply, LaterDeleter> reply(raw);
    co_await reply.get();
    OAuthAnswer answer;
    answer.status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    answer.body = reply->readAll();
    for (const auto& [name, value] : reply->rawHeaderPairs())
        answer.headers.insert(name.toLower(), value);
    if (answer.status == 0) {
        answer.error = reply->error();
        answer.errorString = reply->errorString();
    }
    co_return answer;
}
