#pragma once

#include <QString>

#include <functional>

// How one export attempt ended. `unavailable` means the attempt could not even be set up
// for this video (it would enlarge the picture, the container refuses the codec, no
// encoder): the next preset is tried. The others end the export.
struct SessionOutcome {
    enum class Status { completed, unavailable, failed, cancelled };

    Status status = Status::failed;
    QString error;

    static SessionOutcome completed() { return {Status::completed, {}}; }
    static SessionOutcome unavailable(QString why) { return {Status::unavailable, std::move(why)}; }
    static SessionOutcome failed(QString why) { return {Status::failed, std::move(why)}; }
    static SessionOutcome cancelled() { return {Status::cancelled, QStringLiteral("cancelled")}; }
};

inline QString cutShort(double lastTime)
{
    return QStringLiteral("The video file is cut short: its pictures end at %1 s").arg(lastTime, 0, 'f', 2);
}

// What an attempt reports while it runs, and how it learns it should stop.
struct SessionHooks {
    // Once the session is set up, before the first frame.
    std::function<void()> configured = [] {};
    // The share of the composition written so far, 0...1.
    std::function<void(double)> progress = [](double) {};
    std::function<bool()> cancelled = [] { return false; };
};
