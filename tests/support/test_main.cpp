#include <QCoreApplication>

#include <gmock/gmock.h>

// Every test binary gets an application object, so event loops, timers, sockets and
// QSignalSpy work as in the app.
int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
