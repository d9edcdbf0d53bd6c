#include "platforms/x/x_service.h"

#include "core/json.h"
#include "core/json_values.h"
#include "media/image_encoder.h"
#include "media/media_error.h"
#include "platforms/x/x_image_file.h"
#include "platforms/x/x_log.h"

#include <QBuffer>
#include <QFile>
#include <QHttpMultiPart>
#include <QNetworkAccessManager>
#include <QUrlQuery>

#include <qcoro/qcorotimer.h>

#include <algorithm>

namespace {

// Nothing when the body is not a JSON object.
std::optional<Json> parseObject(const QByteArray& body)
{
    Json json = JsonValues::parseOrDiscard(std::string_view(body.constData(), size_t(body.size())));
    if (json.is_discarded() || !json.is_object())
        return std::nullopt;
    return json;
}

// data.<key> as text (X sends ids as strings; a number is accepted too).
QString dataString(const Json& json, const char* key)
{
    const auto data = json.find("data");
    if (data == json.end() || !data->is_object())
        return {};
    const auto value = data->find(key);
    if (value == data->end())
        return {};
    if (value->is_string())
        return QString::fromStdString(value->get<std::string>());
    if (value->is_number_integer())
        return QString::number(value->get<qint64>());
    return {};
}

QString bodyOrNoData(const QByteArray& body)
{
    return body.isEmpty() ? QStringLiteral("no data") : QString::fromUtf8(body);
}

QByteArray toBytes(const Json& json)
{
    return QByteArray::fromStdString(json.dump());
}

} // namespace

XService::XService(QNetworkAccessManager& network, OAuthCredential credential, const Clock& clock, XHosts hosts,
                   XServiceOptions options, QObject* parent)
    : QObject(parent)
    , m_network(network)
    , m_client(network, std::move(credential), clock)
    , m_hosts(std::move(hosts))
    , m_options(options)
{
    m_client.setTimeout(m_options.timeoutMs);
}

void XService::updateCredentials(OAuthCredential credential)
{
    qCInfo(lcX) << "Updating X service credentials";
    m_client.setCredential(std::move(credential));
}

QUrl XService::apiUrl(const QString& path) const
{
    QUrl url = m_hosts.api;
    url.setPath(path);
    return url;
}

QUrl XService::tweetUrl(const QString& id) const
{
    QUrl url = m_hosts.web;
    url.setPath(QStringLiteral("/i/web/status/") + id);
    return url;
}

void XService::throwIfCancelled() const
{
    if (m_cancelled)
        throw XError(XError::Kind::cancelled);
}

void XService::throwFailure(const OAuthAnswer& answer, XError::Kind fallback) const
{
    if (answer.status == 0)
        throw XError(XError::Kind::networkError, answer.errorString);
    const QString body = bodyOrNoData(answer.body);
    if (answer.status == 429)
        throw XError(XError::Kind::rateLimited, body, 429, rateLimitReset(answer));
    if (answer.status == 400 || answer.status == 401 || answer.status == 403)
        throw XError::forStatus(answer.status, body);
    throw XError(fallback, body, answer.status);
}

std::optional<QDateTime> XService::rateLimitReset(const OAuthAnswer& answer)
{
    // Each window has a "remaining" and a "reset" header. The one that ran out decides;
    // when several did, the latest reset; when none says so, the per-endpoint window.
    static const std::pair<QByteArray, QByteArray> windows[] = {
        {"x-rate-limit-remaining", "x-rate-limit-reset"},
        {"x-user-limit-24hour-remaining", "x-user-limit-24hour-reset"},
        {"x-app-limit-24hour-remaining", "x-app-limit-24hour-reset"},
    };
    std::optional<qint64> exhausted;
    std::optional<qint64> any;
    for (const auto& [remainingName, resetName] : windows) {
        bool ok = false;
        const qint64 reset = answer.header(resetName).trimmed().toLongLong(&ok);
        if (!ok || reset <= 0)
            continue;
        if (!any || (resetName == "x-rate-limit-reset"))
            any = reset;
        if (answer.header(remainingName).trimmed() == "0")
            exhausted = std::max(exhausted.value_or(0), reset);
    }
    const std::optional<qint64> chosen = exhausted ? exhausted : any;
    if (!chosen)
        return std::nullopt;
    return QDateTime::fromSecsSinceEpoch(*chosen, Qt::UTC);
}

