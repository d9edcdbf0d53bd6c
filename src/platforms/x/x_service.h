#pragma once

#include "model/post.h"
#include "platforms/oauth/oauth_client.h"
#include "platforms/x/x_error.h"
#include "platforms/x/x_publish_state.h"

#include <QObject>
#include <QStringList>
#include <QUrl>

#include <qcoro/qcorotask.h>

#include <chrono>
#include <functional>
#include <optional>

class ImageEncoder;
class QIODevice;
class QNetworkAccessManager;

// Where the X client sends its requests. Tests point both at 127.0.0.1.
struct XHosts {
    QUrl api{QStringLiteral("https://api.x.com")};
    QUrl web{QStringLiteral("https://x.com")};
};

struct XServiceOptions {
    // First size of an append; halved on 413 down to kMinimumChunkSize.
    qint64 initialChunkSize = 4 * 1024 * 1024;
    // What one of X's "check_after_secs" seconds lasts here (tests shorten it).
    std::chrono::milliseconds checkAfterUnit{1000};
    // Bounds the status polling of a video that never finishes processing.
    int maxStatusPolls = 180;
    int timeoutMs = OAuthClient::kDefaultTimeoutMs;
};

// The body of one POST /2/tweets.
struct XTweet {
    QString text{};
    QStringList mediaIds{};
    QString replyTo{};
    QString quoteOf{};
    QString communityId{};
    bool shareWithFollowers = false;
};

struct XPostResult {
    QString id;
    QUrl url;
};

struct XUser {
    QString id;
    QString screenName;
    QString name;
};

// The client for one X account: posts, chunked media upload, alt text and credential
// verification, every request signed with the account's OAuth 1.0a credentials.
class XService : public QObject {
    Q_OBJECT

public:
    static constexpr qint64 kMinimumChunkSize = 256000;
    // X's limits: appends per upload, characters of alt text.
    static constexpr int kMaxSegments = 999;
    static constexpr qsizetype kMaxAltTextLength = 1000;

    using StateCallback = std::function<void(const XPublishState&)>;

    XService(QNetworkAccessManager& network, OAuthCredential credential, const Clock& clock, XHosts hosts = {},
             XServiceOptions options = {}, QObject* parent = nullptr);

    const XHosts& hosts() const { return m_hosts; }
    const OAuthCredential& credential() const { return m_client.credential(); }
    // "Updating X service credentials": the next request signs with these.
    void updateCredentials(OAuthCredential credential);

    // Re-encodes images that are not JPEG (or too large) before they are uploaded;
    // without one such images are refused.
    void setImageEncoder(ImageEncoder* images) { m_images = images; }

    // Stops the running publication at the next step boundary; a new publication
    // (postThread, or resetCancellation by whoever drives post()) starts afresh.
    void cancel() { m_cancelled = true; }
    void resetCancellation() { m_cancelled = false; }
    bool isCancelled() const { return m_cancelled; }

    // One tweet: its media uploaded in order (alt text set where given), then the post.
    // replyTo is the previous tweet of a thread. Throws XError.
    QCoro::Task<XPostResult> post(QString text, QList<PostMedia> mediaItems, QString replyTo = {},
                                  QString quoteOf = {}, QString communityId = {}, bool shareWithFollowers = false,
                                  StateCallback onStateChange = {});
    // A thread in order, each tweet answering the one before. shareWithFollowers applies
    // to posts that go to a community. Throws XError; tweets already posted stay posted.
    QCoro::Task<QList<XPostResult>> postThread(QList<Post> thread, bool shareWithFollowers = false,
                                               StateCallback onStateChange = {});
    // Uploads one media item and returns its media id: a video as it is, an animated GIF
    // as "image/gif", any other image as JPEG within X's size limit. Throws XError.
    QCoro::Task<QString> uploadMedia(PostMedia item, StateCallback onStateChange = {}, XPublishState position = {});

    // POST /2/tweets. Throws XError.
    QCoro::Task<XPostResult> postTweet(XTweet tweet);
    // Chunked upload of a file streamed from disk; returns the media id. Throws XError.
    // onStateChange hears uploadingMedia (with the uploaded fraction) and processingMedia.
    QCoro::Task<QString> uploadFile(QString path, bool isVideo, StateCallback onStateChange = {},
                                    XPublishState position = {});
    // POST /2/media/metadata, the text cut to X's length. Never throws: a failure is
    // logged and returns false.
    QCoro::Task<bool> setAltText(QString mediaId, QString text);
    // GET /1.1/account/verify_credentials.json. Throws XError.
    QCoro::Task<XUser> verifyCredentials();

    QUrl tweetUrl(const QString& id) const;

    // The reset time X sent with a 429, from the rate-limit headers.
    static std::optional<QDateTime> rateLimitReset(const OAuthAnswer& answer);

private:
    QUrl apiUrl(const QString& path) const;
    void throwIfCancelled() const;
    [[noreturn]] void throwFailure(const OAuthAnswer& answer, XError::Kind fallback) const;
    struct UploadKind {
        const char* mediaType;
        const char* category;
    };
    QCoro::Task<QString> uploadImage(QString path, StateCallback onStateChange, XPublishState position);
    QCoro::Task<QString> uploadDevice(QIODevice& device, qint64 size, UploadKind kind, StateCallback onStateChange,
                                      XPublishState position);
    QCoro::Task<QString> initializeUpload(qint64 totalBytes, UploadKind kind);
    QCoro::Task<void> appendChunks(const QString& mediaId, QIODevice& device, qint64 size,
                                   const StateCallback& onStateChange, XPublishState position);
    QCoro::Task<void> finalizeUpload(const QString& mediaId, const StateCallback& onStateChange,
                                     XPublishState position);
    QCoro::Task<void> waitForProcessing(const QString& mediaId, OAuthAnswer answer, const StateCallback& onStateChange,
                                        XPublishState position);

    QNetworkAccessManager& m_network;
    OAuthClient m_client;
    XHosts m_hosts;
    XServiceOptions m_options;
    ImageEncoder* m_images = nullptr;
    bool m_cancelled = false;
};
