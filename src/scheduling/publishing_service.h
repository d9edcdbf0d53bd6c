#pragma once

#include "model/delivery_record.h"
#include "model/social_account.h"
#include "scheduling/account_publisher_factory.h"
#include "scheduling/publish_result.h"

#include <QList>
#include <QMap>
#include <QObject>

#include <qcoro/qcorotask.h>

#include <optional>

class DeliveryRecordStore;
class MediaPreparationService;

// A thread and where it goes.
struct PublishRequest {
    QList<Post> thread;
    // The accounts per platform, in the order they are published to.
    QMap<PlatformType, QList<SocialAccount>> accounts;
    // Set for a scheduled thread: what already reached an account is skipped, and every
    // post is recorded as it is delivered.
    std::optional<QUuid> scheduledPostId;
    QMap<QUuid, bool> xShareWithFollowers;
};

// Publishes a thread to every chosen account, platform after platform and account after
// account, after preparing its videos. A failure on one account is that account's result
// and never stops the others. Progress is told in short status lines.
class PublishingService : public QObject {
    Q_OBJECT
public:
    // The share of the progress bar that media preparation takes when there is video.
    static constexpr double preparationProgressWeight = 0.3;

    PublishingService(AccountPublisherFactory& publishers, MediaPreparationService& media, DeliveryRecordStore& deliveries,
                      QObject* parent = nullptr);

    // One result per account. Throws PublishError (cancelled, or media that could not be
    // prepared: nothing was sent then).
    QCoro::Task<QList<PublishResult>> publish(PublishRequest request);
    // Stops the running export or upload and ends publishing at the next step.
    void cancel();
    bool isPublishing() const { return m_publishing; }
    // The account's latest own posts through its network's client (none where it cannot
    // list them). Throws QuilloError.
    QCoro::Task<QList<RecentPost>> recentPosts(SocialAccount account);
    // Drops what was recorded as delivered for a thread that needs no further retry.
    void forgetDeliveries(const QUuid& threadId);

    // Mastodon, then BlueSky, then X.
    static QList<PlatformType> platformOrder();

Q_SIGNALS:
    void statusChanged(const QString& status);
    // The current account's own step ("Uploading media 1 of 2…"), under the status line.
    void detailChanged(const QString& detail);
    void progressChanged(double fraction);

private:
    QCoro::Task<QList<Post>> prepareMedia(QList<Post> thread, QStringList& temporaryFiles, bool hasVideo);
    QCoro::Task<PublishResult> publishToAccount(const PublishRequest& request, const QList<Post>& thread,
                                                const SocialAccount& account);
    void throwIfCancelled(std::optional<PlatformType> platform);
    void setStatus(const QString& status);
    void setProgress(double fraction);

    AccountPublisherFactory& m_publishers;
    MediaPreparationService& m_media;
    DeliveryRecordStore& m_deliveries;
    AccountPublisher* m_active = nullptr;
    // What reached each account, saved after every post when the thread is a scheduled one.
    DeliveryRecord m_record;
    bool m_keepRecord = false;
    bool m_cancelling = false;
    bool m_publishing = false;
    double m_postingShare = 1.0;
};
