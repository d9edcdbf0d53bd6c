#pragma once

#include "core/json.h"

#include <QString>

// One picture of a video as a JPEG, for the editor's preview: the frame shown at a time,
// turned upright and scaled to fit a width. Answers {"width", "height", "time"} or
// {"error", "message"}.
class FrameJob {
public:
    struct Options {
        QString input;
        QString output;
        double at = 0;
        int maxWidth = 640;
    };

    static Json run(const Options& options);
};
