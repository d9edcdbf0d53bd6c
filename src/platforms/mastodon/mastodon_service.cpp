#include "platforms/mastodon/mastodon_service.h"

#include "core/json_values.h"

#include "media/image_encoder.h"
#include "media/media_error.h"
#include "model/social_account.h"
#include "platforms/mastodon/mastodon_instance.h"
#include "platforms/mastodon/mastodon_log.h"
#include "platforms/oauth/oauth_signer.h"
#include "text/mastodon_character_counter.h"

#include <QFile>
#include <QFileInfo>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QRegularExpression>
#include <QUrlQuery>

#include <qcoro/qcoronetworkreply.h>
#include <qcoro/qcorotimer.h>

#include <memory>

namespace {

struct LaterDeleter {
    void operator()(QObject* object) const { object->deleteLater(); }
};

// Nothing when the body is not JSON at all.
std::optional<Json> parseJson(const QByteArray& body)
{
    Json json = JsonValues::parseOrDiscard(std::string_view(body.constData(), size_t(body.size())));
    if (json.is_discarded())
        return std::nullopt;
    return json;
}

// A string member, or a number written as text (ids are strings, but forks differ).
QString stringOf(const Json& object, const char* key)
{
    if (!object.is_object())
        return {};
    const auto value = object.find(key);
    if (value == object.end())
        return {};
    if (value->is_string())
        return QString::fromStdString(value->get<std::string>());
    if (value->is_number_integer())
        return QString::number(value->get<qint64>());
    return {};
}

int intOf(const Json& object, const char* key)
{
    const auto value = object.find(key);
    return value != object.end() && value->is_number_integer() ? value->get<int>() : 0;
}

// The `error` text of a JSON error body; nothing for an HTML page or other text.
QString errorText(const QByteArray& body)
{
    const auto json = parseJson(body);
    return json ? stringOf(*json, "error") : QString();
}

QString bodyOrNoData(const QString& body)
{
    return body.isEmpty() ? QStringLiteral("no data") : body.left(2000);
}

QString seconds(std::chrono::milliseconds duration)
{
    return QString::number(double(duration.count()) / 1000.0);
}

QByteArray formEncode(const QList<std::pair<QByteArray, QString>>& fields)
{
    QByteArray form;
    for (const auto& [name, value] : fields) {
        if (!form.isEmpty())
            form += '&';
        form += name + '=' + OAuthSigner::percentEncode(value.toUtf8());
    }
    return form;
}

// "X-RateLimit-Reset" is an ISO 8601 time on Mastodon; a few servers send epoch seconds.
std::optional<QDateTime> rateLimitReset(const QByteArray& header)
{
    const QString text = QString::fromLatin1(header).trimmed();
    if (text.isEmpty())
        return std::nullopt;
    bool isNumber = false;
    const qint64 epoch = text.toLongLong(&isNumber);
    if (isNumber && epoch > 0)
        return QDateTime::fromSecsSinceEpoch(epoch, Qt::UTC);
    const std::optional<Timestamp> parsed = Timestamp::fromIso8601(text);
    if (!parsed)
        return std::nullopt;
    return parsed->toDateTime();
}

QString mediaTypeName(const PostMedia& item)
{
    return item.isVideo() ? QStringLiteral("video") : QStringLiteral("image");
}

// A fresh one per upload, so no byte of a file can be mistaken for it in practice.
QByteArray newBoundary()
{
    return QUuid::createUuid().toByteArray(QUuid::WithoutBraces).toUpper();
}

QString withoutTags(const QString& html)
{
    static const QRegularExpression tags(QStringLiteral("<[^>]+>"));
    QString text = html;
    return text.remove(tags);
}

QString codeOf(const QUrl& callback)
{
    return QUrlQuery(callback).queryItemValue(QStringLiteral("code"), QUrl::FullyDecoded).trimmed();
}

QByteArray multipartContentType(const QByteArray& boundary)
{
    return "multipart/form-data; boundary=" + boundary;
}

bool isGif(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && file.read(4) == "GIF8";
}

} // namespace

MastodonCredentials MastodonCredentials::fromAccount(const SocialAccount& account)
{
    return {account.id, account.mastodonInstance(), account.credential(CredentialKeys::clientId),
            account.credential(CredentialKeys::clientSecret), account.credential(CredentialKeys::accessToken)};
}

