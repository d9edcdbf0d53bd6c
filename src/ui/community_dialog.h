#pragma once

#include "model/community_context.h"

#include <QDialog>

#include <optional>

class QDialogButtonBox;
class QLineEdit;

// Asks which X community the thread goes to: its link (or id) and the name to show.
class CommunityDialog : public QDialog {
    Q_OBJECT
public:
    explicit CommunityDialog(QWidget* parent = nullptr);

    // The community id from a link such as https://x.com/i/communities/123, or the id itself.
    static std::optional<QString> communityId(const QString& linkOrId);
    std::optional<CommunityContext> community() const;
    QLineEdit* linkField() const { return m_link; }
    QLineEdit* nameField() const { return m_name; }

private:
    void validate();

    QLineEdit* m_link;
    QLineEdit* m_name;
    QDialogButtonBox* m_buttons;
};
