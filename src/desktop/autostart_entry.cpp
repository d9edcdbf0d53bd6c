#include "desktop/autostart_entry.h"

#include "desktop/desktop_log.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <algorithm>

namespace {

// Desktop entry Exec quoting: an argument with reserved characters goes in double quotes,
// and inside them ", `, $ and \ take a backslash.
QString quotedArgument(const QString& argument)
{
    static const QString reserved = QStringLiteral(" \t\n\"'\\><~|&;$*?#()`");
    const bool needsQuotes = std::any_of(argument.begin(), argument.end(), [](QChar c) { return reserved.contains(c); });
    if (!needsQuotes)
        return argument;
    QString quoted = QStringLiteral("\"");
    for (const QChar c : argument) {
        if (c == u'"' || c == u'`' || c == u'$' || c == u'\\')
            quoted += u'\\';
        quoted += c;
    }
    return quoted + u'"';
}

} // namespace

AutostartEntry::AutostartEntry(QString configHome, QString executable)
    : m_configHome(std::move(configHome))
    , m_executable(std::move(executable))
{
}

QString AutostartEntry::configHomeFrom(const QProcessEnvironment& environment)
{
    const QString configured = environment.value(QStringLiteral("XDG_CONFIG_HOME"));
    if (!configured.isEmpty() && QDir::isAbsolutePath(configured))
        return configured;
    const QString home = environment.value(QStringLiteral("HOME"), QDir::homePath());
    return home + QStringLiteral("/.config");
}

QString AutostartEntry::filePath() const
{
    return m_configHome + QStringLiteral("/autostart/quillo.desktop");
}

bool AutostartEntry::isEnabled() const
{
    return QFileInfo(filePath()).isFile();
}

QByteArray AutostartEntry::contents() const
{
    // Escaping for the key-value file format comes on top of the Exec quoting.
    QString exec = quotedArgument(m_executable);
    exec.replace(u'\\', QStringLiteral("\\\\"));
    const QString text = QStringLiteral("[Desktop Entry]\n"
                                        "Type=Application\n"
                                        "Name=Quillo\n"
                                        "Comment=Publish and schedule posts to X, Bluesky and Mastodon at once\n"
                                        "Exec=%1\n"
                                        "Icon=quillo\n"
                                        "Terminal=false\n"
                                        "X-GNOME-Autostart-enabled=true\n")
                             .arg(exec);
    return text.toUtf8();
}

void AutostartEntry::setEnabled(bool enabled)
{
    if (enabled)
        write();
    else
        remove();
}

void AutostartEntry::write()
{
    const QString folder = QFileInfo(filePath()).absolutePath();
    if (!QDir().mkpath(folder))
        throw Error(QStringLiteral("Quillo could not create the folder %1, so it cannot start at login.").arg(folder));
    QSaveFile file(filePath());
    const QByteArray bytes = contents();
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
        throw Error(QStringLiteral("Quillo could not write %1 (%2), so it cannot start at login.")
                              .arg(filePath(), file.errorString()));
    qCInfo(lcDesktop).noquote() << QStringLiteral("🚀 Start at login enabled: ") + filePath();
}

void AutostartEntry::remove()
{
    QFile file(filePath());
    if (file.exists() && !file.remove())
        throw Error(QStringLiteral("Quillo could not remove %1 (%2); it will still start at login.")
                              .arg(filePath(), file.errorString()));
    qCInfo(lcDesktop).noquote() << QStringLiteral("🚀 Start at login disabled: ") + filePath();
}
