#pragma once

// The instance's account connect flows, pointed at the fake Bluesky and Mastodon servers,
// with a browser that signs in at once: it loads the authorize page and hands the
// redirect back through the callback hub, as the command channel does, or keeps the code
// the page shows where no quillo:// handler is registered.
#include "app/account_connectors.h"
#include "core/endpoints.h"
#include "platforms/bluesky/blue_sky_account_connector.h"
#include "platforms/mastodon/mastodon_account_connector.h"
#include "platforms/oauth/oauth_callback_hub.h"
#include "platforms/oauth/scheme_handler_check.h"
#include "platforms/x/x_account_connector.h"
#include "support/fake_mastodon_server.h"
#include "support/fake_url_opener.h"
#include "support/fake_xrpc_server.h"
#include "support/signing_in_browser.h"
#include "ui_stack.h"

#include <QNetworkAccessManager>
#include <QTimer>

struct ConnectStack {
    class QuilloSchemeRegistered : public SchemeHandlerCheck {
    public:
        bool isRegistered(const QString&) const override { return registered; }
        bool registered = true;
    };

    explicit ConnectStack(UiStack& stack)
        : endpoints(Endpoints::parse(QStringLiteral("bluesky=%1,mastodon=%2")
                                         .arg(bluesky.baseUrl().toString(), mastodon.baseUrl().toString())))
        , x(network, hub, stack.accounts, browser, stack.clock)
        , sky(network, stack.accounts, stack.clock, endpoints)
        , toot(network, hub, stack.accounts, browser, stack.clock, stack.images, schemes, endpoints)
        , connectors{x, sky, toot}
    {
        browser.handler = [this](const QUrl& page) {
            QTimer::singleShot(0, [this, page] { followToCallback(page); });
            return true;
        };
    }

    InstanceServices services(UiStack& stack)
    {
        InstanceServices services = stack.services();
        services.connectors = &connectors;
        return services;
    }

    void followToCallback(const QUrl& page)
    {
        // Without a quillo:// handler the instance shows the code for the person to copy.
        SigningInBrowser::load(
            browserNetwork, page, [this](const QUrl& redirect) { hub.deliver(redirect); },
            [this](const QByteArray& body) { shownCode = SigningInBrowser::shownCode(body); });
    }

    FakeXrpcServer bluesky;
    FakeMastodonServer mastodon;
    Endpoints endpoints;
    QNetworkAccessManager network;
    QNetworkAccessManager browserNetwork;
    OAuthCallbackHub hub;
    FakeUrlOpener browser;
    QuilloSchemeRegistered schemes;
    XAccountConnector x;
    BlueSkyAccountConnector sky;
    MastodonAccountConnector toot;
    AccountConnectors connectors;
    // The code the instance's page showed, when it showed one.
    QString shownCode;
};
