#pragma once

#include <QString>

// Whether the desktop hands links of a URL scheme to Quillo. Without that, a browser
// sign-in cannot come back through "quillo://oauth" and the connect flow asks the
// person to paste the code instead.
class SchemeHandlerCheck {
public:
    virtual ~SchemeHandlerCheck() = default;
    virtual bool isRegistered(const QString& scheme) const = 0;
};
