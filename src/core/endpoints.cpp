#include "core/endpoints.h"

#include <QDebug>

namespace {

const QStringList& knownNetworks()
{
    static const QStringList networks{QStringLiteral("bluesky"), QStringLiteral("x"), QStringLiteral("mastodon")};
    return networks;
}

std::optional<QUrl> parseBase(const QString& text)
{
    const QUrl url(text, QUrl::StrictMode);
    if (!url.isValid() || url.host().isEmpty()) {
        return std::nullopt;
    }
    if (url.scheme() != QStringLiteral("http") && url.scheme() != QStringLiteral("https")) {
        return std::nullopt;
    }
    // Clients append their own paths ("/xrpc/...", "/api/v1/..."), so keep no trailing slash.
    QUrl base = url.adjusted(QUrl::StripTrailingSlash | QUrl::RemoveQuery | QUrl::RemoveFragment);
    if (base.path() == QStringLiteral("/")) {
        base.setPath(QString());
    }
    return base;
}

} // namespace

Endpoints Endpoints::fromEnvironment(const QProcessEnvironment& env)
{
    QStringList errors;
    Endpoints endpoints = parse(env.value(QString::fromLatin1(kVariable)), &errors);
    for (const QString& error : errors) {
        qWarning().noquote() << QStringLiteral("%1: %2").arg(QString::fromLatin1(kVariable), error);
    }
    return endpoints;
}

Endpoints Endpoints::parse(const QString& text, QStringList* errors)
{
    Endpoints endpoints;
    const auto report = [errors](const QString& sentence) {
        if (errors) {
            errors->append(sentence);
        }
    };
    for (const QString& rawPair : text.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        const QString pair = rawPair.trimmed();
        const qsizetype equals = pair.indexOf(QLatin1Char('='));
        if (equals <= 0) {
            report(QStringLiteral("ignoring \"%1\": expected network=baseURL").arg(pair));
            continue;
        }
        const QString network = pair.left(equals).trimmed().toLower();
        if (!knownNetworks().contains(network)) {
            report(QStringLiteral("ignoring \"%1\": unknown network \"%2\" (bluesky, x or mastodon)").arg(pair, network));
            continue;
        }
        const std::optional<QUrl> base = parseBase(pair.mid(equals + 1).trimmed());
        if (!base) {
            report(QStringLiteral("ignoring \"%1\": the base URL must be an http or https URL with a host").arg(pair));
            continue;
        }
        endpoints.m_bases.insert(network, *base);
    }
    return endpoints;
}

std::optional<QUrl> Endpoints::baseFor(const QString& network) const
{
    const auto found = m_bases.constFind(network);
    if (found == m_bases.constEnd()) {
        return std::nullopt;
    }
    return *found;
}
