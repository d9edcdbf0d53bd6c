#pragma once

#include <QString>

#include <qcoro/qcorotask.h>

#include <optional>

// What the scheduler needs to know of a media file before publishing it.
struct MediaFacts {
    double duration = 0;
    bool hasVideo = false;
    bool hasAudio = false;
};

// Reads a media file's facts. Tests give the scheduler a double.
class MediaProber {
public:
    virtual ~MediaProber() = default;
    // Nothing when the file cannot be read as media.
    virtual QCoro::Task<std::optional<MediaFacts>> probe(QString path) = 0;
};
