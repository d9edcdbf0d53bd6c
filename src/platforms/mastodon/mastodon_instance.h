#pragma once

#include <QString>
#include <QUrl>

class Endpoints;

// What a person types as their instance, turned into the host the client talks to.
class MastodonInstance {
public:
    static constexpr char kPattern[] =
        R"(^[a-zA-Z0-9][a-zA-Z0-9-]*\.[a-zA-Z]{2,}([/.][a-zA-Z0-9-._~:/?#\[\]@!$&'()*+,;=]*)?$)";

    // A leading "https://" or "http://" and trailing "/" go; an empty entry is the
    // default instance; an international name becomes its ASCII form; upper case is
    // lowered. Throws MastodonError (invalidInstance) with the account form's sentence
    // for anything that is not a bare host name: other schemes, paths, ports, user names.
    static QString normalize(const QString& entered);

    // Where the client sends its requests: "https://" + instance, or the QUILLO_ENDPOINTS
    // replacement when one is set.
    static QUrl baseUrl(const QString& instance, const Endpoints& endpoints);
};
