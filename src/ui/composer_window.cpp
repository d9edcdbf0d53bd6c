#include "ui/composer_window.h"

#include "compose/composer.h"
#include "core/clock.h"
#include "core/preference_keys.h"
#include "core/preference_store.h"
#include "scheduling/publish_error.h"
#include "scheduling/publishing_service.h"
#include "store/account_manager.h"
#include "store/scheduler_service.h"
#include "text/platform_character_counter.h"
#include "ui/post_editor.h"
#include "ui/publish_panel.h"
#include "ui/schedule_sheet.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QTimeZone>
#include <QVBoxLayout>

namespace {

const QList<PlatformType> kPlatforms = {PlatformType::x, PlatformType::bluesky, PlatformType::mastodon};

} // namespace

ComposerWindow::ComposerWindow(Composer& composer, const InstanceServices& services, QWidget* parent)
    : QWidget(parent)
    , m_composer(composer)
    , m_services(services)
    , m_autoSplit(new QCheckBox(tr("Split long text into a thread"), this))
    , m_thread(new QVBoxLayout)
    , m_add(new QPushButton(tr("Add Post"), this))
    , m_schedule(new QPushButton(tr("Schedule…"), this))
    , m_post(new QPushButton(tr("Post"), this))
    , m_cancel(new QPushButton(tr("Cancel"), this))
    , m_panel(new PublishPanel(this))
{
    setWindowTitle(QStringLiteral("Composer"));
    resize(560, 640);
    m_autoSplit->setChecked(m_services.preferences.boolValue(PreferenceKeys::AutoSplitEnabled).value_or(true));
    m_add->setToolTip(tr("Add a post to the thread (Ctrl+Return in a post)"));
    m_post->setDefault(true);
    m_cancel->hide();

    auto* threadHost = new QWidget;
    auto* threadColumn = new QVBoxLayout(threadHost);
    threadColumn->addLayout(m_thread);
    threadColumn->addWidget(m_add, 0, Qt::AlignLeft);
    threadColumn->addStretch();
    auto* scroll = new QScrollArea(this);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidget(threadHost);

    auto* actions = new QHBoxLayout;
    actions->addWidget(m_autoSplit);
    actions->addStretch();
    actions->addWidget(m_cancel);
    actions->addWidget(m_schedule);
    actions->addWidget(m_post);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(buildDestinations());
    layout->addWidget(scroll, 1);
    layout->addWidget(m_panel);
    layout->addLayout(actions);

    connect(&m_composer, &Composer::postsChanged, this, &ComposerWindow::syncEditors);
    connect(&m_composer, &Composer::messageShown, m_panel, [this](const QString& message) {
        m_panel->show();
        m_panel->showError(message);
    });
    connect(m_autoSplit, &QCheckBox::toggled, this, [this](bool on) {
        m_services.preferences.setValue(PreferenceKeys::AutoSplitEnabled, on);
    });
    connect(m_add, &QPushButton::clicked, this, [this] {
        if (m_composer.insertPost())
            m_editors.last()->focusText();
    });
    connect(m_post, &QPushButton::clicked, this, [this] { QCoro::connect(publishNow(), this, [] {}); });
    connect(m_cancel, &QPushButton::clicked, this, [this] { m_services.publishing.cancel(); });
    connect(m_schedule, &QPushButton::clicked, this, [this] { openScheduleSheet(); });
    connect(&m_services.accounts, &AccountManager::accountsDidChange, this, &ComposerWindow::recountAll);
    rebuildEditors();
}

QWidget* ComposerWindow::buildDestinations()
{
    auto* row = new QWidget(this);
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(new QLabel(tr("Post to:"), row));
    for (const PlatformType platform : kPlatforms) {
        auto* toggle = new QCheckBox(displayName(platform), row);
        const bool usable = m_services.accounts.isEnabled(platform);
        toggle->setChecked(usable);
        toggle->setToolTip(usable ? tr("Publish to your %1 accounts").arg(displayName(platform))
                                  : tr("Connect a %1 account in the settings first").arg(displayName(platform)));
        connect(toggle, &QCheckBox::toggled, this, &ComposerWindow::recountAll);
        layout->addWidget(toggle);
        m_platforms.insert(platform, toggle);
    }
    layout->addStretch();
    return row;
}