MastodonService::MastodonService(QNetworkAccessManager& network, MastodonCredentials credentials, ImageEncoder& images,
                                 MastodonServiceOptions options, QObject* parent)
    : QObject(parent)
    , m_network(network)
    , m_credentials(std::move(credentials))
    , m_images(images)
    , m_options(std::move(options))
    , m_base(m_options.baseUrl)
{
    if (m_base.isEmpty()) {
        m_base.setScheme(QStringLiteral("https"));
        m_base.setHost(m_credentials.instance);
    }
    if (!m_credentials.clientId.isEmpty())
        qCInfo(lcMastodon).noquote() << QStringLiteral("Initializing MastodonService with client ID: ") + m_credentials.clientId;
}

std::unique_ptr<MastodonService> MastodonService::forAccount(QNetworkAccessManager& network, const SocialAccount& account,
                                                             ImageEncoder& images, const Endpoints& endpoints,
                                                             MastodonServiceOptions options)
{
    MastodonCredentials credentials = MastodonCredentials::fromAccount(account);
    options.baseUrl = MastodonInstance::baseUrl(credentials.instance, endpoints);
    auto service = std::make_unique<MastodonService>(network, std::move(credentials), images, std::move(options));
    service->setLimits(MastodonInstanceLimits::fromAccount(account));
    return service;
}

QString MastodonService::idempotencyKey(const QUuid& scheduledPostId, const QUuid& accountId, int index)
{
    // A name-based UUID: the same post of the same publication through the same account
    // always gets the same key, and the key says nothing about either id.
    static const QUuid kNamespace(QStringLiteral("{6f1c1f5e-3b8a-4d55-9a51-8d0a3c7e2b19}"));
    const QString name = scheduledPostId.toString(QUuid::WithoutBraces) + u'/'
        + accountId.toString(QUuid::WithoutBraces) + u'/' + QString::number(index);
    return QUuid::createUuidV5(kNamespace, name).toString(QUuid::WithoutBraces);
}

void MastodonService::cancel()
{
    m_cancelled = true;
    if (m_inFlight)
        m_inFlight->abort();
}

void MastodonService::throwIfCancelled() const
{
    if (m_cancelled)
        throw MastodonError(MastodonError::Kind::cancelled);
}

QString MastodonService::scrub(const QString& text) const
{
    QString clean = text;
    for (const QString& secret : {m_credentials.accessToken, m_credentials.clientSecret}) {
        if (secret.size() >= 4)
            clean.replace(secret, QStringLiteral("[redacted]"));
    }
    return clean;
}

QUrl MastodonService::url(const QString& path) const
{
    QUrl result = m_base;
    const qsizetype question = path.indexOf(u'?');
    result.setPath(m_base.path() + (question < 0 ? path : path.left(question)));
    if (question >= 0)
        result.setQuery(path.mid(question + 1));
    return result;
}

QNetworkRequest MastodonService::networkRequest(const Request& request) const
{
    QNetworkRequest network(url(request.path));
    network.setTransferTimeout(request.timeoutMs > 0 ? request.timeoutMs : m_options.timeoutMs);
    network.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    if (request.authorized)
        network.setRawHeader("Authorization", "Bearer " + m_credentials.accessToken.toUtf8());
    if (!request.contentType.isEmpty())
        network.setRawHeader("Content-Type", request.contentType);
    for (const auto& [name, value] : std::as_const(request.headers))
        network.setRawHeader(name, value);
    return network;
}

QCoro::Task<MastodonService::Answer> MastodonService::send(Request request)
{
    const QNetworkRequest network = networkRequest(request);
    std::unique_ptr<QNetworkReply, LaterDeleter> reply(request.method == "GET"
                                                           ? m_network.get(network)
                                                           : m_network.post(network, request.body));
    m_inFlight = reply.get();
    if (request.uploadProgress)
        QObject::connect(reply.get(), &QNetworkReply::uploadProgress, this, request.uploadProgress);
    co_await reply.get();
    m_inFlight = nullptr;

    Answer answer;
    // Errors below 200 are the connection's (refused, reset, timed out, aborted): whatever
    // status line arrived before, the answer was lost.
    const QNetworkReply::NetworkError error = reply->error();
    if (error != QNetworkReply::NoError && error < QNetworkReply::ContentAccessDenied) {
        answer.error = reply->errorString();
        co_return answer;
    }
    answer.status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    answer.body = reply->readAll();
    for (const auto& [name, value] : reply->rawHeaderPairs())
        answer.headers.insert(name.toLower(), value);
    if (answer.status == 0)
        answer.error = QStringLiteral("Invalid HTTP response");
    co_return answer;
}

