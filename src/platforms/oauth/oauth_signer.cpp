#include "platforms/oauth/oauth_signer.h"

#include "platforms/oauth/oauth_log.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QMessageAuthenticationCode>
#include <QRandomGenerator>

#include <algorithm>
#include <cctype>
#include <stdexcept>

namespace {

QByteArray utf8(const QString& text)
{
    return text.toUtf8();
}

QByteArray signatureMethodName(OAuthSignatureMethod method)
{
    switch (method) {
    case OAuthSignatureMethod::hmacSha1:
        return QByteArrayLiteral("HMAC-SHA1");
    case OAuthSignatureMethod::rsaSha1:
        return QByteArrayLiteral("RSA-SHA1");
    case OAuthSignatureMethod::plaintext:
        return QByteArrayLiteral("PLAINTEXT");
    }
    return {};
}

bool isDefaultPort(const QString& scheme, int port)
{
    return port == -1 || (scheme == u"http" && port == 80) || (scheme == u"https" && port == 443);
}

} // namespace

OAuthSigner::OAuthSigner(OAuthCredential credential, OAuthSigningOptions options)
    : m_credential(std::move(credential))
    , m_options(options)
{
}

OAuthSignature OAuthSigner::sign(const OAuthRequestParts& request, Timestamp now) const
{
    return signWith(request, makeNonce(), qint64(now.unixSeconds()));
}

OAuthSignature OAuthSigner::signWith(const OAuthRequestParts& request, const QByteArray& nonce,
                                     qint64 timestamp) const
{
    const OAuthParameters protocol = protocolParameters(request, nonce, timestamp);

    OAuthParameters all = protocol;
    all += decodeForm(request.url.query(QUrl::FullyEncoded).toLatin1());
    if (isFormContentType(request.contentType))
        all += decodeForm(request.body);

    OAuthSignature result;
    result.baseString = baseString(request.method, request.url, all);
    result.signature = computeSignature(result.baseString);

    OAuthParameters headerParameters = protocol;
    headerParameters.append({QByteArrayLiteral("oauth_signature"), result.signature});
    std::sort(headerParameters.begin(), headerParameters.end());
    QByteArrayList pairs;
    for (const auto& [name, value] : std::as_const(headerParameters))
        pairs.append(percentEncode(name) + "=\"" + percentEncode(value) + '"');
    result.authorizationHeader = "OAuth " + pairs.join(", ");
    // Names only: the values are the account's key and token and a signature that
    // stands for its secrets. None of them belongs in a log, at any level.
    QByteArrayList names;
    for (const auto& [name, value] : std::as_const(headerParameters))
        names.append(name);
    qCDebug(lcOAuth).noquote() << "Authorization headers: " << QString::fromLatin1(names.join(", "));
    return result;
}

OAuthParameters OAuthSigner::protocolParameters(const OAuthRequestParts& request, const QByteArray& nonce,
                                                qint64 timestamp) const
{
    OAuthParameters parameters;
    if (m_options.includeVersion)
        parameters.append({QByteArrayLiteral("oauth_version"), QByteArrayLiteral("1.0")});
    parameters.append({QByteArrayLiteral("oauth_signature_method"), signatureMethodName(m_credential.signatureMethod)});
    parameters.append({QByteArrayLiteral("oauth_consumer_key"), utf8(m_credential.consumerKey)});
    parameters.append({QByteArrayLiteral("oauth_timestamp"), QByteArray::number(timestamp)});
    parameters.append({QByteArrayLiteral("oauth_nonce"), nonce});
    if (!m_credential.oauthToken.isEmpty())
        parameters.append({QByteArrayLiteral("oauth_token"), utf8(m_credential.oauthToken)});
    if (m_options.bodyHashing && !isFormContentType(request.contentType)) {
        const QByteArray digest = QCryptographicHash::hash(request.body, QCryptographicHash::Sha1);
        parameters.append({QByteArrayLiteral("oauth_body_hash"), digest.toBase64()});
    }
    parameters += request.extraProtocolParameters;
    return parameters;
}

QByteArray OAuthSigner::signingKey() const
{
    // The "&" stays even when the token secret is still empty (request-token step).
    return percentEncode(utf8(m_credential.consumerSecret)) + '&' + percentEncode(utf8(m_credential.oauthTokenSecret));
}

