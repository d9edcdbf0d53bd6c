#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

#include <gtest/gtest.h>

// Reads a hand-written document from tests/data.
inline QByteArray readGolden(const char* name)
{
    QFile file(QStringLiteral(QUILLO_TEST_DATA_DIR "/") + QString::fromUtf8(name));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name;
    return file.readAll();
}