QCoro::Task<void> MastodonService::wait(std::chrono::milliseconds duration)
{
    throwIfCancelled();
    co_await QCoro::sleepFor(duration);
    throwIfCancelled();
}

void MastodonService::throwForStatus(const Answer& answer) const
{
    if (answer.status == 0)
        throw MastodonError(MastodonError::Kind::requestFailed, answer.error);
    const QString detail = errorText(answer.body);
    if (answer.status == 401)
        throw MastodonError(MastodonError::Kind::authenticationError, detail, 401);
    if (answer.status == 429)
        throw MastodonError(MastodonError::Kind::rateLimited, detail, 429, rateLimitReset(answer.headers.value("x-ratelimit-reset")));
    throw MastodonError(MastodonError::Kind::apiError, detail, answer.status);
}

// --- Connecting ---

QCoro::Task<MastodonApp> MastodonService::registerApp(QString redirectUri)
{
    Json body;
    body["client_name"] = kClientName;
    body["redirect_uris"] = redirectUri.toStdString();
    body["scopes"] = kScopes;
    body["website"] = kWebsite;
    Request request;
    request.method = "POST";
    request.path = QStringLiteral("/api/v1/apps");
    request.body = QByteArray::fromStdString(body.dump());
    request.contentType = "application/json";
    request.authorized = false;
    const Answer answer = co_await send(std::move(request));

    const auto json = answer.isSuccess() ? parseJson(answer.body) : std::nullopt;
    const MastodonApp app{json ? stringOf(*json, "client_id") : QString(), json ? stringOf(*json, "client_secret") : QString()};
    if (app.clientId.isEmpty() || app.clientSecret.isEmpty()) {
        // A successful answer holds the new secret, so only failures are shown.
        const QString shown = answer.isSuccess() ? QStringLiteral("(an answer without client_id and client_secret)")
                                                 : bodyOrNoData(scrub(answer.body));
        qCWarning(lcMastodon).noquote() << QStringLiteral("Failed to register app with Mastodon. Response: ") + shown;
        if (answer.isSuccess())
            throw MastodonError(MastodonError::Kind::invalidResponse);
        throwForStatus(answer);
    }
    m_credentials.clientId = app.clientId;
    m_credentials.clientSecret = app.clientSecret;
    qCInfo(lcMastodon).noquote() << QStringLiteral("Successfully registered app. Client ID: ") + app.clientId;
    co_return app;
}

QUrl MastodonService::authorizationUrl(const QString& redirectUri) const
{
    QUrl authorize = url(QStringLiteral("/oauth/authorize"));
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("client_id"), m_credentials.clientId);
    query.addQueryItem(QStringLiteral("redirect_uri"), redirectUri);
    query.addQueryItem(QStringLiteral("response_type"), QStringLiteral("code"));
    query.addQueryItem(QStringLiteral("scope"), QString::fromLatin1(kScopes));
    authorize.setQuery(query);
    return authorize;
}

QCoro::Task<void> MastodonService::handleCallback(QUrl callback)
{
    const QUrlQuery query(callback);
    const QString code = codeOf(callback);
    if (code.isEmpty()) {
        // The person pressed "Deny", or the instance sent something else back.
        if (query.hasQueryItem(QStringLiteral("error")))
            throw MastodonError::connectFailed(403, query.queryItemValue(QStringLiteral("error"), QUrl::FullyDecoded));
        throw MastodonError::connectFailed(400, QStringLiteral("the callback carried no code"));
    }
    co_await exchangeCode(code, QString::fromLatin1(kRedirectUri));
}

QCoro::Task<QString> MastodonService::exchangeCode(QString code, QString redirectUri)
{
    Request request;
    request.method = "POST";
    request.path = QStringLiteral("/oauth/token");
    request.body = formEncode({{"client_id", m_credentials.clientId},
                               {"client_secret", m_credentials.clientSecret},
                               {"redirect_uri", redirectUri},
                               {"grant_type", QStringLiteral("authorization_code")},
                               {"code", code},
                               {"scope", QString::fromLatin1(kTokenScopes)}});
    request.contentType = "application/x-www-form-urlencoded";
    request.authorized = false;
    const Answer answer = co_await send(std::move(request));
    if (!answer.isSuccess()) {
        qCWarning(lcMastodon).noquote() << QStringLiteral("Mastodon token exchange failed: ")
                + (answer.status ? QStringLiteral("HTTP %1").arg(answer.status) : answer.error);
        throwForStatus(answer);
    }
    const auto json = parseJson(answer.body);
    const QString token = json ? stringOf(*json, "access_token") : QString();
    if (token.isEmpty())
        throw MastodonError(MastodonError::Kind::invalidResponse, QStringLiteral("no access_token in the token answer"));
    m_credentials.accessToken = token;
    co_return token;
}

