#pragma once

#include <QUrl>

// Shows a web page to the person, in their browser. The desktop instance opens pages
// through its GUI session; the processes that draw nothing hand them to xdg-open.
class UrlOpener {
public:
    virtual ~UrlOpener() = default;
    // False when no browser could be started.
    virtual bool open(const QUrl& url) = 0;
};
