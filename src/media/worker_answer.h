#pragma once

#include "core/json.h"

#include <QString>
#include <QStringList>

#include <qcoro/qcorotask.h>

#include <chrono>
#include <optional>

// Runs one short `quillo-media` job (probe, envelope, frame) and returns the JSON line it
// ends with. Nothing when the worker is missing, cannot start or overruns `timeout` (it is
// then ended); a job that failed answers {"error", "message"}.
QCoro::Task<std::optional<Json>> workerAnswer(QString workerPath, QStringList arguments,
                                              std::chrono::milliseconds timeout);
