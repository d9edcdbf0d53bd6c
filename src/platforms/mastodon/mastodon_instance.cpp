#include "platforms/mastodon/mastodon_instance.h"

#include "core/endpoints.h"
#include "model/social_account.h"
#include "platforms/mastodon/mastodon_error.h"

#include <QRegularExpression>

namespace {

MastodonError invalid(const QString& sentence)
{
    return MastodonError(MastodonError::Kind::invalidInstance, sentence);
}

QString withoutScheme(QString text)
{
    for (const QLatin1StringView scheme : {QLatin1StringView("https://"), QLatin1StringView("http://")}) {
        if (text.startsWith(scheme, Qt::CaseInsensitive))
            return text.mid(scheme.size());
    }
    return text;
}

// The host part in its ASCII (punycode) form, so the pattern below, which knows only
// ASCII, accepts international names.
QString asciiHost(const QString& rest)
{
    const qsizetype end = rest.indexOf(QRegularExpression(QStringLiteral("[/?#:@]")));
    const QString host = end < 0 ? rest : rest.left(end);
    const QByteArray ace = QUrl::toAce(host);
    if (ace.isEmpty())
        return rest;
    return QString::fromLatin1(ace) + (end < 0 ? QString() : rest.mid(end));
}

} // namespace

QString MastodonInstance::normalize(const QString& entered)
{
    const QString trimmed = entered.trimmed();
    if (trimmed.isEmpty())
        return QString(kDefaultMastodonInstance);
    QString rest = withoutScheme(trimmed);
    while (rest.endsWith(u'/'))
        rest.chop(1);
    if (rest.isEmpty())
        throw invalid(QStringLiteral("Please enter your Mastodon instance URL first"));
    rest = asciiHost(rest);

    static const QRegularExpression port(QStringLiteral(R"(^[^/?#@:]*\.[^/?#@:]*:\d+(?:[/?#]|$))"));
    if (port.match(rest).hasMatch())
        throw invalid(QStringLiteral("Enter the Mastodon instance without a port, such as mastodon.social"));
    static const QRegularExpression pattern(QString::fromLatin1(kPattern));
    if (!pattern.match(rest).hasMatch())
        throw invalid(QStringLiteral("\"%1\" is not a Mastodon instance. Enter its address, such as mastodon.social")
                          .arg(trimmed.left(100)));
    // The pattern lets a page address through; the client needs the bare host.
    if (rest.contains(u'/') || rest.contains(u':') || rest.contains(u'?') || rest.contains(u'#') || rest.contains(u'@'))
        throw invalid(QStringLiteral("Enter only the Mastodon instance's name, such as mastodon.social, not a page on it"));
    if (rest.endsWith(u'.'))
        rest.chop(1);
    return rest.toLower();
}

QUrl MastodonInstance::baseUrl(const QString& instance, const Endpoints& endpoints)
{
    if (const std::optional<QUrl> replacement = endpoints.baseFor(QStringLiteral("mastodon")))
        return *replacement;
    QUrl url;
    url.setScheme(QStringLiteral("https"));
    url.setHost(instance);
    return url;
}
