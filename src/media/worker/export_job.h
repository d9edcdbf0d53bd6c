#pragma once

#include "core/json.h"
#include "media/video_export_request.h"
#include "media/worker/session_outcome.h"

// An export from request to finished file: opens the source, lays out the kept ranges,
// prepares captions and watermark, and tries the presets in order until one can be made.
// Answers {"output", "preset", "duration"} or {"error", "message"}.
class ExportJob {
public:
    // `hooks.configured` is not used: the job logs that itself.
    static Json run(const VideoExportRequest& request, const SessionHooks& hooks);
};
