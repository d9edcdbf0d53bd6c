#include "ui/quote_picker.h"

#include "core/clock.h"
#include "core/quillo_error.h"
#include "scheduling/publishing_service.h"
#include "ui/recent_posts_cache.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

constexpr int kPlatformRole = Qt::UserRole;
constexpr int kIdRole = Qt::UserRole + 1;
constexpr int kTextRole = Qt::UserRole + 2;

} // namespace

QuotePicker::QuotePicker(PublishingService& publishing, RecentPostsCache& cache, const Clock& clock,
                         const QList<SocialAccount>& accounts, QWidget* parent)
    : QDialog(parent)
    , m_publishing(publishing)
    , m_cache(cache)
    , m_clock(clock)
    , m_link(new QLineEdit(this))
    , m_list(new QListWidget(this))
    , m_state(new QLabel(this))
{
    setWindowTitle(tr("Quote a Post"));
    resize(520, 460);
    m_link->setPlaceholderText(tr("Paste a link to a post on X, Bluesky or Mastodon"));
    m_link->setClearButtonEnabled(true);
    m_list->setWordWrap(true);
    m_list->setAlternatingRowColors(true);
    m_state->setWordWrap(true);
    m_state->setForegroundRole(QPalette::PlaceholderText);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    m_ok = buttons->button(QDialogButtonBox::Ok);
    m_ok->setText(tr("Quote"));

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(tr("Post link:"), this));
    layout->addWidget(m_link);
    layout->addWidget(new QLabel(tr("Or one of your recent posts:"), this));
    layout->addWidget(m_list, 1);
    layout->addWidget(m_state);
    layout->addWidget(buttons);

    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(m_link, &QLineEdit::textChanged, this, [this] {
        if (!m_link->text().isEmpty())
            m_list->clearSelection();
        updateOk();
    });
    connect(m_list, &QListWidget::itemSelectionChanged, this, [this] {
        if (!m_list->selectedItems().isEmpty())
            m_link->clear();
        updateOk();
    });
    connect(m_list, &QListWidget::itemDoubleClicked, this, &QDialog::accept);
    updateOk();
    QCoro::connect(load(accounts), this, [this] {
        m_loading = false;
        Q_EMIT loaded();
    });
}

std::optional<QuoteContext> QuotePicker::quote() const
{
    if (!m_link->text().trimmed().isEmpty())
        return QuoteContext::fromLink(m_link->text());
    const QList<QListWidgetItem*> selected = m_list->selectedItems();
    if (selected.isEmpty())
        return std::nullopt;
    const QListWidgetItem* item = selected.first();
    QuoteContext context;
    context.text = item->data(kTextRole).toString();
    context.platformIds.insert(item->data(kPlatformRole).toString(), item->data(kIdRole).toString());
    return context;
}

// Accounts are asked one after another; each list shows as soon as it comes. The dialog
// may be closed meanwhile, so it is checked after every wait.
QCoro::Task<void> QuotePicker::load(QList<SocialAccount> accounts)
{
    const QPointer<QuotePicker> alive(this);
    QStringList problems;
    m_state->setText(accounts.isEmpty() ? tr("Connect a Bluesky or Mastodon account to list your posts here.")
                                        : tr("Loading your recent posts…"));
    for (const SocialAccount& account : std::as_const(accounts)) {
        if (const auto cached = m_cache.fresh(account.id, m_clock.now())) {
            addPosts(account, *cached);
            continue;
        }
        try {
            QCoro::Task<QList<RecentPost>> fetching = m_publishing.recentPosts(account);
            const QList<RecentPost> posts = co_await std::move(fetching);
            if (!alive)
                co_return;
            m_cache.store(account.id, posts, m_clock.now());
            addPosts(account, posts);
        } catch (const QuilloError& error) {
            if (!alive)
                co_return;
            problems << tr("%1: %2").arg(account.displayName(), error.message());
        }
    }
    if (!problems.isEmpty())
        m_state->setText(tr("Some posts could not be loaded.\n%1").arg(problems.join(QLatin1Char('\n'))));
    else if (!accounts.isEmpty())
        m_state->setText(m_list->count() == 0 ? tr("No recent posts found.") : QString());
}

void QuotePicker::addPosts(const SocialAccount& account, const QList<RecentPost>& posts)
{
    for (const RecentPost& post : posts) {
        const QString when = post.createdAt ? QLocale().toString(post.createdAt->toDateTime().toLocalTime(), QLocale::ShortFormat)
                                            : QString();
        auto* item = new QListWidgetItem(QStringLiteral("%1 · %2  %3\n%4")
                                             .arg(displayName(post.platform), account.displayName(), when, post.text.simplified()),
                                         m_list);
        item->setData(kPlatformRole, rawValue(post.platform));
        item->setData(kIdRole, post.id);
        item->setData(kTextRole, post.text);
        item->setToolTip(post.url.toString());
    }
}

void QuotePicker::updateOk()
{
    m_ok->setEnabled(quote().has_value());
}