QCoro::Task<MastodonAccount> MastodonService::verifyCredentials()
{
    Request request;
    request.path = QStringLiteral("/api/v1/accounts/verify_credentials");
    const Answer answer = co_await send(std::move(request));
    if (!answer.isSuccess())
        throwForStatus(answer);
    const auto json = parseJson(answer.body);
    MastodonAccount account;
    if (json) {
        account.id = stringOf(*json, "id");
        account.username = stringOf(*json, "username");
        account.acct = stringOf(*json, "acct");
        account.url = QUrl(stringOf(*json, "url"));
    }
    if (account.id.isEmpty())
        throw MastodonError(MastodonError::Kind::invalidResponse, QStringLiteral("no account id in verify_credentials"));
    co_return account;
}

QCoro::Task<MastodonInstanceLimits> MastodonService::fetchInstanceLimits()
{
    for (const QString& path : {QStringLiteral("/api/v2/instance"), QStringLiteral("/api/v1/instance")}) {
        Request request;
        request.path = path;
        request.authorized = false;
        const Answer answer = co_await send(std::move(request));
        throwIfCancelled();
        const auto json = answer.isSuccess() ? parseJson(answer.body) : std::nullopt;
        const auto limits = json ? MastodonInstanceLimits::fromInstanceDocument(*json) : std::nullopt;
        if (!limits) {
            qCInfo(lcMastodon).noquote() << QStringLiteral("No instance limits from ") + path + QStringLiteral(": ")
                    + (answer.status ? QStringLiteral("HTTP %1").arg(answer.status) : answer.error);
            continue;
        }
        m_limits = *limits;
        qCInfo(lcMastodon).noquote() << QStringLiteral("Instance allows %1 characters and %2 attachments")
                                            .arg(m_limits.maxCharacters)
                                            .arg(m_limits.maxMediaAttachments);
        Q_EMIT instanceLimitsFetched(m_limits);
        co_return m_limits;
    }
    throw MastodonError(MastodonError::Kind::invalidResponse, QStringLiteral("the instance describes no limits"));
}

// --- Media ---

QCoro::Task<QString> MastodonService::uploadMedia(PostMedia item, StateCallback onStateChange)
{
    throwIfCancelled();
    const QString type = mediaTypeName(item);
    const QString path = item.localFile();
    qCInfo(lcMastodon).noquote() << QStringLiteral("Starting upload for media type: ") + type + QStringLiteral(", path: ") + path;
    if (onStateChange)
        onStateChange(MastodonPublishState::preparingMedia(type));

    // No co_await inside a conditional expression: GCC 12 destroys its temporaries twice.
    Upload upload;
    if (item.isVideo())
        upload = prepareVideo(path);
    else
        upload = co_await prepareImage(path);
    const QString alt = item.altText.value_or(QString());
    const QString mediaId = co_await sendUpload(std::move(upload), alt, onStateChange);
    if (item.isVideo()) {
        qCInfo(lcMastodon) << "Waiting for video processing...";
        co_await waitForProcessing(mediaId);
    }
    co_return mediaId;
}

QCoro::Task<MastodonService::Upload> MastodonService::prepareImage(QString path)
{
    const qint64 limit = m_limits.imageSizeLimit > 0 ? std::min(m_limits.imageSizeLimit, kMaxMediaSize) : kMaxMediaSize;
    if (isGif(path)) {
        // Re-encoding would stop an animation; a GIF goes as it is.
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            throw MastodonError(MastodonError::Kind::invalidMedia, path);
        Upload gif{file.readAll(), QString(), QStringLiteral("gif"), QStringLiteral("image/gif")};
        co_return gif;
    }
    try {
        ImageEncodeRequest png{path, ImageFormat::png, std::nullopt};
        QByteArray data = co_await m_images.encode(std::move(png));
        if (data.size() <= limit) {
            qCInfo(lcMastodon).noquote() << QStringLiteral("Using PNG format for image upload: %1 bytes").arg(data.size());
            Upload encoded{std::move(data), QString(), QStringLiteral("png"), QStringLiteral("image/png")};
            co_return encoded;
        }
    } catch (const MediaError& error) {
        qCInfo(lcMastodon).noquote() << QStringLiteral("PNG encoding failed: ") + error.message();
    }
    QByteArray jpeg;
    try {
        ImageEncodeRequest request{path, ImageFormat::jpeg, limit};
        jpeg = co_await m_images.encode(std::move(request));
    } catch (const MediaError& error) {
        qCWarning(lcMastodon).noquote() << QStringLiteral("Failed to create JPEG representation: ") + error.message();
        throw MastodonError(MastodonError::Kind::invalidMedia, error.message());
    }
    qCInfo(lcMastodon).noquote() << QStringLiteral("Falling back to JPEG format: %1 bytes").arg(jpeg.size());
    Upload upload{std::move(jpeg), QString(), QStringLiteral("jpg"), QStringLiteral("image/jpeg")};
    co_return upload;
}

