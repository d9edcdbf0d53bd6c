#pragma once

#include <QList>
#include <QStringView>

// Finds the links the Bluesky client shortens before it sends a post: a run of
// non-whitespace that ends in a link (an optional http(s) scheme, ASCII labels and a
// top-level domain of letters, then path, query and fragment characters), and a link at
// the start of every line but the first, which need not reach the end of its run.
class BlueskyLinkFinder {
public:
    struct Span {
        qsizetype start = 0;
        qsizetype end = 0;
        bool operator==(const Span&) const = default;
    };

    // The length of the http(s) scheme the text starts with (the client's is case-sensitive).
    static qsizetype schemeLength(QStringView text);
    // Disjoint and in text order; where two overlap, the one that starts first is kept.
    static QList<Span> find(QStringView text);
};
