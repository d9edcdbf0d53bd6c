#include "platforms/bluesky/blue_sky_rich_text.h"

#include "platforms/bluesky/blue_sky_log.h"
#include "text/bluesky_character_counter.h"
#include "text/graphemes.h"

#include <QRegularExpression>
#include <QUrl>

#include <algorithm>

namespace {

// Unicode classes for \w, \d and \s, as the other clients' regex engines have them.
constexpr auto kOptions = QRegularExpression::UseUnicodePropertiesOption;

const QRegularExpression& lineBreakRepair()
{
    static const QRegularExpression re(QStringLiteral("(https?://[^\\s]+)\\s*\n\\s*([^\\s]+)"), kOptions);
    return re;
}

const QRegularExpression& urlPattern()
{
    static const QRegularExpression re(
        QStringLiteral("(?:https?://)?(?:[a-zA-Z0-9](?:[a-zA-Z0-9-]*[a-zA-Z0-9])?\\.)+[a-zA-Z]{2,}"
                       "(?:/(?:[\\w\\-.~!$&'()*+,;=:@%]|(?:%[0-9a-fA-F]{2}))*)*/?"
                       "(?:[#?](?:[\\w\\-.~!$&'()*+,;=:@%/?]|(?:%[0-9a-fA-F]{2}))*)?(?=\\s|$)"),
        kOptions);
    return re;
}

const QRegularExpression& lineStartUrlPattern()
{
    static const QRegularExpression re(
        QStringLiteral("\\n+\\s*((?:https?://)?(?:[a-zA-Z0-9](?:[a-zA-Z0-9-]*[a-zA-Z0-9])?\\.)+[a-zA-Z]{2,}"
                       "(?:/(?:[\\w\\-.~!$&'()*+,;=:@%]|(?:%[0-9a-fA-F]{2}))*)*/?"
                       "(?:[#?](?:[\\w\\-.~!$&'()*+,;=:@%/?]|(?:%[0-9a-fA-F]{2}))*)?)"),
        kOptions);
    return re;
}

const QRegularExpression& urlExclusionPattern()
{
    static const QRegularExpression re(
        QStringLiteral("(?:https?://)?(?:[a-zA-Z0-9](?:[a-zA-Z0-9-]*[a-zA-Z0-9])?\\.)+[a-zA-Z]{2,}[^\\s]*"), kOptions);
    return re;
}

const QRegularExpression& mentionPattern()
{
    static const QRegularExpression re(QStringLiteral("@[\\p{L}\\p{N}_][\\p{L}\\p{N}_\\.]*"), kOptions);
    return re;
}

const QRegularExpression& hashtagPattern()
{
    static const QRegularExpression re(QStringLiteral("#[\\p{L}\\p{N}_]+"), kOptions);
    return re;
}

const QList<QRegularExpression>& nonUrlPatterns()
{
    static const QList<QRegularExpression> patterns{
        QRegularExpression(QStringLiteral("^\\d+\\.\\d+\\.\\d+$"), kOptions),
        QRegularExpression(QStringLiteral("^\\d+\\.\\d+$"), kOptions),
        QRegularExpression(QStringLiteral("^v\\d+\\.\\d+$"), kOptions),
        QRegularExpression(QStringLiteral("^\\.\\w+$"), kOptions),
        QRegularExpression(QStringLiteral("^\\w+\\.$"), kOptions),
        QRegularExpression(QStringLiteral("^[^a-zA-Z0-9]+$"), kOptions),
    };
    return patterns;
}

struct Range {
    qsizetype start = 0;
    qsizetype end = 0;
    bool contains(qsizetype index) const { return index >= start && index < end; }
};

// UTF-8 offsets of UTF-16 positions, walked forward: facets are found in text order.
class Utf8Walker {
public:
    explicit Utf8Walker(QStringView text)
        : m_text(text)
    {
    }

