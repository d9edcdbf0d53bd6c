#include "platforms/bluesky/blue_sky_service.h"

#include "core/clock.h"
#include "core/endpoints.h"
#include "core/json_values.h"
#include "media/image_encoder.h"
#include "media/media_error.h"
#include "platforms/bluesky/blue_sky_log.h"
#include "platforms/bluesky/image_header.h"
#include "platforms/bluesky/link_metadata.h"
#include "text/bluesky_character_counter.h"

#include <QFile>
#include <QFileInfo>
#include <QNetworkAccessManager>
#include <QNetworkRequest>
#include <QScopeGuard>
#include <QTimer>
#include <QUuid>

#include <qcoro/qcoronetworkreply.h>
#include <qcoro/qcorotimer.h>

#include <memory>

namespace {

constexpr char kPostCollection[] = "app.bsky.feed.post";

struct LaterDeleter {
    void operator()(QObject* object) const { object->deleteLater(); }
};

std::optional<Json> parseObject(const QByteArray& body)
{
    Json json = JsonValues::parseOrDiscard(std::string_view(body.constData(), size_t(body.size())));
    if (json.is_discarded() || !json.is_object())
        return std::nullopt;
    return json;
}

QString stringAt(const Json& object, const char* key)
{
    const auto found = object.find(key);
    if (found == object.end() || !found->is_string())
        return {};
    return QString::fromStdString(found->get<std::string>());
}

int intAt(const Json& object, const char* key)
{
    const auto found = object.find(key);
    return found != object.end() && found->is_number_integer() ? found->get<int>() : 0;
}

std::optional<BlueSkyRecordRef> refAt(const Json& object)
{
    if (!object.is_object())
        return std::nullopt;
    BlueSkyRecordRef ref{stringAt(object, "uri"), stringAt(object, "cid")};
    if (!ref.isValid())
        return std::nullopt;
    return ref;
}

QString mediaType(const PostMedia& media)
{
    return media.isVideo() ? QStringLiteral("video") : QStringLiteral("image");
}

QString extensionFor(const QString& mimeType)
{
    if (mimeType == QStringLiteral("image/png"))
        return QStringLiteral(".png");
    if (mimeType == QStringLiteral("image/gif"))
        return QStringLiteral(".gif");
    if (mimeType == QStringLiteral("image/webp"))
        return QStringLiteral(".webp");
    return QStringLiteral(".jpg");
}

QByteArray dump(const Json& json)
{
    return QByteArray::fromStdString(json.dump());
}

// The part of a Content-Type header before its parameters, and its charset parameter.
std::pair<QByteArray, QByteArray> splitContentType(const QByteArray& header)
{
    const QList<QByteArray> parts = header.split(';');
    QByteArray charset;
    for (qsizetype i = 1; i < parts.size(); ++i) {
        const QByteArray part = parts[i].trimmed();
        if (part.toLower().startsWith("charset="))
            charset = part.mid(8).trimmed().replace('"', "");
    }
    return {parts.value(0).trimmed().toLower(), charset};
}

} // namespace

BlueSkyHosts BlueSkyHosts::forAccount(const SocialAccount& account, const Endpoints& endpoints)
{
    BlueSkyHosts hosts;
    if (const std::optional<QUrl> base = endpoints.baseFor(QStringLiteral("bluesky"))) {
        hosts.service = *base;
        return hosts;
    }
    const QUrl service(account.credential(CredentialKeys::service).trimmed(), QUrl::StrictMode);
    if (!service.isValid() || service.host().isEmpty()
        || (service.scheme() != QStringLiteral("https") && service.scheme() != QStringLiteral("http")))
        return hosts;
    // Requests append "/xrpc/...": keep no trailing slash.
    hosts.service = service.adjusted(QUrl::StripTrailingSlash | QUrl::RemoveQuery | QUrl::RemoveFragment);
    if (hosts.service.path() == QStringLiteral("/"))
        hosts.service.setPath(QString());
    return hosts;
}

Json BlueSkyLinkCard::toJson() const
{
    Json external;
    external["uri"] = uri.toStdString();
    external["title"] = title.toStdString();
    external["description"] = description.toStdString();
    if (thumb)
        external["thumb"] = *thumb;
    return {{"$type", "app.bsky.embed.external"}, {"external", external}};
}

BlueSkyService::BlueSkyService(QNetworkAccessManager& network, QString handle, QString appPassword, const Clock& clock,
                               ImageEncoder& images, BlueSkyHosts hosts, BlueSkyServiceOptions options, QObject* parent)
    : QObject(parent)
    , m_network(network)
    , m_handle(normalizedHandle(std::move(handle)))
    , m_appPassword(std::move(appPassword))
    , m_clock(clock)
    , m_images(images)
    , m_hosts(std::move(hosts))
    , m_options(options)
{
}