QByteArray OAuthSigner::computeSignature(const QByteArray& base) const
{
    switch (m_credential.signatureMethod) {
    case OAuthSignatureMethod::hmacSha1:
        return QMessageAuthenticationCode::hash(base, signingKey(), QCryptographicHash::Sha1).toBase64();
    case OAuthSignatureMethod::plaintext:
        return signingKey();
    case OAuthSignatureMethod::rsaSha1:
        break;
    }
    throw std::invalid_argument("RSA-SHA1 signing needs a private key, which this signer does not hold");
}

QByteArray OAuthSigner::percentEncode(QByteArrayView raw)
{
    // QByteArray leaves exactly ALPHA, DIGIT and "-._~" alone and writes upper-case hex.
    return raw.toByteArray().toPercentEncoding();
}

QByteArray OAuthSigner::baseStringUri(const QUrl& url)
{
    const QString scheme = url.scheme().toLower();
    QByteArray uri = scheme.toLatin1() + "://" + url.host(QUrl::FullyEncoded).toLower().toLatin1();
    if (!isDefaultPort(scheme, url.port()))
        uri += ':' + QByteArray::number(url.port());
    const QByteArray path = url.path(QUrl::FullyEncoded).toLatin1();
    uri += path.isEmpty() ? QByteArrayLiteral("/") : path;
    return uri;
}

OAuthParameters OAuthSigner::decodeForm(QByteArrayView encoded)
{
    OAuthParameters parameters;
    if (encoded.isEmpty())
        return parameters;
    for (QByteArray pair : encoded.toByteArray().split('&')) {
        if (pair.isEmpty())
            continue;
        pair.replace('+', ' ');
        const qsizetype equals = pair.indexOf('=');
        const QByteArray name = equals < 0 ? pair : pair.left(equals);
        const QByteArray value = equals < 0 ? QByteArray() : pair.mid(equals + 1);
        parameters.append({QByteArray::fromPercentEncoding(name), QByteArray::fromPercentEncoding(value)});
    }
    return parameters;
}

QByteArray OAuthSigner::normalizeParameters(const OAuthParameters& parameters)
{
    OAuthParameters encoded;
    encoded.reserve(parameters.size());
    for (const auto& [name, value] : parameters)
        encoded.append({percentEncode(name), percentEncode(value)});
    std::sort(encoded.begin(), encoded.end());
    QByteArrayList pairs;
    for (const auto& [name, value] : std::as_const(encoded))
        pairs.append(name + '=' + value);
    return pairs.join('&');
}

QByteArray OAuthSigner::baseString(QByteArrayView method, const QUrl& url, const OAuthParameters& parameters)
{
    return method.toByteArray().toUpper() + '&' + percentEncode(baseStringUri(url)) + '&'
        + percentEncode(normalizeParameters(parameters));
}

OAuthParameters OAuthSigner::parseAuthorizationHeader(QByteArrayView header)
{
    OAuthParameters parameters;
    QByteArray text = header.trimmed().toByteArray();
    if (!text.startsWith("OAuth "))
        return parameters;
    for (const QByteArray& item : text.mid(6).split(',')) {
        const QByteArray pair = item.trimmed();
        const qsizetype equals = pair.indexOf('=');
        if (equals <= 0)
            continue;
        QByteArray value = pair.mid(equals + 1);
        if (value.size() >= 2 && value.startsWith('"') && value.endsWith('"'))
            value = value.mid(1, value.size() - 2);
        const QByteArray name = QByteArray::fromPercentEncoding(pair.left(equals));
        if (name == "realm")
            continue;
        parameters.append({name, QByteArray::fromPercentEncoding(value)});
    }
    return parameters;
}

QByteArray OAuthSigner::makeNonce()
{
    QByteArray random(32, Qt::Uninitialized);
    QRandomGenerator::system()->generate(random.begin(), random.end());
    QByteArray nonce = random.toBase64();
    nonce.removeIf([](char c) { return !std::isalnum(static_cast<unsigned char>(c)); });
    return nonce;
}

bool OAuthSigner::isFormContentType(QByteArrayView contentType)
{
    const QByteArray type = contentType.toByteArray().split(';').value(0).trimmed().toLower();
    return type == "application/x-www-form-urlencoded";
}
