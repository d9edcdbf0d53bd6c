#include "platforms/oauth/xdg_scheme_handler_check.h"

#include <QProcess>

bool XdgSchemeHandlerCheck::isRegistered(const QString& scheme) const
{
    QProcess query;
    query.start(QStringLiteral("xdg-mime"), {QStringLiteral("query"), QStringLiteral("default"),
                                            QStringLiteral("x-scheme-handler/") + scheme});
    if (!query.waitForFinished(3000) || query.exitStatus() != QProcess::NormalExit || query.exitCode() != 0)
        return false;
    return query.readAllStandardOutput().trimmed().endsWith(".desktop");
}
