#pragma once

#include <QString>

// The four OAuth 1.0a secrets of one X account. The token pair stays empty until the
// account is connected (the request-token step signs with the consumer pair alone).
enum class OAuthVersion { oneA };
enum class OAuthSignatureMethod { hmacSha1, rsaSha1, plaintext };

struct OAuthCredential {
    QString consumerKey;
    QString consumerSecret;
    QString oauthToken;
    QString oauthTokenSecret;
    OAuthVersion version = OAuthVersion::oneA;
    OAuthSignatureMethod signatureMethod = OAuthSignatureMethod::hmacSha1;
};