std::unique_ptr<BlueSkyService> BlueSkyService::forAccount(QNetworkAccessManager& network, const SocialAccount& account,
                                                           const Clock& clock, ImageEncoder& images,
                                                           const Endpoints& endpoints, QObject* parent)
{
    return std::make_unique<BlueSkyService>(network, account.credential(CredentialKeys::handle),
                                            account.credential(CredentialKeys::appPassword), clock, images,
                                            BlueSkyHosts::forAccount(account, endpoints), BlueSkyServiceOptions{}, parent);
}

void BlueSkyService::cancel()
{
    m_cancelled = true;
    if (m_inFlight)
        m_inFlight->abort();
}

void BlueSkyService::throwIfCancelled() const
{
    if (m_cancelled)
        throw BlueSkyError(BlueSkyError::Kind::cancelled);
}

void BlueSkyService::report(const StateCallback& progress, const BlueSkyPublishState& state) const
{
    if (progress)
        progress(state);
}

QString BlueSkyService::normalizedHandle(QString handle)
{
    handle = handle.trimmed();
    if (handle.startsWith(u'@'))
        handle.remove(0, 1);
    // Handles are case-insensitive; the network's own form is lower case.
    return handle.toLower();
}

QUrl BlueSkyService::postURL(const QString& handle, const QString& rkey) const
{
    QUrl url = m_hosts.web;
    url.setPath(QStringLiteral("/profile/") + normalizedHandle(handle) + QStringLiteral("/post/") + rkey);
    return url;
}

QString BlueSkyService::rkeyOf(const QString& uri)
{
    return uri.section(u'/', -1);
}

std::optional<BlueSkyService::AtUri> BlueSkyService::parseAtUri(const QString& uri)
{
    const QString scheme = QStringLiteral("at://");
    if (!uri.startsWith(scheme))
        return std::nullopt;
    const QStringList parts = uri.mid(scheme.size()).split(u'/');
    if (parts.size() != 3 || parts.contains(QString()))
        return std::nullopt;
    return AtUri{parts[0], parts[1], parts[2]};
}

void BlueSkyService::validate(const QString& text, const QList<PostMedia>& media, const QString& quoteUri,
                              const QString& replyTo)
{
    if (!quoteUri.isEmpty() && !parseAtUri(quoteUri))
        throw BlueSkyError(BlueSkyError::Kind::postFailed, QStringLiteral("Invalid quote URI format"));
    if (!replyTo.isEmpty() && !parseAtUri(replyTo))
        throw BlueSkyError(BlueSkyError::Kind::postFailed, QStringLiteral("Invalid reply URI format"));
    const CharacterCount count = BlueskyCharacterCounter::count(text);
    if (!count.fits())
        throw BlueSkyError(BlueSkyError::Kind::postFailed,
                           count.length > count.limit
                               ? QStringLiteral("The post is %1 characters long; BlueSky allows %2")
                                     .arg(count.length)
                                     .arg(count.limit)
                               : QStringLiteral("The post is %1 bytes long; BlueSky allows %2")
                                     .arg(count.bytes)
                                     .arg(count.byteLimit));
    qsizetype images = 0;
    qsizetype videos = 0;
    for (const PostMedia& item : media) {
        if (item.isMissing)
            throw BlueSkyError(BlueSkyError::Kind::invalidMedia, QStringLiteral("a media file is missing"));
        item.isVideo() ? ++videos : ++images;
    }
    if (images > kMaxImages)
        throw BlueSkyError(BlueSkyError::Kind::invalidMedia,
                           QStringLiteral("a post can carry at most %1 images, this one has %2").arg(kMaxImages).arg(images));
    if (videos > 1 || (videos > 0 && images > 0))
        throw BlueSkyError(BlueSkyError::Kind::invalidMedia,
                           QStringLiteral("a post can carry up to four images or one video, not both"));
    for (const PostMedia& item : media) {
        if (item.isVideo() && QFileInfo(item.localFile()).suffix().toLower() != QStringLiteral("mp4"))
            throw BlueSkyError(BlueSkyError::Kind::invalidMedia,
                               QStringLiteral("only MP4 videos can be sent; export this video as MP4 first"));
    }
}

// --- requests ---------------------------------------------------------------------

QNetworkRequest BlueSkyService::request(const Call& call) const
{
    QUrl url = m_hosts.service;
    url.setPath(url.path() + QStringLiteral("/xrpc/") + call.method);
    if (!call.query.isEmpty())
        url.setQuery(call.query);
    QNetworkRequest request(url);
    request.setTransferTimeout(m_options.timeoutMs);
    if (!call.contentType.isEmpty())
        request.setRawHeader("Content-Type", call.contentType);
    if (call.authorized && m_authToken)
        request.setRawHeader("Authorization", "Bearer " + m_authToken->toUtf8());
    for (auto it = call.headers.cbegin(); it != call.headers.cend(); ++it)
        request.setRawHeader(it.key(), it.value());
    return request;
}