QCoro::Task<QString> XService::uploadMedia(PostMedia item, StateCallback onStateChange, XPublishState position)
{
    if (item.isVideo())
        co_return co_await uploadFile(item.localFile(), true, std::move(onStateChange), position);
    co_return co_await uploadImage(item.localFile(), std::move(onStateChange), position);
}

QCoro::Task<QString> XService::uploadImage(QString path, StateCallback onStateChange, XPublishState position)
{
    throwIfCancelled();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw XError(XError::Kind::mediaUnreadable, path + QStringLiteral(" (") + file.errorString() + u')');
    QByteArray bytes = file.readAll();
    file.close();
    const XImageFile::Kind kind = XImageFile::classify(bytes);
    UploadKind label{"image/jpeg", "tweet_image"};
    if (kind == XImageFile::Kind::animatedGif) {
        if (bytes.size() > XImageFile::kMaxGifBytes)
            throw XError(XError::Kind::mediaUnreadable, path + QStringLiteral(" (an animated GIF over 15 MB)"));
        label = {"image/gif", "tweet_gif"};
    } else if (kind != XImageFile::Kind::jpeg || bytes.size() > XImageFile::kMaxImageBytes) {
        // The label says JPEG: the bytes must be JPEG, and small enough for X.
        if (!m_images)
            throw XError(XError::Kind::mediaUnreadable, path + QStringLiteral(" (no image encoder to convert it to JPEG)"));
        qCInfo(lcX).noquote() << QStringLiteral("Re-encoding image as JPEG for X (%1 bytes): ").arg(bytes.size()) + path;
        ImageEncodeRequest request;
        request.input = path;
        request.format = ImageFormat::jpeg;
        request.maxBytes = XImageFile::kMaxImageBytes;
        try {
            bytes = co_await m_images->encode(std::move(request));
        } catch (const MediaError& error) {
            throw XError(XError::Kind::mediaUnreadable, path + QStringLiteral(" (") + error.message() + u')');
        }
        if (XImageFile::classify(bytes) != XImageFile::Kind::jpeg || bytes.size() > XImageFile::kMaxImageBytes)
            throw XError(XError::Kind::mediaUnreadable, path + QStringLiteral(" (could not be made a JPEG under 5 MB)"));
    }
    if (bytes.isEmpty())
        throw XError(XError::Kind::mediaUnreadable, path + QStringLiteral(" (empty file)"));
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    co_return co_await uploadDevice(buffer, bytes.size(), label, std::move(onStateChange), position);
}

QCoro::Task<XPostResult> XService::post(QString text, QList<PostMedia> mediaItems, QString replyTo, QString quoteOf,
                                        QString communityId, bool shareWithFollowers, StateCallback onStateChange)
{
    const auto report = [&](XPublishState state) {
        if (onStateChange)
            onStateChange(state);
    };
    XTweet tweet{text, {}, replyTo, quoteOf, communityId, shareWithFollowers};
    for (int i = 0; i < mediaItems.size(); ++i) {
        XPublishState position{XPublishState::Phase::uploadingMedia, i, int(mediaItems.size()), 0};
        const QString mediaId = co_await uploadMedia(mediaItems[i], onStateChange, position);
        const QString alt = mediaItems[i].altText.value_or(QString()).trimmed();
        if (!alt.isEmpty()) {
            position.phase = XPublishState::Phase::settingAltText;
            report(position);
            co_await setAltText(mediaId, alt);
        }
        tweet.mediaIds.append(mediaId);
    }
    throwIfCancelled();
    report({XPublishState::Phase::posting, 0, int(mediaItems.size()), 0});
    const XPostResult result = co_await postTweet(std::move(tweet));
    report({XPublishState::Phase::posted, 0, int(mediaItems.size()), 1});
    co_return result;
}

QCoro::Task<QList<XPostResult>> XService::postThread(QList<Post> thread, bool shareWithFollowers,
                                                     StateCallback onStateChange)
{
    // A cancel belongs to the publication it stopped, not to the next one through this client.
    resetCancellation();
    QList<XPostResult> results;
    QString previous;
    for (const Post& item : std::as_const(thread)) {
        throwIfCancelled();
        const QString quoteOf = item.quoteContext ? item.quoteContext->idOn(PlatformType::x).value_or(QString()) : QString();
        const QString community = item.communityContext ? item.communityContext->id : QString();
        const XPostResult result = co_await post(item.text, item.mediaItems, previous, quoteOf, community,
                                                 shareWithFollowers && !community.isEmpty(), onStateChange);
        previous = result.id;
        results.append(result);
    }
    co_return results;
}

