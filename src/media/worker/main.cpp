#include "media/worker/worker_command_line.h"

#include <QCoreApplication>

int main(int argc, char** argv)
{
    // An application object so image format plugins are found; no GUI and no event loop.
    QCoreApplication app(argc, argv);
    return WorkerCommandLine::run(QCoreApplication::arguments().mid(1));
}
