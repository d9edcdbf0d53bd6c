#include "ui/post_details_panel.h"

#include "store/post_day_index.h"
#include "ui/post_chip_painter.h"

#include <QGridLayout>
#include <QLabel>
#include <QLocale>
#include <QMenu>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

constexpr int kPanelWidth = 280;
constexpr qsizetype kShownText = 600;

QLabel* wrappingLabel(QWidget* parent)
{
    auto* label = new QLabel(parent);
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

QString threadText(const ScheduledPost& post)
{
    QStringList parts;
    for (const Post& item : post.content)
        parts.append(item.text);
    QString text = parts.join(QStringLiteral("\n\n— "));
    if (text.size() > kShownText)
        text = text.left(kShownText - 1) + QChar(0x2026);
    return text;
}

} // namespace

PostDetailsPanel::PostDetailsPanel(QWidget* parent)
    : QWidget(parent)
    , m_when(wrappingLabel(this))
    , m_status(new QLabel(this))
    , m_networks(wrappingLabel(this))
    , m_text(wrappingLabel(this))
    , m_error(wrappingLabel(this))
    , m_actions(new QWidget(this))
    , m_links(new QToolButton(this))
{
    setFixedWidth(kPanelWidth);
    QFont heading = m_when->font();
    heading.setBold(true);
    heading.setPointSizeF(heading.pointSizeF() * 1.15);
    m_when->setFont(heading);
    m_error->setStyleSheet(QStringLiteral("color: #d63636;"));

    auto* actions = new QGridLayout(m_actions);
    actions->setContentsMargins(0, 0, 0, 0);
    m_edit = addButton(tr("Edit…"), &PostDetailsPanel::editRequested);
    m_duplicate = addButton(tr("Duplicate"), &PostDetailsPanel::duplicateRequested);
    m_retry = addButton(tr("Retry"), &PostDetailsPanel::retryRequested);
    m_delete = addButton(tr("Delete…"), &PostDetailsPanel::deleteRequested);
    m_retry->setToolTip(tr("Publish again only to the accounts that did not get it"));
    actions->addWidget(m_retry, 0, 0, 1, 2);
    actions->addWidget(m_edit, 1, 0);
    actions->addWidget(m_duplicate, 1, 1);
    m_links->setText(tr("Open published post"));
    m_links->setPopupMode(QToolButton::InstantPopup);
    m_links->setToolButtonStyle(Qt::ToolButtonTextOnly);
    m_links->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    actions->addWidget(m_links, 2, 0, 1, 2);
    actions->addWidget(m_delete, 3, 1);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_when);
    layout->addWidget(m_status);
    layout->addWidget(m_networks);
    layout->addSpacing(6);
    layout->addWidget(m_text);
    layout->addWidget(m_error);
    layout->addSpacing(6);
    layout->addWidget(m_actions);
    layout->addStretch(1);
    showEmpty();
}

QPushButton* PostDetailsPanel::addButton(const QString& text, void (PostDetailsPanel::*signal)(const QUuid&))
{
    auto* button = new QPushButton(text, m_actions);
    connect(button, &QPushButton::clicked, this, [this, signal] {
        if (m_post)
            Q_EMIT(this->*signal)(m_post->id);
    });
    return button;
}

void PostDetailsPanel::showEmpty()
{
    m_when->setText(tr("No post selected"));
    m_status->clear();
    m_networks->clear();
    m_text->setText(tr("Select a post to see it here. Drag it to another day or time to move it."));
    m_error->hide();
    m_actions->hide();
}

void PostDetailsPanel::showPost(const std::optional<ScheduledPost>& post, const QList<QUrl>& links,
                                const QTimeZone& zone)
{
    m_post = post;
    if (!post) {
        showEmpty();
        return;
    }
    const PostDayEntry entry = PostDayIndex::entryFor(*post, zone);
    m_when->setText(QLocale().toString(entry.when, QStringLiteral("dddd d MMMM yyyy, HH:mm")));
    const QString color = PostChipPainter::statusColor(entry.status).name();
    m_status->setText(QStringLiteral("<span style=\"color:%1\">●</span> %2").arg(color, PostChipPainter::statusText(entry).toHtmlEscaped()));
    m_networks->setText(entry.networks.isEmpty() ? tr("No network chosen") : PostChipPainter::networksText(entry.networks));
    m_text->setText(threadText(*post));
    m_error->setText(post->error.value_or(QString()));
    m_error->setVisible(post->status == PostStatus::failed && post->error && !post->error->isEmpty());
    const bool settled = post->status == PostStatus::published || post->status == PostStatus::processing;
    m_edit->setEnabled(!settled);
    m_delete->setEnabled(post->status != PostStatus::processing);
    m_retry->setVisible(post->status == PostStatus::failed);
    setLinks(links);
    m_actions->show();
}

void PostDetailsPanel::setLinks(const QList<QUrl>& links)
{
    m_linkList = links;
    m_links->setVisible(!links.isEmpty());
    delete m_links->menu();
    if (links.isEmpty())
        return;
    auto* menu = new QMenu(m_links);
    for (const QUrl& url : links)
        menu->addAction(url.toDisplayString(), this, [this, url] { Q_EMIT linkRequested(url); });
    if (links.size() > 1)
        menu->addAction(tr("Open all"), this, [this] {
            for (const QUrl& url : std::as_const(m_linkList))
                Q_EMIT linkRequested(url);
        });
    m_links->setMenu(menu);
}
