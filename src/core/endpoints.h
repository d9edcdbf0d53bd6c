#pragma once

#include <QHash>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <optional>

// Base URLs that stand in for a network's real hosts, read from QUILLO_ENDPOINTS
// ("bluesky=http://127.0.0.1:2583,x=http://127.0.0.1:8081,mastodon=http://127.0.0.1:8082").
// End-to-end tests point the clients at loopback servers with it; normal use never sets it.
class Endpoints {
public:
    static constexpr const char* kVariable = "QUILLO_ENDPOINTS";

    // Reads the variable; pairs that cannot be used are logged once and left out.
    static Endpoints fromEnvironment(const QProcessEnvironment& env);
    // Parses a comma list; every pair that is not "network=baseURL" for a known network
    // adds a sentence to errors and is skipped.
    static Endpoints parse(const QString& text, QStringList* errors = nullptr);

    // The replacement base URL for "bluesky", "x" or "mastodon", if one was given.
    std::optional<QUrl> baseFor(const QString& network) const;
    bool isEmpty() const { return m_bases.isEmpty(); }

private:
    QHash<QString, QUrl> m_bases;
};
