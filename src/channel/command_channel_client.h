#pragma once

#include "channel/command_outcome.h"
#include "core/app_paths.h"

#include <QProcessEnvironment>
#include <QString>

#include <chrono>
#include <optional>

// The sending end of the command channel, for processes without an event loop (the
// forwarder, the MCP server): every call blocks for a bounded time.
//
//   CommandChannelClient client(AppPaths::fromEnvironment());
//   const CommandOutcome outcome = client.send(QStringLiteral("quillo://open"));
//
// When no instance answers, send() starts one (`quillo --headless` without a display,
// the desktop instance with one), waits for its socket and sends again. If that fails
// too, the URL goes to the desktop opener (xdg-open) as a last resort.
class CommandChannelClient {
public:
    static constexpr std::chrono::milliseconds kDefaultReplyTimeout{30000};
    // Set in the opener's environment so a forwarder it starts never calls it again.
    static constexpr const char* kNoOpenerVariable = "QUILLO_NO_DESKTOP_OPENER";

    struct Options {
        // The executable started when no instance answers; empty means this process's own.
        QString program;
        bool autoStart = true;
        std::chrono::milliseconds startTimeout{10000};
        // Empty disables the last resort. Also disabled when kNoOpenerVariable is set.
        QString desktopOpener = QStringLiteral("xdg-open");
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    };

    explicit CommandChannelClient(AppPaths paths);
    CommandChannelClient(AppPaths paths, Options options);

    // Has the running instance carry out url and returns its outcome. Once connected it
    // waits for the reply as long as the instance keeps saying it is working, and gives
    // up only after replyTimeout without a word from it.
    CommandOutcome send(const QString& url, std::chrono::milliseconds replyTimeout = kDefaultReplyTimeout);

    // Only talks to an instance that is already running: nothing when none answers.
    std::optional<CommandOutcome> trySend(const QString& url, std::chrono::milliseconds replyTimeout);

    // The instance answers a command once it is carried out and saves its changes in
    // the background. This waits until everything the commands sent before it changed
    // is stored, for a caller that reads the stored documents next. Success when it is
    // (or when no instance runs, so nothing is pending), else why not.
    CommandOutcome sync(std::chrono::milliseconds replyTimeout = kDefaultReplyTimeout);

private:
    // Sends one request frame to a running instance and reads its reply.
    std::optional<CommandOutcome> exchange(const QByteArray& request, std::chrono::milliseconds replyTimeout);
    bool startInstance() const;
    std::optional<CommandOutcome> waitForInstanceAndSend(const QString& url, std::chrono::milliseconds replyTimeout);
    std::optional<CommandOutcome> handToDesktopOpener(const QString& url) const;

    AppPaths m_paths;
    Options m_options;
};