QCoro::Task<XPostResult> XService::postTweet(XTweet tweet)
{
    throwIfCancelled();
    Json body;
    body["text"] = tweet.text.toStdString();
    if (!tweet.mediaIds.isEmpty()) {
        Json ids = Json::array();
        for (const QString& id : std::as_const(tweet.mediaIds))
            ids.push_back(id.toStdString());
        body["media"] = {{"media_ids", ids}};
    }
    if (!tweet.replyTo.isEmpty())
        body["reply"] = {{"in_reply_to_tweet_id", tweet.replyTo.toStdString()}};
    if (!tweet.quoteOf.isEmpty())
        body["quote_tweet_id"] = tweet.quoteOf.toStdString();
    if (!tweet.communityId.isEmpty()) {
        qCInfo(lcX).noquote() << QStringLiteral("Posting to community with ID: ") + tweet.communityId;
        body["community_id"] = tweet.communityId.toStdString();
        if (tweet.shareWithFollowers) {
            qCInfo(lcX) << "Sharing community post with followers as well";
            body["share_with_followers"] = true;
        }
    }

    const OAuthAnswer answer = co_await m_client.postJson(apiUrl(QStringLiteral("/2/tweets")), toBytes(body));
    if (answer.isSuccess()) {
        const auto json = parseObject(answer.body);
        const QString id = json ? dataString(*json, "id") : QString();
        if (!id.isEmpty()) {
            const XPostResult result{id, tweetUrl(id)};
            qCInfo(lcX).noquote() << QStringLiteral("Tweet posted successfully. URL: ") + result.url.toString();
            co_return result;
        }
        qCWarning(lcX).noquote() << QStringLiteral("Tweet post failed. Response: ") + bodyOrNoData(answer.body);
        throw XError(XError::Kind::postFailed, bodyOrNoData(answer.body), answer.status);
    }
    if (answer.status != 0)
        qCWarning(lcX).noquote() << QStringLiteral("Tweet post failed. Response: ") + bodyOrNoData(answer.body);
    qCWarning(lcX).noquote() << QStringLiteral("X API request failed: ")
            + (answer.status == 0 ? answer.errorString : QString::number(answer.status));
    throwFailure(answer, XError::Kind::apiError);
}

QCoro::Task<QString> XService::uploadFile(QString path, bool isVideo, StateCallback onStateChange,
                                          XPublishState position)
{
    throwIfCancelled();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw XError(XError::Kind::mediaUnreadable, path + QStringLiteral(" (") + file.errorString() + u')');
    const qint64 size = file.size();
    if (size <= 0)
        throw XError(XError::Kind::mediaUnreadable, path + QStringLiteral(" (empty file)"));
    const UploadKind kind = isVideo ? UploadKind{"video/mp4", "tweet_video"} : UploadKind{"image/jpeg", "tweet_image"};
    co_return co_await uploadDevice(file, size, kind, std::move(onStateChange), position);
}

QCoro::Task<QString> XService::uploadDevice(QIODevice& device, qint64 size, UploadKind kind, StateCallback onStateChange,
                                            XPublishState position)
{
    position.phase = XPublishState::Phase::uploadingMedia;
    position.fraction = 0;
    if (onStateChange)
        onStateChange(position);
    const QString mediaId = co_await initializeUpload(size, kind);
    co_await appendChunks(mediaId, device, size, onStateChange, position);
    co_await finalizeUpload(mediaId, onStateChange, position);
    co_return mediaId;
}

