#pragma once

#include "model/post.h"

#include <QList>
#include <QString>

#include <optional>

class PreferenceStore;

// Keeps the composer's draft thread in the preferences, as the JSON array of its posts.
class PostStorage {
public:
    explicit PostStorage(PreferenceStore& defaults);

    static QString draftKey();

    // The stored draft; nothing when none is stored. Throws CodingError when the stored
    // document does not decode; it is left as it is.
    std::optional<QList<Post>> loadDraft() const;
    // False when the write failed; the previous draft then stays whole.
    bool saveDraft(const QList<Post>& posts);
    bool removeDraft();

private:
    PreferenceStore& m_defaults;
};
