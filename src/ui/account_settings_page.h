#pragma once

#include "model/platform_type.h"

#include <QList>
#include <QWidget>

class AccountForm;
class AccountManager;
class AccountRow;
class QCheckBox;
class QLabel;
class QVBoxLayout;
class UserPrompts;
struct AccountConnectors;

// One network's accounts: the platform switch at the top, the connected accounts, and
// the form that adds one.
class AccountSettingsPage : public QWidget {
    Q_OBJECT
public:
    AccountSettingsPage(PlatformType platform, AccountManager& accounts, const AccountConnectors* connectors,
                        UserPrompts& prompts, QWidget* parent = nullptr);

    PlatformType platform() const { return m_platform; }
    QCheckBox* platformSwitch() const { return m_switch; }
    AccountForm* form() const { return m_form; }
    QList<AccountRow*> rows() const { return m_rows; }

private:
    AccountForm* makeForm(const AccountConnectors* connectors);
    void refresh();

    PlatformType m_platform;
    AccountManager& m_accounts;
    UserPrompts& m_prompts;
    QCheckBox* m_switch;
    QVBoxLayout* m_list;
    QLabel* m_empty;
    QList<AccountRow*> m_rows;
    AccountForm* m_form;
};
