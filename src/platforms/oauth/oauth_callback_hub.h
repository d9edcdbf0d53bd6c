#pragma once

#include <QObject>
#include <QUrl>

// Where "quillo://oauth?..." callbacks land. The command channel delivers them here
// (they never reach the URL command dispatcher), and a connect flow that waits for the
// browser to come back listens for callbackReceived.
class OAuthCallbackHub : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

    static bool isOAuthCallback(const QUrl& url)
    {
        return url.scheme().compare(QStringLiteral("quillo"), Qt::CaseInsensitive) == 0
            && url.host().compare(QStringLiteral("oauth"), Qt::CaseInsensitive) == 0;
    }

    void deliver(const QUrl& url) { Q_EMIT callbackReceived(url); }

Q_SIGNALS:
    void callbackReceived(const QUrl& url);
};
