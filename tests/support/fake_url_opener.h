#pragma once

#include "core/url_opener.h"

#include <QList>

#include <functional>

// Records the pages it is asked to open and answers with `handler` (true when unset).
class FakeUrlOpener : public UrlOpener {
public:
    bool open(const QUrl& url) override
    {
        opened.append(url);
        return handler ? handler(url) : true;
    }

    std::function<bool(const QUrl&)> handler;
    QList<QUrl> opened;
};
