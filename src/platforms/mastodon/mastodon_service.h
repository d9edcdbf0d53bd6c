#pragma once

#include "model/post.h"
#include "model/recent_post.h"
#include "platforms/mastodon/mastodon_error.h"
#include "platforms/mastodon/mastodon_instance_limits.h"
#include "platforms/mastodon/mastodon_publish_state.h"

#include <QList>
#include <QMap>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QUrl>
#include <QUuid>

#include <qcoro/qcorotask.h>

#include <chrono>
#include <functional>
#include <memory>
#include <utility>

class Endpoints;
class ImageEncoder;
class QNetworkAccessManager;
class QNetworkReply;
class QNetworkRequest;
struct SocialAccount;

// The stored secrets of one account (its "credentials" in the account list).
struct MastodonCredentials {
    QUuid accountId{};
    QString instance{};
    QString clientId{};
    QString clientSecret{};
    QString accessToken{};

    static MastodonCredentials fromAccount(const SocialAccount& account);
};

struct MastodonServiceOptions {
    // Where requests go; empty means "https://" + instance. Callers pass
    // MastodonInstance::baseUrl() so QUILLO_ENDPOINTS is honoured.
    QUrl baseUrl{};
    // The waits after a failed attempt are 2 and 4 of these (tests shorten them).
    std::chrono::milliseconds retryUnit{1000};
    std::chrono::milliseconds processingPollInterval{2000};
    int maxProcessingPolls = 30;
    int timeoutMs = 30000;
    // Uploads get longer: a 40 MB video on a slow line.
    int uploadTimeoutMs = 600000;
};

struct MastodonApp {
    QString clientId;
    QString clientSecret;
};

struct MastodonAccount {
    QString id;
    QString username;
    QString acct;
    QUrl url;
};

// The body of one POST /api/v1/statuses.
struct MastodonStatus {
    QString text{};
    QStringList mediaIds{};
    QString inReplyToId{};
    // Sent as Idempotency-Key; a status POST is retried only when it is set.
    QString idempotencyKey{};
};

struct MastodonPostResult {
    QString id;
    QUrl url;

    bool operator==(const MastodonPostResult&) const = default;
};

// A thread to publish as a reply chain. To resume after a failure, set firstIndex to the
// first post not yet published and replyTo to the id of the last one that was.
struct MastodonThread {
    QList<Post> posts{};
    // With the account and the position, seeds each post's idempotency key, so a retried
    // publication of the same scheduled post cannot create a second status.
    QUuid scheduledPostId{};
    int firstIndex = 0;
    QString replyTo{};
};

// The client for one Mastodon account on one instance: app registration and the OAuth 2
// authorization-code exchange, media upload with retries and the processing wait,
// statuses and threads, and the account's recent posts.
class MastodonService : public QObject {
    Q_OBJECT

public:
    static constexpr char kRedirectUri[] = "quillo://oauth";
    // Where the instance shows the code for the person to paste, when no quillo:// handler exists.
    static constexpr char kOutOfBandRedirectUri[] = "urn:ietf:wg:oauth:2.0:oob";
    static constexpr char kScopes[] = "write:media write:statuses read:accounts read:statuses";
    static constexpr char kTokenScopes[] = "write:media write:statuses";
    static constexpr char kClientName[] = "Quillo";
    static constexpr char kWebsite[] = "https://quillo.app";
    static constexpr qint64 kMaxMediaSize = 40000000;
    static constexpr int kMaxMediaAttachments = 4;
    static constexpr int kUploadAttempts = 3;

    using StateCallback = std::function<void(const MastodonPublishState&)>;
    using PostedCallback = std::function<void(int index, const MastodonPostResult&)>;

    MastodonService(QNetworkAccessManager& network, MastodonCredentials credentials, ImageEncoder& images,
                    MastodonServiceOptions options = {}, QObject* parent = nullptr);

    // The client of a stored account: its credentials, its instance (or the
    // QUILLO_ENDPOINTS replacement) and the limits cached with it.
    static std::unique_ptr<MastodonService> forAccount(QNetworkAccessManager& network, const SocialAccount& account,
                                                       ImageEncoder& images, const Endpoints& endpoints,
                                                       MastodonServiceOptions options = {});

    const MastodonCredentials& credentials() const { return m_credentials; }
    QUrl baseUrl() const { return m_base; }
    const MastodonInstanceLimits& limits() const { return m_limits; }
    void setLimits(const MastodonInstanceLimits& limits) { m_limits = limits; }

