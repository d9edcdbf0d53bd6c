#include "scheduling/scheduler_loop.h"

#include "core/clock.h"
#include "scheduling/account_publisher_factory.h"
#include "scheduling/media_validator.h"
#include "scheduling/publish_error.h"
#include "scheduling/publishing_service.h"
#include "scheduling/scheduling_log.h"
#include "store/account_manager.h"
#include "store/account_selection.h"
#include "store/delivery_record_store.h"
#include "store/scheduler_service.h"

#include <QScopeGuard>

#include <cmath>

namespace {

QString idText(const QUuid& id)
{
    return id.toString(QUuid::WithoutBraces).toUpper();
}

QString dateText(Timestamp date)
{
    return date.toDateTime().toUTC().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss +0000"));
}

int mediaCount(const ScheduledPost& post)
{
    int count = 0;
    for (const Post& item : post.content)
        count += int(item.mediaItems.size());
    return count;
}

// A post more than this late went out because Quillo was not running at its time.
constexpr std::chrono::seconds kLateAfter{90};

} // namespace

SchedulerLoop::SchedulerLoop(SchedulerService& store, AccountManager& accounts, PublishingService& publishing,
                             MediaValidator& validator, AccountPublisherFactory& publishers,
                             DeliveryRecordStore& deliveries, const Clock& clock, QObject* parent)
    : QObject(parent)
    , m_store(store)
    , m_accounts(accounts)
    , m_publishing(publishing)
    , m_validator(validator)
    , m_publishers(publishers)
    , m_deliveries(deliveries)
    , m_clock(clock)
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &SchedulerLoop::tick);
    // Clients are built from credentials; changed credentials need new clients.
    connect(&m_accounts, &AccountManager::accountsDidChange, this, [this] {
        m_publishers.clear();
        m_liveCount.reset();
    });
    connect(&m_store, &SchedulerService::scheduledPostsReplaced, this, [this] { m_liveCount.reset(); });
    connect(&m_store, &SchedulerService::scheduledPostChanged, this, &SchedulerLoop::recount);
    connect(&m_store, &SchedulerService::scheduledPostsDidUpdate, this, &SchedulerLoop::checkSoonIfDue);
}

void SchedulerLoop::checkSoonIfDue()
{
    if (!m_running || m_checking || !m_aligned)
        return;
    const Timestamp now = m_clock.now();
    const QList<ScheduledPost>& posts = m_store.scheduledPosts();
    const bool due = std::any_of(posts.cbegin(), posts.cend(), [now](const ScheduledPost& post) {
        return post.status == PostStatus::queued && post.scheduledDate <= now;
    });
    if (due)
        QTimer::singleShot(0, this, [this] { QCoro::connect(checkScheduledPosts(), this, [] {}); });
}

