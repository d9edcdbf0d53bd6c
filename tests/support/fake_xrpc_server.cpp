#include "support/fake_xrpc_server.h"

#include "support/loopback_listener.h"

#include <QCryptographicHash>
#include <QScopeGuard>

#include <httplib.h>


namespace {

QByteArray bytes(const std::string& s)
{
    return QByteArray(s.data(), qsizetype(s.size()));
}

FakeXrpcServer::Reply json(int status, const Json& body)
{
    FakeXrpcServer::Reply reply;
    reply.status = status;
    reply.body = QByteArray::fromStdString(body.dump());
    return reply;
}

FakeXrpcServer::Reply xrpcError(int status, const char* error, const std::string& message)
{
    return json(status, {{"error", error}, {"message", message}});
}

QString cidOf(const QByteArray& data)
{
    return QStringLiteral("bafk") + QString::fromLatin1(QCryptographicHash::hash(data, QCryptographicHash::Sha256).toHex().left(40));
}

} // namespace

Json FakeXrpcServer::Request::json() const
{
    return Json::parse(body.constData(), body.constData() + body.size(), nullptr, false);
}

FakeXrpcServer::FakeXrpcServer()
    : m_server(std::make_unique<httplib::Server>())
{
    m_handles.insert(QString::fromLatin1(kHandle), QString::fromLatin1(kDid));
    m_handles.insert(QStringLiteral("bob.test"), QStringLiteral("did:plc:bob"));
    m_server->set_payload_max_length(64 * 1024 * 1024);
    // As real servers do; without it every answer waits out the client's delayed ACK.
    m_server->set_tcp_nodelay(true);
    const auto handler = [this](const httplib::Request& in, httplib::Response& out) { handle(in, out); };
    m_server->Get(".*", handler);
    m_server->Post(".*", handler);
    m_listener = std::make_unique<LoopbackListener>();
    m_listener->start(*m_server);
}

FakeXrpcServer::~FakeXrpcServer()
{
    m_stopping = true;
    m_listener->stop();
}

QUrl FakeXrpcServer::baseUrl() const
{
    return m_listener->baseUrl();
}

void FakeXrpcServer::setOverride(Override override)
{
    std::lock_guard lock(m_mutex);
    m_override = std::move(override);
}

void FakeXrpcServer::expireTokens()
{
    std::lock_guard lock(m_mutex);
    for (const QByteArray& token : std::as_const(m_tokens))
        m_expired.insert(token);
}

void FakeXrpcServer::setPage(const QByteArray& path, Reply reply)
{
    std::lock_guard lock(m_mutex);
    m_pages.insert(path, std::move(reply));
}

QString FakeXrpcServer::seedPost(const Json& record)
{
    std::lock_guard lock(m_mutex);
    return storePost(record);
}

std::vector<FakeXrpcServer::Request> FakeXrpcServer::requests() const
{
    std::lock_guard lock(m_mutex);
    return m_requests;
}

std::vector<FakeXrpcServer::Request> FakeXrpcServer::requestsTo(const QByteArray& pathPart) const
{
    std::vector<Request> matching;
    for (const Request& r : requests())
        if (r.path.contains(pathPart))
            matching.push_back(r);
    return matching;
}

std::vector<std::pair<QString, Json>> FakeXrpcServer::posts() const
{
    std::lock_guard lock(m_mutex);
    return m_posts;
}

QByteArray FakeXrpcServer::blob(const QString& cid) const
{
    std::lock_guard lock(m_mutex);
    return m_blobs.value(cid);
}

int FakeXrpcServer::sessionsCreated() const
{
    std::lock_guard lock(m_mutex);
    return int(m_tokens.size());
}

QList<QByteArray> FakeXrpcServer::issuedTokens() const
{
    std::lock_guard lock(m_mutex);
    return m_tokens;
}

void FakeXrpcServer::handle(const httplib::Request& in, httplib::Response& out)
{
    const auto started = std::chrono::steady_clock::now();
    const auto account = qScopeGuard([this, started] {
        m_handlerNanoseconds += std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now() - started).count();
    });
    Request request;
    request.method = bytes(in.method);
    request.path = bytes(in.path);
    for (const auto& [name, value] : in.params)
        request.query.insert(bytes(name), bytes(value));
    for (const auto& [name, value] : in.headers)
        request.headers.insert(bytes(name).toLower(), bytes(value));
    request.body = bytes(in.body);

    Override override;
    {
        std::lock_guard lock(m_mutex);
        m_requests.push_back(request);
        override = m_override;
    }
    std::optional<Reply> reply = override ? override(request) : std::nullopt;
    if (!reply) {
        std::lock_guard lock(m_mutex);
        reply = builtIn(request);
    }
    out.status = reply->status;
    for (auto it = reply->headers.cbegin(); it != reply->headers.cend(); ++it)
        out.set_header(it.key().toStdString(), it.value().toStdString());
    if (reply->trickleMs <= 0) {
        out.set_content(reply->body.toStdString(), reply->contentType.toStdString());
        return;
    }
    const auto body = std::make_shared<std::string>(reply->body.toStdString());
    const int trickle = reply->trickleMs;
    out.set_chunked_content_provider(reply->contentType.toStdString(),
                                     [this, body, trickle](size_t offset, httplib::DataSink& sink) {
                                         if (m_stopping || offset >= body->size()) {
                                             sink.done();
                                             return !m_stopping;
                                         }
                                         std::this_thread::sleep_for(std::chrono::milliseconds(trickle));
                                         return sink.write(body->data() + offset, 1);
                                     });
}

