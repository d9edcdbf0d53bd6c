#include "compose/composer.h"

#include "compose/compose_log.h"
#include "compose/post_storage.h"
#include "core/coding_error.h"
#include "core/preference_keys.h"
#include "core/preference_store.h"
#include "model/scheduled_post.h"
#include "text/graphemes.h"
#include "text/platform_character_counter.h"
#include "text/text_splitter.h"

#include <algorithm>

const QString Composer::MediaLimitMessage =
    QStringLiteral("Maximum of 4 media items reached. New selections will replace oldest items.");

namespace {
QList<Post> oneEmptyPost()
{
    return {Post::create()};
}

bool isBlank(const QList<Post>& posts)
{
    return std::all_of(posts.begin(), posts.end(), [](const Post& post) {
        return post.text.isEmpty() && post.mediaItems.isEmpty() && !post.quoteContext && !post.communityContext
               && !post.scheduledPostId;
    });
}

QString uuidText(const QUuid& id)
{
    return id.toString(QUuid::WithoutBraces).toUpper();
}
} // namespace

Composer::Composer(PreferenceStore& preferences, PostStorage& storage, std::unique_ptr<DebounceTimer> draftSaveTask,
                   QObject* parent)
    : QObject(parent)
    , m_preferences(preferences)
    , m_storage(storage)
    , m_draftSaveTask(std::move(draftSaveTask))
    , m_posts(oneEmptyPost())
{
    try {
        if (const auto draft = m_storage.loadDraft(); draft && !draft->isEmpty())
            m_posts = *draft;
    } catch (const CodingError& error) {
        qCWarning(lcCompose).noquote() << QStringLiteral("❌ Failed to decode composer draft, starting empty: ") + error.message();
    }
}

Composer::~Composer()
{
    flushDraft();
}

std::optional<QUuid> Composer::editingScheduledPostId() const
{
    for (const Post& post : m_posts) {
        if (post.scheduledPostId)
            return post.scheduledPostId;
    }
    return std::nullopt;
}

void Composer::setPosts(const QList<Post>& posts)
{
    changePosts(posts.isEmpty() ? oneEmptyPost() : posts);
}

void Composer::setText(qsizetype index, const QString& text)
{
    if (!isValidIndex(index) || m_posts.at(index).text == text)
        return;
    QList<Post> posts = m_posts;
    posts[index].text = text;
    changePosts(posts);
}

bool Composer::insertPost(qsizetype after)
{
    if (m_posts.size() >= maxPosts())
        return false;
    QList<Post> posts = m_posts;
    const qsizetype at = isValidIndex(after) ? after + 1 : posts.size();
    Post post = Post::create();
    post.scheduledPostId = editingScheduledPostId();
    posts.insert(at, post);
    changePosts(posts);
    return true;
}

void Composer::removePost(qsizetype index)
{
    if (!isValidIndex(index))
        return;
    QList<Post> posts = m_posts;
    if (posts.size() == 1) {
        const auto scheduledPostId = posts.first().scheduledPostId;
        posts = oneEmptyPost();
        posts.first().scheduledPostId = scheduledPostId;
    } else {
        posts.removeAt(index);
    }
    changePosts(posts);
}

void Composer::movePost(qsizetype from, qsizetype to)
{
    if (!isValidIndex(from) || !isValidIndex(to) || from == to)
        return;
    QList<Post> posts = m_posts;
    // The quote and the community belong to the thread, which its first post carries.
    const auto quote = posts.first().quoteContext;
    const auto community = posts.first().communityContext;
    posts.first().quoteContext.reset();
    posts.first().communityContext.reset();
    posts.move(from, to);
    posts.first().quoteContext = quote;
    posts.first().communityContext = community;
    changePosts(posts);
}

void Composer::setReorderMode(bool on)
{
    if (m_reorderMode == on)
        return;
    m_reorderMode = on;
    Q_EMIT reorderModeChanged(on);
}