    qsizetype offsetAt(qsizetype index)
    {
        if (index < m_index) {
            m_index = 0;
            m_bytes = 0;
        }
        m_bytes += BlueskyCharacterCounter::utf8Size(m_text.sliced(m_index, index - m_index));
        m_index = index;
        return m_bytes;
    }

private:
    QStringView m_text;
    qsizetype m_index = 0;
    qsizetype m_bytes = 0;
};

// The URL pattern has no left boundary, so it also finds the tail of a longer word: the
// domain of "@bob.test" or of "name@mail.com", or "bar.com" in "foo_bar.com". Such a tail
// is a mention, an address or a word, never a link of its own.
bool followsWordOrAt(QStringView text, qsizetype start)
{
    if (start == 0)
        return false;
    const char32_t before = Graphemes::codePointBefore(text, start);
    return before == U'@' || before == U'_' || QChar::isLetterOrNumber(before);
}

QList<Range> urlCandidates(const QString& text)
{
    QList<Range> found;
    for (auto it = urlPattern().globalMatch(text); it.hasNext();) {
        const auto match = it.next();
        found.append({match.capturedStart(0), match.capturedEnd(0)});
    }
    if (text.contains(u'\n')) {
        for (auto it = lineStartUrlPattern().globalMatch(text); it.hasNext();) {
            const auto match = it.next();
            if (match.lastCapturedIndex() >= 1)
                found.append({match.capturedStart(1), match.capturedEnd(1)});
        }
    }
    // Both patterns find a link that starts a line and ends its run: keep one, the longer.
    std::sort(found.begin(), found.end(), [](const Range& a, const Range& b) {
        return a.start != b.start ? a.start < b.start : a.end > b.end;
    });
    QList<Range> disjoint;
    for (const Range& range : std::as_const(found)) {
        if (disjoint.isEmpty() || range.start >= disjoint.last().end)
            disjoint.append(range);
    }
    return disjoint;
}

bool startsWithScheme(const QString& candidate)
{
    return candidate.startsWith(QStringLiteral("http://")) || candidate.startsWith(QStringLiteral("https://"));
}

QString linkTarget(const QString& candidate)
{
    return startsWithScheme(candidate) ? candidate : QStringLiteral("https://") + candidate;
}

bool isValidTarget(const QString& target)
{
    const QUrl url(target, QUrl::StrictMode);
    return url.isValid() && !url.host().isEmpty();
}

bool insideAny(const QList<Range>& ranges, qsizetype index)
{
    return std::any_of(ranges.begin(), ranges.end(), [index](const Range& r) { return r.contains(index); });
}

} // namespace

Json BlueSkyFacet::toJson() const
{
    Json feature;
    switch (kind) {
    case Kind::link:
        feature["$type"] = "app.bsky.richtext.facet#link";
        feature["uri"] = value.toStdString();
        break;
    case Kind::tag:
        feature["$type"] = "app.bsky.richtext.facet#tag";
        feature["tag"] = value.toStdString();
        break;
    case Kind::mention:
        feature["$type"] = "app.bsky.richtext.facet#mention";
        feature["did"] = value.toStdString();
        break;
    }
    Json facet;
    facet["index"] = {{"byteStart", byteStart}, {"byteEnd", byteEnd}};
    facet["features"] = Json::array({feature});
    return facet;
}

Json BlueSkyRichText::toJson(const QList<BlueSkyFacet>& facets)
{
    Json list = Json::array();
    for (const BlueSkyFacet& facet : facets)
        list.push_back(facet.toJson());
    return list;
}

QString BlueSkyRichText::repairLineBreaks(const QString& text)
{
    if (!text.contains(u'\n') || !text.contains(QStringLiteral("://")))
        return text;
    QString repaired = text;
    repaired.replace(lineBreakRepair(), QStringLiteral("\\1 \\2"));
    return repaired;
}

bool BlueSkyRichText::isNonUrl(const QString& candidate)
{
    const auto& patterns = nonUrlPatterns();
    return std::any_of(patterns.begin(), patterns.end(),
                       [&candidate](const QRegularExpression& re) { return re.match(candidate).hasMatch(); });
}

QString BlueSkyRichText::displayForm(const QString& candidate)
{
    QString shown = candidate;
    if (shown.contains(QStringLiteral("://"))) {
        if (shown.startsWith(QStringLiteral("https://")))
            shown.remove(0, 8);
        else if (shown.startsWith(QStringLiteral("http://")))
            shown.remove(0, 7);
    }
    if (shown.size() <= kLinkDisplayLength)
        return shown;
    // Never half a surrogate pair.
    const qsizetype cut = shown.at(kLinkDisplayLength - 1).isHighSurrogate() ? kLinkDisplayLength - 1 : kLinkDisplayLength;
    return shown.first(cut) + QStringLiteral("...");
}

