#include "ui/community_dialog.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>

CommunityDialog::CommunityDialog(QWidget* parent)
    : QDialog(parent)
    , m_link(new QLineEdit(this))
    , m_name(new QLineEdit(this))
    , m_buttons(new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this))
{
    setWindowTitle(tr("Post to an X Community"));
    m_link->setPlaceholderText(QStringLiteral("https://x.com/i/communities/1234567890"));
    m_name->setPlaceholderText(tr("As it is shown on X"));
    auto* form = new QFormLayout(this);
    auto* hint = new QLabel(tr("The thread goes to the community's timeline on every X account it is posted from."), this);
    hint->setWordWrap(true);
    form->addRow(hint);
    form->addRow(tr("Community link or ID:"), m_link);
    form->addRow(tr("Community name:"), m_name);
    form->addRow(m_buttons);
    connect(m_buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(m_buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(m_link, &QLineEdit::textChanged, this, &CommunityDialog::validate);
    connect(m_name, &QLineEdit::textChanged, this, &CommunityDialog::validate);
    validate();
}

std::optional<QString> CommunityDialog::communityId(const QString& linkOrId)
{
    static const QRegularExpression pattern(QStringLiteral(R"(^(?:https?://(?:www\.)?(?:x|twitter)\.com/i/communities/)?(\d{1,25})/?$)"));
    const QRegularExpressionMatch match = pattern.match(linkOrId.trimmed());
    if (!match.hasMatch())
        return std::nullopt;
    return match.captured(1);
}

std::optional<CommunityContext> CommunityDialog::community() const
{
    const auto id = communityId(m_link->text());
    if (!id || m_name->text().trimmed().isEmpty())
        return std::nullopt;
    return CommunityContext{*id, m_name->text().trimmed(), CommunityPlatform::x};
}

void CommunityDialog::validate()
{
    const bool linkOk = m_link->text().trimmed().isEmpty() || communityId(m_link->text()).has_value();
    m_link->setToolTip(linkOk ? QString() : tr("Paste the community's link from x.com or its number"));
    m_buttons->button(QDialogButtonBox::Ok)->setEnabled(community().has_value());
}