void ComposerWindow::selectPlatforms(const QStringList& names)
{
    if (names.isEmpty())
        return;
    QList<PlatformType> chosen;
    for (const QString& name : names) {
        if (const auto platform = platformTypeFromName(name))
            chosen << *platform;
    }
    for (auto it = m_platforms.cbegin(); it != m_platforms.cend(); ++it)
        it.value()->setChecked(chosen.contains(it.key()));
}

QList<PlatformType> ComposerWindow::selectedPlatforms() const
{
    QList<PlatformType> selected;
    for (const PlatformType platform : kPlatforms) {
        if (m_platforms.value(platform)->isChecked())
            selected << platform;
    }
    return selected;
}

// The chosen networks as a post stores them, through their default accounts: what both
// Post and Schedule… go to.
ScheduledPost ComposerWindow::destinations() const
{
    ScheduledPost chosen;
    for (const PlatformType platform : selectedPlatforms())
        chosen.platforms << rawValue(platform);
    return chosen;
}

qsizetype ComposerWindow::mastodonLimit() const
{
    return PlatformCharacterCounter::mastodonLimit(m_services.accounts.accounts());
}

// Typing changes one post: only that one is counted again and nothing is rebuilt, so a
// 25-post thread stays as quick as a single post.
void ComposerWindow::syncEditors()
{
    const QList<Post>& posts = m_composer.posts();
    if (posts.size() != m_editors.size()) {
        rebuildEditors();
        return;
    }
    for (qsizetype i = 0; i < posts.size(); ++i) {
        if (m_editors[i]->text() != posts[i].text) {
            m_editors[i]->setText(posts[i].text);
            recount(i);
        }
    }
    updateActions();
}

void ComposerWindow::rebuildEditors()
{
    qDeleteAll(m_editors);
    m_editors.clear();
    const QList<Post>& posts = m_composer.posts();
    for (qsizetype i = 0; i < posts.size(); ++i) {
        auto* editor = new PostEditor;
        editor->setText(posts[i].text);
        editor->setPosition(int(i + 1), int(posts.size()));
        // Looked up when the signal comes: the index of a post changes as others move.
        connect(editor, &PostEditor::textEdited, this, [this, editor](const QString& text) {
            const qsizetype index = m_editors.indexOf(editor);
            m_composer.setText(index, text);
            recount(index);
            updateActions();
        });
        connect(editor, &PostEditor::removeRequested, this, [this, editor] {
            m_composer.removePost(m_editors.indexOf(editor));
        });
        connect(editor, &PostEditor::addAfterRequested, this, [this, editor] {
            const qsizetype index = m_editors.indexOf(editor);
            if (m_composer.insertPost(index))
                m_editors[index + 1]->focusText();
        });
        m_thread->addWidget(editor);
        m_editors.append(editor);
    }
    m_add->setEnabled(posts.size() < m_composer.maxPosts());
    recountAll();
}

void ComposerWindow::recount(qsizetype index)
{
    if (index < 0 || index >= m_editors.size())
        return;
    PostEditor::Counts counts;
    for (const PlatformType platform : selectedPlatforms())
        counts.append({platform, m_composer.characterCount(index, platform, mastodonLimit())});
    m_editors[index]->setCounts(counts);
}

void ComposerWindow::recountAll()
{
    m_composer.setNetworks(selectedPlatforms(), mastodonLimit());
    for (qsizetype i = 0; i < m_editors.size(); ++i)
        recount(i);
    updateActions();
}

void ComposerWindow::updateActions()
{
    const bool publishing = m_services.publishing.isPublishing();
    const QList<Post>& posts = m_composer.posts();
    const bool hasContent = std::any_of(posts.cbegin(), posts.cend(), [](const Post& post) {
        return !post.text.trimmed().isEmpty() || !post.mediaItems.isEmpty();
    });
    const bool hasNetwork = !selectedPlatforms().isEmpty();
    // From the counts the editors already hold: nothing is counted again here.
    const bool fits = std::all_of(m_editors.cbegin(), m_editors.cend(), [](const PostEditor* editor) { return editor->fitsAll(); });
    m_post->setEnabled(!publishing && hasContent && hasNetwork && fits);
    m_post->setToolTip(!hasNetwork ? tr("Choose where to post") : !fits ? tr("A post is too long for a chosen network") : QString());
    m_schedule->setEnabled(!publishing && hasContent && hasNetwork);
    m_cancel->setVisible(publishing);
}

