#pragma once

#include <QObject>

class QSocketNotifier;

// Turns SIGINT/SIGTERM into a Qt signal on the main thread, so the instance can shut
// down through its event loop (stores flushed, sockets closed) instead of dying mid-write.
class UnixSignalWatcher : public QObject {
    Q_OBJECT
public:
    explicit UnixSignalWatcher(QObject* parent = nullptr);
    ~UnixSignalWatcher() override;

    void watch(int signalNumber);

Q_SIGNALS:
    void unixSignal(int signalNumber);

private:
    void readSignal();

    QSocketNotifier* m_notifier = nullptr;
};