std::chrono::nanoseconds SchedulerLoop::delayToNextMinute(Timestamp now)
{
    const double unix = now.unixSeconds();
    const double intoMinute = unix - std::floor(unix / 60) * 60;
    const auto nanos = std::llround((60 - intoMinute) * 1e9);
    return std::chrono::nanoseconds(std::clamp<long long>(nanos, 1, 60'000'000'000LL));
}

void SchedulerLoop::start()
{
    if (m_running)
        return;
    m_running = true;
    m_aligned = false;
    qCInfo(lcScheduler).noquote() << "Starting scheduler";
    armTimer();
}

void SchedulerLoop::stop()
{
    m_timer.stop();
    m_running = false;
    qCInfo(lcScheduler).noquote() << "Scheduler stopped";
}

void SchedulerLoop::armTimer()
{
    const auto delay = delayToNextMinute(m_clock.now());
    if (!m_aligned)
        qCInfo(lcScheduler).noquote() << QString::asprintf("⏰ Scheduler will start in %.3f seconds to align with next minute",
                                                            double(delay.count()) / 1e9);
    // Re-aimed at the next full minute each time, so the minutes never drift.
    m_timer.start(std::chrono::ceil<std::chrono::milliseconds>(delay / m_timeScale));
}

void SchedulerLoop::tick()
{
    if (!m_running)
        return;
    if (!m_aligned) {
        m_aligned = true;
        qCInfo(lcScheduler).noquote() << "✅ Scheduler started and aligned with clock minutes";
    }
    armTimer();
    qCInfo(lcScheduler).noquote() << "👀 Checking for scheduled posts";
    QCoro::connect(checkScheduledPosts(), this, [] {});
}

bool SchedulerLoop::hasLiveDestination(const ScheduledPost& post) const
{
    const QList<PlatformType> enabled = m_accounts.enabledPlatforms();
    const AccountSelection selection(m_accounts.accounts(), enabled);
    return selection.reachesAny(post);
}

int SchedulerLoop::countWithLiveDestinations()
{
    if (m_liveCount)
        return *m_liveCount;
    const QList<PlatformType> enabled = m_accounts.enabledPlatforms();
    const AccountSelection selection(m_accounts.accounts(), enabled);
    m_liveIds.clear();
    for (const ScheduledPost& post : m_store.scheduledPosts()) {
        if (post.status == PostStatus::queued && selection.reachesAny(post))
            m_liveIds.insert(post.id);
    }
    m_liveCount = int(m_liveIds.size());
    return *m_liveCount;
}

void SchedulerLoop::recount(const QUuid& id)
{
    if (!m_liveCount)
        return;
    const std::optional<ScheduledPost> post = m_store.scheduledPost(id);
    const bool live = post && post->status == PostStatus::queued && hasLiveDestination(*post);
    if (live == m_liveIds.contains(id))
        return;
    if (live)
        m_liveIds.insert(id);
    else
        m_liveIds.remove(id);
    m_liveCount = int(m_liveIds.size());
}

QCoro::Task<void> SchedulerLoop::checkScheduledPosts()
{
    if (m_checking) {
        qCInfo(lcScheduler).noquote() << "⏳ The previous check is still publishing; due posts wait for it";
        co_return;
    }
    m_checking = true;
    const auto done = qScopeGuard([this] {
        m_checking = false;
        Q_EMIT checkFinished();
    });
    qCInfo(lcScheduler).noquote() << "🔍 Starting scheduled posts check...";
    const int live = countWithLiveDestinations();
    qCInfo(lcScheduler).noquote() << live << "scheduled posts with active destinations";
    const Timestamp now = m_clock.now();
    QList<QUuid> due;
    for (const ScheduledPost& post : m_store.scheduledPosts()) {
        if (post.status == PostStatus::queued && post.scheduledDate <= now)
            due.append(post.id);
    }
    for (const QUuid& id : due) {
        // The list may have changed while the previous post was published.
        const std::optional<ScheduledPost> post = m_store.scheduledPost(id);
        if (!post || post->status != PostStatus::queued)
            continue;
        QCoro::Task<void> processing = process(*post);
        co_await std::move(processing);
    }
}

bool SchedulerLoop::markProcessing(const ScheduledPost& post)
{
    // Written before anything goes out, in the post's small delivery record (the list
    // itself is saved in the background): a crash from here on is found at the next start.
    if (!m_deliveries.setInProgress(post.id, true)) {
        qCCritical(lcScheduler).noquote() << "❌ Cannot record that post" << idText(post.id)
                                          << "is being published; not publishing it now";
        return false;
    }
    m_store.updateStatus(post.id, PostStatus::processing);
    qCInfo(lcScheduler).noquote() << QStringLiteral("✓ Marked post %1 as processing").arg(idText(post.id));
    return true;
}

QCoro::Task<void> SchedulerLoop::process(ScheduledPost post)
{
    const QString id = idText(post.id);
    if (!hasLiveDestination(post)) {
        qCInfo(lcScheduler).noquote() << QStringLiteral("⏭ Skipping post %1 - no enabled accounts for selected platforms").arg(id);
        co_return;
    }
    if (!markProcessing(post))
        co_return;
    qCInfo(lcScheduler).noquote() << QStringLiteral("👀 Processing post ") + id;
    qCInfo(lcScheduler).noquote() << QStringLiteral("📅 Scheduled for: ") + dateText(post.scheduledDate);
    qCInfo(lcScheduler).noquote() << QStringLiteral("📱 Platforms: ") + post.platforms.join(QStringLiteral(", "));

    QCoro::Task<MediaValidation> validating = m_validator.validate(post.content);
    const MediaValidation validation = co_await std::move(validating);
    if (!validation.isValid()) {
        markFailed(post, validation.errorDescription());
        co_return;
    }
    PublishRequest request;
    request.thread = post.content;
    request.scheduledPostId = post.id;
    request.xShareWithFollowers = post.xShareWithFollowers;
    for (const PlatformType platform : post.platformTypes()) {
        const QList<SocialAccount> accounts = m_accounts.accountsForPublishing(post, platform);
        if (!accounts.isEmpty())
            request.accounts.insert(platform, accounts);
    }
    if (request.accounts.isEmpty()) {
        qCInfo(lcScheduler).noquote() << id + QStringLiteral(" skipped during processing - no enabled accounts available");
        // Waits for an account, as a post skipped before processing does.
        m_store.updateStatus(post.id, PostStatus::queued);
        m_deliveries.setInProgress(post.id, false);
        co_return;
    }
    try {
        QCoro::Task<QList<PublishResult>> publishing = m_publishing.publish(request);
        const QList<PublishResult> results = co_await std::move(publishing);
        markPublished(post, results);
    } catch (const QuilloError& error) {
        markFailed(post, error.message().isEmpty() ? QStringLiteral("Scheduled post could not be published") : error.message());
    }
}

void SchedulerLoop::markPublished(const ScheduledPost& post, const QList<PublishResult>& results)
{
    QStringList failures;
    for (const PublishResult& result : results) {
        if (!result.success)
            failures.append(result.error);
    }
    if (!failures.isEmpty()) {
        markFailed(post, failures.join(QLatin1Char('\n')));
        return;
    }
    m_store.updateStatus(post.id, PostStatus::published, std::nullopt);
    m_deliveries.setInProgress(post.id, false);
    const QString id = idText(post.id);
    qCInfo(lcScheduler).noquote() << id + QStringLiteral(" processed successfully");
    const auto late = std::chrono::seconds(std::llround(m_clock.now().unixSeconds() - post.scheduledDate.unixSeconds()));
    if (late > kLateAfter)
        qCInfo(lcScheduler).noquote() << QStringLiteral("⏱ Post %1 went out %2 min late: Quillo was not running at %3")
                                             .arg(id)
                                             .arg(late.count() / 60)
                                             .arg(dateText(post.scheduledDate));
    Q_EMIT postPublished(post, results, late);
}

void SchedulerLoop::markFailed(const ScheduledPost& post, const QString& error)
{
    m_store.updateStatus(post.id, PostStatus::failed, error);
    m_deliveries.setInProgress(post.id, false);
    const int items = mediaCount(post);
    qCWarning(lcScheduler).noquote() << QStringLiteral("❌ Failed to publish scheduled post %1: %2").arg(idText(post.id), error);
    qCWarning(lcScheduler).noquote() << "📝 Failed post details:";
    qCWarning(lcScheduler).noquote() << QStringLiteral("  - Scheduled for: ") + dateText(post.scheduledDate);
    qCWarning(lcScheduler).noquote() << QStringLiteral("  - Platforms: ") + post.platforms.join(QStringLiteral(", "));
    qCWarning(lcScheduler).noquote() << QStringLiteral("  - Content posts: %1").arg(post.content.size());
    qCWarning(lcScheduler).noquote() << QStringLiteral("  - Total media items: %1").arg(items);
    Q_EMIT postFailed(post, error);
}

void SchedulerLoop::recoverInterrupted()
{
    const QList<QUuid> underway = m_deliveries.inProgress();
    const QList<ScheduledPost> posts = m_store.scheduledPosts();
    for (const ScheduledPost& post : posts) {
        // Either mark may be the one that reached the disk before the crash.
        if (post.status != PostStatus::processing && !(underway.contains(post.id) && post.status == PostStatus::queued))
            continue;
        const std::optional<DeliveryRecord> record = m_deliveries.load(post.id);
        QString error = QStringLiteral("Publishing was interrupted: Quillo stopped while this post was being published.");
        if (record && !record->isEmpty())
            error += QStringLiteral("\nAlready delivered:\n") + record->summary(int(post.content.size()));
        else
            error += QStringLiteral("\nNothing had been delivered yet.");
        error += QStringLiteral("\nRetry to deliver only what is missing.");
        qCWarning(lcScheduler).noquote() << QStringLiteral("⚠️ Post %1 was interrupted while publishing; marked failed").arg(idText(post.id));
        m_store.updateStatus(post.id, PostStatus::failed, error);
        m_deliveries.setInProgress(post.id, false);
        Q_EMIT postFailed(post, error);
    }
}
