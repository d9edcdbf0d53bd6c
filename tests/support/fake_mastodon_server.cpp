#include "support/fake_mastodon_server.h"

#include "support/loopback_listener.h"

#include "platforms/oauth/oauth_signer.h"

#include <QUrlQuery>

#include <httplib.h>

namespace {

constexpr char kOriginalContentType[] = "X-Fake-Original-Content-Type";

QByteArray bytes(const std::string& s)
{
    return QByteArray(s.data(), qsizetype(s.size()));
}

FakeMastodonServer::Reply json(int status, const Json& body)
{
    FakeMastodonServer::Reply reply;
    reply.status = status;
    reply.body = QByteArray::fromStdString(body.dump());
    return reply;
}

FakeMastodonServer::Reply error(int status, const char* text)
{
    return json(status, {{"error", text}});
}

QByteArray boundaryOf(const QByteArray& contentType)
{
    const qsizetype at = contentType.indexOf("boundary=");
    return at < 0 ? QByteArray() : contentType.mid(at + 9).trimmed();
}

QByteArray headerParameter(const QByteArray& header, const QByteArray& name)
{
    const QByteArray key = name + "=\"";
    const qsizetype at = header.indexOf(key);
    if (at < 0)
        return {};
    const qsizetype end = header.indexOf('"', at + key.size());
    return header.mid(at + key.size(), end - at - key.size());
}

struct Part {
    QMap<QByteArray, QByteArray> headers;
    QByteArray name;
    QByteArray fileName;
    QByteArray data;
};

// A multipart body split into its parts; nothing when it is not well formed.
std::optional<QList<Part>> parseMultipart(const QByteArray& body, const QByteArray& boundary)
{
    const QByteArray delimiter = "--" + boundary;
    const QByteArray first = delimiter + "\r\n";
    const QByteArray last = "\r\n" + delimiter + "--\r\n";
    const QByteArray between = "\r\n" + delimiter + "\r\n";
    if (boundary.isEmpty() || !body.startsWith(first) || !body.endsWith(last))
        return std::nullopt;
    QList<Part> parts;
    qsizetype at = delimiter.size() + 2;
    const qsizetype end = body.size() - delimiter.size() - 6;
    while (at < end) {
        const qsizetype next = body.indexOf(between, at);
        const qsizetype stop = next < 0 ? end : next;
        const QByteArray raw = body.mid(at, stop - at);
        const qsizetype blank = raw.indexOf("\r\n\r\n");
        if (blank < 0)
            return std::nullopt;
        Part part;
        for (const QByteArray& line : raw.left(blank).split('\n')) {
            const qsizetype colon = line.indexOf(':');
            if (colon > 0)
                part.headers.insert(line.left(colon).trimmed().toLower(), line.mid(colon + 1).trimmed());
        }
        const QByteArray disposition = part.headers.value("content-disposition");
        part.name = headerParameter(disposition, "name");
        part.fileName = headerParameter(disposition, "filename");
        part.data = raw.mid(blank + 4);
        parts.append(part);
        at = stop + delimiter.size() + 4;
    }
    return parts;
}

} // namespace

QByteArray FakeMastodonServer::Request::queryValue(const QByteArray& name) const
{
    for (const auto& [n, v] : OAuthSigner::decodeForm(query))
        if (n == name)
            return v;
    return {};
}

Json FakeMastodonServer::Request::json() const
{
    return Json::parse(body.constData(), body.constData() + body.size(), nullptr, false);
}