std::optional<FakeXrpcServer::Reply> FakeXrpcServer::checkToken(const Request& request) const
{
    const QByteArray header = request.headers.value("authorization");
    if (!header.startsWith("Bearer "))
        return xrpcError(401, "AuthMissing", "Authentication Required");
    const QByteArray token = header.mid(7);
    if (m_expired.contains(token))
        return xrpcError(400, "ExpiredToken", "Token has expired");
    if (!m_tokens.contains(token))
        return xrpcError(401, "InvalidToken", "Malformed token");
    return std::nullopt;
}

QString FakeXrpcServer::storePost(const Json& record)
{
    const QString uri = QStringLiteral("at://%1/app.bsky.feed.post/3rkey%2").arg(QString::fromLatin1(kDid)).arg(m_next);
    const QString cid = QStringLiteral("bafyrecord%1").arg(m_next++);
    m_posts.emplace_back(uri, record);
    m_postCids.insert(uri, cid);
    return uri;
}

FakeXrpcServer::Reply FakeXrpcServer::builtIn(const Request& request)
{
    if (!request.path.startsWith("/xrpc/")) {
        const auto page = m_pages.constFind(request.path);
        if (page == m_pages.constEnd())
            return Reply{404, "<html><body>Not here</body></html>", "text/html", {}, 0};
        return *page;
    }
    const QByteArray method = request.path.mid(6);

    if (method == "com.atproto.server.createSession") {
        const Json body = request.json();
        if (!body.is_object() || body.value("identifier", "") != kHandle || body.value("password", "") != kAppPassword)
            return xrpcError(401, "AuthenticationRequired", "Invalid identifier or password");
        const QByteArray token = "eyJ.access-token-" + QByteArray::number(m_next++) + ".sig";
        m_tokens.append(token);
        return json(200, {{"accessJwt", token.toStdString()},
                          {"refreshJwt", "eyJ.refresh-" + token.toStdString()},
                          {"handle", kHandle},
                          {"did", kDid}});
    }
    if (method == "com.atproto.identity.resolveHandle") {
        const QString handle = QString::fromUtf8(request.query.value("handle"));
        if (!m_handles.contains(handle))
            return xrpcError(400, "InvalidRequest", "Unable to resolve handle");
        return json(200, {{"did", m_handles.value(handle).toStdString()}});
    }
    if (const std::optional<Reply> refused = checkToken(request))
        return *refused;

    if (method == "com.atproto.server.getSession")
        return json(200, {{"handle", kHandle}, {"did", kDid}});
    if (method == "com.atproto.repo.uploadBlob") {
        if (request.body.isEmpty())
            return xrpcError(400, "InvalidRequest", "Request has no body");
        const QString cid = cidOf(request.body);
        m_blobs.insert(cid, request.body);
        Json blob;
        blob["$type"] = "blob";
        blob["ref"] = {{"$link", cid.toStdString()}};
        blob["mimeType"] = request.headers.value("content-type").toStdString();
        blob["size"] = request.body.size();
        return json(200, {{"blob", blob}});
    }
    if (method == "com.atproto.repo.createRecord") {
        const Json body = request.json();
        if (!body.is_object() || body.value("repo", "") != kHandle || body.value("collection", "") != "app.bsky.feed.post"
            || !body.contains("record") || !body["record"].is_object())
            return xrpcError(400, "InvalidRequest", "Input must have the properties repo, collection, record");
        const QString uri = storePost(body["record"]);
        return json(200, {{"uri", uri.toStdString()}, {"cid", m_postCids.value(uri).toStdString()}});
    }
    if (method == "com.atproto.repo.getRecord") {
        const QString uri = QStringLiteral("at://%1/%2/%3")
                                .arg(QString::fromUtf8(request.query.value("repo")),
                                     QString::fromUtf8(request.query.value("collection")),
                                     QString::fromUtf8(request.query.value("rkey")));
        for (const auto& [stored, record] : m_posts) {
            if (stored == uri)
                return json(200, {{"uri", uri.toStdString()}, {"cid", m_postCids.value(uri).toStdString()}, {"value", record}});
        }
        return xrpcError(400, "RecordNotFound", "Could not locate record: " + uri.toStdString());
    }
    if (method == "app.bsky.feed.getAuthorFeed") {
        Json feed = Json::array();
        for (auto it = m_posts.rbegin(); it != m_posts.rend(); ++it) {
            if (it->second.contains("reply"))
                continue;
            feed.push_back({{"post",
                             {{"uri", it->first.toStdString()},
                              {"cid", m_postCids.value(it->first).toStdString()},
                              {"record", it->second},
                              {"replyCount", 1},
                              {"repostCount", 2},
                              {"likeCount", 3}}}});
        }
        return json(200, {{"feed", feed}});
    }
    return xrpcError(501, "MethodNotImplemented", "Method Not Implemented");
}
