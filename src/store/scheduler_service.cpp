#include "store/scheduler_service.h"

#include "core/preference_keys.h"
#include "core/preference_store.h"
#include "store/store_log.h"
#include "store/transfer_error.h"
#include "store/unreadable_document.h"

#include <QFile>
#include <QMutexLocker>
#include <QScopeGuard>
#include <QSaveFile>

SchedulerService::SchedulerService(PreferenceStore& store, QObject* parent)
    : QObject(parent)
    , m_store(store)
{
    // One writer thread: saves are written in the order they were asked for.
    m_saver.setMaxThreadCount(1);
}

SchedulerService::~SchedulerService()
{
    flushQueuedSave();
    m_saver.waitForDone();
}

std::optional<ScheduledPost> SchedulerService::scheduledPost(const QUuid& id) const
{
    const qsizetype index = indexOf(id);
    return index < 0 ? std::nullopt : std::optional<ScheduledPost>(m_posts[index]);
}

qsizetype SchedulerService::indexOf(const QUuid& id) const
{
    for (qsizetype i = 0; i < m_posts.size(); ++i) {
        if (m_posts[i].id == id)
            return i;
    }
    return -1;
}

void SchedulerService::loadPosts()
{
    const auto announce = qScopeGuard([this] { Q_EMIT scheduledPostsReplaced(); });
    m_posts.clear();
    m_encoded.reset({});
    m_unreadable = false;
    try {
        const bool stored = m_store.readData(PreferenceKeys::ScheduledPosts, [this](const QByteArray& document) {
            m_posts = ScheduledPost::decodeList(document);
            m_encoded.reset(m_posts);
        });
        if (!stored) {
            qCInfo(lcStore).noquote() << QStringLiteral("📊 No data found in UserDefaults");
            return;
        }
    } catch (const CodingError& error) {
        // What is on disk stays as it is; the next save keeps a copy of it first.
        m_unreadable = true;
        qCWarning(lcStore).noquote() << QStringLiteral("❌ Failed to decode posts: ") + error.message();
        return;
    }
    qCInfo(lcStore).noquote() << QStringLiteral("📊 Loaded %1 scheduled posts").arg(m_posts.size());
    // One block per entry; at debug level, since a large schedule makes many lines.
    if (!lcStore().isDebugEnabled())
        return;
    for (const ScheduledPost& post : std::as_const(m_posts)) {
        qCDebug(lcStore).noquote() << QStringLiteral("    Scheduled for: ") + post.scheduledDate.toIso8601();
        qCDebug(lcStore).noquote() << QStringLiteral("    Content count: ") + QString::number(post.content.size());
        qCDebug(lcStore).noquote() << QStringLiteral("    Platforms: ") + post.platforms.join(QStringLiteral(", "));
        qCDebug(lcStore).noquote() << QStringLiteral("    Status: ") + rawValue(post.status);
    }
}

bool SchedulerService::writeIfLatest(quint64 generation, const std::function<bool(QIODevice&)>& write)
{
    const QMutexLocker lock(&m_writeMutex);
    if (generation != m_generation.load())
        return false;
    if (m_unreadable.exchange(false))
        UnreadableDocument::keep(m_store, PreferenceKeys::ScheduledPosts, QStringLiteral("scheduled posts"));
    return m_store.writeData(PreferenceKeys::ScheduledPosts, write);
}

bool SchedulerService::savePosts(const QList<ScheduledPost>& posts)
{
    // As with the background saves already started, changes not yet saved are superseded.
    m_saveQueued = false;
    const quint64 generation = ++m_generation;
    try {
        const auto write = [&posts](QIODevice& device) {
            return ScheduledPost::writeList(posts, device, JsonLayout::pretty);
        };
        if (writeIfLatest(generation, write))
            return true;
        qCWarning(lcStore).noquote() << QStringLiteral("❌ Failed to encode posts: the document could not be written");
    } catch (const CodingError& error) {
        qCWarning(lcStore).noquote() << QStringLiteral("❌ Failed to encode posts: ") + error.message();
    }
    return false;
}

void SchedulerService::savePostsAsync()
{
    m_saveQueued = false;
    const quint64 generation = ++m_generation;
    // The slots hold what the saver needs: the list itself stays the main thread's own.
    QList<EncodedPostCache::Slot> slots = m_encoded.snapshot();
    {
        const QMutexLocker lock(&m_pendingMutex);
        ++m_pendingSaves;
    }
    m_saver.start([this, slots = std::move(slots), generation]() mutable {
        saveSnapshot(slots, generation);
        // Let go of the shared slots before waking a waiter: a change made while the
        // snapshot still shared them would copy the whole list.
        slots = {};
        saveFinished();
    });
}

