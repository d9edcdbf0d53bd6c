#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QUrl>

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

// A stand-in for the X API on 127.0.0.1. It recomputes the OAuth 1.0a signature of every
// request from the secrets it knows and answers 401 when the signature, the consumer key,
// the token, the timestamp or the nonce is wrong. Behind that gate it plays X's token
// exchange, chunked media upload (keeping a running SHA-1 of the bytes of each upload),
// status polling, alt text and posting. Tests replace any answer with an override.
class FakeXServer {
public:
    struct Request {
        QByteArray method;
        QByteArray path;
        QByteArray query;
        QMap<QByteArray, QByteArray> headers; // lower-case names
        QByteArray body;
        QMap<QByteArray, QByteArray> formFields; // multipart fields other than file data
        qsizetype mediaSize = -1;                 // size of the multipart "media" part
        QByteArrayView mediaData;                 // valid only while the request is handled
        QMap<QByteArray, QByteArray> oauth;       // decoded Authorization header
        bool signatureValid = false;
        QByteArray queryValue(const QByteArray& name) const;
    };

    struct Reply {
        int status = 200;
        QByteArray body;
        QByteArray contentType = "application/json";
        QMap<QByteArray, QByteArray> headers;
    };

    using Override = std::function<std::optional<Reply>(const Request&)>;

    static constexpr char kConsumerKey[] = "fake-consumer-key";
    static constexpr char kConsumerSecret[] = "fake consumer/secret+&";
    static constexpr char kAccessToken[] = "111-access-token";
    static constexpr char kAccessSecret[] = "access secret=%";

    FakeXServer();
    ~FakeXServer();
    FakeXServer(const FakeXServer&) = delete;
    FakeXServer& operator=(const FakeXServer&) = delete;

    QUrl baseUrl() const;

    // Consulted before the built-in behaviour; returning nothing falls through to it.
    void setOverride(Override override);
    // How many STATUS answers say "in_progress" before "succeeded" (videos only).
    void setProcessingPolls(int polls);
    void setCheckAfterSecs(int secs);

    std::vector<Request> requests() const;
    std::vector<Request> requestsTo(const QByteArray& pathPart) const;
    int rejectedSignatures() const;
    // SHA-1 of all bytes appended to a media id, in segment order.
    QByteArray uploadedSha1(const QByteArray& mediaId) const;
    qint64 uploadedBytes(const QByteArray& mediaId) const;

    // Token exchange values the built-in handlers hand out and expect.
    static constexpr char kRequestToken[] = "req-token";
    static constexpr char kRequestSecret[] = "req secret";
    static constexpr char kVerifier[] = "the-verifier";

private:
    struct Upload;
    void handle(const httplib::Request& in, httplib::Response& out);
    Request record(const httplib::Request& in);
    bool verifySignature(Request& request);
    Reply builtIn(const Request& request);
    Reply media(const Request& request);

    std::unique_ptr<httplib::Server> m_server;
    std::unique_ptr<LoopbackListener> m_listener;

    mutable std::mutex m_mutex;
    std::vector<Request> m_requests;
    Override m_override;
    int m_processingPolls = 2;
    int m_checkAfterSecs = 1;
    int m_rejected = 0;
    qint64 m_nextId = 1000;
    QMap<QByteArray, std::shared_ptr<Upload>> m_uploads;
    QMap<QByteArray, bool> m_seenNonces;
    QMap<QByteArray, QByteArray> m_tokenSecrets;
};
