#pragma once

#include "core/json.h"
#include "model/post.h"
#include "model/recent_post.h"
#include "model/social_account.h"
#include "platforms/bluesky/blue_sky_error.h"
#include "platforms/bluesky/blue_sky_publish_state.h"
#include "platforms/bluesky/blue_sky_rich_text.h"

#include <QHash>
#include <QMap>
#include <QNetworkReply>
#include <QObject>
#include <QPointer>
#include <QUrl>
#include <QUrlQuery>

#include <qcoro/qcorotask.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

class Clock;
class Endpoints;
class ImageEncoder;
class QNetworkAccessManager;

// Where the Bluesky client sends its requests and where post links point.
struct BlueSkyHosts {
    QUrl service{QStringLiteral("https://bsky.social")};
    QUrl web{QStringLiteral("https://bsky.app")};

    // QUILLO_ENDPOINTS' "bluesky" entry, else the account's "service" credential, else
    // bsky.social.
    static BlueSkyHosts forAccount(const SocialAccount& account, const Endpoints& endpoints);
};

struct BlueSkyServiceOptions {
    int timeoutMs = 120000;
    // What one second of the recent-posts retry waits lasts here (tests shorten it).
    std::chrono::milliseconds retryUnit{1000};
    // A link card's page and thumbnail: read at most this much, for at most this long,
    // so a huge or trickling page cannot hold up the post.
    qint64 linkPageMaxBytes = 1024 * 1024;
    int linkFetchTimeoutMs = 10000;
};

// A record on the network: its at:// URI and content hash.
struct BlueSkyRecordRef {
    QString uri;
    QString cid;

    Json toJson() const { return {{"uri", uri.toStdString()}, {"cid", cid.toStdString()}}; }
    bool isValid() const { return !uri.isEmpty() && !cid.isEmpty(); }
    bool operator==(const BlueSkyRecordRef&) const = default;
};

// The root and the parent of a reply.
struct BlueSkyReplyRef {
    BlueSkyRecordRef root;
    BlueSkyRecordRef parent;
};

// An "app.bsky.embed.external" link card.
struct BlueSkyLinkCard {
    QString uri;
    QString title;
    QString description;
    std::optional<Json> thumb;

    Json toJson() const;
};

// A post's text as it is sent, with every facet (links, then tags, then resolved mentions).
struct BlueSkyText {
    QString text;
    QList<BlueSkyFacet> facets;
    QString firstLink;
};

struct BlueSkyThreadResult {
    // The web link of the head post.
    QUrl url;
    // Every post of the thread, in order.
    QList<BlueSkyRecordRef> posts;
};

// The client for one Bluesky account: signs in with the handle and an app password,
// publishes posts and threads (facets, images, a video, quotes, replies, link cards) over
// XRPC, and lists the account's recent posts. An expired token is replaced by a new
// sign-in, never refreshed.
class BlueSkyService : public QObject {
    Q_OBJECT

public:
    static constexpr int kMaxImages = 4;
    // The network refuses bigger image blobs at createRecord, after the upload succeeded.
    static constexpr qint64 kMaxImageBytes = 1000000;
    static constexpr const char* kLinkCardUserAgent =
        "Mozilla/5.0 (Macintosh; Intel Mac OS X 10_15_7) AppleWebKit/605.1.15 (KHTML, like Gecko) Version/17.0 "
        "Safari/605.1.15";

    using StateCallback = std::function<void(const BlueSkyPublishState&)>;
    // Hears each post of a thread as soon as it is on the network (index 0-based), so a
    // caller can record what a failure later in the thread leaves published.
    using PostedCallback = std::function<void(int index, const BlueSkyRecordRef& posted)>;

    BlueSkyService(QNetworkAccessManager& network, QString handle, QString appPassword, const Clock& clock,
                   ImageEncoder& images, BlueSkyHosts hosts = {}, BlueSkyServiceOptions options = {},
                   QObject* parent = nullptr);

    // The client of a stored account: its handle, app password and host (see BlueSkyHosts).
    static std::unique_ptr<BlueSkyService> forAccount(QNetworkAccessManager& network, const SocialAccount& account,
                                                      const Clock& clock, ImageEncoder& images,
                                                      const Endpoints& endpoints, QObject* parent = nullptr);

    // The handle without a leading "@" or surrounding blanks, in lower case.
    const QString& handle() const { return m_handle; }
    static QString normalizedHandle(QString handle);
    const BlueSkyHosts& hosts() const { return m_hosts; }
    const std::optional<QString>& authToken() const { return m_authToken; }
    const std::optional<Timestamp>& rateLimitReset() const { return m_rateLimitReset; }

    // Stops the running publication: the request in flight is aborted and nothing
    // further is sent. Posts already published stay published.
    void cancel();
    void resetCancellation() { m_cancelled = false; }
    bool isCancelled() const { return m_cancelled; }

    // createSession; stores the access token. Throws BlueSkyError.
    QCoro::Task<void> authenticate();
    // Whether the stored token is still accepted; false without one.
    QCoro::Task<bool> getSession();

