#pragma once

#include "text/url_finder.h"

#include <QVarLengthArray>
#include <QStringView>

// Finds what is shaped like a link in a word, before any check of what stands before it or
// of its host: an optional http(s) scheme, labels of letters, numbers, marks, symbols,
// underscores and hyphens joined by dots, an optional port of up to five digits, and a
// path, query or fragment with every character that may follow it.
class LinkCandidateScanner {
public:
    struct Candidate {
        qsizetype start = 0;
        qsizetype hostStart = 0;
        qsizetype hostEnd = 0;
        qsizetype restStart = -1; // -1: no path, query or fragment
        qsizetype end = 0;
        bool hasScheme = false;
        bool operator==(const Candidate&) const = default;
    };

    using Candidates = QVarLengthArray<Candidate, 4>;

    // In order; each search starts where the previous candidate ended.
    static Candidates scan(QStringView word, UrlFinder::Scheme scheme);
};
