#pragma once

// What a browser does with a network's sign-in page in the connect tests: loads it without
// following redirects, then hands over either the redirect (to quillo://…, which Quillo
// receives) or, where the network shows the code instead, the page itself.
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QRegularExpression>
#include <QUrl>

#include <functional>

namespace SigningInBrowser {

inline void load(QNetworkAccessManager& network, const QUrl& page, std::function<void(const QUrl& redirect)> onRedirect,
                 std::function<void(const QByteArray& body)> onPage)
{
    QNetworkRequest request(page);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    QNetworkReply* reply = network.get(request);
    QObject::connect(reply, &QNetworkReply::finished, [reply, onRedirect = std::move(onRedirect), onPage = std::move(onPage)] {
        reply->deleteLater();
        const QByteArray location = reply->rawHeader("Location");
        if (!location.isEmpty())
            onRedirect(QUrl::fromEncoded(location));
        else
            onPage(reply->readAll());
    });
}

// The code a code page shows for the person to copy.
inline QString shownCode(const QByteArray& page)
{
    static const QRegularExpression code(QStringLiteral("class=\"oauth-code\" value=\"([^\"]*)\""));
    return code.match(QString::fromUtf8(page)).captured(1);
}

} // namespace SigningInBrowser
