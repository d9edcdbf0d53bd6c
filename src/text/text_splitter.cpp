#include "text/text_splitter.h"

#include "text/graphemes.h"

#include <QTextBoundaryFinder>

#include <algorithm>

const QString TextSplitter::Separator = QStringLiteral("\n\n---\n\n");

namespace {
// Where the piece that starts at `start` ends. `finder` walks clusters of `text`.
qsizetype cutAfter(QStringView text, QTextBoundaryFinder& finder, qsizetype start, qsizetype limit)
{
    finder.setPosition(start);
    qsizetype end = start;
    for (qsizetype taken = 0; taken < limit; ++taken) {
        const qsizetype next = finder.toNextBoundary();
        if (next == -1)
            break;
        end = next;
    }
    if (end >= text.size())
        return text.size();

    // Walk back to the last whitespace that fits, never past the start.
    finder.setPosition(end);
    qsizetype position = finder.toPreviousBoundary();
    if (Graphemes::isWhitespaceAt(text, position))
        return end;
    while (position > start) {
        const qsizetype before = finder.toPreviousBoundary();
        if (Graphemes::isWhitespaceAt(text, before))
            return position;
        position = before;
    }
    return end; // one word longer than the limit: cut it hard
}
} // namespace

QStringList TextSplitter::chunk(QStringView text, qsizetype limit)
{
    QStringList pieces;
    if (text.isEmpty())
        return pieces;
    limit = std::max<qsizetype>(limit, 1);

    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text.data(), text.size());
    for (qsizetype start = 0; start < text.size();) {
        const qsizetype cut = cutAfter(text, finder, start, limit);
        pieces.append(text.sliced(start, cut - start).toString());
        start = cut;
    }
    return pieces;
}

QStringList TextSplitter::split(const QString& text, qsizetype limit)
{
    if (!text.contains(Separator))
        return chunk(text, limit);

    QStringList posts;
    const QList<QStringView> parts = QStringView(text).split(Separator);
    for (const QStringView part : parts) {
        if (Graphemes::count(part) <= limit)
            posts.append(part.toString());
        else
            posts.append(chunk(part, limit));
    }
    return posts;
}