QCoro::Task<BlueSkyService::Answer> BlueSkyService::perform(Call call)
{
    throwIfCancelled();
    const QNetworkRequest network = request(call);
    std::unique_ptr<QFile> file;
    QNetworkReply* raw = nullptr;
    if (!call.bodyFile.isEmpty()) {
        file = std::make_unique<QFile>(call.bodyFile);
        if (!file->open(QIODevice::ReadOnly))
            throw BlueSkyError(BlueSkyError::Kind::invalidMedia, call.bodyFile + QStringLiteral(" cannot be read"));
        raw = m_network.sendCustomRequest(network, call.verb, file.get());
        file.release()->setParent(raw);
    } else if (call.verb == "GET") {
        raw = m_network.get(network);
    } else {
        raw = m_network.sendCustomRequest(network, call.verb, call.body);
    }
    std::unique_ptr<QNetworkReply, LaterDeleter> reply(raw);
    m_inFlight = raw;
    if (call.uploadProgress) {
        QObject::connect(raw, &QNetworkReply::uploadProgress, raw, [progress = call.uploadProgress](qint64 sent, qint64 total) {
            if (total > 0)
                progress(double(sent) / double(total));
        });
    }
    co_await raw;
    m_inFlight = nullptr;
    throwIfCancelled();
    Answer answer;
    answer.status = raw->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    answer.body = raw->readAll();
    for (const auto& [name, value] : raw->rawHeaderPairs())
        answer.headers.insert(name.toLower(), value);
    if (answer.status == 0)
        answer.errorString = raw->errorString();
    co_return answer;
}

void BlueSkyService::classify(const Answer& answer)
{
    qCDebug(lcBlueSky) << "🔍 Handling HTTP response:" << answer.status;
    if (answer.isSuccess())
        return;
    if (answer.status == 0)
        throw BlueSkyError(BlueSkyError::Kind::requestFailed, answer.errorString);
    if (answer.status == 429) {
        qCWarning(lcBlueSky) << "⚠️ Rate limited";
        bool ok = false;
        const double reset = answer.headers.value("ratelimit-reset").trimmed().toDouble(&ok);
        if (ok && reset > 0)
            m_rateLimitReset = Timestamp::fromUnixSeconds(reset);
        throw BlueSkyError(BlueSkyError::Kind::rateLimited, {}, 429, ok && reset > 0 ? m_rateLimitReset : std::nullopt);
    }
    if (answer.body.isEmpty())
        throw BlueSkyError(BlueSkyError::Kind::postFailed, QStringLiteral("No response data"), answer.status);
    const std::optional<Json> json = parseObject(answer.body);
    const QString error = json ? stringAt(*json, "error") : QString();
    // A body that is not JSON (a proxy's error page) is still shown, cut short.
    const QString message = json ? stringAt(*json, "message") : QString::fromUtf8(answer.body.left(200)).simplified();
    qCWarning(lcBlueSky).noquote() << QStringLiteral("❌ Error response data:") << answer.status << error;
    qCWarning(lcBlueSky).noquote() << QStringLiteral("📝 Error message:") << message;
    if (message.contains(QStringLiteral("Token has expired")) || error == QStringLiteral("ExpiredToken")) {
        qCInfo(lcBlueSky) << "🔄 Token expired";
        throw BlueSkyError(BlueSkyError::Kind::authenticationError, QStringLiteral("Token expired"), answer.status);
    }
    if (message == QStringLiteral("Invalid identifier or password")) {
        if (answer.status == 403)
            qCWarning(lcBlueSky) << "🚫 Invalid credentials (403)";
        else if (answer.status == 401)
            qCWarning(lcBlueSky) << "🚫 Invalid credentials (401)";
        else
            qCWarning(lcBlueSky) << "🚫 Invalid credentials";
        throw BlueSkyError(BlueSkyError::Kind::invalidCredentials, {}, answer.status);
    }
    if (answer.status == 401) {
        qCWarning(lcBlueSky) << "🔒 Unauthorized";
        throw BlueSkyError(BlueSkyError::Kind::authenticationError, QStringLiteral("Unauthorized"), answer.status);
    }
    const QString detail = message.isEmpty() ? error : message;
    switch (answer.status) {
    case 400:
        throw BlueSkyError(BlueSkyError::Kind::postFailed, QStringLiteral("Bad request: ") + detail, 400);
    case 403:
        throw BlueSkyError(BlueSkyError::Kind::postFailed, QStringLiteral("Forbidden: ") + detail, 403);
    case 404:
        throw BlueSkyError(BlueSkyError::Kind::postFailed, QStringLiteral("Not found: ") + detail, 404);
    default:
        throw BlueSkyError(BlueSkyError::Kind::postFailed, detail, answer.status);
    }
}

QCoro::Task<BlueSkyService::Answer> BlueSkyService::performAuthorized(Call call)
{
    if (!m_authToken)
        co_await authenticate();
    Answer answer = co_await perform(call);
    bool expired = false;
    try {
        classify(answer);
        co_return answer;
    } catch (const BlueSkyError& error) {
        if (!error.isTokenExpired())
            throw;
        expired = true;
    }
    if (expired) {
        m_authToken.reset();
        co_await authenticate();
        answer = co_await perform(std::move(call));
        answer.retried = true;
        classify(answer);
    }
    co_return answer;
}

