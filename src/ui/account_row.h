#pragma once

#include "model/social_account.h"

#include <QWidget>

class AccountManager;
class QCheckBox;
class QLineEdit;
class QPushButton;
class UserPrompts;

// One connected account in its network's list: its name, a nickname to edit, enabled,
// default, and remove (which asks first).
class AccountRow : public QWidget {
    Q_OBJECT
public:
    AccountRow(const SocialAccount& account, AccountManager& accounts, UserPrompts& prompts, QWidget* parent = nullptr);

    const SocialAccount& account() const { return m_account; }
    QLineEdit* nicknameEdit() const { return m_nickname; }
    QCheckBox* enabledBox() const { return m_enabled; }
    QPushButton* defaultButton() const { return m_default; }
    QPushButton* removeButton() const { return m_remove; }

private:
    void saveNickname();
    void remove();

    SocialAccount m_account;
    AccountManager& m_accounts;
    UserPrompts& m_prompts;
    QLineEdit* m_nickname;
    QCheckBox* m_enabled;
    QPushButton* m_default;
    QPushButton* m_remove;
};