BlueSkyRichText::Result BlueSkyRichText::process(const QString& input)
{
    const QString text = repairLineBreaks(input);
    if (text != input)
        qCDebug(lcBlueSky).noquote() << QStringLiteral("Normalized text before URL line processing:") << text;

    Result result;
    QList<Range> linkRanges; // in the final text, UTF-16 units
    qsizetype copied = 0;
    qsizetype bytes = 0;
    for (const Range& range : urlCandidates(text)) {
        const QString candidate = text.sliced(range.start, range.end - range.start);
        if (followsWordOrAt(text, range.start) || isNonUrl(candidate)) {
            qCDebug(lcBlueSky).noquote() << QStringLiteral("⚠️ Skipping non-URL pattern:") << candidate;
            continue;
        }
        const QString target = linkTarget(candidate);
        if (!isValidTarget(target)) {
            qCDebug(lcBlueSky).noquote() << QStringLiteral("⚠️ Invalid URL:") << candidate;
            continue;
        }
        const QString shown = displayForm(candidate);
        qCDebug(lcBlueSky).noquote() << QStringLiteral("✅ URL to replace:") << candidate << QStringLiteral("with:") << shown;
        const QStringView before = QStringView(text).sliced(copied, range.start - copied);
        bytes += BlueskyCharacterCounter::utf8Size(before);
        result.text += before;
        const qsizetype shownStart = result.text.size();
        result.text += shown;
        const qsizetype shownBytes = BlueskyCharacterCounter::utf8Size(shown);
        result.facets.append({BlueSkyFacet::Kind::link, bytes, bytes + shownBytes, target});
        qCDebug(lcBlueSky).noquote() << QStringLiteral("📎 Added facet for URL:") << target;
        bytes += shownBytes;
        linkRanges.append({shownStart, result.text.size()});
        copied = range.end;
        if (result.firstLink.isEmpty())
            result.firstLink = target;
    }
    result.text += QStringView(text).sliced(copied);

    const QString& final = result.text;
    Utf8Walker offsets(final);

    qCDebug(lcBlueSky) << "Using simplified URL detection to avoid hashtag detection in URLs";
    QList<Range> urlRanges = linkRanges;
    for (auto it = urlExclusionPattern().globalMatch(final); it.hasNext();) {
        const auto match = it.next();
        urlRanges.append({match.capturedStart(0), match.capturedEnd(0)});
    }
    for (auto it = hashtagPattern().globalMatch(final); it.hasNext();) {
        const auto match = it.next();
        if (insideAny(urlRanges, match.capturedStart(0)))
            continue;
        const QString tag = match.captured(0).mid(1);
        qCDebug(lcBlueSky).noquote() << QStringLiteral("📝 Processing hashtag:") << tag;
        if (tag.size() > kMaxTagGraphemes && Graphemes::count(tag) > kMaxTagGraphemes)
            continue;
        const qsizetype start = offsets.offsetAt(match.capturedStart(0));
        const qsizetype end = offsets.offsetAt(match.capturedEnd(0));
        result.facets.append({BlueSkyFacet::Kind::tag, start, end, tag});
        qCDebug(lcBlueSky).noquote() << QStringLiteral(" Added facet for hashtag:") << tag;
    }

    for (auto it = mentionPattern().globalMatch(final); it.hasNext();) {
        const auto match = it.next();
        const qsizetype start = match.capturedStart(0);
        // An address ("name@host.org") or a path inside a link is not a mention.
        if (insideAny(linkRanges, start) || followsWordOrAt(final, start))
            continue;
        QString handle = match.captured(0).mid(1);
        // The full stop that ends a sentence is not part of the handle.
        while (handle.endsWith(u'.'))
            handle.chop(1);
        if (handle.isEmpty())
            continue;
        const qsizetype end = start + 1 + handle.size();
        result.mentions.append({offsets.offsetAt(start), offsets.offsetAt(end), handle});
    }
    if (!result.mentions.isEmpty())
        qCDebug(lcBlueSky) << "🔍 Found mention matches:" << result.mentions.size();
    return result;
}