// --- session ----------------------------------------------------------------------

QCoro::Task<void> BlueSkyService::authenticate()
{
    qCInfo(lcBlueSky).noquote() << QStringLiteral("🔑 Starting BlueSky authentication for handle:") << m_handle;
    Call call;
    call.verb = "POST";
    call.method = QStringLiteral("com.atproto.server.createSession");
    call.contentType = "application/json";
    call.authorized = false;
    call.body = dump({{"identifier", m_handle.toStdString()}, {"password", m_appPassword.toStdString()}});
    const Answer answer = co_await perform(std::move(call));
    if (answer.status != 200) {
        classify(answer);
        // Another 2xx than 200 is no session either.
        throw BlueSkyError(BlueSkyError::Kind::authenticationError, QStringLiteral("Invalid response format"), answer.status);
    }
    const std::optional<Json> json = parseObject(answer.body);
    const QString token = json ? stringAt(*json, "accessJwt") : QString();
    if (token.isEmpty())
        throw BlueSkyError(BlueSkyError::Kind::authenticationError, QStringLiteral("Invalid response format"), 200);
    qCInfo(lcBlueSky) << "✅ Authentication successful, storing token";
    m_authToken = token;
}

QCoro::Task<bool> BlueSkyService::getSession()
{
    if (!m_authToken)
        co_return false;
    Call call;
    call.method = QStringLiteral("com.atproto.server.getSession");
    const Answer answer = co_await perform(std::move(call));
    if (answer.status == 0)
        throw BlueSkyError(BlueSkyError::Kind::requestFailed, answer.errorString);
    co_return answer.status == 200;
}

// --- publishing -------------------------------------------------------------------

QCoro::Task<BlueSkyRecordRef> BlueSkyService::post(QString text, QList<PostMedia> media, QString quoteUri,
                                                   QString replyTo, StateCallback progress)
{
    validate(text, media, quoteUri, replyTo);
    std::optional<BlueSkyReplyRef> reply;
    if (!replyTo.isEmpty()) {
        if (!m_authToken) {
            report(progress, BlueSkyPublishState::authenticating());
            co_await authenticate();
        }
        reply = co_await replyRefFor(replyTo);
    }
    co_return co_await publish(std::move(text), std::move(media), std::move(quoteUri), reply, 1, 1, progress);
}

QCoro::Task<BlueSkyThreadResult> BlueSkyService::postThread(QList<Post> posts, StateCallback progress,
                                                            PostedCallback onPosted,
                                                            std::optional<BlueSkyReplyRef> continueFrom)
{
    const auto quoteOf = [](const Post& post) {
        return post.quoteContext ? post.quoteContext->idOn(PlatformType::bluesky).value_or(QString()) : QString();
    };
    for (const Post& post : std::as_const(posts))
        validate(post.text, post.mediaItems, quoteOf(post));

    BlueSkyThreadResult result;
    std::optional<BlueSkyReplyRef> reply = continueFrom;
    const int total = int(posts.size());
    for (int i = 0; i < total; ++i) {
        throwIfCancelled();
        const Post& post = posts[i];
        const BlueSkyRecordRef posted =
            co_await publish(post.text, post.mediaItems, quoteOf(post), reply, i + 1, total, progress);
        // Each reply names the thread's root and the post just before it; both are
        // known here, so no getRecord is needed.
        reply = BlueSkyReplyRef{reply ? reply->root : posted, posted};
        result.posts.append(posted);
        if (onPosted)
            onPosted(i, posted);
    }
    if (!result.posts.isEmpty()) {
        const QString head = continueFrom ? continueFrom->root.uri : result.posts.first().uri;
        result.url = postURL(m_handle, rkeyOf(head));
    }
    co_return result;
}

QCoro::Task<BlueSkyRecordRef> BlueSkyService::publish(QString text, QList<PostMedia> media, QString quoteUri,
                                                      std::optional<BlueSkyReplyRef> reply, int index, int total,
                                                      StateCallback progress)
{
    throwIfCancelled();
    if (!m_authToken) {
        report(progress, BlueSkyPublishState::authenticating());
        co_await authenticate();
    }
    const BlueSkyText rich = co_await processText(text);
    const std::optional<Json> embed = co_await buildEmbed(rich, media, quoteUri, progress);

    Json record;
    record["$type"] = kPostCollection;
    record["text"] = rich.text.toStdString();
    record["createdAt"] = m_clock.now().toIso8601().toStdString();
    record["facets"] = BlueSkyRichText::toJson(rich.facets);
    if (reply)
        record["reply"] = {{"root", reply->root.toJson()}, {"parent", reply->parent.toJson()}};
    if (embed)
        record["embed"] = *embed;
    throwIfCancelled();
    report(progress, BlueSkyPublishState::publishingPost(index, total));
    co_return co_await createRecord(std::move(record));
}