void MastodonService::checkVideoSize(const QString& path) const
{
    const QFileInfo info(path);
    if (!info.isFile())
        throw MastodonError(MastodonError::Kind::invalidMedia, path);
    const qint64 limit = m_limits.videoSizeLimit > 0 ? std::min(m_limits.videoSizeLimit, kMaxMediaSize) : kMaxMediaSize;
    if (info.size() <= limit)
        return;
    qCWarning(lcMastodon).noquote() << QStringLiteral("File size exceeds limit: %1").arg(info.size());
    throw MastodonError::uploadFailed(std::nullopt,
                                      QStringLiteral("File size %1 bytes exceeds limit of %2 bytes").arg(info.size()).arg(limit));
}

MastodonService::Upload MastodonService::prepareVideo(const QString& path) const
{
    // Measured on disk: a file over the limit is refused before it is read or sent.
    checkVideoSize(path);
    const QString extension = QFileInfo(path).suffix().toLower();
    return {QByteArray(), path, extension, QStringLiteral("video/") + extension};
}

MastodonService::Request MastodonService::uploadRequest(const QByteArray& body, const QByteArray& boundary) const
{
    Request request;
    request.method = "POST";
    request.path = QStringLiteral("/api/v1/media");
    request.body = body;
    request.contentType = multipartContentType(boundary);
    request.timeoutMs = m_options.uploadTimeoutMs;
    return request;
}

QByteArray MastodonService::multipartBody(const Upload& upload, const QString& altText, const QByteArray& boundary) const
{
    const QByteArray crlf = "\r\n";
    QByteArray body;
    QFile file(upload.file);
    if (!upload.file.isEmpty() && !file.open(QIODevice::ReadOnly))
        throw MastodonError(MastodonError::Kind::invalidMedia, upload.file);
    const qint64 size = upload.file.isEmpty() ? upload.data.size() : file.size();
    body.reserve(size + 1024);
    body += "--" + boundary + crlf;
    body += "Content-Disposition: form-data; name=\"file\"; filename=\"media." + upload.extension.toUtf8() + "\"" + crlf;
    body += "Content-Type: " + upload.mimeType.toUtf8() + crlf + crlf;
    if (upload.file.isEmpty()) {
        body += upload.data;
    } else {
        // Read into its place in the body: the file is never held twice.
        const qsizetype at = body.size();
        body.resize(at + size);
        if (file.read(body.data() + at, size) != size)
            throw MastodonError(MastodonError::Kind::invalidMedia, upload.file);
    }
    body += crlf;
    if (!altText.isEmpty()) {
        body += "--" + boundary + crlf;
        body += "Content-Disposition: form-data; name=\"description\"" + crlf + crlf;
        body += altText.toUtf8() + crlf;
    }
    body += "--" + boundary + crlf;
    body += "Content-Disposition: form-data; name=\"focus\"" + crlf + crlf;
    body += "0,0" + crlf;
    body += "--" + boundary + "--" + crlf;
    return body;
}

