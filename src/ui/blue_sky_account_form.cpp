#include "ui/blue_sky_account_form.h"

#include "platforms/bluesky/blue_sky_account_connector.h"
#include "store/account_manager.h"

#include <QFormLayout>
#include <QLineEdit>

BlueSkyAccountForm::BlueSkyAccountForm(AccountManager& accounts, BlueSkyAccountConnector* connector, QWidget* parent)
    : AccountForm(QStringLiteral("Connect"), parent)
    , m_accounts(accounts)
    , m_connector(connector)
    , m_handle(new QLineEdit(this))
    , m_password(new QLineEdit(this))
    , m_service(new QLineEdit(this))
{
    m_handle->setPlaceholderText(QStringLiteral("yourname.bsky.social"));
    m_password->setPlaceholderText(QStringLiteral("xxxx-xxxx-xxxx-xxxx"));
    m_password->setEchoMode(QLineEdit::Password);
    m_service->setPlaceholderText(QStringLiteral("Optional: https://your-pds.example"));
    fields()->addRow(QStringLiteral("Handle:"), m_handle);
    fields()->addRow(QStringLiteral("App password:"), m_password);
    fields()->addRow(QStringLiteral("Service URL:"), m_service);

    // What a command or an earlier visit typed stays in the form until it connects.
    const QMap<QString, QString> typed = accounts.temporaryCredentials(PlatformType::bluesky);
    m_handle->setText(typed.value(CredentialKeys::handle));
    m_password->setText(typed.value(CredentialKeys::appPassword));
    m_service->setText(typed.value(CredentialKeys::service));
    for (QLineEdit* edit : {m_handle, m_password, m_service})
        connect(edit, &QLineEdit::textEdited, this, &BlueSkyAccountForm::rememberTyped);
}

void BlueSkyAccountForm::rememberTyped()
{
    m_accounts.setTemporaryCredentials(PlatformType::bluesky,
                                       {{QString(CredentialKeys::handle), m_handle->text()},
                                        {QString(CredentialKeys::appPassword), m_password->text()},
                                        {QString(CredentialKeys::service), m_service->text()}});
}

void BlueSkyAccountForm::connectAccount()
{
    if (!m_connector) {
        fail(QStringLiteral("Connecting accounts is not available in this window."));
        return;
    }
    setBusy(QStringLiteral("Signing in to BlueSky…"));
    follow(m_connector->connect(m_handle->text().trimmed(), m_password->text().trimmed(), m_service->text().trimmed()));
}

void BlueSkyAccountForm::clearTyped()
{
    m_accounts.setTemporaryCredentials(PlatformType::bluesky, {});
    m_handle->clear();
    m_password->clear();
    m_service->clear();
}