QCoro::Task<BlueSkyRecordRef> BlueSkyService::createRecord(Json record)
{
    qCDebug(lcBlueSky).noquote() << QStringLiteral("Final record structure:") << QString::fromStdString(record.dump());
    Json body;
    body["repo"] = m_handle.toStdString();
    body["collection"] = kPostCollection;
    body["record"] = std::move(record);
    qCDebug(lcBlueSky).noquote() << QStringLiteral("Final post structure:") << QString::fromStdString(body.dump());
    Call call;
    call.verb = "POST";
    call.method = QStringLiteral("com.atproto.repo.createRecord");
    call.contentType = "application/json";
    call.body = dump(body);
    const Answer answer = co_await performAuthorized(std::move(call));
    const std::optional<Json> json = parseObject(answer.body);
    const std::optional<BlueSkyRecordRef> created = json ? refAt(*json) : std::nullopt;
    if (!created)
        throw BlueSkyError(BlueSkyError::Kind::postFailed,
                           answer.retried ? QStringLiteral("Invalid response format on retry")
                                          : QStringLiteral("Invalid response format"),
                           answer.status);
    qCInfo(lcBlueSky).noquote() << QStringLiteral("✅ Posted to BlueSky:") << created->uri;
    co_return *created;
}

QCoro::Task<BlueSkyRecordRef> BlueSkyService::fetchRecord(QString uri, bool quote, Json* value)
{
    const std::optional<AtUri> parts = parseAtUri(uri);
    if (!parts)
        throw BlueSkyError(BlueSkyError::Kind::postFailed,
                           quote ? QStringLiteral("Invalid quote URI format") : QStringLiteral("Invalid reply URI format"));
    Call call;
    call.method = QStringLiteral("com.atproto.repo.getRecord");
    call.query.addQueryItem(QStringLiteral("repo"), parts->repo);
    call.query.addQueryItem(QStringLiteral("collection"), QString::fromLatin1(kPostCollection));
    call.query.addQueryItem(QStringLiteral("rkey"), parts->rkey);
    const Answer answer = co_await performAuthorized(std::move(call));
    const std::optional<Json> json = parseObject(answer.body);
    const QString cid = json ? stringAt(*json, "cid") : QString();
    if (cid.isEmpty())
        throw BlueSkyError(BlueSkyError::Kind::postFailed,
                           quote ? QStringLiteral("Failed to get quote post CID") : QStringLiteral("Failed to get post CID"));
    if (value && json->contains("value"))
        *value = (*json)["value"];
    co_return BlueSkyRecordRef{uri, cid};
}

QCoro::Task<BlueSkyReplyRef> BlueSkyService::replyRefFor(QString parentUri)
{
    Json value;
    const BlueSkyRecordRef parent = co_await fetchRecord(parentUri, false, &value);
    // A reply to a reply keeps its thread's root; a top-level parent is its own root.
    std::optional<BlueSkyRecordRef> root;
    if (value.is_object() && value.contains("reply") && value["reply"].is_object() && value["reply"].contains("root"))
        root = refAt(value["reply"]["root"]);
    co_return BlueSkyReplyRef{root.value_or(parent), parent};
}

// --- embeds -----------------------------------------------------------------------

QCoro::Task<std::optional<Json>> BlueSkyService::buildEmbed(const BlueSkyText& text, const QList<PostMedia>& media,
                                                            const QString& quoteUri, const StateCallback& progress)
{
    QList<PostMedia> images;
    std::optional<PostMedia> video;
    for (const PostMedia& item : media) {
        if (item.isVideo())
            video = item;
        else
            images.append(item);
    }
    std::optional<Json> mediaEmbed;
    if (!images.isEmpty())
        mediaEmbed = co_await imagesEmbed(images, progress);
    else if (video)
        mediaEmbed = co_await videoEmbed(*video, progress);

    if (!quoteUri.isEmpty()) {
        const BlueSkyRecordRef quoted = co_await fetchRecord(quoteUri, true);
        if (!mediaEmbed)
            co_return Json{{"$type", "app.bsky.embed.record"}, {"record", quoted.toJson()}};
        co_return Json{{"$type", "app.bsky.embed.recordWithMedia"},
                       {"record", {{"record", quoted.toJson()}}},
                       {"media", *mediaEmbed}};
    }
    if (mediaEmbed)
        co_return mediaEmbed;
    if (text.firstLink.isEmpty())
        co_return std::nullopt;
    const std::optional<BlueSkyLinkCard> card = co_await fetchLinkCard(text.firstLink);
    if (!card)
        co_return std::nullopt;
    co_return card->toJson();
}

QCoro::Task<Json> BlueSkyService::imagesEmbed(QList<PostMedia> images, StateCallback progress)
{
    Json list = Json::array();
    for (int i = 0; i < images.size(); ++i) {
        const Json image = co_await uploadImage(images[i], i, progress);
        list.push_back(image);
    }
    co_return Json{{"$type", "app.bsky.embed.images"}, {"images", list}};
}

