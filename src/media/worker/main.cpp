#include "media/worker/worker_command_line.h"

#include <QCoreApplication>

extern "C" {
#include <libavutil/log.h>
}

int main(int argc, char** argv)
{
    // An application object so image format plugins are found; no GUI and no event loop.
    QCoreApplication app(argc, argv);
    // Encoder statistics would drown the job's own lines, which the instance keeps in its log.
    av_log_set_level(AV_LOG_ERROR);
    return WorkerCommandLine::run(QCoreApplication::arguments().mid(1));
}
