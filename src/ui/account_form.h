#pragma once

#include "model/social_account.h"

#include <QWidget>

#include <qcoro/qcorotask.h>

class QFormLayout;
class QLabel;
class QPushButton;

// The add-account form of one network: its fields, a connect button and a line that
// shows the progress and, on failure, the reason in the network's own words.
class AccountForm : public QWidget {
    Q_OBJECT
public:
    explicit AccountForm(const QString& connectText, QWidget* parent = nullptr);

    // What the connect button does; also pressed by `quillo://accounts?action=add`.
    virtual void connectAccount() = 0;

    QPushButton* connectButton() const { return m_connect; }
    QString statusText() const;
    bool isBusy() const { return m_busy; }

Q_SIGNALS:
    // The flow ended: the account is stored, or the status line says why not.
    void finished(bool connected);

protected:
    QFormLayout* fields() const { return m_fields; }
    void setBusy(const QString& progress);
    void succeed(const QString& message);
    void fail(const QString& message);
    void showProgress(const QString& progress);
    // Runs a connect flow to its end: the stored account, or the reason in the network's words.
    void follow(QCoro::Task<SocialAccount> flow);
    // After the account is stored: forget what was typed (secrets included).
    virtual void clearTyped() {}

private:
    QCoro::Task<> run(QCoro::Task<SocialAccount> flow);

    QFormLayout* m_fields;
    QPushButton* m_connect;
    QLabel* m_status;
    bool m_busy = false;
};