QCoro::Task<Json> BlueSkyService::uploadImage(PostMedia image, int index, StateCallback progress)
{
    const QString type = mediaType(image);
    report(progress, BlueSkyPublishState::preparingMedia(type));
    const QString path = image.localFile();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw BlueSkyError(BlueSkyError::Kind::invalidMedia, path + QStringLiteral(" cannot be read"));
    QByteArray bytes = file.readAll();
    file.close();
    std::optional<ImageHeader> header = ImageHeader::read(bytes);

    // Formats the network cannot show, and files over its blob limit, are re-encoded.
    const bool sendable = header && header->mimeType != QStringLiteral("image/gif");
    if (!sendable || bytes.size() > kMaxImageBytes) {
        qCInfo(lcBlueSky).noquote() << QStringLiteral("Re-encoding image for BlueSky (%1 bytes):").arg(bytes.size())
                                    << path;
        ImageEncodeRequest encode;
        encode.input = path;
        encode.format = ImageFormat::jpeg;
        encode.maxBytes = kMaxImageBytes;
        try {
            bytes = co_await m_images.encode(std::move(encode));
        } catch (const MediaError& error) {
            throw BlueSkyError(BlueSkyError::Kind::invalidMedia, error.message());
        }
        header = ImageHeader::read(bytes);
        if (!header || bytes.size() > kMaxImageBytes)
            throw BlueSkyError(BlueSkyError::Kind::invalidMedia,
                               path + QStringLiteral(" could not be made smaller than 1,000,000 bytes"));
    }

    report(progress, BlueSkyPublishState::uploadingMedia(type, 0));
    const QString fileName = QString::number(index) + u'_' + QUuid::createUuid().toString(QUuid::WithoutBraces)
        + extensionFor(header->mimeType);
    Json blob;
    try {
        blob = co_await uploadBlob(bytes, header->mimeType, fileName);
    } catch (const BlueSkyError& error) {
        if (error.kind() != BlueSkyError::Kind::postFailed)
            throw;
        qCWarning(lcBlueSky).noquote() << QStringLiteral("Upload Error Response:") << error.detail();
        throw BlueSkyError(BlueSkyError::Kind::uploadFailed,
                           QStringLiteral("Failed to upload image (") + error.detail() + u')', error.status());
    }
    report(progress, BlueSkyPublishState::uploadingMedia(type, 1));

    Json entry;
    entry["image"] = blob;
    entry["alt"] = image.altText.value_or(QString()).toStdString();
    entry["aspectRatio"] = {{"width", header->width}, {"height", header->height}};
    co_return entry;
}

QCoro::Task<Json> BlueSkyService::videoEmbed(PostMedia video, StateCallback progress)
{
    const QString type = mediaType(video);
    report(progress, BlueSkyPublishState::preparingMedia(type));
    const QString path = video.localFile();
    if (!QFileInfo(path).isReadable())
        throw BlueSkyError(BlueSkyError::Kind::invalidMedia, path + QStringLiteral(" cannot be read"));
    Call call;
    call.verb = "POST";
    call.method = QStringLiteral("com.atproto.repo.uploadBlob");
    call.contentType = "video/mp4";
    call.bodyFile = path;
    call.headers.insert("X-Filename", (QUuid::createUuid().toString(QUuid::WithoutBraces) + QStringLiteral(".mp4")).toUtf8());
    call.uploadProgress = [this, progress, type](double fraction) {
        report(progress, BlueSkyPublishState::uploadingMedia(type, fraction));
    };
    report(progress, BlueSkyPublishState::uploadingMedia(type, 0));
    Answer answer;
    try {
        answer = co_await performAuthorized(std::move(call));
    } catch (const BlueSkyError& error) {
        if (error.kind() != BlueSkyError::Kind::postFailed)
            throw;
        qCWarning(lcBlueSky).noquote() << QStringLiteral("BlueSky Video Upload Error Response:") << error.detail();
        throw BlueSkyError(BlueSkyError::Kind::uploadFailed,
                           QStringLiteral("Failed to upload video (") + error.detail() + u')', error.status());
    }
    const std::optional<Json> json = parseObject(answer.body);
    if (!json || !json->contains("blob") || !(*json)["blob"].is_object())
        throw BlueSkyError(BlueSkyError::Kind::uploadFailed, QStringLiteral("Failed to upload video"), answer.status);
    Json embed;
    embed["$type"] = "app.bsky.embed.video";
    embed["video"] = (*json)["blob"];
    if (video.altText && !video.altText->isEmpty())
        embed["alt"] = video.altText->toStdString();
    co_return embed;
}

QCoro::Task<Json> BlueSkyService::uploadBlob(QByteArray data, QString mimeType, QString fileName)
{
    Call call;
    call.verb = "POST";
    call.method = QStringLiteral("com.atproto.repo.uploadBlob");
    call.contentType = mimeType.toUtf8();
    call.body = std::move(data);
    if (!fileName.isEmpty())
        call.headers.insert("X-Filename", fileName.toUtf8());
    const Answer answer = co_await performAuthorized(std::move(call));
    const std::optional<Json> json = parseObject(answer.body);
    if (!json || !json->contains("blob") || !(*json)["blob"].is_object()) {
        qCWarning(lcBlueSky).noquote() << QStringLiteral("Upload Error Response:") << QString::fromUtf8(answer.body.left(200));
        throw BlueSkyError(BlueSkyError::Kind::uploadFailed, QStringLiteral("Failed to upload image"), answer.status);
    }
    qCDebug(lcBlueSky).noquote() << QStringLiteral("Upload Response blob:") << QString::fromStdString((*json)["blob"].dump());
    co_return (*json)["blob"];
}

