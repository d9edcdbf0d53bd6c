#include "scheduling/publishing_service.h"

#include "media/media_error.h"
#include "media/media_preparation_service.h"
#include "media/video_preparation_error.h"
#include "scheduling/publish_error.h"
#include "scheduling/scheduling_log.h"
#include "store/delivery_record_store.h"

#include <QScopeGuard>

PublishingService::PublishingService(AccountPublisherFactory& publishers, MediaPreparationService& media,
                                     DeliveryRecordStore& deliveries, QObject* parent)
    : QObject(parent)
    , m_publishers(publishers)
    , m_media(media)
    , m_deliveries(deliveries)
{
}

QList<PlatformType> PublishingService::platformOrder()
{
    return {PlatformType::mastodon, PlatformType::bluesky, PlatformType::x};
}

void PublishingService::cancel()
{
    if (!m_publishing)
        return;
    m_cancelling = true;
    m_media.cancel();
    if (m_active)
        m_active->cancel();
}

void PublishingService::setStatus(const QString& status)
{
    qCInfo(lcScheduler).noquote() << status;
    Q_EMIT statusChanged(status);
}

void PublishingService::setProgress(double fraction)
{
    Q_EMIT progressChanged(std::clamp(fraction, 0.0, 1.0));
}

void PublishingService::throwIfCancelled(std::optional<PlatformType> platform)
{
    if (!m_cancelling)
        return;
    if (platform)
        setStatus(QStringLiteral("Publishing to %1 cancelled by user").arg(publishingName(*platform)));
    throw PublishError::cancelled();
}

QCoro::Task<QList<RecentPost>> PublishingService::recentPosts(SocialAccount account)
{
    AccountPublisher* publisher = m_publishers.publisherFor(account);
    if (!publisher)
        co_return QList<RecentPost>{};
    QCoro::Task<QList<RecentPost>> fetching = publisher->recentPosts();
    co_return co_await std::move(fetching);
}

void PublishingService::forgetDeliveries(const QUuid& threadId)
{
    m_deliveries.remove(threadId);
}

QCoro::Task<QList<PublishResult>> PublishingService::publish(PublishRequest request)
{
    m_publishing = true;
    m_cancelling = false;
    const auto finished = qScopeGuard([this] {
        m_publishing = false;
        m_active = nullptr;
    });
    m_keepRecord = request.scheduledPostId.has_value();
    m_record = DeliveryRecord{request.scheduledPostId.value_or(QUuid()), {}, false};
    if (m_keepRecord)
        m_record = m_deliveries.load(*request.scheduledPostId).value_or(m_record);

    const bool hasVideo = MediaPreparationService::needsPreparation(request.thread);
    m_postingShare = hasVideo ? 1.0 - preparationProgressWeight : 1.0;
    QStringList temporaryFiles;
    const auto cleanUp = qScopeGuard([&temporaryFiles] { MediaPreparationService::discard(PreparedThread{{}, temporaryFiles}); });
    QCoro::Task<QList<Post>> preparing = prepareMedia(request.thread, temporaryFiles, hasVideo);
    const QList<Post> thread = co_await std::move(preparing);

    setStatus(QStringLiteral("Publishing to all active accounts..."));
    int total = 0;
    for (const QList<SocialAccount>& accounts : request.accounts)
        total += int(accounts.size());
    int done = 0;
    QList<PublishResult> results;
    for (const PlatformType platform : platformOrder()) {
        const QList<SocialAccount> accounts = request.accounts.value(platform);
        if (accounts.isEmpty())
            continue;
        const QString name = publishingName(platform);
        if (accounts.size() > 1)
            setStatus(QStringLiteral("Publishing to all %1 accounts...").arg(name));
        for (qsizetype i = 0; i < accounts.size(); ++i) {
            throwIfCancelled(platform);
            setStatus(QStringLiteral("Publishing to %1 (%2/%3)...").arg(name).arg(i + 1).arg(accounts.size()));
            QCoro::Task<PublishResult> publishing = publishToAccount(request, thread, accounts[i]);
            results.append(co_await std::move(publishing));
            throwIfCancelled(platform);
            setProgress(1.0 - m_postingShare + m_postingShare * ++done / std::max(1, total));
        }
        setStatus(QStringLiteral("Publishing to %1 Complete").arg(name));
    }
    setStatus(QStringLiteral("Publishing Complete"));
    setProgress(1.0);
    co_return results;
}

