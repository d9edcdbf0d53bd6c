#pragma once

#include "compose/debounce_timer.h"
#include "model/platform_type.h"
#include "model/post.h"
#include "text/character_count.h"

#include <QList>
#include <QObject>
#include <QStringList>
#include <QUuid>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

class PostStorage;
class PreferenceStore;
struct ScheduledPost;

// The model behind the composer window: the thread being written, its reorder mode, and
// the draft that keeps it across closing the window or quitting. Every change of the
// thread is saved as the draft half a second after the last one, so a burst of typing
// writes once.
//
// After the thread was scheduled or published, reset() empties the composer and also
// removes the stored draft: its content now lives in the schedule or on the networks,
// and bringing it back on the next start would invite posting it twice.
class Composer : public QObject {
    Q_OBJECT

public:
    static constexpr qsizetype MaxMediaPerPost = 4;
    // Pasted text longer than this becomes several posts while no networks are chosen.
    static constexpr qsizetype PasteLimit = 280;
    static constexpr std::chrono::milliseconds DraftSaveDelay{500};
    static const QString MediaLimitMessage;

    // Restores the stored draft; a draft that does not decode is logged and left stored
    // until the first real change replaces it.
    Composer(PreferenceStore& preferences, PostStorage& storage, std::unique_ptr<DebounceTimer> draftSaveTask,
             QObject* parent = nullptr);
    // Writes a pending draft at once, so quitting within the half second loses nothing.
    ~Composer() override;

    const QList<Post>& posts() const { return m_posts; }
    bool isReorderMode() const { return m_reorderMode; }
    // X, Bluesky and Mastodon all take threads of this length in one go.
    int maxPosts() const { return 25; }
    // The limit of the composer's own counter and of the paste rule; the per-network
    // counters (characterCount) use each network's limit.
    int characterLimit() const { return int(PasteLimit); }
    std::optional<QUuid> editingScheduledPostId() const;

    void setPosts(const QList<Post>& posts);
    void setText(qsizetype index, const QString& text);
    // Inserts an empty post after `index` (at the end for -1); false at maxPosts.
    bool insertPost(qsizetype after = -1);
    // The last post cannot be removed; it is emptied instead.
    void removePost(qsizetype index);
    void movePost(qsizetype from, qsizetype to);
    void setReorderMode(bool on);

    // Attaches picked media; beyond four, the newest replace the oldest and
    // MediaLimitMessage is shown once.
    void addMedia(qsizetype index, const QList<PostMedia>& picked);
    void removeMedia(qsizetype index, const QUuid& mediaId);
    // The X community the thread goes to (kept on its first post); none posts to the timeline.
    void setCommunity(const std::optional<CommunityContext>& community);
    std::optional<CommunityContext> community() const;
    // The post the thread quotes (kept on its first post).
    void setQuote(const std::optional<QuoteContext>& quote);
    std::optional<QuoteContext> quote() const;
    // Replaces the attachment with the same id: alt text typed, a video's edits saved.
    void updateMedia(qsizetype index, const PostMedia& media);

    // The networks the thread goes to, as the window's selection says; a paste is then cut
    // so that every piece fits each of them (`mastodonLimit` for Mastodon).
    void setNetworks(const QList<PlatformType>& networks, qsizetype mastodonLimit);

    // The paste rule of a post's text field. Returns false when the field should insert the
    // text normally (text that fits, or automatic splitting switched off). Otherwise the
    // post's text becomes what stood before the cursor plus the first piece, and the other
    // pieces follow as new posts on the next turn of the event loop.
    bool paste(qsizetype index, qsizetype cursor, const QString& pasted);
    // Where the splitter would cut a post's text for the chosen networks: one piece when it fits.
    QStringList splitPreview(qsizetype index) const;
    // Cuts a post that is too long into posts that fit, right where it stands.
    void splitPost(qsizetype index);
    // Inserts pieces as posts right after the post with `afterId` (at the end when it is
    // gone). Past maxPosts the rest goes into the last post, so no text is dropped; its
    // counter then shows it is too long. `source`, the text the pieces were split from
    // (starting with the first piece), keeps that rest as written, post breaks included.
    void addOverflowPosts(const QUuid& afterId, const QStringList& pieces, const QString& source = QString());

    // Loads a scheduled thread for editing; saving it then replaces the stored entry.
    void editScheduledPost(const ScheduledPost& scheduled);
    void clearEditingContext();

    // Back to one empty post after scheduling or publishing; removes the stored draft.
    void reset();
    // Writes a pending draft now.
    void flushDraft();

    CharacterCount characterCount(qsizetype index, PlatformType platform, qsizetype mastodonLimit = 500) const;

Q_SIGNALS:
    void postsChanged();
    void reorderModeChanged(bool on);
    // A message for the user, such as MediaLimitMessage.
    void messageShown(const QString& message);

private:
    void changePosts(const QList<Post>& posts);
    // What belongs to the whole thread (quote, community) is kept on its first post.
    void changeHead(const std::function<void(Post&)>& change);
    void saveDraftNow();
    bool isValidIndex(qsizetype index) const { return index >= 0 && index < m_posts.size(); }

    PreferenceStore& m_preferences;
    PostStorage& m_storage;
    std::unique_ptr<DebounceTimer> m_draftSaveTask;
    QList<Post> m_posts;
    QList<PlatformType> m_networks; // none chosen: the plain paste limit
    qsizetype m_mastodonLimit = 500;
    bool m_reorderMode = false;
};