// --- rich text and link cards ----------------------------------------------------

QCoro::Task<QString> BlueSkyService::resolveHandle(QString handle)
{
    handle = normalizedHandle(handle);
    if (const auto known = m_dids.constFind(handle); known != m_dids.constEnd())
        co_return *known;
    Call call;
    call.method = QStringLiteral("com.atproto.identity.resolveHandle");
    call.query.addQueryItem(QStringLiteral("handle"), handle);
    call.authorized = false;
    const Answer answer = co_await perform(std::move(call));
    const std::optional<Json> json = answer.isSuccess() ? parseObject(answer.body) : std::nullopt;
    const QString did = json ? stringAt(*json, "did") : QString();
    if (!did.startsWith(QStringLiteral("did:"))) {
        if (answer.status == 429)
            classify(answer);
        throw BlueSkyError(BlueSkyError::Kind::postFailed, QStringLiteral("Failed to resolve DID for handle ") + handle,
                           answer.status);
    }
    m_dids.insert(handle, did);
    co_return did;
}

QCoro::Task<BlueSkyText> BlueSkyService::processText(QString text)
{
    BlueSkyRichText::Result rich = BlueSkyRichText::process(text);
    BlueSkyText result{std::move(rich.text), std::move(rich.facets), std::move(rich.firstLink)};
    for (const BlueSkyRichText::Mention& mention : std::as_const(rich.mentions)) {
        QString did;
        try {
            did = co_await resolveHandle(mention.handle);
        } catch (const BlueSkyError& error) {
            if (error.kind() == BlueSkyError::Kind::cancelled)
                throw;
            qCInfo(lcBlueSky).noquote() << QStringLiteral(" Could not resolve DID for handle:") << mention.handle;
            continue;
        }
        result.facets.append({BlueSkyFacet::Kind::mention, mention.byteStart, mention.byteEnd, did});
        qCDebug(lcBlueSky).noquote() << QStringLiteral("👤 Added facet for mention:") << mention.handle;
    }
    co_return result;
}

QCoro::Task<BlueSkyService::Fetched> BlueSkyService::fetchBounded(QUrl url, qint64 maxBytes)
{
    throwIfCancelled();
    QNetworkRequest network(url);
    network.setRawHeader("User-Agent", kLinkCardUserAgent);
    network.setTransferTimeout(m_options.linkFetchTimeoutMs);
    network.setMaximumRedirectsAllowed(5);
    std::unique_ptr<QNetworkReply, LaterDeleter> reply(m_network.get(network));
    QNetworkReply* raw = reply.get();
    m_inFlight = raw;

    Fetched fetched;
    const auto takeData = [&fetched, raw, maxBytes] {
        fetched.body += raw->read(maxBytes - fetched.body.size());
        if (fetched.body.size() >= maxBytes && !raw->isFinished()) {
            fetched.truncated = true;
            raw->abort();
        }
    };
    const QMetaObject::Connection reading = QObject::connect(raw, &QNetworkReply::readyRead, raw, takeData);
    const auto disconnect = qScopeGuard([&reading] { QObject::disconnect(reading); });
    // A page that trickles in never trips the idle timeout: bound the whole fetch too.
    QTimer::singleShot(m_options.linkFetchTimeoutMs, raw, [raw] { raw->abort(); });
    co_await raw;
    m_inFlight = nullptr;
    throwIfCancelled();
    if (fetched.body.size() < maxBytes)
        fetched.body += raw->read(maxBytes - fetched.body.size());
    fetched.status = raw->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    fetched.contentType = raw->header(QNetworkRequest::ContentTypeHeader).toString().toUtf8();
    if (raw->error() != QNetworkReply::NoError && !fetched.truncated)
        fetched.status = 0;
    co_return fetched;
}

QCoro::Task<std::optional<BlueSkyLinkCard>> BlueSkyService::fetchLinkCard(QString url)
{
    qCInfo(lcBlueSky).noquote() << QStringLiteral("📝 Processing URL for metadata:") << url;
    const QUrl page(url, QUrl::StrictMode);
    if (!page.isValid() || (page.scheme() != QStringLiteral("https") && page.scheme() != QStringLiteral("http")))
        co_return std::nullopt;
    const Fetched fetched = co_await fetchBounded(page, m_options.linkPageMaxBytes);
    if (fetched.status != 200) {
        qCInfo(lcBlueSky).noquote() << QStringLiteral("Failed to fetch metadata for URL: ") + url;
        co_return std::nullopt;
    }
    const auto [contentType, charset] = splitContentType(fetched.contentType);
    // A link to a PDF or an image has no page to describe it.
    if (!contentType.isEmpty() && contentType != "text/html" && contentType != "application/xhtml+xml") {
        qCInfo(lcBlueSky).noquote() << QStringLiteral("Failed to fetch metadata for URL: ") + url;
        co_return std::nullopt;
    }
    const LinkMetadata metadata = LinkMetadata::parse(fetched.body, page, charset);
    qCInfo(lcBlueSky).noquote() << QStringLiteral("📄 Found metadata - Title: ") + metadata.title;
    BlueSkyLinkCard card{url, metadata.title, metadata.description, std::nullopt};
    if (!metadata.image.isEmpty())
        card.thumb = co_await uploadThumbnail(metadata.image);
    co_return card;
}

