#pragma once

#include <QUrl>

#include <httplib.h>

#include <chrono>
#include <thread>

// Runs a configured cpp-httplib server on 127.0.0.1 in a thread of its own, for the fake
// network servers. start() returns once the server listens: stop() is a no-op until the
// loop runs, so a test that ended before it started would otherwise wait forever.
class LoopbackListener {
public:
    ~LoopbackListener() { stop(); }

    void start(httplib::Server& server)
    {
        m_server = &server;
        // The socket listens once bound, so connections made before the loop starts just wait.
        m_port = server.bind_to_any_port("127.0.0.1");
        m_thread = std::thread([&server] { server.listen_after_bind(); });
        while (!server.is_running())
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }

    void stop()
    {
        if (!m_thread.joinable())
            return;
        m_server->stop();
        m_thread.join();
    }

    QUrl baseUrl() const { return QUrl(QStringLiteral("http://127.0.0.1:%1").arg(m_port)); }

private:
    httplib::Server* m_server = nullptr;
    std::thread m_thread;
    int m_port = 0;
};
