#include "ui/x_account_form.h"

#include "platforms/x/x_account_connector.h"
#include "store/account_manager.h"

#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>

namespace {

QLineEdit* secretEdit(QWidget* parent)
{
    auto* edit = new QLineEdit(parent);
    edit->setEchoMode(QLineEdit::Password);
    return edit;
}

} // namespace

XAccountForm::XAccountForm(AccountManager& accounts, XAccountConnector* connector, QWidget* parent)
    : AccountForm(QStringLiteral("Connect"), parent)
    , m_accounts(accounts)
    , m_connector(connector)
    , m_apiKey(new QLineEdit(this))
    , m_apiSecret(secretEdit(this))
    , m_accessToken(new QLineEdit(this))
    , m_accessSecret(secretEdit(this))
{
    m_accessToken->setPlaceholderText(QStringLiteral("Optional: skips the browser sign-in"));
    fields()->addRow(QStringLiteral("API key:"), m_apiKey);
    fields()->addRow(QStringLiteral("API secret:"), m_apiSecret);
    fields()->addRow(QStringLiteral("Access token:"), m_accessToken);
    fields()->addRow(QStringLiteral("Access secret:"), m_accessSecret);
    auto* hint = new QLabel(QStringLiteral("The keys of your app in the X developer portal. Without an access token "
                                           "Quillo opens X in your browser to sign in."),
                            this);
    hint->setWordWrap(true);
    hint->setForegroundRole(QPalette::PlaceholderText);
    fields()->addRow(hint);

    const QMap<QString, QString> typed = accounts.temporaryCredentials(PlatformType::x);
    m_apiKey->setText(typed.value(CredentialKeys::apiKey));
    m_apiSecret->setText(typed.value(CredentialKeys::apiSecret));
    for (QLineEdit* edit : {m_apiKey, m_apiSecret})
        connect(edit, &QLineEdit::textEdited, this, &XAccountForm::rememberTyped);
}

void XAccountForm::rememberTyped()
{
    m_accounts.setTemporaryCredentials(PlatformType::x, {{QString(CredentialKeys::apiKey), m_apiKey->text()},
                                                         {QString(CredentialKeys::apiSecret), m_apiSecret->text()}});
}

void XAccountForm::connectAccount()
{
    if (!m_connector) {
        fail(QStringLiteral("Connecting accounts is not available in this window."));
        return;
    }
    const QString key = m_apiKey->text().trimmed();
    const QString secret = m_apiSecret->text().trimmed();
    const QString token = m_accessToken->text().trimmed();
    const QString tokenSecret = m_accessSecret->text().trimmed();
    if (!token.isEmpty() && !tokenSecret.isEmpty()) {
        setBusy(QStringLiteral("Checking your keys with X…"));
        follow(m_connector->connectWithAccessToken(key, secret, token, tokenSecret));
        return;
    }
    setBusy(QStringLiteral("Sign in to X in the browser page that opened…"));
    follow(m_connector->connect(key, secret));
}

void XAccountForm::clearTyped()
{
    m_accounts.setTemporaryCredentials(PlatformType::x, {});
    for (QLineEdit* edit : {m_apiKey, m_apiSecret, m_accessToken, m_accessSecret})
        edit->clear();
}
