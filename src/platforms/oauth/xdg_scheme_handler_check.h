#pragma once

#include "platforms/oauth/scheme_handler_check.h"

// Asks `xdg-mime query default x-scheme-handler/<scheme>`: a registered handler names
// its .desktop file; no xdg-mime, or no answer, counts as not registered.
class XdgSchemeHandlerCheck : public SchemeHandlerCheck {
public:
    bool isRegistered(const QString& scheme) const override;
};
