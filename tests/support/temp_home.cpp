#include "support/temp_home.h"

TempHome::TempHome()
    : m_dir(QDir::tempPath() + QStringLiteral("/quillo-test-XXXXXX"))
{
    m_hadPrevious = qEnvironmentVariableIsSet("QUILLO_HOME");
    m_previous = qgetenv("QUILLO_HOME");
    qputenv("QUILLO_HOME", QFile::encodeName(m_dir.path()));
}

TempHome::~TempHome()
{
    if (m_hadPrevious)
        qputenv("QUILLO_HOME", m_previous);
    else
        qunsetenv("QUILLO_HOME");
}