QCoro::Task<QString> MastodonService::sendUpload(Upload upload, QString altText, StateCallback onStateChange)
{
    if (upload.data.size() > kMaxMediaSize) {
        qCWarning(lcMastodon).noquote() << QStringLiteral("File size exceeds limit: %1").arg(upload.data.size());
        throw MastodonError::uploadFailed(std::nullopt, QStringLiteral("File size %1 bytes exceeds limit of %2 bytes")
                                                            .arg(upload.data.size())
                                                            .arg(kMaxMediaSize));
    }
    if (!upload.file.isEmpty())
        checkVideoSize(upload.file);
    const QString type = upload.mimeType.section(u'/', 0, 0);
    const QByteArray boundary = newBoundary();
    const QByteArray body = multipartBody(upload, altText, boundary);
    upload.data.clear();

    Answer answer;
    for (int attempt = 1; attempt <= kUploadAttempts; ++attempt) {
        throwIfCancelled();
        qCInfo(lcMastodon).noquote() << QStringLiteral("Upload attempt %1/%2").arg(attempt).arg(kUploadAttempts);
        if (onStateChange)
            onStateChange(MastodonPublishState::uploadingMedia(type, 0));
        Request request = uploadRequest(body, boundary);
        if (onStateChange) {
            request.uploadProgress = [onStateChange, type](qint64 sent, qint64 total) {
                if (total > 0)
                    onStateChange(MastodonPublishState::uploadingMedia(type, double(sent) / double(total)));
            };
        }
        answer = co_await send(std::move(request));
        throwIfCancelled();
        if (answer.isSuccess())
            break;
        if (!answer.isRetryable()) {
            qCWarning(lcMastodon).noquote() << QStringLiteral("Upload failed with status %1").arg(answer.status);
            if (answer.status == 429)
                throwForStatus(answer);
            throw MastodonError::uploadFailed(answer.status, errorText(answer.body));
        }
        if (attempt == kUploadAttempts)
            break;
        const auto delay = m_options.retryUnit * (2 * attempt);
        if (answer.status == 0)
            qCWarning(lcMastodon).noquote() << QStringLiteral("Upload error: ") + answer.error
                    + QStringLiteral(", retrying in %1s...").arg(seconds(delay));
        else
            qCWarning(lcMastodon).noquote() << QStringLiteral("Server returned %1, retrying in %2s...")
                                                   .arg(answer.status)
                                                   .arg(seconds(delay));
        co_await wait(delay);
    }
    if (!answer.isSuccess()) {
        qCWarning(lcMastodon) << "Upload failed after 3 attempts";
        if (answer.status == 0)
            throw MastodonError(MastodonError::Kind::requestFailed, answer.error);
        throw MastodonError::uploadFailed(answer.status, errorText(answer.body));
    }

    const auto json = parseJson(answer.body);
    if (!json) {
        qCWarning(lcMastodon) << "Invalid JSON response";
        throw MastodonError(MastodonError::Kind::invalidResponse, QStringLiteral("media upload answer is not JSON"));
    }
    const QString id = stringOf(*json, "id");
    if (id.isEmpty())
        throw MastodonError(MastodonError::Kind::invalidResponse, QStringLiteral("media upload answer without id"));
    if (onStateChange)
        onStateChange(MastodonPublishState::uploadingMedia(type, 1));
    qCInfo(lcMastodon).noquote() << QStringLiteral("Successfully uploaded media with ID: ") + id;
    co_return id;
}

QCoro::Task<void> MastodonService::waitForProcessing(QString mediaId)
{
    const int polls = m_options.maxProcessingPolls;
    for (int attempt = 1; attempt <= polls; ++attempt) {
        if (attempt > 1)
            co_await wait(m_options.processingPollInterval);
        Request request;
        request.path = QStringLiteral("/api/v1/media/") + mediaId;
        const Answer answer = co_await send(std::move(request));
        throwIfCancelled();
        if (answer.status == 0) {
            qCWarning(lcMastodon).noquote() << QStringLiteral("Error checking media status: ") + answer.error;
            continue;
        }
        if (!answer.isSuccess()) {
            qCWarning(lcMastodon).noquote() << QStringLiteral("Failed to check media status (attempt %1/%2)").arg(attempt).arg(polls);
            continue;
        }
        const auto json = parseJson(answer.body);
        const bool hasProcessing = json && json->is_object() && json->contains("processing") && (*json)["processing"].is_object();
        // Mastodon itself answers 206 while the file is being processed.
        if (!hasProcessing && answer.status != 206) {
            qCInfo(lcMastodon) << "Video processing complete!";
            co_return;
        }
        if (hasProcessing) {
            const Json& processing = (*json)["processing"];
            if (processing.value("state", "") == "failed")
                throw MastodonError(MastodonError::Kind::mediaProcessingFailed, mediaId);
            const double progress = processing.contains("progress") && processing["progress"].is_number()
                ? processing["progress"].get<double>() : 0.0;
            qCInfo(lcMastodon).noquote() << QStringLiteral("Video processing: %1%").arg(qRound(progress * 100));
        }
        qCInfo(lcMastodon).noquote() << QStringLiteral("Video still processing (attempt %1/%2)").arg(attempt).arg(polls);
    }
    qCWarning(lcMastodon) << "Video processing timeout - proceeding anyway";
}

// --- Statuses ---