QCoro::Task<QList<Post>> PublishingService::prepareMedia(QList<Post> thread, QStringList& temporaryFiles, bool hasVideo)
{
    if (!hasVideo)
        co_return thread;
    const MediaPreparationService::Progress onProgress = [this, last = QString()](const QString& status, double fraction) mutable {
        if (status != last)
            setStatus(status);
        last = status;
        setProgress(fraction * preparationProgressWeight);
    };
    try {
        QCoro::Task<PreparedThread> preparing = m_media.prepare(thread, onProgress);
        const PreparedThread prepared = co_await std::move(preparing);
        temporaryFiles = prepared.temporaryFiles;
        co_return prepared.posts;
    } catch (const MediaError& error) {
        if (m_cancelling || error.kind() == MediaError::Kind::cancelled)
            throw PublishError::cancelled();
        throw PublishError::publishFailed(error.message());
    } catch (const VideoPreparationError& error) {
        throw PublishError::publishFailed(error.message());
    }
}

QCoro::Task<PublishResult> PublishingService::publishToAccount(const PublishRequest& request, const QList<Post>& thread,
                                                              const SocialAccount& account)
{
    const QString name = publishingName(account.platform);
    AccountDelivery& delivery = m_record.entry(account.id, account.platform, account.displayName());
    const auto headUrl = [&delivery] { return delivery.posts.isEmpty() ? QString() : delivery.posts.first().url; };
    if (delivery.complete) {
        qCInfo(lcScheduler).noquote() << QStringLiteral("⏭ %1 account %2 already has this thread").arg(name, account.displayName());
        co_return PublishResult::succeeded(account.platform, account.id, account.displayName(), headUrl());
    }
    AccountPublisher* publisher = m_publishers.publisherFor(account);
    if (!publisher) {
        const QString error = PublishError::serviceNotInitialized(account.platform).message();
        qCWarning(lcScheduler).noquote() << QStringLiteral("Error posting to %1 account %2: %3").arg(name, account.displayName(), error);
        co_return PublishResult::failed(account.platform, account.id, account.displayName(),
                                        QStringLiteral("%1 posting error: %2").arg(name, error));
    }
    ThreadJob job;
    job.thread = thread;
    job.from = int(delivery.posts.size());
    if (!delivery.posts.isEmpty()) {
        job.previous = delivery.posts.last();
        job.head = delivery.posts.first();
    }
    job.shareWithFollowers = request.xShareWithFollowers.value(account.id, false);
    job.scheduledPostId = request.scheduledPostId.value_or(QUuid());
    const AccountPublisher::Delivered onDelivered = [this, &delivery](const DeliveredPost& post) {
        delivery.posts.append(post);
        if (m_keepRecord)
            m_deliveries.save(m_record);
    };
    const AccountPublisher::Status onStatus = [this](const QString& detail) { Q_EMIT detailChanged(detail); };
    m_active = publisher;
    try {
        QCoro::Task<void> publishing = publisher->publish(job, onDelivered, onStatus);
        co_await std::move(publishing);
    } catch (const QuilloError& error) {
        m_active = nullptr;
        throwIfCancelled(account.platform);
        qCWarning(lcScheduler).noquote()
            << QStringLiteral("Error posting to %1 account %2: %3").arg(name, account.displayName(), error.message());
        co_return PublishResult::failed(account.platform, account.id, account.displayName(),
                                        QStringLiteral("%1 posting error: %2").arg(name, error.message()));
    }
    m_active = nullptr;
    delivery.complete = true;
    if (m_keepRecord)
        m_deliveries.save(m_record);
    co_return PublishResult::succeeded(account.platform, account.id, account.displayName(), headUrl());
}
