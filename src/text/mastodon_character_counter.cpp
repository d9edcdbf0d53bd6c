#include "text/mastodon_character_counter.h"

#include "text/code_point_table.h"
#include "text/graphemes.h"
#include "text/text_tokens.h"
#include "text/url_finder.h"

#include <QString>
#include <QVarLengthArray>

#include <algorithm>
#include <cctype>
#include <optional>

namespace {
bool isWordCharacter(char32_t cp)
{
    return CodePointTable::has(cp, CodePointTable::wordCharacter);
}

// Letters of a user name match in either case, which takes in the Kelvin sign and the long s.
bool isUserNameCharacter(char32_t cp)
{
    return (cp < 0x80 && (std::isalnum(int(cp)) || cp == u'_')) || cp == 0x212A || cp == 0x017F;
}

// Runs of accepted characters joined by dots and hyphens, as long as it goes on; `at` when
// no accepted character stands there.
template <typename Accepts>
qsizetype dottedRunEnd(QStringView text, qsizetype at, Accepts accepts)
{
    qsizetype end = Graphemes::runEnd(text, at, accepts);
    if (end == at)
        return at;
    for (;;) {
        qsizetype next = end;
        while (next < text.size() && (text.at(next) == u'.' || text.at(next) == u'-'))
            ++next;
        const qsizetype runStart = next;
        next = Graphemes::runEnd(text, runStart, accepts);
        if (next == end || next == runStart)
            return end;
        end = next;
    }
}

struct Mention {
    qsizetype start;
    qsizetype end;
    QStringView user;
};

// A mention as Mastodon recognises it at the '@' at `at`: a user name of ASCII words,
// '@', a domain of words. Neither a word character, '=' nor '/' may stand before it.
std::optional<Mention> mentionAt(QStringView word, qsizetype at)
{
    if (at > 0) {
        const char32_t before = Graphemes::codePointBefore(word, at);
        if (before == u'=' || before == u'/' || isWordCharacter(before))
            return std::nullopt;
    }
    const qsizetype userEnd = dottedRunEnd(word, at + 1, isUserNameCharacter);
    if (userEnd == at + 1 || userEnd >= word.size() || word.at(userEnd) != u'@')
        return std::nullopt;
    const qsizetype domainEnd = dottedRunEnd(word, userEnd + 1, isWordCharacter);
    if (domainEnd == userEnd + 1)
        return std::nullopt;
    // "@a@b.c@d" and "@a@b.c://" are addresses of something else, not mentions.
    const QStringView after = word.sliced(domainEnd);
    if (after.startsWith(u'@') || after.startsWith(u"://"))
        return std::nullopt;
    return Mention{at, domainEnd, word.sliced(at + 1, userEnd - at - 1)};
}

// A link or a remote mention, and what Mastodon counts in its place: 23 characters for a
// link, '@' and the user name (ASCII) for a mention.
struct Entity {
    qsizetype start;
    qsizetype end;
    QStringView user; // null for a link

