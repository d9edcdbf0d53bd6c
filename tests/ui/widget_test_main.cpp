#include <QApplication>

#include <gmock/gmock.h>

// Window tests need a QApplication; defining main here keeps the support library's
// Qt Core one out of the link.
int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    ::testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