FakeMastodonServer::FakeMastodonServer()
    : m_server(std::make_unique<httplib::Server>())
{
    m_instanceV2 = {{"domain", "fake.example"},
                    {"configuration",
                     {{"statuses", {{"max_characters", 500}, {"max_media_attachments", 4}, {"characters_reserved_per_url", 23}}},
                      {"media_attachments", {{"image_size_limit", 16777216}, {"video_size_limit", 103809024}}}}}};
    m_server->set_payload_max_length(64 * 1024 * 1024);
    // cpp-httplib parses multipart bodies into parts and drops the raw bytes; the tests
    // check those bytes exactly, so the content type is hidden from it until the body is read.
    m_server->set_pre_routing_handler([](const httplib::Request& in, httplib::Response&) {
        auto& headers = const_cast<httplib::Request&>(in).headers;
        for (auto& [name, value] : headers) {
            if (QByteArray::fromStdString(name).toLower() == "content-type" && value.rfind("multipart/", 0) == 0) {
                const std::string original = value;
                value = "application/octet-stream";
                headers.emplace(kOriginalContentType, original);
                break;
            }
        }
        return httplib::Server::HandlerResponse::Unhandled;
    });
    const auto handler = [this](const httplib::Request& in, httplib::Response& out) { handle(in, out); };
    m_server->Get(".*", handler);
    m_server->Post(".*", handler);
    m_listener = std::make_unique<LoopbackListener>();
    m_listener->start(*m_server);
}

FakeMastodonServer::~FakeMastodonServer()
{
    m_listener->stop();
}

QUrl FakeMastodonServer::baseUrl() const
{
    return m_listener->baseUrl();
}

void FakeMastodonServer::setOverride(Override override)
{
    std::lock_guard lock(m_mutex);
    m_override = std::move(override);
}

void FakeMastodonServer::setProcessingPolls(int polls)
{
    std::lock_guard lock(m_mutex);
    m_processingPolls = polls;
}

void FakeMastodonServer::setInstanceDocument(Json v2, Json v1)
{
    std::lock_guard lock(m_mutex);
    m_instanceV2 = std::move(v2);
    m_instanceV1 = std::move(v1);
}

void FakeMastodonServer::loseNextStatusAnswer()
{
    std::lock_guard lock(m_mutex);
    m_loseNextStatusAnswer = true;
}

std::vector<FakeMastodonServer::Request> FakeMastodonServer::requests() const
{
    std::lock_guard lock(m_mutex);
    return m_requests;
}

std::vector<FakeMastodonServer::Request> FakeMastodonServer::requestsTo(const QByteArray& path) const
{
    std::vector<Request> matching;
    for (const Request& r : requests())
        if (r.path == path)
            matching.push_back(r);
    return matching;
}

std::vector<FakeMastodonServer::Status> FakeMastodonServer::statuses() const
{
    std::lock_guard lock(m_mutex);
    return m_statuses;
}

FakeMastodonServer::Request FakeMastodonServer::record(const httplib::Request& in) const
{
    Request request;
    request.method = bytes(in.method);
    const QByteArray target = bytes(in.target);
    const qsizetype question = target.indexOf('?');
    request.path = question < 0 ? target : target.left(question);
    request.query = question < 0 ? QByteArray() : target.mid(question + 1);
    for (const auto& [name, value] : in.headers)
        request.headers.insert(bytes(name).toLower(), bytes(value));
    const QByteArray original = request.headers.take(QByteArray(kOriginalContentType).toLower());
    if (!original.isEmpty())
        request.headers.insert("content-type", original);
    request.body = bytes(in.body);

    const QByteArray type = request.headers.value("content-type");
    if (type.startsWith("application/x-www-form-urlencoded")) {
        for (const auto& [name, value] : OAuthSigner::decodeForm(request.body))
            request.fields.insert(name, value);
    } else if (type.startsWith("multipart/form-data")) {
        const auto parts = parseMultipart(request.body, boundaryOf(type));
        request.multipartWellFormed = parts.has_value();
        for (const Part& part : parts.value_or(QList<Part>())) {
            if (part.name == "file") {
                request.fileName = part.fileName;
                request.fileType = part.headers.value("content-type");
                request.fileData = part.data;
            } else {
                request.fields.insert(part.name, part.data);
            }
        }
    }
    return request;
}

