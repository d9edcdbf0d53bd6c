#pragma once

#include "core/json.h"

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>
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

// A Mastodon instance on 127.0.0.1: app registration, the authorize page, the token
// exchange, account verification, the instance document, media upload and processing,
// statuses (honouring Idempotency-Key) and the account's statuses. Every request is
// recorded with its raw body; an override can replace any answer.
class FakeMastodonServer {
public:
    struct Request {
        QByteArray method;
        QByteArray path;
        QByteArray query;
        QMap<QByteArray, QByteArray> headers; // lower-case names
        QByteArray body;                      // exactly as sent, multipart included
        // Multipart parts other than the file, or the fields of a form-encoded body.
        QMap<QByteArray, QByteArray> fields;
        QByteArray fileName;
        QByteArray fileType;
        QByteArray fileData;
        bool multipartWellFormed = false;

        QByteArray queryValue(const QByteArray& name) const;
        Json json() const;
    };

    struct Reply {
        int status = 200;
        QByteArray body;
        QByteArray contentType = "application/json";
        QMap<QByteArray, QByteArray> headers;
        // Send the status line and headers, then close the connection: the client sees
        // a lost answer although the server did its work.
        bool dropAnswer = false;
    };

    struct Status {
        QByteArray id;
        QString text;
        QByteArray inReplyToId;
        QList<QByteArray> mediaIds;
        QByteArray idempotencyKey;
    };

    using Override = std::function<std::optional<Reply>(const Request&)>;

    static constexpr char kClientId[] = "fake-client-id";
    static constexpr char kClientSecret[] = "fake client secret+/=";
    static constexpr char kCode[] = "the code/+=";
    static constexpr char kAccessToken[] = "fake-access-token-0123456789";
    static constexpr char kAccountId[] = "109";
    static constexpr char kUsername[] = "quillo";

    FakeMastodonServer();
    ~FakeMastodonServer();
    FakeMastodonServer(const FakeMastodonServer&) = delete;
    FakeMastodonServer& operator=(const FakeMastodonServer&) = delete;

    QUrl baseUrl() const;

    // Consulted before the built-in behaviour; returning nothing falls through to it.
    void setOverride(Override override);
    // How many media status polls of a video answer with a `processing` object.
    void setProcessingPolls(int polls);
    // The v2 instance document (404 when null, so the client tries v1).
    void setInstanceDocument(Json v2, Json v1 = Json());
    // The answer to the next status POST is lost after the status was created.
    void loseNextStatusAnswer();

    std::vector<Request> requests() const;
    std::vector<Request> requestsTo(const QByteArray& path) const;
    std::vector<Status> statuses() const;

private:
    void handle(const httplib::Request& in, httplib::Response& out);
    Request record(const httplib::Request& in) const;
    Reply builtIn(const Request& request);
    bool authorized(const Request& request) const;
    Reply media(const Request& request);
    Reply postStatus(const Request& request);

    std::unique_ptr<httplib::Server> m_server;
    std::unique_ptr<LoopbackListener> m_listener;

    mutable std::mutex m_mutex;
    std::vector<Request> m_requests;
    std::vector<Status> m_statuses;
    Override m_override;
    int m_processingPolls = 2;
    QMap<QByteArray, int> m_mediaPolls; // media id → polls so far (videos only)
    QByteArray m_registeredRedirect;
    Json m_instanceV2;
    Json m_instanceV1;
    bool m_loseNextStatusAnswer = false;
    qint64 m_nextId = 110000;
};
