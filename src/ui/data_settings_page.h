#pragma once

#include <QWidget>

class AccountManager;
class QLabel;
class QPushButton;
class SchedulerService;
class UserPrompts;

// Data: the scheduled posts' export and import ("quillo-scheduled-posts.json"), the
// accounts backup ("quillo-accounts-backup.json"), and clearing either. An import says
// what it will replace before it does; a failure changes nothing.
class DataSettingsPage : public QWidget {
    Q_OBJECT
public:
    DataSettingsPage(SchedulerService& scheduler, AccountManager& accounts, UserPrompts& prompts,
                     QWidget* parent = nullptr);

    QPushButton* button(const QString& text) const;
    QString statusText() const;

private:
    void exportPosts();
    void importPosts();
    void clearPosts();
    void exportAccounts();
    void importAccounts();
    void clearAccounts();
    // The chosen file's bytes; empty with an "Import Failed" alert when unreadable.
    QByteArray readChosenFile(const QString& title, QString* path);
    void report(const QString& text);

    SchedulerService& m_scheduler;
    AccountManager& m_accounts;
    UserPrompts& m_prompts;
    QLabel* m_status;
};
