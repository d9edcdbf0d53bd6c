#include "text/bluesky_character_counter.h"

#include "text/bluesky_link_finder.h"
#include "text/graphemes.h"

#include <QUrl>

namespace {
qsizetype nonSpaceEnd(QStringView text, qsizetype at)
{
    while (at < text.size() && !text.at(at).isSpace())
        ++at;
    return at;
}

// Where the scheme that ends at the colon at `colon` starts, or -1.
qsizetype schemeStartAt(QStringView text, qsizetype colon)
{
    if (!text.sliced(colon).startsWith(u"://"))
        return -1;
    if (colon >= 5 && text.sliced(colon - 5, 5) == u"https")
        return colon - 5;
    if (colon >= 4 && text.sliced(colon - 4, 4) == u"http")
        return colon - 4;
    return -1;
}

// The client first mends links broken over a line end: a link, whitespace holding a line
// feed, and the next word become the link, one space and the word. A null string when no
// link is broken.
QString joinedBrokenLinks(QStringView text)
{
    QString joined;
    qsizetype copied = 0;
    qsizetype searchFrom = 0;
    for (qsizetype colon = text.indexOf(u':'); colon != -1; colon = text.indexOf(u':', colon + 1)) {
        if (schemeStartAt(text, colon) < searchFrom)
            continue;
        const qsizetype linkEnd = nonSpaceEnd(text, colon + 3);
        if (linkEnd == colon + 3)
            continue;
        qsizetype wordStart = linkEnd;
        bool lineFeed = false;
        for (; wordStart < text.size() && text.at(wordStart).isSpace(); ++wordStart)
            lineFeed = lineFeed || text.at(wordStart) == u'\n';
        searchFrom = linkEnd; // a later start inside this link would meet the same whitespace
        if (!lineFeed || wordStart == text.size())
            continue;
        joined += text.sliced(copied, linkEnd - copied);
        joined += u' ';
        copied = wordStart;
        searchFrom = nonSpaceEnd(text, wordStart);
    }
    if (copied == 0)
        return {};
    joined += text.sliced(copied);
    return joined;
}

bool isHexDigit(QChar c)
{
    const char16_t u = c.unicode();
    return (u >= u'0' && u <= u'9') || (u >= u'a' && u <= u'f') || (u >= u'A' && u <= u'F');
}

// A link of ASCII characters whose escapes are whole and whose labels fit DNS passes the
// strict parse below; the common case is spared building a QUrl.
bool isPlainAsciiLink(QStringView link)
{
    qsizetype labelLength = 0;
    bool inHost = true;
    for (qsizetype i = 0; i < link.size(); ++i) {
        const QChar c = link.at(i);
        if (c.unicode() >= 0x80)
            return false;
        if (c == u'%' && !(i + 2 < link.size() && isHexDigit(link.at(i + 1)) && isHexDigit(link.at(i + 2))))
            return false;
        if (!inHost)
            continue;
        if (c == u'/' || c == u'?' || c == u'#')
            inHost = false;
        else if (c == u'.')
            labelLength = 0;
        else if (++labelLength > 63)
            return false;
    }
    return true;
}

// Version numbers and file names never get here: a link's top-level domain is letters.
bool isLinkable(QStringView candidate, qsizetype schemeLength)
{
    if (isPlainAsciiLink(candidate.sliced(schemeLength)))
        return true;
    const QString address = schemeLength > 0 ? candidate.toString() : QStringLiteral("https://") + candidate;
    const QUrl target(address, QUrl::StrictMode);
    return target.isValid() && !target.host().isEmpty();
}

// The text as the client sends it, in `storage` when that differs from the text.
QStringView sentForm(QStringView text, QString& storage)
{
    QString repaired;
    if (text.contains(u'\n'))
        repaired = joinedBrokenLinks(text);
    const QStringView source = repaired.isNull() ? text : QStringView(repaired);
    qsizetype copied = 0;
    for (const BlueskyLinkFinder::Span span : BlueskyLinkFinder::find(source)) {
        const QStringView link = source.sliced(span.start, span.end - span.start);
        // Shown without its scheme and cut to length. A link shown as typed leaves the text
        // as it is, linked or not; only the others need the check that they are links.
        const qsizetype scheme = BlueskyLinkFinder::schemeLength(link);
        const QStringView shown = link.sliced(scheme);
        const bool cut = shown.size() > BlueskyCharacterCounter::LinkDisplayLength;
        if ((scheme == 0 && !cut) || !isLinkable(link, scheme))
            continue;
        if (copied == 0)
            storage.reserve(source.size());
        storage += source.sliced(copied, span.start - copied);
        storage += cut ? shown.first(BlueskyCharacterCounter::LinkDisplayLength) : shown;
        if (cut)
            storage += u"...";
        copied = span.end;
    }
    if (copied > 0) {
        storage += source.sliced(copied);
        return storage;
    }
    if (repaired.isNull())
        return text; // nothing changed: spare the copy
    storage = std::move(repaired);
    return storage;
}
} // namespace

QString BlueskyCharacterCounter::sentText(QStringView text)
{
    QString storage;
    return sentForm(text, storage).toString();
}

qsizetype BlueskyCharacterCounter::utf8Size(QStringView text)
{
    // Every unit takes 1, 2 or 3 bytes; a surrogate pair takes 4 together, and a lone
    // surrogate travels as U+FFFD (3).
    qsizetype bytes = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t unit = text.at(i).unicode();
        bytes += 1 + (unit >= 0x80) + (unit >= 0x800);
        if (QChar::isHighSurrogate(unit) && i + 1 < text.size() && text.at(i + 1).isLowSurrogate()) {
            bytes += 1;
            ++i;
        }
    }
    return bytes;
}

CharacterCount BlueskyCharacterCounter::count(QStringView text)
{
    QString storage;
    const QStringView sent = sentForm(text, storage);
    return {Graphemes::count(sent), Limit, utf8Size(sent), ByteLimit};
}