void SchedulerService::saveSnapshot(const QList<EncodedPostCache::Slot>& slots, quint64 generation)
{
    if (generation != m_generation.load())
        return; // a newer save is queued; skip the wasted encoding
    try {
        // Only entries changed since the last save are encoded; the rest is joined.
        EncodedPostCache::fill(slots);
        const auto write = [&slots](QIODevice& device) { return EncodedPostCache::write(slots, device); };
        if (writeIfLatest(generation, write)) {
            m_saveFailed = false;
        } else if (generation == m_generation.load()) {
            m_saveFailed = true;
            qCWarning(lcStore).noquote()
                << QStringLiteral("❌ Failed to encode posts (async): the document could not be written");
        }
    } catch (const CodingError& error) {
        m_saveFailed = true;
        qCWarning(lcStore).noquote() << QStringLiteral("❌ Failed to encode posts (async): ") + error.message();
    }
}

void SchedulerService::saveFinished()
{
    const QMutexLocker lock(&m_pendingMutex);
    if (--m_pendingSaves == 0)
        m_savesDone.wakeAll();
}

void SchedulerService::waitForPendingSaves()
{
    flushQueuedSave();
    QMutexLocker lock(&m_pendingMutex);
    while (m_pendingSaves > 0)
        m_savesDone.wait(&m_pendingMutex);
}

void SchedulerService::changed(const QUuid& id)
{
    Q_EMIT scheduledPostChanged(id);
    saveAndAnnounce();
}

void SchedulerService::replaced()
{
    Q_EMIT scheduledPostsReplaced();
    saveAndAnnounce();
}

void SchedulerService::saveAndAnnounce()
{
    // One save for all the changes made before control returns to the event loop: a
    // check pass that marks and publishes several posts writes the document once.
    if (!m_saveQueued) {
        m_saveQueued = true;
        QMetaObject::invokeMethod(this, &SchedulerService::flushQueuedSave, Qt::QueuedConnection);
    }
    Q_EMIT scheduledPostsDidUpdate();
}

void SchedulerService::flushQueuedSave()
{
    if (m_saveQueued)
        savePostsAsync();
}

QUuid SchedulerService::addOrUpdate(const ScheduledPost& post, const std::optional<QUuid>& editingId)
{
    ScheduledPost stored = post;
    const qsizetype index = editingId ? indexOf(*editingId) : -1;
    if (index >= 0) {
        stored.id = *editingId;
        m_posts[index] = stored;
        m_encoded.replace(index, stored);
        qCInfo(lcStore).noquote() << QStringLiteral("✅ Updated scheduled post");
        changed(stored.id);
        return stored.id;
    }
    if (editingId)
        qCWarning(lcStore).noquote()
            << QStringLiteral("⚠️ Could not find scheduled post to update; creating new one instead");
    stored.id = QUuid::createUuid();
    qCInfo(lcStore).noquote() << QStringLiteral("💾 Created ScheduledPost with ID: ")
            + stored.id.toString(QUuid::WithoutBraces).toUpper();
    m_posts.append(stored);
    m_encoded.append(stored);
    qCInfo(lcStore).noquote() << QStringLiteral("✅ Added post to scheduler");
    changed(stored.id);
    return stored.id;
}

bool SchedulerService::deletePost(const QUuid& id)
{
    const qsizetype index = indexOf(id);
    if (index < 0)
        return false;
    m_posts.removeAt(index);
    m_encoded.remove(index);
    changed(id);
    return true;
}

void SchedulerService::clearAll()
{
    m_posts.clear();
    m_encoded.reset({});
    replaced();
    qCInfo(lcStore).noquote() << QStringLiteral("All scheduled posts cleared.");
}

bool SchedulerService::updateStatus(const QUuid& id, PostStatus status, const std::optional<QString>& error)
{
    const qsizetype index = indexOf(id);
    if (index < 0)
        return false;
    m_posts[index].status = status;
    m_posts[index].error = error;
    m_encoded.replace(index, m_posts[index]);
    changed(id);
    return true;
}

QByteArray SchedulerService::exportDocument() const
{
    if (m_posts.isEmpty())
        throw SchedulerServiceError::noPostsToExport();
    try {
        return ScheduledPost::encodeList(m_posts, JsonLayout::prettySortedKeys, DateEncoding::iso8601);
    } catch (const CodingError& error) {
        throw SchedulerServiceError::exportFailed(error.message());
    }
}

void SchedulerService::exportToFile(const QString& filePath) const
{
    const QByteArray document = exportDocument();
    QSaveFile file(filePath);
    // User-only, also when it replaces a file others could read: the backup holds
    // everything the user scheduled.
    if (!file.open(QIODevice::WriteOnly) || !file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner)
        || file.write(document) != document.size() || !file.commit())
        throw SchedulerServiceError::exportFailed(file.errorString());
}

void SchedulerService::importDocument(const QByteArray& document)
{
    QList<ScheduledPost> imported;
    try {
        imported = ScheduledPost::decodeList(document, DateEncoding::iso8601);
    } catch (const CodingError& error) {
        throw SchedulerServiceError::importFailed(error.message());
    }
    if (!savePosts(imported))
        throw SchedulerServiceError::importFailed(QStringLiteral("The scheduled posts could not be saved."));
    loadPosts();
    Q_EMIT scheduledPostsDidUpdate();
}

void SchedulerService::importFile(const QString& filePath)
{
    QFile file(filePath);
    if (!file.open(QIODevice::ReadOnly))
        throw SchedulerServiceError::importFailed(file.errorString());
    importDocument(file.readAll());
}
