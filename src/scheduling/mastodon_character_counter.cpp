#include "scheduling/mastodon_character_counter.h"

#include "scheduling/graphemes.h"
#include "scheduling/text_tokens.h"
#include "scheduling/url_finder.h"

#include <QRegularExpression>
#include <QString>

#include <algorithm>

namespace {
using namespace Qt::StringLiterals;

// A mention as Mastodon recognises it; group 1 is the user name, which is all that counts.
const QRegularExpression& remoteMentionPattern()
{
    static const QRegularExpression pattern(
        uR"((?<![=/\w])@([a-z0-9_]+(?:[.-]+[a-z0-9_]+)*)@\w+(?:[.-]+\w+)*)"_s,
        QRegularExpression::CaseInsensitiveOption | QRegularExpression::UseUnicodePropertiesOption);
    return pattern;
}

struct Entity {
    qsizetype start;
    qsizetype end;
    QString replacement;
};

QList<Entity> entities(QStringView text)
{
    QList<Entity> found;
    for (const UrlFinder::Range& link : UrlFinder::find(text, UrlFinder::Scheme::Required))
        found.append({link.start, link.end(), QString(MastodonCharacterCounter::LinkLength, u'x')});
    for (const TextTokens::Token& token : TextTokens::containing(text, u'@')) {
        auto mentions = remoteMentionPattern().globalMatch(token.text);
        while (mentions.hasNext()) {
            const auto match = mentions.next();
            found.append({token.start + match.capturedStart(), token.start + match.capturedEnd(),
                          u'@' + match.captured(1)});
        }
    }
    // Where a link and a mention overlap, the one that starts first wins.
    std::sort(found.begin(), found.end(), [](const Entity& a, const Entity& b) { return a.start < b.start; });
    QList<Entity> disjoint;
    for (const Entity& entity : found) {
        if (disjoint.isEmpty() || entity.start >= disjoint.last().end)
            disjoint.append(entity);
    }
    return disjoint;
}
} // namespace

qsizetype MastodonCharacterCounter::length(QStringView text)
{
    const QList<Entity> found = entities(text);
    if (found.isEmpty())
        return Graphemes::count(text);
    QString countable;
    qsizetype copied = 0;
    for (const Entity& entity : found) {
        countable += text.sliced(copied, entity.start - copied);
        countable += entity.replacement;
        copied = entity.end;
    }
    countable += text.sliced(copied);
    return Graphemes::count(countable);
}

CharacterCount MastodonCharacterCounter::count(QStringView text, qsizetype limit)
{
    return {length(text), limit};
}
