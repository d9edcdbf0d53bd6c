#pragma once

#include "core/json.h"

#include <QString>

// What a media file holds: container, duration, and each stream's codec, size, frame
// rate, sample rate and channels, plus the video's rotation in degrees (clockwise, as
// players turn it). Answers {"error": "unreadable", "message": …} for a file no
// container recognises.
class MediaProbe {
public:
    static Json run(const QString& path);
};
