#pragma once

#include "ui/account_form.h"

class AccountManager;
class QLineEdit;
class XAccountConnector;

// X: the app's API key and secret, then either the sign-in in the browser or, when the
// access token and secret are typed too, those keys directly.
class XAccountForm : public AccountForm {
    Q_OBJECT
public:
    XAccountForm(AccountManager& accounts, XAccountConnector* connector, QWidget* parent = nullptr);

    void connectAccount() override;

    QLineEdit* apiKeyEdit() const { return m_apiKey; }
    QLineEdit* accessTokenEdit() const { return m_accessToken; }

protected:
    void clearTyped() override;

private:
    void rememberTyped();

    AccountManager& m_accounts;
    XAccountConnector* m_connector;
    QLineEdit* m_apiKey;
    QLineEdit* m_apiSecret;
    QLineEdit* m_accessToken;
    QLineEdit* m_accessSecret;
};
