#pragma once

#include "model/platform_type.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>

// Turns one long text into the texts of consecutive thread posts. Pieces are cut at
// grapheme cluster boundaries only (see Graphemes), so every piece is valid text and no
// emoji, flag, conjunct or accented letter is ever cut in two. Nothing is trimmed, numbered
// or marked: joining the pieces of `chunk` gives the text back.
class TextSplitter {
public:
    // A line holding three hyphens between blank lines: the user's own post break.
    static const QString Separator;
    // Whether a piece is short enough.
    using Fits = std::function<bool(QStringView)>;

    // Cuts at every explicit separator first; a part longer than `limit` is chunked.
    // An empty part (two separators in a row, or one at the very start) stays an empty post.
    static QStringList split(const QString& text, qsizetype limit);
    // The same, with parts and pieces that each fit `fits`.
    static QStringList split(const QString& text, const Fits& fits);
    // For a post going to all these networks: every piece fits each one's counter (X's
    // weighted length, Bluesky's characters and bytes, the Mastodon limit given). Without
    // networks, the plain limit of `fallbackLimit` characters.
    static QStringList splitFor(const QString& text, const QList<PlatformType>& networks, qsizetype mastodonLimit,
                                qsizetype fallbackLimit);
    // Whether a text fits every one of these networks (true without networks).
    static bool fitsAll(QStringView text, const QList<PlatformType>& networks, qsizetype mastodonLimit);

    // Pieces of at most `limit` characters, cut after the last whitespace that fits, or
    // mid-word when a single word is longer than the limit. A limit below 1 is taken as 1:
    // no piece can be shorter than one character.
    static QStringList chunk(QStringView text, qsizetype limit);
    // Pieces that fit, cut the same way. A single character that does not fit on its own is
    // still a piece, so the text is always used up.
    static QStringList chunk(QStringView text, const Fits& fits);
};