void FakeMastodonServer::handle(const httplib::Request& in, httplib::Response& out)
{
    const Request request = record(in);
    Override override;
    {
        std::lock_guard lock(m_mutex);
        override = m_override;
    }
    std::optional<Reply> overridden = override ? override(request) : std::nullopt;
    const Reply reply = overridden ? *overridden : builtIn(request);
    {
        std::lock_guard lock(m_mutex);
        m_requests.push_back(request);
    }
    out.status = reply.status;
    for (auto it = reply.headers.cbegin(); it != reply.headers.cend(); ++it)
        out.set_header(it.key().toStdString(), it.value().toStdString());
    if (reply.dropAnswer) {
        // The headers go out, the body never does: the connection closes mid-answer.
        out.set_content_provider(reply.body.size() + 10, reply.contentType.toStdString(),
                                 [](size_t, size_t, httplib::DataSink&) { return false; });
        return;
    }
    out.set_content(reply.body.toStdString(), reply.contentType.toStdString());
}

bool FakeMastodonServer::authorized(const Request& request) const
{
    return request.headers.value("authorization") == QByteArray("Bearer ") + kAccessToken;
}

FakeMastodonServer::Reply FakeMastodonServer::builtIn(const Request& request)
{
    const QByteArray& path = request.path;
    if (path == "/api/v1/apps" && request.method == "POST") {
        const Json body = request.json();
        if (!body.is_object() || !body.contains("client_name") || !body.contains("redirect_uris"))
            return error(422, "Validation failed: Name can't be blank");
        std::lock_guard lock(m_mutex);
        m_registeredRedirect = QByteArray::fromStdString(body.value("redirect_uris", ""));
        return json(200, {{"id", "563419"}, {"name", body["client_name"]}, {"redirect_uri", body["redirect_uris"]},
                          {"client_id", kClientId}, {"client_secret", kClientSecret}});
    }
    if (path == "/oauth/authorize") {
        if (request.queryValue("client_id") != kClientId)
            return {400, "<html><body>Client authentication failed</body></html>", "text/html", {}};
        const QByteArray redirect = request.queryValue("redirect_uri");
        if (redirect == "urn:ietf:wg:oauth:2.0:oob")
            return {200, QByteArray("<html><body><input class=\"oauth-code\" value=\"") + kCode + "\"></body></html>",
                    "text/html", {}};
        QUrl target(QString::fromUtf8(redirect));
        QUrlQuery query;
        query.addQueryItem(QStringLiteral("code"), QString::fromLatin1(QUrl::toPercentEncoding(QString::fromLatin1(kCode))));
        target.setQuery(query);
        return {302, {}, "text/html", {{"Location", target.toEncoded()}}};
    }
    if (path == "/oauth/token" && request.method == "POST") {
        std::lock_guard lock(m_mutex);
        if (request.fields.value("client_id") != kClientId || request.fields.value("client_secret") != kClientSecret)
            return json(401, {{"error", "invalid_client"}, {"error_description", "Client authentication failed"}});
        if (request.fields.value("grant_type") != "authorization_code" || request.fields.value("code") != kCode
            || request.fields.value("redirect_uri") != m_registeredRedirect)
            return json(400, {{"error", "invalid_grant"}, {"error_description", "The provided authorization grant is invalid"}});
        return json(200, {{"access_token", kAccessToken}, {"token_type", "Bearer"},
                          {"scope", request.fields.value("scope").toStdString()}, {"created_at", 1700000000}});
    }
    if (path == "/api/v2/instance" || path == "/api/v1/instance") {
        std::lock_guard lock(m_mutex);
        const Json& document = path == "/api/v2/instance" ? m_instanceV2 : m_instanceV1;
        if (document.is_null())
            return error(404, "Record not found");
        return json(200, document);
    }
    if (!authorized(request))
        return error(401, "The access token is invalid");
    if (path == "/api/v1/accounts/verify_credentials")
        return json(200, {{"id", kAccountId}, {"username", kUsername}, {"acct", kUsername},
                          {"url", "https://fake.example/@quillo"}});
    if (path.startsWith("/api/v1/media"))
        return media(request);
    if (path == "/api/v1/statuses" && request.method == "POST")
        return postStatus(request);
    if (path == QByteArray("/api/v1/accounts/") + kAccountId + "/statuses") {
        std::lock_guard lock(m_mutex);
        Json list = Json::array();
        for (auto it = m_statuses.rbegin(); it != m_statuses.rend(); ++it)
            list.push_back({{"id", it->id.toStdString()}, {"content", "<p>" + it->text.toStdString() + "</p>"},
                            {"created_at", "2025-01-15T10:30:00.123Z"}, {"replies_count", 1}, {"reblogs_count", 2},
                            {"favourites_count", 3}, {"url", "https://fake.example/@quillo/" + it->id.toStdString()}});
        return json(200, list);
    }
    return error(404, "Record not found");
}

