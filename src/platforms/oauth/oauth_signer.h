#pragma once

#include "core/timestamp.h"
#include "platforms/oauth/oauth_credential.h"

#include <QByteArray>
#include <QList>
#include <QUrl>

#include <utility>

// One name/value pair in its decoded form, as bytes (names and values are UTF-8).
using OAuthParameter = std::pair<QByteArray, QByteArray>;
using OAuthParameters = QList<OAuthParameter>;

// What the signer needs to know of one HTTP request.
struct OAuthRequestParts {
    QByteArray method;
    QUrl url;
    // Only an application/x-www-form-urlencoded body adds its parameters to the signature.
    QByteArray contentType;
    QByteArray body;
    // Protocol parameters of the token exchange (oauth_callback, oauth_verifier): signed
    // and sent in the header like the others.
    OAuthParameters extraProtocolParameters;
};

struct OAuthSigningOptions {
    // Adds oauth_body_hash for a body that is not form-encoded.
    bool bodyHashing = false;
    // oauth_version is optional in the protocol; X always gets it.
    bool includeVersion = true;
};

struct OAuthSignature {
    QByteArray baseString;
    QByteArray signature;
    QByteArray authorizationHeader;
};

// OAuth 1.0a request signing (RFC 5849, section 3.4).
class OAuthSigner {
public:
    explicit OAuthSigner(OAuthCredential credential, OAuthSigningOptions options = {});

    const OAuthCredential& credential() const { return m_credential; }
    void setCredential(OAuthCredential credential) { m_credential = std::move(credential); }

    // Signs with a fresh nonce at the given time.
    OAuthSignature sign(const OAuthRequestParts& request, Timestamp now) const;
    // Signs with the given nonce and timestamp (reproducible signatures).
    OAuthSignature signWith(const OAuthRequestParts& request, const QByteArray& nonce, qint64 timestamp) const;

    // RFC 3986 unreserved characters stay, every other byte becomes %XX (upper case).
    static QByteArray percentEncode(QByteArrayView raw);
    // Scheme and host in lower case, no default port, no query or fragment.
    static QByteArray baseStringUri(const QUrl& url);
    // Decodes application/x-www-form-urlencoded text ("+" is a space).
    static OAuthParameters decodeForm(QByteArrayView encoded);
    // Encodes, sorts by name then value, and joins as name=value&...
    static QByteArray normalizeParameters(const OAuthParameters& parameters);
    static QByteArray baseString(QByteArrayView method, const QUrl& url, const OAuthParameters& parameters);
    // The parameters of an "OAuth ..." Authorization header, decoded, without realm.
    static OAuthParameters parseAuthorizationHeader(QByteArrayView header);
    // An unpredictable alphanumeric string.
    static QByteArray makeNonce();
    static bool isFormContentType(QByteArrayView contentType);

private:
    OAuthParameters protocolParameters(const OAuthRequestParts& request, const QByteArray& nonce,
                                       qint64 timestamp) const;
    QByteArray signingKey() const;
    QByteArray computeSignature(const QByteArray& base) const;

    OAuthCredential m_credential;
    OAuthSigningOptions m_options;
};
