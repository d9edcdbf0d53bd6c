#pragma once

#include "core/json.h"

#include <QList>
#include <QString>
#include <QStringView>

// One facet of a post: a link, a hashtag or a mention over a UTF-8 byte range of the text
// as it is sent (byteEnd exclusive).
struct BlueSkyFacet {
    enum class Kind { link, tag, mention };

    Kind kind = Kind::link;
    qsizetype byteStart = 0;
    qsizetype byteEnd = 0;
    // The link's full URL, the tag without "#", or the mentioned account's DID.
    QString value{};

    Json toJson() const;
    bool operator==(const BlueSkyFacet&) const = default;
};

// Turns a post's text into the text Bluesky gets and its facets. Bluesky detects nothing
// itself: links are shortened for display and every link, tag and mention is sent as a
// byte range. Pure and network-free; mentions come back unresolved, for the service to
// look up their DIDs.
class BlueSkyRichText {
public:
    static constexpr qsizetype kLinkDisplayLength = 32;
    // Longer tags make the server refuse the whole record.
    static constexpr qsizetype kMaxTagGraphemes = 64;

    struct Mention {
        qsizetype byteStart = 0;
        qsizetype byteEnd = 0;
        QString handle{}; // without "@"
        bool operator==(const Mention&) const = default;
    };

    struct Result {
        QString text;
        // Links in text order, then tags.
        QList<BlueSkyFacet> facets;
        QList<Mention> mentions;
        // The target of the first link: the candidate for a link card.
        QString firstLink;
    };

    // A link broken over a line end is joined to its continuation with one space.
    static QString repairLineBreaks(const QString& text);
    static Result process(const QString& text);

    // Version numbers, file extensions, a word ending a sentence, punctuation runs.
    static bool isNonUrl(const QString& candidate);
    // Without its http(s) scheme, cut to 32 characters and "..." when longer.
    static QString displayForm(const QString& candidate);
    // The facets as the record's "facets" list.
    static Json toJson(const QList<BlueSkyFacet>& facets);
};
