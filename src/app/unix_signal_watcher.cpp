#include "app/unix_signal_watcher.h"

#include <QSocketNotifier>

#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

namespace {

// The handler may only touch async-signal-safe things: a write to this socket.
int g_signalFds[2] = {-1, -1};

void onSignal(int signalNumber)
{
    const unsigned char byte = static_cast<unsigned char>(signalNumber);
    [[maybe_unused]] const auto written = ::write(g_signalFds[0], &byte, 1);
}

} // namespace

UnixSignalWatcher::UnixSignalWatcher(QObject* parent)
    : QObject(parent)
{
    if (g_signalFds[0] < 0 && ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, g_signalFds) != 0)
        return;
    m_notifier = new QSocketNotifier(g_signalFds[1], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &UnixSignalWatcher::readSignal);
}

UnixSignalWatcher::~UnixSignalWatcher() = default;

void UnixSignalWatcher::watch(int signalNumber)
{
    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    ::sigaction(signalNumber, &action, nullptr);
}

void UnixSignalWatcher::readSignal()
{
    unsigned char byte = 0;
    if (::read(g_signalFds[1], &byte, 1) == 1)
        Q_EMIT unixSignal(int(byte));
}
