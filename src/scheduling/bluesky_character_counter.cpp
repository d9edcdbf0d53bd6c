#include "scheduling/bluesky_character_counter.h"

#include "scheduling/bluesky_link_finder.h"
#include "scheduling/graphemes.h"

#include <QUrl>

namespace {
using namespace Qt::StringLiterals;

qsizetype schemeLength(QStringView link)
{
    if (link.startsWith(u"https://"))
        return 8;
    if (link.startsWith(u"http://"))
        return 7;
    return 0;
}

qsizetype nonSpaceEnd(QStringView text, qsizetype at)
{
    while (at < text.size() && !text.at(at).isSpace())
        ++at;
    return at;
}

// The client first mends links broken over a line end: a link, whitespace holding a line
// feed, and the next word become the link, one space and the word. A null string when no
// link is broken.
QString joinedBrokenLinks(QStringView text)
{
    QString joined;
    qsizetype copied = 0;
    for (qsizetype at = text.indexOf(u"http"); at != -1; at = text.indexOf(u"http", at)) {
        const qsizetype scheme = schemeLength(text.sliced(at));
        const qsizetype linkEnd = nonSpaceEnd(text, at + scheme);
        if (scheme == 0 || linkEnd == at + scheme) {
            ++at;
            continue;
        }
        qsizetype wordStart = linkEnd;
        bool lineFeed = false;
        for (; wordStart < text.size() && text.at(wordStart).isSpace(); ++wordStart)
            lineFeed = lineFeed || text.at(wordStart) == u'\n';
        at = linkEnd; // a later start inside this link would meet the same whitespace
        if (!lineFeed || wordStart == text.size())
            continue;
        joined += text.sliced(copied, linkEnd - copied);
        joined += u' ';
        copied = wordStart;
        at = nonSpaceEnd(text, wordStart);
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
    const qsizetype schemeEnd = link.indexOf(u"://");
    for (qsizetype i = schemeEnd < 0 ? 0 : schemeEnd + 3; i < link.size(); ++i) {
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
    if (isPlainAsciiLink(candidate))
        return true;
    const QString address = schemeLength > 0 ? candidate.toString() : u"https://"_s + candidate;
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
        const qsizetype scheme = schemeLength(link);
        const QStringView shown = link.sliced(scheme);
        const bool cut = shown.size() > BlueskyCharacterCounter::LinkDisplayLength;
        if ((scheme == 0 && !cut) || !isLinkable(link, scheme))
            continue;
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
    qsizetype bytes = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t unit = text.at(i).unicode();
        if (unit < 0x80) {
            bytes += 1;
        } else if (unit < 0x800) {
            bytes += 2;
        } else if (QChar::isHighSurrogate(unit) && i + 1 < text.size() && text.at(i + 1).isLowSurrogate()) {
            bytes += 4;
            ++i;
        } else {
            bytes += 3; // lone surrogates travel as U+FFFD
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
