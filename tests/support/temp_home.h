#pragma once

#include "core/app_paths.h"

#include <QByteArray>
#include <QTemporaryDir>

// A throw-away QUILLO_HOME for one test. While it lives, QUILLO_HOME points at it, so
// code that reads the environment and child processes alike stay inside it.
class TempHome {
public:
    TempHome();
    ~TempHome();
    TempHome(const TempHome&) = delete;
    TempHome& operator=(const TempHome&) = delete;

    QString path() const { return m_dir.path(); }
    AppPaths paths() const { return AppPaths::underHome(m_dir.path()); }

private:
    QTemporaryDir m_dir;
    QByteArray m_previous;
    bool m_hadPrevious = false;
};
