#include "core/xdg_url_opener.h"

#include <QProcess>

bool XdgUrlOpener::open(const QUrl& url)
{
    return QProcess::startDetached(QStringLiteral("xdg-open"), {url.toString(QUrl::FullyEncoded)});
}
