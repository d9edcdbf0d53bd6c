#pragma once

#include "core/quillo_error.h"

// A media job that did not produce its output: the input could not be read, could not
// be made small enough, the output could not be written, the request could not be met, the
// job was cancelled, or the worker itself failed (missing, crashed, stalled).
class MediaError : public QuilloError {
public:
    enum class Kind { unreadableInput, tooLarge, outputFailed, workerFailed, invalidRequest, cancelled };

    static MediaError unreadableInput(const QString& detail);
    static MediaError tooLarge(const QString& detail);
    static MediaError outputFailed(const QString& detail);
    static MediaError workerFailed(const QString& detail);
    // The job cannot be done as asked: no video track, clips outside the video, no preset fits.
    static MediaError invalidRequest(const QString& message);
    static MediaError cancelled();

    Kind kind() const { return m_kind; }

private:
    MediaError(Kind kind, QString message);

    Kind m_kind;
};
