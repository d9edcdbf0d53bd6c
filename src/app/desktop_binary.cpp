#include "app/desktop_binary.h"

#include "app/app_log.h"

#include <QByteArray>
#include <QFileInfo>

#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace DesktopBinary {

void execIfInstalled(char** argv)
{
    // No application object exists yet: the executable's folder comes from the kernel.
    const QFileInfo self(QStringLiteral("/proc/self/exe"));
    const QString path = QFileInfo(self.symLinkTarget()).absolutePath() + u'/' + QLatin1String(kFileName);
    if (!QFileInfo(path).isExecutable())
        return;
    const QByteArray file = QFile::encodeName(path);
    argv[0] = const_cast<char*>(file.constData());
    ::execv(file.constData(), argv);
    qCWarning(lcApp).noquote() << "⚠️ Cannot start" << path << ":" << std::strerror(errno) << "- running without windows";
}

} // namespace DesktopBinary
