#pragma once

#include "core/url_opener.h"

// Opens pages with `xdg-open`, which needs no GUI library in this process.
class XdgUrlOpener : public UrlOpener {
public:
    bool open(const QUrl& url) override;
};