FakeMastodonServer::Reply FakeMastodonServer::media(const Request& request)
{
    std::lock_guard lock(m_mutex);
    if (request.path == "/api/v1/media" && request.method == "POST") {
        if (!request.multipartWellFormed || request.fileData.isEmpty())
            return error(422, "Validation failed: File can't be blank");
        const QByteArray id = QByteArray::number(++m_nextId);
        const bool video = request.fileType.startsWith("video/");
        Json body = {{"id", id.toStdString()}, {"type", video ? "video" : "image"},
                     {"description", request.fields.contains("description")
                                         ? Json(request.fields.value("description").toStdString()) : Json()}};
        if (!video)
            return json(200, body);
        m_mediaPolls.insert(id, 0);
        body["url"] = nullptr;
        body["processing"] = {{"progress", 0.0}};
        return json(202, body);
    }
    const QByteArray id = request.path.mid(QByteArray("/api/v1/media/").size());
    if (request.method != "GET" || !m_mediaPolls.contains(id))
        return error(404, "Record not found");
    const int polls = ++m_mediaPolls[id];
    Json body = {{"id", id.toStdString()}, {"type", "video"}};
    if (polls <= m_processingPolls) {
        body["processing"] = {{"progress", double(polls) / double(m_processingPolls + 1)}};
        body["url"] = nullptr;
    } else {
        body["url"] = "https://fake.example/media/" + id.toStdString() + ".mp4";
    }
    return json(200, body);
}

FakeMastodonServer::Reply FakeMastodonServer::postStatus(const Request& request)
{
    const Json body = request.json();
    if (!body.is_object() || !body.contains("status"))
        return error(422, "Validation failed: Text can't be blank");
    std::lock_guard lock(m_mutex);
    const QByteArray key = request.headers.value("idempotency-key");
    if (!key.isEmpty()) {
        for (const Status& status : m_statuses) {
            if (status.idempotencyKey == key)
                return json(200, {{"id", status.id.toStdString()},
                                  {"url", "https://fake.example/@quillo/" + status.id.toStdString()}});
        }
    }
    Status status;
    status.text = QString::fromStdString(body["status"].get<std::string>());
    status.idempotencyKey = key;
    if (body.contains("in_reply_to_id")) {
        status.inReplyToId = QByteArray::fromStdString(body["in_reply_to_id"].get<std::string>());
        const bool known = std::any_of(m_statuses.begin(), m_statuses.end(),
                                       [&](const Status& s) { return s.id == status.inReplyToId; });
        if (!known)
            return error(404, "Record not found");
    }
    for (const Json& id : body.value("media_ids", Json::array())) {
        const QByteArray mediaId = QByteArray::fromStdString(id.get<std::string>());
        status.mediaIds.append(mediaId);
    }
    status.id = QByteArray::number(++m_nextId);
    m_statuses.push_back(status);
    Reply reply = json(200, {{"id", status.id.toStdString()}, {"content", "<p>" + status.text.toStdString() + "</p>"},
                             {"url", "https://fake.example/@quillo/" + status.id.toStdString()}});
    if (m_loseNextStatusAnswer) {
        m_loseNextStatusAnswer = false;
        reply.dropAnswer = true;
    }
    return reply;
}