QCoro::Task<QString> XService::initializeUpload(qint64 totalBytes, UploadKind kind)
{
    throwIfCancelled();
    Json body;
    body["total_bytes"] = totalBytes;
    body["media_type"] = kind.mediaType;
    body["media_category"] = kind.category;
    const OAuthAnswer answer = co_await m_client.postJson(apiUrl(QStringLiteral("/2/media/upload/initialize")), toBytes(body));
    if (!answer.isSuccess())
        throwFailure(answer, XError::Kind::apiError);
    const auto json = parseObject(answer.body);
    const QString id = json ? dataString(*json, "id") : QString();
    if (id.isEmpty()) {
        const QString detail = QStringLiteral("Upload INIT returned unexpected body: ") + bodyOrNoData(answer.body);
        qCWarning(lcX).noquote() << detail;
        throw XError(XError::Kind::uploadInitFailed, detail, answer.status);
    }
    co_return id;
}

QCoro::Task<void> XService::appendChunks(const QString& mediaId, QIODevice& device, qint64 size,
                                         const StateCallback& onStateChange, XPublishState position)
{
    const QUrl url = apiUrl(QStringLiteral("/2/media/upload/") + mediaId + QStringLiteral("/append"));
    // The smallest chunk that still fits what is left into the segments left.
    const auto fitting = [size](qint64 offset, int segment) {
        const qint64 left = kMaxSegments - segment;
        return left <= 0 ? size : (size - offset + left - 1) / left;
    };
    qint64 chunkSize = std::max({m_options.initialChunkSize, kMinimumChunkSize, fitting(0, 0)});
    qint64 offset = 0;
    int segment = 0;
    while (offset < size) {
        throwIfCancelled();
        const qint64 length = std::min(chunkSize, size - offset);
        // Only this chunk is in memory: a file is read piece by piece from disk.
        QByteArray chunk;
        if (device.seek(offset))
            chunk = device.read(length);
        if (chunk.size() != length) {
            const auto* file = qobject_cast<const QFile*>(&device);
            throw XError(XError::Kind::mediaUnreadable,
                         (file ? file->fileName() : QStringLiteral("media")) + u" (" + device.errorString() + u')');
        }

        auto* multipart = new QHttpMultiPart(QHttpMultiPart::FormDataType);
        QHttpPart index;
        index.setHeader(QNetworkRequest::ContentDispositionHeader, QStringLiteral("form-data; name=\"segment_index\""));
        index.setBody(QByteArray::number(segment));
        QHttpPart media;
        media.setHeader(QNetworkRequest::ContentDispositionHeader, QStringLiteral("form-data; name=\"media\"; filename=\"blob\""));
        media.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/octet-stream"));
        media.setBody(chunk);
        multipart->append(index);
        multipart->append(media);
        chunk.clear();

        const OAuthAnswer answer = co_await m_client.postMultipart(url, multipart);
        if (answer.status == 413) {
            const qint64 smaller = std::max({chunkSize / 2, kMinimumChunkSize, fitting(offset, segment)});
            if (smaller >= chunkSize) {
                qCWarning(lcX) << "Payload too large for append";
                throw XError(XError::Kind::payloadTooLarge, QStringLiteral("Payload too large for append"), 413);
            }
            qCWarning(lcX).noquote() << QStringLiteral("APPEND 413 - reducing chunk size from %1 to %2 bytes and retrying")
                                            .arg(chunkSize)
                                            .arg(smaller);
            chunkSize = smaller;
            continue;
        }
        if (!answer.isSuccess())
            throwFailure(answer, XError::Kind::appendFailed);
        offset += length;
        ++segment;
        position.fraction = double(offset) / double(size);
        if (onStateChange)
            onStateChange(position);
    }
}

QCoro::Task<void> XService::finalizeUpload(const QString& mediaId, const StateCallback& onStateChange,
                                           XPublishState position)
{
    throwIfCancelled();
    qCInfo(lcX).noquote() << QStringLiteral("Finalizing upload for media ID: ") + mediaId;
    const OAuthAnswer answer =
        co_await m_client.postForm(apiUrl(QStringLiteral("/2/media/upload/") + mediaId + QStringLiteral("/finalize")), QByteArray());
    if (answer.status == 0) {
        qCWarning(lcX).noquote() << QStringLiteral("Upload finalize network error: ") + answer.errorString;
        throw XError(XError::Kind::finalizeFailed, answer.errorString);
    }
    if (!answer.isSuccess()) {
        qCWarning(lcX).noquote() << QStringLiteral("Upload finalize failed with status code: ") + QString::number(answer.status);
        throwFailure(answer, XError::Kind::finalizeFailed);
    }
    co_await waitForProcessing(mediaId, answer, onStateChange, position);
}

