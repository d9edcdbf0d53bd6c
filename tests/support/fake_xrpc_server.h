#pragma once

#include "core/json.h"

#include <QByteArray>
#include <QMap>
#include <QSet>
#include <QString>
#include <QUrl>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

class LoopbackListener;

namespace httplib {
class Server;
struct Request;
struct Response;
}

// A Bluesky PDS on 127.0.0.1: expirable sessions, blobs, post records, handle resolution
// and an author feed, plus plain web pages (for link cards), optionally trickled out.
// Every request is recorded; an override can replace any answer.
class FakeXrpcServer {
public:
    struct Request {
        QByteArray method;
        QByteArray path;
        QMap<QByteArray, QByteArray> query;
        QMap<QByteArray, QByteArray> headers; // lower-case names
        QByteArray body;
        Json json() const;
    };

    struct Reply {
        int status = 200;
        QByteArray body;
        QByteArray contentType = "application/json";
        QMap<QByteArray, QByteArray> headers;
        // Sends the body one byte per this many milliseconds (a page that trickles in).
        int trickleMs = 0;
    };

    using Override = std::function<std::optional<Reply>(const Request&)>;

    static constexpr char kHandle[] = "alice.test";
    static constexpr char kAppPassword[] = "aaaa-secret-pass-dddd";
    static constexpr char kDid[] = "did:plc:alice";

    FakeXrpcServer();
    ~FakeXrpcServer();
    FakeXrpcServer(const FakeXrpcServer&) = delete;
    FakeXrpcServer& operator=(const FakeXrpcServer&) = delete;

    QUrl baseUrl() const;

    // Consulted before the built-in behaviour; returning nothing falls through to it.
    void setOverride(Override override);
    // Every token handed out so far is answered "Token has expired" from now on.
    void expireTokens();
    // A web page (or image) at a path outside /xrpc/.
    void setPage(const QByteArray& path, Reply reply);
    // Creates a post record directly, as if posted earlier; returns its at:// URI.
    QString seedPost(const Json& record);

    std::vector<Request> requests() const;
    std::vector<Request> requestsTo(const QByteArray& pathPart) const;
    // Stored post records in creation order: (uri, record).
    std::vector<std::pair<QString, Json>> posts() const;
    QByteArray blob(const QString& cid) const;
    int sessionsCreated() const;
    // Time spent inside the handlers, so a benchmark can take the server's share out.
    qint64 handlerNanoseconds() const { return m_handlerNanoseconds; }
    // Every token ever issued, to check none leaks.
    QList<QByteArray> issuedTokens() const;

private:
    void handle(const httplib::Request& in, httplib::Response& out);
    Reply builtIn(const Request& request);
    std::optional<Reply> checkToken(const Request& request) const;
    QString storePost(const Json& record);

    std::unique_ptr<httplib::Server> m_server;
    std::unique_ptr<LoopbackListener> m_listener;
    std::atomic<bool> m_stopping{false};
    std::atomic<qint64> m_handlerNanoseconds{0};

    mutable std::mutex m_mutex;
    std::vector<Request> m_requests;
    Override m_override;
    QMap<QString, QString> m_handles;
    QMap<QByteArray, Reply> m_pages;
    QList<QByteArray> m_tokens;
    QSet<QByteArray> m_expired;
    std::vector<std::pair<QString, Json>> m_posts;
    QMap<QString, QString> m_postCids; // uri -> cid
    QMap<QString, QByteArray> m_blobs;
    int m_next = 1;
};
