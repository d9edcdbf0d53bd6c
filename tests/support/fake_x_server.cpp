#include "support/fake_x_server.h"

#include "support/loopback_listener.h"

#include "core/json.h"
#include "platforms/oauth/oauth_signer.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QMessageAuthenticationCode>

#include <httplib.h>

#include <cstdlib>

struct FakeXServer::Upload {
    qint64 totalBytes = 0;
    qint64 received = 0;
    int nextSegment = 0;
    bool video = false;
    bool finalized = false;
    int statusPolls = 0;
    QCryptographicHash sha1{QCryptographicHash::Sha1};
};

namespace {

QByteArray bytes(const std::string& s)
{
    return QByteArray(s.data(), qsizetype(s.size()));
}

FakeXServer::Reply json(int status, const Json& body)
{
    FakeXServer::Reply reply;
    reply.status = status;
    reply.body = QByteArray::fromStdString(body.dump());
    return reply;
}

FakeXServer::Reply form(const QByteArray& body)
{
    FakeXServer::Reply reply;
    reply.body = body;
    reply.contentType = "application/x-www-form-urlencoded";
    return reply;
}

FakeXServer::Reply unauthorized()
{
    return json(401, {{"errors", {{{"code", 32}, {"message", "Could not authenticate you."}}}}});
}

} // namespace

QByteArray FakeXServer::Request::queryValue(const QByteArray& name) const
{
    for (const auto& [n, v] : OAuthSigner::decodeForm(query))
        if (n == name)
            return v;
    return {};
}

FakeXServer::FakeXServer()
    : m_server(std::make_unique<httplib::Server>())
{
    m_tokenSecrets.insert(kAccessToken, kAccessSecret);
    m_tokenSecrets.insert(kRequestToken, kRequestSecret);
    m_server->set_payload_max_length(64 * 1024 * 1024);
    const auto handler = [this](const httplib::Request& in, httplib::Response& out) { handle(in, out); };
    m_server->Get(".*", handler);
    m_server->Post(".*", handler);
    m_server->Delete(".*", handler);
    m_listener = std::make_unique<LoopbackListener>();
    m_listener->start(*m_server);
}

FakeXServer::~FakeXServer()
{
    m_listener->stop();
}

QUrl FakeXServer::baseUrl() const
{
    return m_listener->baseUrl();
}

void FakeXServer::setOverride(Override override)
{
    std::lock_guard lock(m_mutex);
    m_override = std::move(override);
}

void FakeXServer::setProcessingPolls(int polls)
{
    std::lock_guard lock(m_mutex);
    m_processingPolls = polls;
}

void FakeXServer::setCheckAfterSecs(int secs)
{
    std::lock_guard lock(m_mutex);
    m_checkAfterSecs = secs;
}

std::vector<FakeXServer::Request> FakeXServer::requests() const
{
    std::lock_guard lock(m_mutex);
    return m_requests;
}

std::vector<FakeXServer::Request> FakeXServer::requestsTo(const QByteArray& pathPart) const
{
    std::vector<Request> matching;
    for (const Request& r : requests())
        if (r.path.contains(pathPart))
            matching.push_back(r);
    return matching;
}

int FakeXServer::rejectedSignatures() const
{
    std::lock_guard lock(m_mutex);
    return m_rejected;
}

QByteArray FakeXServer::uploadedSha1(const QByteArray& mediaId) const
{
    std::lock_guard lock(m_mutex);
    const auto upload = m_uploads.value(mediaId);
    return upload ? upload->sha1.result().toHex() : QByteArray();
}

qint64 FakeXServer::uploadedBytes(const QByteArray& mediaId) const
{
    std::lock_guard lock(m_mutex);
    const auto upload = m_uploads.value(mediaId);
    return upload ? upload->received : -1;
}

