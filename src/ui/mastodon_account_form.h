#pragma once

#include "model/platform_type.h"
#include "ui/account_form.h"

class AccountManager;
class MastodonAccountConnector;
class MastodonPublishState;
class QLabel;
class QLineEdit;
class QPushButton;
class QUrl;

// Mastodon: the instance, then the sign-in in the browser. The form follows the one
// connect flow of the instance, whether this button or a command started it, and takes
// the code by hand where the instance shows one instead of returning to Quillo.
class MastodonAccountForm : public AccountForm {
    Q_OBJECT
public:
    MastodonAccountForm(AccountManager& accounts, MastodonAccountConnector* connector, QWidget* parent = nullptr);

    void connectAccount() override;
    void prefillInstance(const QString& instance);

    QLineEdit* instanceEdit() const { return m_instance; }
    QLineEdit* codeEdit() const { return m_code; }
    QLabel* signInLink() const { return m_link; }

private:
    void observe(MastodonAccountConnector& connector);
    void authorizationRequested(const QUrl& page, bool pasteCode);
    void connected(const SocialAccount& account);
    void failed(PlatformType platform, const QString& message);
    void submitCode();
    void showCodeRow(bool visible);

    MastodonAccountConnector* m_connector;
    QLineEdit* m_instance;
    QLabel* m_link;
    QWidget* m_codeRow;
    QLineEdit* m_code;
    QPushButton* m_submitCode;
};
