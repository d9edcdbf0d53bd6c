#include "ui/media_drop.h"

#include "compose/media_attacher.h"

#include <QMimeData>
#include <QUrl>

QStringList MediaDrop::files(const QMimeData* source)
{
    QStringList paths;
    if (!source->hasUrls())
        return paths;
    for (const QUrl& url : source->urls()) {
        if (url.isLocalFile() && MediaAttacher::isSupported(url.toLocalFile()))
            paths << url.toLocalFile();
    }
    return paths;
}

bool MediaDrop::carriesMedia(const QMimeData* source)
{
    return source->hasImage() || !files(source).isEmpty();
}
