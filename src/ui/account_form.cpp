#include "ui/account_form.h"

#include "core/quillo_error.h"
#include "ui/settings_form.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

AccountForm::AccountForm(const QString& connectText, QWidget* parent)
    : QWidget(parent)
    , m_fields(new QFormLayout)
    , m_connect(new QPushButton(connectText, this))
    , m_status(SettingsForm::statusLine(this))
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addLayout(m_fields);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(m_connect);
    layout->addLayout(buttons);
    layout->addWidget(m_status);
    m_connect->setDefault(true);
    connect(m_connect, &QPushButton::clicked, this, [this] {
        if (!m_busy)
            connectAccount();
    });
}

QString AccountForm::statusText() const
{
    return m_status->text();
}

void AccountForm::setBusy(const QString& progress)
{
    m_busy = true;
    m_connect->setEnabled(false);
    SettingsForm::setStatus(m_status, progress);
}

void AccountForm::showProgress(const QString& progress)
{
    SettingsForm::setStatus(m_status, progress);
}

void AccountForm::succeed(const QString& message)
{
    m_busy = false;
    m_connect->setEnabled(true);
    SettingsForm::setStatus(m_status, message);
    Q_EMIT finished(true);
}

void AccountForm::fail(const QString& message)
{
    m_busy = false;
    m_connect->setEnabled(true);
    SettingsForm::setStatus(m_status, message, true);
    Q_EMIT finished(false);
}

void AccountForm::follow(QCoro::Task<SocialAccount> flow)
{
    QCoro::connect(run(std::move(flow)), this, [] {});
}

QCoro::Task<> AccountForm::run(QCoro::Task<SocialAccount> flow)
{
    QPointer<AccountForm> self(this);
    QString failure;
    SocialAccount account;
    try {
        account = co_await std::move(flow);
    } catch (const QuilloError& error) {
        failure = error.message();
    }
    if (!self)
        co_return;
    if (!failure.isEmpty()) {
        fail(failure);
        co_return;
    }
    clearTyped();
    succeed(QStringLiteral("Connected @%1.").arg(account.name));
}