    // One post. quoteUri: the quoted post's at:// URI; replyTo: the parent's at:// URI.
    // Throws BlueSkyError; a text, media or URI the network would refuse fails before
    // anything is sent.
    QCoro::Task<BlueSkyRecordRef> post(QString text, QList<PostMedia> media = {}, QString quoteUri = {},
                                       QString replyTo = {}, StateCallback progress = {});
    // A thread in order, each post answering the one before. Every post is checked before
    // the first is sent. continueFrom resumes a thread whose first posts are already out.
    QCoro::Task<BlueSkyThreadResult> postThread(QList<Post> posts, StateCallback progress = {},
                                                PostedCallback onPosted = {},
                                                std::optional<BlueSkyReplyRef> continueFrom = std::nullopt);
    // Uploads bytes; returns the "blob" object of the answer. Throws BlueSkyError.
    QCoro::Task<Json> uploadBlob(QByteArray data, QString mimeType, QString fileName = {});
    // The DID of a handle. Throws BlueSkyError ("Failed to resolve DID for handle ...").
    QCoro::Task<QString> resolveHandle(QString handle);
    // The text as sent with its facets; mentions that do not resolve stay plain text.
    QCoro::Task<BlueSkyText> processText(QString text);
    // The card of a page, or nothing when the page cannot be read; the thumbnail is left
    // out when it cannot be fetched or uploaded. Never throws.
    QCoro::Task<std::optional<BlueSkyLinkCard>> fetchLinkCard(QString url);
    // The account's latest top-level posts. Throws BlueSkyError.
    QCoro::Task<QList<RecentPost>> fetchRecentPosts();

    QUrl postURL(const QString& handle, const QString& rkey) const;
    // The last path segment of an at:// URI.
    static QString rkeyOf(const QString& uri);
    // Throws what post() would throw for this content before any request: too long a
    // text, too many images, unusable media, a quote or reply URI that does not split.
    static void validate(const QString& text, const QList<PostMedia>& media, const QString& quoteUri = {},
                         const QString& replyTo = {});

private:
    struct Answer {
        int status = 0;
        QByteArray body;
        QMap<QByteArray, QByteArray> headers; // lower-case names
        QString errorString;
        bool retried = false; // sent a second time after a new sign-in
        bool isSuccess() const { return status >= 200 && status < 300; }
    };
    struct Call {
        QByteArray verb = "GET";
        QString method;
        QUrlQuery query{};
        QByteArray body{};
        QByteArray contentType{};
        QString bodyFile{}; // streamed from disk instead of body
        QMap<QByteArray, QByteArray> headers{};
        bool authorized = true;
        std::function<void(double)> uploadProgress{};
    };
    struct AtUri {
        QString repo;
        QString collection;
        QString rkey;
    };
    struct Fetched {
        int status = 0;
        QByteArray body;
        QByteArray contentType;
        bool truncated = false;
    };

    QCoro::Task<BlueSkyRecordRef> publish(QString text, QList<PostMedia> media, QString quoteUri,
                                          std::optional<BlueSkyReplyRef> reply, int index, int total,
                                          StateCallback progress);
    QCoro::Task<std::optional<Json>> buildEmbed(const BlueSkyText& text, const QList<PostMedia>& media,
                                                const QString& quoteUri, const StateCallback& progress);
    QCoro::Task<Json> imagesEmbed(QList<PostMedia> images, StateCallback progress);
    QCoro::Task<Json> uploadImage(PostMedia image, int index, StateCallback progress);
    QCoro::Task<Json> videoEmbed(PostMedia video, StateCallback progress);
    QCoro::Task<BlueSkyRecordRef> fetchRecord(QString uri, bool quote, Json* value = nullptr);
    QCoro::Task<BlueSkyReplyRef> replyRefFor(QString parentUri);
    QCoro::Task<BlueSkyRecordRef> createRecord(Json record);
    QCoro::Task<QList<RecentPost>> fetchRecentPostsOnce();
    QCoro::Task<std::optional<Json>> uploadThumbnail(QUrl image);
    QCoro::Task<Fetched> fetchBounded(QUrl url, qint64 maxBytes);

    QCoro::Task<Answer> perform(Call call);
    // Signs in first when there is no token, and once more when the server says the token
    // expired; classifies the answer (throws on failure).
    QCoro::Task<Answer> performAuthorized(Call call);
    QNetworkRequest request(const Call& call) const;
    void classify(const Answer& answer);
    void throwIfCancelled() const;
    static std::optional<AtUri> parseAtUri(const QString& uri);
    void report(const StateCallback& progress, const BlueSkyPublishState& state) const;

    QNetworkAccessManager& m_network;
    QString m_handle;
    QString m_appPassword;
    const Clock& m_clock;
    ImageEncoder& m_images;
    BlueSkyHosts m_hosts;
    BlueSkyServiceOptions m_options;
    std::optional<QString> m_authToken;
    std::optional<Timestamp> m_rateLimitReset;
    QHash<QString, QString> m_dids;
    QPointer<QNetworkReply> m_inFlight;
    bool m_cancelled = false;
};