QCoro::Task<std::optional<Json>> BlueSkyService::uploadThumbnail(QUrl image)
{
    // One byte over the blob limit is enough to know the image is too big to send.
    const Fetched fetched = co_await fetchBounded(image, kMaxImageBytes + 1);
    const QByteArray mimeType = splitContentType(fetched.contentType).first;
    if (fetched.status != 200 || fetched.truncated || fetched.body.isEmpty() || !mimeType.startsWith("image/")) {
        qCInfo(lcBlueSky).noquote() << QStringLiteral("Dropping link card thumbnail:") << image.toString();
        co_return std::nullopt;
    }
    std::optional<Json> blob;
    try {
        blob = co_await uploadBlob(fetched.body, QString::fromLatin1(mimeType));
    } catch (const BlueSkyError& error) {
        // An expired or refused sign-in concerns the whole post; anything else only the thumbnail.
        if (error.kind() == BlueSkyError::Kind::authenticationError || error.kind() == BlueSkyError::Kind::invalidCredentials
            || error.kind() == BlueSkyError::Kind::cancelled)
            throw;
        qCInfo(lcBlueSky).noquote() << QStringLiteral("Dropping link card thumbnail:") << error.message();
    }
    co_return blob;
}

// --- recent posts -----------------------------------------------------------------

QCoro::Task<QList<RecentPost>> BlueSkyService::fetchRecentPosts()
{
    int retries = 0;
    for (;;) {
        std::optional<BlueSkyError> failure;
        try {
            co_return co_await fetchRecentPostsOnce();
        } catch (const BlueSkyError& error) {
            const QString text = QString::fromUtf8(error.what());
            const bool expired = text.contains(QStringLiteral("ExpiredToken")) || text.contains(QStringLiteral("Token expired"))
                || text.contains(QStringLiteral("Unauthorized"));
            if (!expired)
                throw;
            failure = error;
        }
        if (retries >= 3) {
            qCWarning(lcBlueSky) << "Failed to fetch posts after 3 retry attempts";
            throw BlueSkyError(BlueSkyError::Kind::authenticationError,
                               QStringLiteral("Failed to authenticate after 3 attempts"), failure->status());
        }
        ++retries;
        qCInfo(lcBlueSky).noquote() << QStringLiteral("Token expired, waiting %1s before retry attempt %1 of 3...").arg(retries);
        co_await QCoro::sleepFor(m_options.retryUnit * retries);
        m_authToken.reset();
        co_await authenticate();
    }
}

QCoro::Task<QList<RecentPost>> BlueSkyService::fetchRecentPostsOnce()
{
    if (!m_authToken)
        co_await authenticate();
    Call call;
    call.method = QStringLiteral("app.bsky.feed.getAuthorFeed");
    call.query.addQueryItem(QStringLiteral("actor"), m_handle);
    call.query.addQueryItem(QStringLiteral("limit"), QStringLiteral("100"));
    call.query.addQueryItem(QStringLiteral("filter"), QStringLiteral("posts_no_replies"));
    const Answer answer = co_await perform(std::move(call));
    classify(answer);
    const std::optional<Json> json = parseObject(answer.body);
    if (!json || !json->contains("feed") || !(*json)["feed"].is_array())
        throw BlueSkyError(BlueSkyError::Kind::invalidResponse, {}, answer.status);
    QList<RecentPost> posts;
    for (const Json& item : (*json)["feed"]) {
        if (!item.is_object() || !item.contains("post") || !item["post"].is_object())
            continue;
        const Json& post = item["post"];
        const Json record = post.contains("record") && post["record"].is_object() ? post["record"] : Json::object();
        RecentPost recent;
        recent.platform = PlatformType::bluesky;
        recent.id = stringAt(post, "uri");
        recent.text = stringAt(record, "text");
        const QString createdAt = stringAt(record, "createdAt");
        const std::optional<Timestamp> created = Timestamp::fromIso8601(createdAt);
        if (!created)
            qCWarning(lcBlueSky).noquote() << QStringLiteral("Failed to parse timestamp: ") + createdAt;
        recent.createdAt = created.value_or(m_clock.now());
        recent.replyCount = intAt(post, "replyCount");
        recent.repostCount = intAt(post, "repostCount");
        recent.likeCount = intAt(post, "likeCount");
        if (!recent.id.isEmpty())
            posts.append(recent);
    }
    co_return posts;
}
