#include "ui/mastodon_account_form.h"

#include "platforms/mastodon/mastodon_account_connector.h"
#include "store/account_manager.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

MastodonAccountForm::MastodonAccountForm(AccountManager& accounts, MastodonAccountConnector* connector, QWidget* parent)
    : AccountForm(QStringLiteral("Connect with Browser"), parent)
    , m_connector(connector)
    , m_instance(new QLineEdit(this))
    , m_link(new QLabel(this))
    , m_codeRow(new QWidget(this))
    , m_code(new QLineEdit(m_codeRow))
    , m_submitCode(new QPushButton(QStringLiteral("Submit Code"), m_codeRow))
{
    m_instance->setPlaceholderText(QString(kDefaultMastodonInstance));
    m_instance->setText(accounts.temporaryCredentials(PlatformType::mastodon).value(CredentialKeys::instance));
    fields()->addRow(QStringLiteral("Instance:"), m_instance);
    m_link->setOpenExternalLinks(true);
    m_link->setWordWrap(true);
    m_link->setTextInteractionFlags(Qt::TextBrowserInteraction);
    m_link->hide();
    fields()->addRow(m_link);
    auto* codeRow = new QHBoxLayout(m_codeRow);
    codeRow->setContentsMargins(0, 0, 0, 0);
    m_code->setPlaceholderText(QStringLiteral("The code your instance shows after you sign in"));
    codeRow->addWidget(m_code, 1);
    codeRow->addWidget(m_submitCode);
    fields()->addRow(m_codeRow);
    showCodeRow(false);

    connect(m_instance, &QLineEdit::textEdited, this, [&accounts](const QString& text) {
        accounts.setTemporaryCredentials(PlatformType::mastodon, {{QString(CredentialKeys::instance), text}});
    });
    connect(m_submitCode, &QPushButton::clicked, this, &MastodonAccountForm::submitCode);
    connect(m_code, &QLineEdit::returnPressed, this, &MastodonAccountForm::submitCode);
    if (m_connector)
        observe(*m_connector);
}

void MastodonAccountForm::observe(MastodonAccountConnector& connector)
{
    connect(&connector, &MastodonAccountConnector::stateChanged, this,
            [this](const MastodonPublishState& state) { setBusy(state.statusText()); });
    connect(&connector, &MastodonAccountConnector::authorizationRequested, this,
            &MastodonAccountForm::authorizationRequested);
    connect(&connector, &MastodonAccountConnector::connected, this, &MastodonAccountForm::connected);
    connect(&connector, &MastodonAccountConnector::connectionFailed, this, &MastodonAccountForm::failed);
}

void MastodonAccountForm::prefillInstance(const QString& instance)
{
    m_instance->setText(instance);
}

void MastodonAccountForm::connectAccount()
{
    if (!m_connector) {
        fail(QStringLiteral("Connecting accounts is not available in this window."));
        return;
    }
    setBusy(QStringLiteral("Registering Quillo with your instance…"));
    // The outcome arrives through the connector's signals, observed above.
    m_connector->start(m_instance->text().trimmed());
}

void MastodonAccountForm::authorizationRequested(const QUrl& page, bool pasteCode)
{
    const QString address = page.toString(QUrl::FullyEncoded).toHtmlEscaped();
    const QString intro = pasteCode ? QStringLiteral("Sign in on the page that opened in your browser, then paste the code it shows below.")
                                    : QStringLiteral("Sign in on the page that opened in your browser; Quillo continues when you return.");
    showProgress(QStringLiteral("Waiting for you to sign in…"));
    m_link->setText(intro + QStringLiteral(" <a href=\"%1\">Open the sign-in page again</a>").arg(address));
    m_link->show();
    showCodeRow(pasteCode);
}

void MastodonAccountForm::connected(const SocialAccount& account)
{
    m_link->hide();
    showCodeRow(false);
    m_instance->clear();
    succeed(QStringLiteral("Connected @%1.").arg(account.name));
}

void MastodonAccountForm::failed(PlatformType platform, const QString& message)
{
    if (platform != PlatformType::mastodon)
        return;
    m_link->hide();
    showCodeRow(false);
    fail(message);
}

void MastodonAccountForm::submitCode()
{
    const QString code = m_code->text().trimmed();
    if (code.isEmpty() || !m_connector)
        return;
    if (!m_connector->submitCode(code)) {
        fail(QStringLiteral("No sign-in is waiting for a code. Press Connect with Browser to start again."));
        return;
    }
    m_code->clear();
    showProgress(QStringLiteral("Checking the code…"));
}

void MastodonAccountForm::showCodeRow(bool visible)
{
    m_codeRow->setVisible(visible);
}