void Composer::addMedia(qsizetype index, const QList<PostMedia>& picked)
{
    if (!isValidIndex(index) || picked.isEmpty())
        return;
    QList<Post> posts = m_posts;
    QList<PostMedia>& media = posts[index].mediaItems;
    media.append(picked);
    if (media.size() > MaxMediaPerPost) {
        media.remove(0, media.size() - MaxMediaPerPost);
        Q_EMIT messageShown(MediaLimitMessage);
    }
    changePosts(posts);
}

void Composer::removeMedia(qsizetype index, const QUuid& mediaId)
{
    if (!isValidIndex(index))
        return;
    QList<Post> posts = m_posts;
    const auto removed = posts[index].mediaItems.removeIf([&](const PostMedia& media) { return media.id == mediaId; });
    if (removed > 0)
        changePosts(posts);
}

void Composer::changeHead(const std::function<void(Post&)>& change)
{
    if (m_posts.isEmpty())
        return;
    QList<Post> posts = m_posts;
    change(posts.first());
    changePosts(posts);
}

void Composer::setCommunity(const std::optional<CommunityContext>& community)
{
    changeHead([&](Post& head) { head.communityContext = community; });
}

std::optional<CommunityContext> Composer::community() const
{
    return m_posts.isEmpty() ? std::nullopt : m_posts.first().communityContext;
}

void Composer::setQuote(const std::optional<QuoteContext>& quote)
{
    changeHead([&](Post& head) { head.quoteContext = quote; });
}

std::optional<QuoteContext> Composer::quote() const
{
    return m_posts.isEmpty() ? std::nullopt : m_posts.first().quoteContext;
}

void Composer::updateMedia(qsizetype index, const PostMedia& media)
{
    if (!isValidIndex(index))
        return;
    QList<Post> posts = m_posts;
    for (PostMedia& existing : posts[index].mediaItems) {
        if (existing.id != media.id || existing == media)
            continue;
        existing = media;
        changePosts(posts);
        return;
    }
}

namespace {
// The length of the post break at `at`, if one stands there.
qsizetype separatorAt(QStringView text, qsizetype at)
{
    return text.sliced(at).startsWith(TextSplitter::Separator) ? TextSplitter::Separator.size() : 0;
}

// Where piece `index` of a split starts in the text it was split from: pieces follow one
// another, with a post break between those that came from different parts.
qsizetype startOf(QStringView source, const QStringList& pieces, qsizetype index)
{
    qsizetype at = 0;
    for (qsizetype i = 0; i < index; ++i) {
        at += pieces.at(i).size();
        at += separatorAt(source, at);
    }
    return std::min(at, source.size());
}
} // namespace

void Composer::setNetworks(const QList<PlatformType>& networks, qsizetype mastodonLimit)
{
    m_networks = networks;
    m_mastodonLimit = mastodonLimit;
}

bool Composer::paste(qsizetype index, qsizetype cursor, const QString& pasted)
{
    if (!isValidIndex(index))
        return false;
    const bool fits = m_networks.isEmpty() ? Graphemes::count(pasted) <= PasteLimit
                                           : TextSplitter::fitsAll(pasted, m_networks, m_mastodonLimit);
    if (fits || !m_preferences.boolValue(PreferenceKeys::AutoSplitEnabled).value_or(true))
        return false;
    const QStringList pieces = TextSplitter::splitFor(pasted, m_networks, m_mastodonLimit, PasteLimit);
    if (pieces.isEmpty())
        return true;

    const QString& before = m_posts.at(index).text;
    setText(index, before.first(std::clamp<qsizetype>(cursor, 0, before.size())) + pieces.first());
    const QUuid afterId = m_posts.at(index).id;
    const QStringList rest = pieces.mid(1);
    if (!rest.isEmpty()) {
        const QString source = pasted.sliced(pieces.first().size() + separatorAt(pasted, pieces.first().size()));
        QMetaObject::invokeMethod(
            this, [this, afterId, rest, source] { addOverflowPosts(afterId, rest, source); }, Qt::QueuedConnection);
    }
    return true;
}