QCoro::Task<MastodonPostResult> MastodonService::post(MastodonStatus status)
{
    throwIfCancelled();
    Json body;
    body["status"] = status.text.toStdString();
    body["visibility"] = "public";
    if (!status.mediaIds.isEmpty()) {
        Json ids = Json::array();
        for (const QString& id : std::as_const(status.mediaIds))
            ids.push_back(id.toStdString());
        body["media_ids"] = std::move(ids);
    }
    if (!status.inReplyToId.isEmpty())
        body["in_reply_to_id"] = status.inReplyToId.toStdString();

    Request request;
    request.method = "POST";
    request.path = QStringLiteral("/api/v1/statuses");
    request.body = QByteArray::fromStdString(body.dump());
    request.contentType = "application/json";
    if (!status.idempotencyKey.isEmpty())
        request.headers.append({"Idempotency-Key", status.idempotencyKey.toUtf8()});
    co_return co_await postOnce(request, !status.idempotencyKey.isEmpty());
}

QCoro::Task<MastodonPostResult> MastodonService::postOnce(const Request& request, bool mayRetry)
{
    // Without the key a lost answer may hide a status that was created, so only a
    // keyed request is sent again.
    const int attempts = mayRetry ? kUploadAttempts : 1;
    Answer answer;
    for (int attempt = 1; attempt <= attempts; ++attempt) {
        answer = co_await send(request);
        throwIfCancelled();
        if (!answer.isRetryable() || attempt == attempts)
            break;
        const auto delay = m_options.retryUnit * (2 * attempt);
        qCWarning(lcMastodon).noquote() << QStringLiteral("Mastodon post attempt %1 got %2, retrying in %3s...")
                                               .arg(attempt)
                                               .arg(answer.status ? QString::number(answer.status) : answer.error)
                                               .arg(seconds(delay));
        co_await wait(delay);
    }
    if (answer.status == 0)
        throw MastodonError(MastodonError::Kind::requestFailed, answer.error);
    if (!answer.isSuccess()) {
        qCWarning(lcMastodon).noquote() << QStringLiteral("Mastodon post failed: HTTP %1").arg(answer.status);
        qCWarning(lcMastodon).noquote() << QStringLiteral("Mastodon error response: ") + bodyOrNoData(scrub(answer.body));
        if (answer.status >= 500)
            throw MastodonError(MastodonError::Kind::serverError, errorText(answer.body), answer.status);
        if (answer.status == 401 || answer.status == 429)
            throwForStatus(answer);
        throw MastodonError(MastodonError::Kind::postFailed, errorText(answer.body), answer.status);
    }
    const auto json = parseJson(answer.body);
    if (!json) {
        qCWarning(lcMastodon) << "Mastodon post failed: Invalid JSON response";
        throw MastodonError(MastodonError::Kind::invalidResponse);
    }
    if (!json->is_object()) {
        qCWarning(lcMastodon) << "Mastodon post failed: Invalid response type";
        throw MastodonError(MastodonError::Kind::invalidResponse);
    }
    const QString id = stringOf(*json, "id");
    if (id.isEmpty()) {
        qCWarning(lcMastodon) << "Mastodon post failed: No ID in response";
        throw MastodonError(MastodonError::Kind::postFailed, QStringLiteral("no id in the answer"));
    }
    MastodonPostResult result{id, QUrl(stringOf(*json, "url"))};
    qCInfo(lcMastodon).noquote() << QStringLiteral("✅ Posted to Mastodon: ") + result.url.toString();
    co_return result;
}

QCoro::Task<QStringList> MastodonService::uploadAll(QList<PostMedia> items, StateCallback onStateChange)
{
    const int attachments = std::min(m_limits.maxMediaAttachments, kMaxMediaAttachments);
    if (items.size() > attachments) {
        qCWarning(lcMastodon).noquote() << QStringLiteral("⚠️ Mastodon takes %1 attachments per post; the others are left out")
                                               .arg(attachments);
        items = items.first(attachments);
    }
    QStringList ids;
    for (const PostMedia& item : std::as_const(items)) {
        const QString id = co_await uploadMedia(item, onStateChange);
        ids.append(id);
    }
    co_return ids;
}

QCoro::Task<MastodonPostResult> MastodonService::publish(Post item, QString inReplyToId, QString idempotencyKey,
                                                         StateCallback onStateChange)
{
    const QStringList mediaIds = co_await uploadAll(item.mediaItems, onStateChange);
    MastodonStatus status{item.text, mediaIds, inReplyToId, idempotencyKey};
    co_return co_await post(std::move(status));
}