void FakeXServer::handle(const httplib::Request& in, httplib::Response& out)
{
    Request request = record(in);
    Reply reply;
    const bool valid = verifySignature(request);
    Override override;
    {
        std::lock_guard lock(m_mutex);
        if (!valid)
            ++m_rejected;
        override = m_override;
    }
    if (!valid) {
        reply = unauthorized();
    } else if (auto overridden = override ? override(request) : std::nullopt) {
        reply = *overridden;
    } else {
        reply = builtIn(request);
    }
    request.mediaData = {};
    {
        std::lock_guard lock(m_mutex);
        m_requests.push_back(request);
    }
    out.status = reply.status;
    for (auto it = reply.headers.cbegin(); it != reply.headers.cend(); ++it)
        out.set_header(it.key().toStdString(), it.value().toStdString());
    out.set_content(reply.body.toStdString(), reply.contentType.toStdString());
}

FakeXServer::Request FakeXServer::record(const httplib::Request& in)
{
    Request request;
    request.method = bytes(in.method);
    const QByteArray target = bytes(in.target);
    const qsizetype question = target.indexOf('?');
    request.path = question < 0 ? target : target.left(question);
    request.query = question < 0 ? QByteArray() : target.mid(question + 1);
    for (const auto& [name, value] : in.headers)
        request.headers.insert(bytes(name).toLower(), bytes(value));
    for (const auto& [name, part] : in.files) {
        if (name == "media") {
            request.mediaSize = qsizetype(part.content.size());
            request.mediaData = QByteArrayView(part.content.data(), request.mediaSize);
        } else
            request.formFields.insert(bytes(name), bytes(part.content));
    }
    // A huge chunk is not kept twice: the media part is summarised by its size.
    if (in.files.empty())
        request.body = bytes(in.body);
    return request;
}

bool FakeXServer::verifySignature(Request& request)
{
    const auto header = OAuthSigner::parseAuthorizationHeader(request.headers.value("authorization"));
    OAuthParameters parameters;
    QByteArray signature;
    for (const auto& [name, value] : header) {
        request.oauth.insert(name, value);
        if (name == "oauth_signature")
            signature = value;
        else
            parameters.append({name, value});
    }
    parameters += OAuthSigner::decodeForm(request.query);
    if (OAuthSigner::isFormContentType(request.headers.value("content-type")))
        parameters += OAuthSigner::decodeForm(request.body);

    const QByteArray token = request.oauth.value("oauth_token");
    QByteArray tokenSecret;
    {
        std::lock_guard lock(m_mutex);
        if (!token.isEmpty() && !m_tokenSecrets.contains(token))
            return false;
        tokenSecret = m_tokenSecrets.value(token);
        const QByteArray nonce = request.oauth.value("oauth_nonce");
        if (nonce.isEmpty() || m_seenNonces.contains(nonce))
            return false;
        m_seenNonces.insert(nonce, true);
    }
    const qint64 timestamp = request.oauth.value("oauth_timestamp").toLongLong();
    if (std::llabs(timestamp - QDateTime::currentSecsSinceEpoch()) > 300)
        return false;
    if (request.oauth.value("oauth_consumer_key") != kConsumerKey
        || request.oauth.value("oauth_signature_method") != "HMAC-SHA1" || request.oauth.value("oauth_version") != "1.0")
        return false;

    const QUrl url(QStringLiteral("http://") + QString::fromLatin1(request.headers.value("host"))
                   + QString::fromLatin1(request.path));
    const QByteArray base = OAuthSigner::baseString(request.method, url, parameters);
    const QByteArray key = OAuthSigner::percentEncode(kConsumerSecret) + '&' + OAuthSigner::percentEncode(tokenSecret);
    const QByteArray expected = QMessageAuthenticationCode::hash(base, key, QCryptographicHash::Sha1).toBase64();
    request.signatureValid = expected == signature;
    return request.signatureValid;
}

