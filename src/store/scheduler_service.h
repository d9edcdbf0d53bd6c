#pragma once

#include "model/scheduled_post.h"
#include "store/encoded_post_cache.h"

#include <QList>
#include <QMutex>
#include <QObject>
#include <QThreadPool>
#include <QUuid>
#include <QWaitCondition>

#include <atomic>
#include <functional>
#include <optional>

class PreferenceStore;

// The scheduled-post store: the list of scheduled threads, kept in the preference
// store under "scheduledPosts" as one JSON document. Read and changed on the main
// thread; after each change the list is saved by a background task (compact JSON)
// and scheduledPostsDidUpdate() is emitted. The scheduler loop builds on this.
class SchedulerService : public QObject {
    Q_OBJECT

public:
    static constexpr const char* kExportFileName = "quillo-scheduled-posts.json";

    explicit SchedulerService(PreferenceStore& store, QObject* parent = nullptr);
    // Waits for a save that is still being written.
    ~SchedulerService() override;

    const QList<ScheduledPost>& scheduledPosts() const { return m_posts; }
    std::optional<ScheduledPost> scheduledPost(const QUuid& id) const;

    // Replaces the in-memory list with the stored one. Missing or undecodable data
    // gives an empty list; undecodable data is left on disk as it is.
    void loadPosts();
    // Encodes the given list pretty-printed and stores it now; the in-memory list is
    // not touched. False (and the stored document unchanged) on failure.
    bool savePosts(const QList<ScheduledPost>& posts);
    // Saves a snapshot of the in-memory list from a background task. Of several saves
    // in flight the latest wins; an older snapshot never replaces a newer document.
    // Changes made through this class are saved so once control is back in the event
    // loop (or at the latest by waitForPendingSaves).
    void savePostsAsync();
    // Starts the save of changes not yet saved, then blocks until every background save
    // has finished (shutdown, a client's sync request, tests).
    void waitForPendingSaves();
    // False while the newest background save failed (the stored document is older than
    // the list); the next successful save clears it.
    bool lastSaveSucceeded() const { return !m_saveFailed.load(); }

    // The composer's and the URL commands' schedule action. Without editingId the
    // post is appended under a new id; with it, the entry with that id is replaced in
    // place (or, when it is gone, the post is appended under a new id). Returns the
    // id the post is stored under.
    QUuid addOrUpdate(const ScheduledPost& post, const std::optional<QUuid>& editingId = std::nullopt);
    bool deletePost(const QUuid& id);
    void clearAll();
    // Sets the status; error is the failure text (none clears it).
    bool updateStatus(const QUuid& id, PostStatus status, const std::optional<QString>& error = std::nullopt);

    // The export document (pretty, sorted keys, ISO 8601 dates). Throws
    // SchedulerServiceError (noPostsToExport) for an empty list.
    QByteArray exportDocument() const;
    // Throws SchedulerServiceError.
    void exportToFile(const QString& filePath) const;
    // Replaces the whole list with the document's (not a merge). Throws
    // SchedulerServiceError (importFailed) and changes nothing when it cannot be read.
    void importDocument(const QByteArray& document);
    void importFile(const QString& filePath);

Q_SIGNALS:
    // "scheduledPostsDidUpdate": the list changed. Comes after scheduledPostChanged or
    // scheduledPostsReplaced, which say how.
    void scheduledPostsDidUpdate();
    // One entry was added, changed or removed (then it is no longer found).
    void scheduledPostChanged(const QUuid& id);
    // The whole list was loaded, replaced or cleared.
    void scheduledPostsReplaced();

private:
    void changed(const QUuid& id);
    void replaced();
    void saveAndAnnounce();
    // Saves now when a change is still waiting for its save.
    void flushQueuedSave();
    // Saver thread: writes one background snapshot.
    void saveSnapshot(const QList<EncodedPostCache::Slot>& slots, quint64 generation);
    void saveFinished();
    qsizetype indexOf(const QUuid& id) const;
    // Writes the document unless a newer save has been requested since; throws
    // CodingError when an entry cannot be encoded (the stored document stays as it was).
    bool writeIfLatest(quint64 generation, const std::function<bool(QIODevice&)>& write);

    PreferenceStore& m_store;
    // Changed only together with m_encoded, which keeps one slot per post.
    QList<ScheduledPost> m_posts;
    EncodedPostCache m_encoded;

    // Every save takes the next generation; a document is written only while its
    // generation is still the newest, under m_writeMutex, so saves never go back in time.
    std::atomic<quint64> m_generation{0};
    std::atomic<bool> m_saveFailed{false};
    // The stored document could not be decoded at the last load: the next save keeps a
    // copy of it before replacing it.
    std::atomic<bool> m_unreadable{false};
    QMutex m_writeMutex;
    // A change waits for its save to start from the event loop.
    bool m_saveQueued = false;
    // Saves queued or running. Waiting on this rather than on the pool keeps its thread
    // alive between saves (QThreadPool::waitForDone ends its threads).
    int m_pendingSaves = 0;
    QMutex m_pendingMutex;
    QWaitCondition m_savesDone;
    QThreadPool m_saver;
};