QCoro::Task<QList<MastodonPostResult>> MastodonService::postThread(MastodonThread thread, StateCallback onStateChange,
                                                                   PostedCallback onPosted)
{
    QList<MastodonPostResult> results;
    if (thread.firstIndex >= thread.posts.size())
        co_return results;
    throwIfCancelled();
    if (m_credentials.accessToken.isEmpty())
        throw MastodonError(MastodonError::Kind::invalidConfiguration);
    try {
        co_await fetchInstanceLimits();
    } catch (const MastodonError& error) {
        if (error.kind() == MastodonError::Kind::cancelled)
            throw;
        qCWarning(lcMastodon).noquote() << QStringLiteral("⚠️ Using the cached instance limits: ") + QString::fromUtf8(error.what());
    }
    const int total = int(thread.posts.size());
    for (int i = thread.firstIndex; i < total; ++i) {
        const qsizetype length = MastodonCharacterCounter::length(thread.posts.at(i).text);
        if (length > m_limits.maxCharacters)
            throw MastodonError(MastodonError::Kind::textTooLong,
                                QStringLiteral("Post %1 is too long for this Mastodon instance (%2 of %3 characters)")
                                    .arg(i + 1)
                                    .arg(length)
                                    .arg(m_limits.maxCharacters));
    }

    // A thread that cannot be finished is not started: videos are measured first.
    for (int i = thread.firstIndex; i < total; ++i) {
        for (const PostMedia& item : thread.posts.at(i).mediaItems) {
            if (item.isVideo())
                checkVideoSize(item.localFile());
            else if (!QFileInfo(item.localFile()).isFile())
                throw MastodonError(MastodonError::Kind::invalidMedia, item.localFile());
        }
    }

    const QUuid seed = thread.scheduledPostId.isNull() ? QUuid::createUuid() : thread.scheduledPostId;
    QString previous = thread.replyTo;
    for (int i = thread.firstIndex; i < total; ++i) {
        throwIfCancelled();
        const Post& item = thread.posts.at(i);
        const QStringList mediaIds = co_await uploadAll(item.mediaItems, onStateChange);
        if (onStateChange)
            onStateChange(MastodonPublishState::publishingPost(i + 1, total));
        MastodonStatus status{item.text, mediaIds, previous, idempotencyKey(seed, m_credentials.accountId, i)};
        const MastodonPostResult result = co_await post(std::move(status));
        previous = result.id;
        results.append(result);
        if (onPosted)
            onPosted(i, result);
    }
    co_return results;
}

// --- Recent posts ---

QCoro::Task<QList<RecentPost>> MastodonService::fetchRecentPosts(int limit)
{
    QString accountId;
    try {
        const MastodonAccount account = co_await verifyCredentials();
        accountId = account.id;
    } catch (const MastodonError& error) {
        qCWarning(lcMastodon).noquote() << QStringLiteral("Failed to get Mastodon account ID: ") + QString::fromUtf8(error.what());
        throw;
    }
    Request request;
    request.path = QStringLiteral("/api/v1/accounts/") + QString::fromLatin1(QUrl::toPercentEncoding(accountId))
        + QStringLiteral("/statuses?limit=%1&exclude_replies=true&exclude_reblogs=true").arg(limit);
    const Answer answer = co_await send(std::move(request));
    if (answer.status == 0)
        throw MastodonError(MastodonError::Kind::requestFailed, answer.error);
    if (!answer.isSuccess())
        throw MastodonError(MastodonError::Kind::apiError, errorText(answer.body), answer.status);
    const auto json = parseJson(answer.body);
    if (!json || !json->is_array())
        throw MastodonError(MastodonError::Kind::unparsableResponse);

    QList<RecentPost> posts;
    for (const Json& status : *json) {
        if (!status.is_object())
            continue;
        RecentPost post;
        post.platform = PlatformType::mastodon;
        post.id = stringOf(status, "id");
        post.text = withoutTags(stringOf(status, "content"));
        const QString created = stringOf(status, "created_at");
        post.createdAt = Timestamp::fromIso8601(created);
        if (!post.createdAt)
            qCWarning(lcMastodon).noquote() << QStringLiteral("Failed to parse Mastodon timestamp: ") + created;
        post.replyCount = intOf(status, "replies_count");
        post.repostCount = intOf(status, "reblogs_count");
        post.likeCount = intOf(status, "favourites_count");
        post.url = QUrl(stringOf(status, "url"));
        posts.append(post);
    }
    co_return posts;
}
