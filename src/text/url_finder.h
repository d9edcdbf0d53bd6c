#pragma once

#include <QList>
#include <QStringView>

// Finds the links that X and Mastodon shorten to a fixed length, following X's published
// extraction rules closely enough for counting: a host of valid labels (each at most 63
// characters in its ASCII form) with a real top-level domain, an optional port, path and
// query, never ending in sentence punctuation.
class UrlFinder {
public:
    struct Range {
        qsizetype start = 0;
        qsizetype length = 0;
        qsizetype end() const { return start + length; }
        bool operator==(const Range&) const = default;
    };

    enum class Scheme {
        required, // only http:// and https:// links (Mastodon)
        optional, // bare domains such as example.com too (X)
    };

    static QList<Range> find(QStringView text, Scheme scheme);
    // Where a link running from `restStart` to `end` really ends: characters of `trailing`
    // at its end are sentence punctuation, and so is a closing parenthesis that closes
    // none opened inside the link. Each network has its own set.
    static qsizetype trimTrailing(QStringView text, qsizetype restStart, qsizetype end, QStringView trailing);
};