QCoro::Task<void> XService::waitForProcessing(const QString& mediaId, OAuthAnswer answer,
                                              const StateCallback& onStateChange, XPublishState position)
{
    position.phase = XPublishState::Phase::processingMedia;
    for (int polls = 0;; ++polls) {
        const auto json = parseObject(answer.body);
        if (!json)
            throw XError(XError::Kind::finalizeFailed, QStringLiteral("Unexpected media status: ") + bodyOrNoData(answer.body));
        const Json& data = json->contains("data") ? (*json)["data"] : *json;
        if (!data.is_object() || !data.contains("processing_info") || !data["processing_info"].is_object())
            co_return; // no processing needed: the media is ready
        const Json& info = data["processing_info"];
        const std::string state = info.value("state", "");
        if (state == "succeeded")
            co_return;
        if (state == "failed") {
            const std::string reason = info.contains("error") && info["error"].is_object()
                ? info["error"].value("message", "") : std::string();
            throw XError(XError::Kind::finalizeFailed,
                         QStringLiteral("Media processing failed for media ID: ") + mediaId + u' ' + QString::fromStdString(reason));
        }
        // "pending", "in_progress" and anything unknown: ask again after the given time.
        if (polls >= m_options.maxStatusPolls)
            throw XError(XError::Kind::finalizeFailed, QStringLiteral("Media processing did not finish for media ID: ") + mediaId);
        const int wait = info.contains("check_after_secs") && info["check_after_secs"].is_number_integer()
            ? std::clamp(info["check_after_secs"].get<int>(), 0, 600) : 1;
        position.fraction = info.value("progress_percent", 0) / 100.0;
        if (onStateChange)
            onStateChange(position);
        throwIfCancelled();
        co_await QCoro::sleepFor(m_options.checkAfterUnit * wait);
        throwIfCancelled();
        QUrl url = apiUrl(QStringLiteral("/2/media/upload"));
        url.setQuery(QUrlQuery({{QStringLiteral("command"), QStringLiteral("STATUS")}, {QStringLiteral("media_id"), mediaId}}));
        answer = co_await m_client.get(url);
        if (!answer.isSuccess())
            throwFailure(answer, XError::Kind::finalizeFailed);
    }
}

QCoro::Task<bool> XService::setAltText(QString mediaId, QString text)
{
    if (text.size() > kMaxAltTextLength) {
        qsizetype cut = kMaxAltTextLength;
        if (text[cut - 1].isHighSurrogate())
            --cut; // never half a character
        qCInfo(lcX).noquote() << QStringLiteral("Alt text cut from %1 to %2 characters for X").arg(text.size()).arg(cut);
        text.truncate(cut);
    }
    Json body;
    body["id"] = mediaId.toStdString();
    body["metadata"] = {{"alt_text", {{"text", text.toStdString()}}}};
    const OAuthAnswer answer = co_await m_client.postJson(apiUrl(QStringLiteral("/2/media/metadata")), toBytes(body));
    if (answer.isSuccess()) {
        qCInfo(lcX).noquote() << QStringLiteral("Successfully set alt text for media ID: ") + mediaId;
        co_return true;
    }
    if (answer.status == 0)
        qCWarning(lcX).noquote() << QStringLiteral("Failed to set alt text for media ID: ") + mediaId + u" (" + answer.errorString + u')';
    else
        qCWarning(lcX).noquote() << QStringLiteral("Failed to set alt text. Status: ") + QString::number(answer.status);
    co_return false;
}

QCoro::Task<XUser> XService::verifyCredentials()
{
    const OAuthAnswer answer = co_await m_client.get(apiUrl(QStringLiteral("/1.1/account/verify_credentials.json")));
    if (!answer.isSuccess())
        throwFailure(answer, XError::Kind::apiError);
    const auto json = parseObject(answer.body);
    if (!json || !json->contains("id_str") || !json->contains("screen_name"))
        throw XError(XError::Kind::apiError, QStringLiteral("Unexpected credential answer: ") + bodyOrNoData(answer.body), answer.status);
    XUser user;
    user.id = QString::fromStdString(json->value("id_str", ""));
    user.screenName = QString::fromStdString(json->value("screen_name", ""));
    user.name = QString::fromStdString(json->value("name", ""));
    co_return user;
}
