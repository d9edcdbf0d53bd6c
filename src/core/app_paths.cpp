#include "core/app_paths.h"

#include <QDir>
#include <QFile>

#include <unistd.h>

namespace {

QString xdgDir(const QProcessEnvironment& env, const QString& variable, const QString& fallbackUnderHome)
{
    const QString value = env.value(variable);
    // XDG says relative paths are invalid and must be ignored.
    if (!value.isEmpty() && QDir::isAbsolutePath(value))
        return value;
    return QDir::homePath() + u'/' + fallbackUnderHome;
}

QString runtimeBase(const QProcessEnvironment& env)
{
    const QString value = env.value(QStringLiteral("XDG_RUNTIME_DIR"));
    if (!value.isEmpty() && QDir::isAbsolutePath(value))
        return value + QStringLiteral("/quillo");
    return QStringLiteral("/tmp/quillo-%1").arg(::getuid());
}

bool makePrivateDir(const QString& path)
{
    if (!QDir().mkpath(path))
        return false;
    return QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

} // namespace

AppPaths AppPaths::fromEnvironment(const QProcessEnvironment& env)
{
    const QString home = env.value(QStringLiteral("QUILLO_HOME"));
    if (!home.isEmpty())
        return underHome(QDir(home).absolutePath());

    AppPaths paths;
    paths.m_config = xdgDir(env, QStringLiteral("XDG_CONFIG_HOME"), QStringLiteral(".config")) + QStringLiteral("/quillo");
    paths.m_data = xdgDir(env, QStringLiteral("XDG_DATA_HOME"), QStringLiteral(".local/share")) + QStringLiteral("/quillo");
    paths.m_state = xdgDir(env, QStringLiteral("XDG_STATE_HOME"), QStringLiteral(".local/state")) + QStringLiteral("/quillo");
    paths.m_runtime = runtimeBase(env);
    return paths;
}

AppPaths AppPaths::underHome(const QString& home)
{
    AppPaths paths;
    paths.m_config = home + QStringLiteral("/config");
    paths.m_data = home + QStringLiteral("/data");
    paths.m_state = home + QStringLiteral("/state");
    paths.m_runtime = home + QStringLiteral("/runtime");
    return paths;
}

QString AppPaths::preferencesFile() const { return m_config + QStringLiteral("/quillo.conf"); }
QString AppPaths::mediaDir() const { return m_data + QStringLiteral("/Quillo/Media"); }
QString AppPaths::logFile() const { return m_state + QStringLiteral("/quillo.log"); }
QString AppPaths::deliveriesDir() const { return m_state + QStringLiteral("/deliveries"); }
QString AppPaths::socketPath() const { return m_runtime + QStringLiteral("/quillo.sock"); }

bool AppPaths::ensureExists() const
{
    return makePrivateDir(m_config) && makePrivateDir(m_data) && makePrivateDir(m_state)
        && makePrivateDir(m_runtime) && QDir().mkpath(mediaDir());
}
