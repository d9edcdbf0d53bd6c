#include "scheduling/bluesky_character_counter.h"

#include "scheduling/graphemes.h"
#include "scheduling/text_tokens.h"

#include <QList>
#include <QRegularExpression>
#include <QUrl>

#include <algorithm>
#include <array>

namespace {
using namespace Qt::StringLiterals;

// The same patterns the Bluesky client applies before it builds facets.
const QRegularExpression& repairPattern()
{
    static const QRegularExpression pattern(u"(https?://[^\\s]+)\\s*\n\\s*([^\\s]+)"_s,
                                            QRegularExpression::UseUnicodePropertiesOption);
    return pattern;
}

const QString& urlBody()
{
    static const QString body =
        uR"((?:https?://)?(?:[a-zA-Z0-9](?:[a-zA-Z0-9-]*[a-zA-Z0-9])?\.)+[a-zA-Z]{2,})"
        uR"((?:/(?:[\w\-.~!$&'()*+,;=:@%]|(?:%[0-9a-fA-F]{2}))*)*/?)"
        uR"((?:[#?](?:[\w\-.~!$&'()*+,;=:@%/?]|(?:%[0-9a-fA-F]{2}))*)?)"_s;
    return body;
}

const QRegularExpression& urlPattern()
{
    static const QRegularExpression pattern(urlBody() + uR"((?=\s|$))"_s,
                                            QRegularExpression::UseUnicodePropertiesOption);
    return pattern;
}

// The client's pattern for a link at the start of a line is a line feed, whitespace, then
// this body; the tokens it can match are found by startsLine().
const QRegularExpression& lineStartUrlPattern()
{
    static const QRegularExpression pattern(urlBody(), QRegularExpression::UseUnicodePropertiesOption);
    return pattern;
}

// Version numbers, file extensions, a word ending a sentence, punctuation runs.
bool looksLikeNonUrl(const QString& candidate)
{
    static const std::array patterns = {
        QRegularExpression(uR"(^\d+\.\d+\.\d+$)"_s), QRegularExpression(uR"(^\d+\.\d+$)"_s),
        QRegularExpression(uR"(^v\d+\.\d+$)"_s),     QRegularExpression(uR"(^\.\w+$)"_s),
        QRegularExpression(uR"(^\w+\.$)"_s),         QRegularExpression(uR"(^[^a-zA-Z0-9]+$)"_s),
    };
    return std::any_of(patterns.begin(), patterns.end(),
                       [&](const QRegularExpression& p) { return p.match(candidate).hasMatch(); });
}

bool isLinkable(const QString& candidate)
{
    if (looksLikeNonUrl(candidate))
        return false;
    const bool hasScheme = candidate.startsWith(u"http://"_s) || candidate.startsWith(u"https://"_s);
    const QUrl target(hasScheme ? candidate : u"https://"_s + candidate, QUrl::StrictMode);
    return target.isValid() && !target.host().isEmpty();
}

QString displayForm(const QString& candidate)
{
    QString shown = candidate;
    if (shown.contains(u"://"_s)) {
        if (shown.startsWith(u"https://"_s))
            shown.remove(0, 8);
        else if (shown.startsWith(u"http://"_s))
            shown.remove(0, 7);
    }
    if (shown.size() > BlueskyCharacterCounter::LinkDisplayLength)
        shown = shown.first(BlueskyCharacterCounter::LinkDisplayLength) + u"..."_s;
    return shown;
}

struct Span {
    qsizetype start;
    qsizetype end;
};

// Whether the whitespace before the token holds a line feed: the client also looks for
// links at the start of every line but the first.
bool startsLine(const QString& text, qsizetype tokenStart)
{
    for (qsizetype i = tokenStart - 1; i >= 0 && text.at(i).isSpace(); --i) {
        if (text.at(i) == u'\n')
            return true;
    }
    return false;
}

QList<Span> linkSpans(const QString& text)
{
    QList<Span> spans;
    // A link holds no whitespace and at least one dot, so only such tokens are searched.
    for (const TextTokens::Token& token : TextTokens::withInnerDot(text)) {
        auto urls = urlPattern().globalMatch(token.text);
        while (urls.hasNext()) {
            const auto match = urls.next();
            spans.append({token.start + match.capturedStart(), token.start + match.capturedEnd()});
        }
        if (!startsLine(text, token.start))
            continue;
        const auto lineStart = lineStartUrlPattern().match(token.text, 0, QRegularExpression::NormalMatch,
                                                           QRegularExpression::AnchorAtOffsetMatchOption);
        if (lineStart.hasMatch())
            spans.append({token.start, token.start + lineStart.capturedLength()});
    }
    std::sort(spans.begin(), spans.end(), [](Span a, Span b) { return a.start < b.start; });
    QList<Span> disjoint;
    for (const Span span : spans) {
        if (disjoint.isEmpty() || span.start >= disjoint.last().end)
            disjoint.append(span);
    }
    return disjoint;
}
} // namespace

QString BlueskyCharacterCounter::sentText(QStringView text)
{
    QString repaired = text.toString();
    if (repaired.contains(u'\n') && repaired.contains(u"://"_s))
        repaired.replace(repairPattern(), u"\\1 \\2"_s);
    QString sent;
    sent.reserve(repaired.size());
    qsizetype copied = 0;
    for (const Span span : linkSpans(repaired)) {
        const QString candidate = repaired.sliced(span.start, span.end - span.start);
        const QString shown = displayForm(candidate);
        // A link shown as typed leaves the text as it is, linked or not; only the others
        // need the (costly) check that they really are links.
        if (shown == candidate || !isLinkable(candidate))
            continue;
        sent += QStringView(repaired).sliced(copied, span.start - copied);
        sent += shown;
        copied = span.end;
    }
    if (copied == 0)
        return repaired; // nothing shortened: spare the copy
    sent += QStringView(repaired).sliced(copied);
    return sent;
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
    const QString sent = sentText(text);
    return {Graphemes::count(sent), Limit, utf8Size(sent), ByteLimit};
}