    qsizetype countedLength() const { return user.isNull() ? MastodonCharacterCounter::LinkLength : 1 + user.size(); }
    void appendReplacement(QString& text) const
    {
        if (user.isNull()) {
            text += QString(MastodonCharacterCounter::LinkLength, u'x');
            return;
        }
        text += u'@';
        text += user;
    }
};

using Entities = QVarLengthArray<Entity, 8>;

// Sentence punctuation that ends a link's path is not part of it.
qsizetype pathEnd(QStringView text, qsizetype restStart, qsizetype end)
{
    return UrlFinder::trimTrailing(text, restStart, end, u".,;:!?*'\"$%[]~|@&=<>「」");
}

qsizetype nonSpaceEnd(QStringView text, qsizetype at)
{
    while (at < text.size() && !text.at(at).isSpace())
        ++at;
    return at;
}

// Mastodon's links: http(s) on a known domain, whose path and query may hold any
// character but whitespace, and the other schemes it links (dat, dweb, ipfs, ipns, ssb,
// gopher, gemini) followed by anything but whitespace.
void appendLinks(QStringView text, Entities& found)
{
    for (const UrlFinder::Range& link : UrlFinder::find(text, UrlFinder::Scheme::required)) {
        qsizetype end = link.end();
        const QStringView linked = text.sliced(link.start, link.length);
        const qsizetype hostStart = linked.indexOf(u"://") + 3;
        qsizetype restStart = -1;
        for (qsizetype i = hostStart; i < linked.size(); ++i) {
            const QChar c = linked.at(i);
            if (c == u'/' || c == u'?' || c == u'#') {
                restStart = link.start + i;
                break;
            }
        }
        if (restStart < 0 && end < text.size() && (text.at(end) == u'/' || text.at(end) == u'?' || text.at(end) == u'#'))
            restStart = end;
        if (restStart >= 0)
            end = pathEnd(text, restStart, nonSpaceEnd(text, restStart));
        found.append({link.start, std::max(end, link.end()), QStringView()});
    }
    static const QStringList schemes = {QStringLiteral("dat://"), QStringLiteral("dweb://"), QStringLiteral("ipfs://"),
                                        QStringLiteral("ipns://"), QStringLiteral("ssb://"), QStringLiteral("gopher://"),
                                        QStringLiteral("gemini://")};
    for (qsizetype colon = text.indexOf(u"://"); colon != -1; colon = text.indexOf(u"://", colon + 3)) {
        for (const QString& scheme : schemes) {
            const qsizetype start = colon + 3 - scheme.size();
            if (start < 0 || text.sliced(start, scheme.size()).compare(scheme, Qt::CaseInsensitive) != 0)
                continue;
            if (start > 0 && isWordCharacter(Graphemes::codePointBefore(text, start)))
                continue;
            const qsizetype end = pathEnd(text, colon + 3, nonSpaceEnd(text, colon + 3));
            if (end > colon + 3)
                found.append({start, end, QStringView()});
        }
    }
}

Entities entities(QStringView text)
{
    Entities found;
    appendLinks(text, found);
    for (const TextTokens::Token& token : TextTokens::containing(text, u'@')) {
        for (qsizetype at = token.text.indexOf(u'@'); at != -1;) {
            const std::optional<Mention> mention = mentionAt(token.text, at);
            if (mention)
                found.append({token.start + mention->start, token.start + mention->end, mention->user});
            at = token.text.indexOf(u'@', mention ? mention->end : at + 1);
        }
    }
    // Where a link and a mention overlap, the one that starts first wins.
    std::sort(found.begin(), found.end(), [](const Entity& a, const Entity& b) { return a.start < b.start; });
    Entities disjoint;
    for (const Entity& entity : found) {
        if (disjoint.isEmpty() || entity.start >= disjoint.last().end)
            disjoint.append(entity);
    }
    return disjoint;
}

qsizetype countWithReplacements(QStringView text, const Entities& found)
{
    QString countable;
    countable.reserve(text.size() + MastodonCharacterCounter::LinkLength * found.size());
    qsizetype copied = 0;
    for (const Entity& entity : found) {
        countable += text.sliced(copied, entity.start - copied);
        entity.appendReplacement(countable);
        copied = entity.end;
    }
    countable += text.sliced(copied);
    return Graphemes::count(countable);
}
} // namespace

qsizetype MastodonCharacterCounter::length(QStringView text)
{
    // Counted on the text with each entity replaced, as Mastodon does: a mark after a link
    // joins the replacement's last character, not the link's.
    const Entities found = entities(text);
    return found.isEmpty() ? Graphemes::count(text) : countWithReplacements(text, found);
}

CharacterCount MastodonCharacterCounter::count(QStringView text, qsizetype limit)
{
    return {length(text), limit};
}
