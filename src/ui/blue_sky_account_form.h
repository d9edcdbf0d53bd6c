#pragma once

#include "ui/account_form.h"

class AccountManager;
class BlueSkyAccountConnector;
class QLineEdit;

// Bluesky: handle, app password and, for people on their own PDS, its address. The
// account is stored only after a real sign-in.
class BlueSkyAccountForm : public AccountForm {
    Q_OBJECT
public:
    BlueSkyAccountForm(AccountManager& accounts, BlueSkyAccountConnector* connector, QWidget* parent = nullptr);

    void connectAccount() override;

    QLineEdit* handleEdit() const { return m_handle; }
    QLineEdit* passwordEdit() const { return m_password; }
    QLineEdit* serviceEdit() const { return m_service; }

protected:
    void clearTyped() override;

private:
    void rememberTyped();

    AccountManager& m_accounts;
    BlueSkyAccountConnector* m_connector;
    QLineEdit* m_handle;
    QLineEdit* m_password;
    QLineEdit* m_service;
};