FakeXServer::Reply FakeXServer::builtIn(const Request& request)
{
    if (request.path == "/oauth/request_token") {
        if (request.oauth.value("oauth_callback").isEmpty())
            return json(400, {{"errors", {{{"message", "callback missing"}}}}});
        return form(QByteArray("oauth_token=") + kRequestToken + "&oauth_token_secret="
                    + OAuthSigner::percentEncode(kRequestSecret) + "&oauth_callback_confirmed=true");
    }
    if (request.path == "/oauth/access_token") {
        if (request.oauth.value("oauth_token") != kRequestToken || request.oauth.value("oauth_verifier") != kVerifier)
            return unauthorized();
        return form(QByteArray("oauth_token=") + kAccessToken + "&oauth_token_secret="
                    + OAuthSigner::percentEncode(kAccessSecret) + "&user_id=111&screen_name=quillo_user");
    }
    if (request.path == "/1.1/account/verify_credentials.json") {
        if (request.oauth.value("oauth_token") != kAccessToken)
            return unauthorized();
        return json(200, {{"id_str", "111"}, {"screen_name", "quillo_user"}, {"name", "Quillo User"}});
    }
    if (request.path == "/2/tweets") {
        const auto body = Json::parse(request.body.toStdString(), nullptr, false);
        if (body.is_discarded() || !body.contains("text"))
            return json(400, {{"title", "Invalid Request"}});
        std::lock_guard lock(m_mutex);
        const std::string id = std::to_string(++m_nextId);
        return json(201, {{"data", {{"id", id}, {"text", body["text"]}}}});
    }
    if (request.path.startsWith("/2/media/"))
        return media(request);
    return json(404, {{"title", "Not Found"}});
}

FakeXServer::Reply FakeXServer::media(const Request& request)
{
    std::lock_guard lock(m_mutex);
    const QList<QByteArray> parts = request.path.split('/'); // "", "2", "media", "upload", id, step
    if (request.path == "/2/media/upload/initialize") {
        const auto body = Json::parse(request.body.toStdString(), nullptr, false);
        if (body.is_discarded() || !body.contains("total_bytes") || !body.contains("media_type"))
            return json(400, {{"title", "Invalid Request"}});
        auto upload = std::make_shared<Upload>();
        upload->totalBytes = body["total_bytes"].get<qint64>();
        upload->video = body.value("media_category", "") == "tweet_video";
        const QByteArray id = QByteArray::number(++m_nextId);
        m_uploads.insert(id, upload);
        return json(200, {{"data", {{"id", id.toStdString()}, {"media_key", "3_" + id.toStdString()},
                                    {"expires_after_secs", 86400}}}});
    }
    if (request.path == "/2/media/metadata") {
        const auto body = Json::parse(request.body.toStdString(), nullptr, false);
        if (body.is_discarded() || !m_uploads.contains(QByteArray::fromStdString(body.value("id", ""))))
            return json(400, {{"title", "Invalid Request"}});
        return json(200, {{"data", {{"associated_metadata", true}}}});
    }
    if (request.path == "/2/media/upload" && request.queryValue("command") == "STATUS") {
        const auto upload = m_uploads.value(request.queryValue("media_id"));
        if (!upload || !upload->finalized)
            return json(400, {{"title", "Invalid Request"}});
        const bool done = ++upload->statusPolls >= m_processingPolls;
        Json info = {{"state", done ? "succeeded" : "in_progress"}, {"progress_percent", done ? 100 : 50}};
        if (!done)
            info["check_after_secs"] = m_checkAfterSecs;
        return json(200, {{"data", {{"id", request.queryValue("media_id").toStdString()}, {"processing_info", info}}}});
    }
    const auto upload = m_uploads.value(parts.value(4));
    if (!upload || parts.size() != 6)
        return json(404, {{"title", "Not Found"}});
    if (parts[5] == "append") {
        if (request.mediaSize < 0 || request.formFields.value("segment_index").toInt() != upload->nextSegment)
            return json(400, {{"title", "Invalid Request"}});
        ++upload->nextSegment;
        upload->received += request.mediaSize;
        upload->sha1.addData(request.mediaData);
        return {200, {}, "application/json", {}};
    }
    if (parts[5] == "finalize") {
        if (upload->received != upload->totalBytes)
            return json(400, {{"title", "Invalid Request"}, {"detail", "size mismatch"}});
        upload->finalized = true;
        Json data = {{"id", parts[4].toStdString()}, {"size", upload->totalBytes}};
        if (upload->video)
            data["processing_info"] = {{"state", "pending"}, {"check_after_secs", m_checkAfterSecs}};
        return json(200, {{"data", data}});
    }
    return json(404, {{"title", "Not Found"}});
}