    // Stops the running publication: the request in flight is aborted, nothing further is sent.
    void cancel();
    bool isCancelled() const { return m_cancelled; }
    // Before the next publication through a cached service.
    void resetCancellation() { m_cancelled = false; }

    // POST /api/v1/apps; keeps and returns the client id and secret.
    QCoro::Task<MastodonApp> registerApp(QString redirectUri = QString::fromLatin1(kRedirectUri));
    QUrl authorizationUrl(const QString& redirectUri = QString::fromLatin1(kRedirectUri)) const;
    // Takes the code from "quillo://oauth?code=…" and exchanges it; keeps the token.
    QCoro::Task<void> handleCallback(QUrl callback);
    // POST /oauth/token; keeps and returns the access token.
    QCoro::Task<QString> exchangeCode(QString code, QString redirectUri = QString::fromLatin1(kRedirectUri));
    QCoro::Task<MastodonAccount> verifyCredentials();
    // GET /api/v2/instance, else /api/v1/instance. Keeps and returns the limits;
    // announces them with instanceLimitsFetched.
    QCoro::Task<MastodonInstanceLimits> fetchInstanceLimits();

    // Uploads one image or video (and waits for the instance to process a video).
    QCoro::Task<QString> uploadMedia(PostMedia item, StateCallback onStateChange = {});
    // POST /api/v1/statuses.
    QCoro::Task<MastodonPostResult> post(MastodonStatus status);
    // One post: its media in order, then the status.
    QCoro::Task<MastodonPostResult> publish(Post item, QString inReplyToId, QString idempotencyKey,
                                            StateCallback onStateChange = {});
    // A thread as a reply chain. Refreshes the instance's limits first and refuses a post
    // too long for them before anything is sent. onPosted hears each status as it lands.
    QCoro::Task<QList<MastodonPostResult>> postThread(MastodonThread thread, StateCallback onStateChange = {},
                                                      PostedCallback onPosted = {});
    QCoro::Task<QList<RecentPost>> fetchRecentPosts(int limit = 20);

    static QString idempotencyKey(const QUuid& scheduledPostId, const QUuid& accountId, int index);

Q_SIGNALS:
    void instanceLimitsFetched(const MastodonInstanceLimits& limits);

private:
    struct Request {
        QByteArray method = "GET";
        QString path;
        QByteArray body;
        QByteArray contentType;
        QList<std::pair<QByteArray, QByteArray>> headers;
        bool authorized = true;
        int timeoutMs = 0;
        std::function<void(qint64, qint64)> uploadProgress;
    };
    struct Answer {
        int status = 0; // 0: no HTTP answer
        QByteArray body;
        QMap<QByteArray, QByteArray> headers; // lower-case names
        QString error;

        bool isSuccess() const { return status >= 200 && status < 300; }
        bool isRetryable() const { return status == 0 || status == 502 || status == 503 || status == 504; }
    };
    struct Upload {
        QByteArray data;   // an encoded image
        QString file{};    // or a video, read straight into the request body
        QString extension{};
        QString mimeType{};
    };

    QCoro::Task<Answer> send(Request request);
    QNetworkRequest networkRequest(const Request& request) const;
    Request uploadRequest(const QByteArray& body, const QByteArray& boundary) const;
    QCoro::Task<void> wait(std::chrono::milliseconds duration);
    QCoro::Task<Upload> prepareImage(QString path);
    Upload prepareVideo(const QString& path) const;
    void checkVideoSize(const QString& path) const;
    QCoro::Task<QString> sendUpload(Upload upload, QString altText, StateCallback onStateChange);
    QCoro::Task<void> waitForProcessing(QString mediaId);
    // At most the instance's attachment count, in order.
    QCoro::Task<QStringList> uploadAll(QList<PostMedia> items, StateCallback onStateChange);
    QCoro::Task<MastodonPostResult> postOnce(const Request& request, bool mayRetry);
    QUrl url(const QString& path) const;
    QByteArray multipartBody(const Upload& upload, const QString& altText, const QByteArray& boundary) const;
    void throwIfCancelled() const;
    [[noreturn]] void throwForStatus(const Answer& answer) const;
    // The text with this account's token and client secret blotted out, for logs.
    QString scrub(const QString& text) const;
    QString scrub(const QByteArray& body) const { return scrub(QString::fromUtf8(body)); }

    QNetworkAccessManager& m_network;
    MastodonCredentials m_credentials;
    ImageEncoder& m_images;
    MastodonServiceOptions m_options;
    QUrl m_base;
    MastodonInstanceLimits m_limits;
    QPointer<QNetworkReply> m_inFlight;
    bool m_cancelled = false;
};
