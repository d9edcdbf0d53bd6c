#pragma once

#include "media/video_export_request.h"

#include <qcoro/qcorotask.h>

#include <functional>

// Turns a video's kept ranges into a new file. The publishing preparation, the trim service
// and the video editor code against this; tests give them a double.
class VideoExporter {
public:
    using Progress = std::function<void(double)>;

    virtual ~VideoExporter() = default;

    // The path of the finished file (the request's output). Throws MediaError; after a
    // failure or cancel nothing is left at the output path.
    virtual QCoro::Task<QString> exportVideo(VideoExportRequest request, Progress progress) = 0;
    // Stops the running export, which then throws MediaError::cancelled().
    virtual void cancel() = 0;
};
