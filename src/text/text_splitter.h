#pragma once

#include <QString>
#include <QStringList>

// Turns one long text into the texts of consecutive thread posts. Lengths are counted in
// user-perceived characters, so an emoji or an accented letter is never cut in two.
// Nothing is trimmed, numbered or marked: joining the pieces of `chunk` gives the text back.
class TextSplitter {
public:
    // A line holding three hyphens between blank lines: the user's own post break.
    static const QString Separator;

    // Cuts at every explicit separator first; a part longer than `limit` is chunked.
    // An empty part (two separators in a row, or one at the very start) stays an empty post.
    static QStringList split(const QString& text, qsizetype limit);

    // Pieces of at most `limit` characters, cut after the last whitespace that fits, or
    // mid-word when a single word is longer than the limit. A limit below 1 is taken as 1:
    // no piece can be shorter than one character.
    static QStringList chunk(QStringView text, qsizetype limit);
};
