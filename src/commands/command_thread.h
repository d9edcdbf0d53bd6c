#pragma once

#include "model/platform_type.h"
#include "model/post.h"
#include "text/mastodon_character_counter.h"

#include <QList>
#include <QString>
#include <QStringList>

// The thread a command describes, and the edits it makes to a stored thread. Parse
// failures throw URLSchemeError.
namespace CommandThread {

// The per-post limit used when a command asks for a long text to be split.
inline constexpr qsizetype kSplitLimit = 280;

// The posts of a thread written as one text, cut at each line that holds only "---".
// Posts with no text are left out; there is always at least one.
QStringList splitAtBreaks(const QString& text);

// The post texts of one command text: cut at the user's own post breaks when `thread`
// is asked for, then each post split when `autosplit` is. A split for known networks
// gives pieces that fit each network's counter (`mastodonLimit` for Mastodon); without
// networks, pieces of at most kSplitLimit characters.
QStringList textsFor(const QString& text, bool thread, bool autosplit, const QList<PlatformType>& networks = {},
                     qsizetype mastodonLimit = MastodonCharacterCounter::DefaultLimit);

// `thread` of an edit: a JSON array of texts.
QStringList parseTexts(const QString& json);

// Gives the thread these texts. Posts that stay keep their id and media; new ones are
// created, surplus ones removed.
void setTexts(QList<Post>& thread, const QStringList& texts);

// `threadOps` of an edit, a JSON array of {op, index, text}, applied in order:
// "insert" and "replace" at index, "delete" at index, "append" at the end. Unknown
// ops are logged and skipped; an index outside the thread or a thread left empty fails.
void applyOps(QList<Post>& thread, const QString& json);

} // namespace CommandThread
