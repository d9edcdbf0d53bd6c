#include "compose/post_storage.h"

#include "core/json_values.h"
#include "core/preference_keys.h"
#include "core/preference_store.h"

PostStorage::PostStorage(PreferenceStore& defaults)
    : m_defaults(defaults)
{
}

QString PostStorage::draftKey()
{
    return PreferenceKeys::ComposerDrafts;
}

std::optional<QList<Post>> PostStorage::loadDraft() const
{
    const std::optional<QByteArray> stored = m_defaults.data(draftKey());
    if (!stored)
        return std::nullopt;
    const Json document = JsonValues::parse(*stored);
    return Post::decodeThread(JsonReader(document));
}

bool PostStorage::saveDraft(const QList<Post>& posts)
{
    return m_defaults.setData(draftKey(), JsonValues::dump(Post::threadToJson(posts), JsonLayout::compact));
}

bool PostStorage::removeDraft()
{
    return m_defaults.removeData(draftKey());
}