QString ComposerWindow::destinationsText() const
{
    QStringList names;
    const ScheduledPost chosen = destinations();
    for (const PlatformType platform : selectedPlatforms()) {
        const qsizetype accounts = m_services.accounts.accountsForPublishing(chosen, platform).size();
        names << tr("%1 (%n account(s))", nullptr, int(accounts)).arg(displayName(platform));
    }
    return names.join(QStringLiteral(", "));
}

QCoro::Task<void> ComposerWindow::publishNow()
{
    PublishRequest request;
    request.thread = m_composer.posts();
    const ScheduledPost chosen = destinations();
    for (const PlatformType platform : selectedPlatforms()) {
        const QList<SocialAccount> accounts = m_services.accounts.accountsForPublishing(chosen, platform);
        if (!accounts.isEmpty())
            request.accounts.insert(platform, accounts);
    }
    m_panel->start();
    if (request.accounts.isEmpty()) {
        m_panel->showError(tr("No enabled account for the chosen networks. Connect one in the settings."));
        co_return;
    }
    const auto status = connect(&m_services.publishing, &PublishingService::statusChanged, m_panel, &PublishPanel::setStatus);
    const auto detail = connect(&m_services.publishing, &PublishingService::detailChanged, m_panel, &PublishPanel::setDetail);
    const auto progress = connect(&m_services.publishing, &PublishingService::progressChanged, m_panel, &PublishPanel::setProgress);
    m_post->setEnabled(false);
    m_schedule->setEnabled(false);
    m_cancel->show();
    bool allDelivered = false;
    try {
        QCoro::Task<QList<PublishResult>> publishing = m_services.publishing.publish(request);
        const QList<PublishResult> results = co_await std::move(publishing);
        m_panel->showResults(results);
        allDelivered = std::all_of(results.cbegin(), results.cend(), [](const PublishResult& result) { return result.success; });
    } catch (const QuilloError& error) {
        m_panel->showError(error.message());
    }
    disconnect(status);
    disconnect(detail);
    disconnect(progress);
    // What went out is on the networks now; a failure keeps the thread for another try.
    if (allDelivered)
        m_composer.reset();
    updateActions();
    Q_EMIT publishFinished();
}

void ComposerWindow::openScheduleSheet(const std::optional<ScheduledPost>& prefilled)
{
    if (prefilled) {
        m_composer.setPosts(prefilled->content);
        selectPlatforms(prefilled->platforms);
    }
    delete m_sheet;
    m_sheet = new ScheduleSheet(m_services.clock.now().toDateTime().toLocalTime(), destinationsText(), this);
    if (prefilled) {
        m_sheet->setScheduledDate(prefilled->scheduledDate.toDateTime());
        m_sheet->setStatus(prefilled->status == PostStatus::draft ? PostStatus::draft : PostStatus::queued);
    }
    connect(m_sheet, &QDialog::accepted, this, [this, prefilled] {
        ScheduledPost post = prefilled.value_or(ScheduledPost{});
        post.content = m_composer.posts();
        post.platforms = destinations().platforms;
        post.scheduledDate = Timestamp::fromDateTime(m_sheet->scheduledDate());
        post.timeZoneIdentifier = QString::fromUtf8(QTimeZone::systemTimeZoneId());
        post.status = m_sheet->status();
        saveScheduled(post);
    });
    m_sheet->open();
}

void ComposerWindow::saveScheduled(const ScheduledPost& post)
{
    m_services.scheduler.addOrUpdate(post, m_composer.editingScheduledPostId());
    m_composer.reset();
    m_panel->start();
    m_panel->showError(post.status == PostStatus::draft ? tr("Saved as a draft.")
                                                        : tr("Scheduled for %1.")
                                                              .arg(QLocale().toString(m_sheet->scheduledDate(), QLocale::LongFormat)));
}

void ComposerWindow::bringToFront()
{
    show();
    setWindowState((windowState() & ~Qt::WindowMinimized) | Qt::WindowActive);
    raise();
    activateWindow();
    if (!m_editors.isEmpty())
        m_editors.first()->focusText();
}