QStringList Composer::splitPreview(qsizetype index) const
{
    if (!isValidIndex(index))
        return {};
    const QString& text = m_posts.at(index).text;
    const bool fits = m_networks.isEmpty() ? Graphemes::count(text) <= PasteLimit
                                           : TextSplitter::fitsAll(text, m_networks, m_mastodonLimit);
    if (fits)
        return {text};
    return TextSplitter::splitFor(text, m_networks, m_mastodonLimit, PasteLimit);
}

void Composer::splitPost(qsizetype index)
{
    const QStringList pieces = splitPreview(index);
    if (pieces.size() < 2)
        return;
    const QString text = m_posts.at(index).text;
    const QUuid id = m_posts.at(index).id;
    setText(index, pieces.first());
    const QString source = text.sliced(pieces.first().size() + separatorAt(text, pieces.first().size()));
    addOverflowPosts(id, pieces.mid(1), source);
}

void Composer::addOverflowPosts(const QUuid& afterId, const QStringList& pieces, const QString& source)
{
    if (pieces.isEmpty())
        return;
    QList<Post> posts = m_posts;
    const auto edited = std::find_if(posts.begin(), posts.end(), [&](const Post& post) { return post.id == afterId; });
    qsizetype at = edited == posts.end() ? posts.size() : (edited - posts.begin()) + 1;
    const auto scheduledPostId = editingScheduledPostId();
    for (qsizetype i = 0; i < pieces.size(); ++i) {
        if (posts.size() >= maxPosts()) {
            // No room for more posts: keep the rest of the text in the last one, as written.
            posts[at - 1].text += source.isNull() ? pieces.sliced(i).join(QString()) : source.sliced(startOf(source, pieces, i));
            break;
        }
        Post post = Post::create(pieces.at(i));
        post.scheduledPostId = scheduledPostId;
        posts.insert(at++, post);
    }
    changePosts(posts);
}

void Composer::editScheduledPost(const ScheduledPost& scheduled)
{
    qCInfo(lcCompose).noquote() << QStringLiteral("🎯 Composer received editing ScheduledPost id=") + uuidText(scheduled.id);
    QList<Post> posts = scheduled.content.isEmpty() ? oneEmptyPost() : scheduled.content;
    for (Post& post : posts)
        post.scheduledPostId = scheduled.id;
    changePosts(posts);
}

void Composer::clearEditingContext()
{
    if (!editingScheduledPostId())
        return;
    qCInfo(lcCompose).noquote() << QStringLiteral("🎯 Composer clearing editing scheduled context");
    QList<Post> posts = m_posts;
    for (Post& post : posts)
        post.scheduledPostId.reset();
    changePosts(posts);
}

void Composer::reset()
{
    if (editingScheduledPostId())
        qCInfo(lcCompose).noquote() << QStringLiteral("🎯 Composer clearing editing scheduled context");
    m_draftSaveTask->cancel();
    m_posts = oneEmptyPost();
    setReorderMode(false);
    Q_EMIT postsChanged();
    if (!m_storage.removeDraft())
        qCWarning(lcCompose).noquote() << QStringLiteral("❌ Failed to remove the composer draft");
}

void Composer::flushDraft()
{
    if (!m_draftSaveTask->isPending())
        return;
    m_draftSaveTask->cancel();
    saveDraftNow();
}

CharacterCount Composer::characterCount(qsizetype index, PlatformType platform, qsizetype mastodonLimit) const
{
    return PlatformCharacterCounter::count(platform, isValidIndex(index) ? m_posts.at(index).text : QString(),
                                           mastodonLimit);
}

void Composer::changePosts(const QList<Post>& posts)
{
    if (posts == m_posts)
        return;
    m_posts = posts;
    Q_EMIT postsChanged();
    m_draftSaveTask->restart(DraftSaveDelay, [this] { saveDraftNow(); });
}

void Composer::saveDraftNow()
{
    try {
        const bool saved = isBlank(m_posts) ? m_storage.removeDraft() : m_storage.saveDraft(m_posts);
        if (!saved)
            qCWarning(lcCompose).noquote() << QStringLiteral("❌ Failed to save the composer draft");
    } catch (const CodingError& error) {
        qCWarning(lcCompose).noquote() << QStringLiteral("❌ Failed to encode the composer draft: ") + error.message();
    }
}
