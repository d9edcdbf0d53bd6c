#pragma once

#include "core/quillo_error.h"

// A media job that did not produce its output: the input could not be read, could not
// be made small enough, the output could not be written, or the worker itself failed (missing, crashed, timed out).
class MediaError : public QuilloError {
public:
    enum class Kind { unreadableInput, tooLarge, outputFailed, workerFailed };

    static MediaError unreadableInput(const QString& detail);
    static MediaError tooLarge(const QString& detail);
    static MediaError outputFailed(const QString& detail);
    static MediaError workerFailed(const QString& detail);

    Kind kind() const { return m_kind; }

private:
    MediaError(Kind kind, QString message);

    Kind m_kind;
};
