#include "ui/composer_window.h"

#include "compose/compose_error.h"
#include "compose/composer.h"
#include "compose/media_attacher.h"
#include "core/clock.h"
#include "core/preference_keys.h"
#include "core/preference_store.h"
#include "scheduling/publish_error.h"
#include "scheduling/publishing_service.h"
#include "store/account_manager.h"
#include "store/scheduler_service.h"
#include "text/platform_character_counter.h"
#include "ui/community_dialog.h"
#include "ui/destination_picker.h"
#include "ui/media_strip.h"
#include "ui/post_editor.h"
#include "ui/post_text_edit.h"
#include "ui/publish_panel.h"
#include "ui/quote_picker.h"
#include "ui/schedule_sheet.h"

#include <QBuffer>
#include <QCheckBox>
#include <QFileDialog>
#include <QImage>
#include <QHBoxLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QScrollArea>
#include <QTimeZone>
#include <QVBoxLayout>

namespace {

std::optional<bool> askAboutFollowers(QWidget* parent, const QString& community)
{
    QMessageBox box(QMessageBox::Question, QStringLiteral("Share to Community"),
                    QStringLiteral("Do you also want to share this post with your followers on X besides the community (")
                        + community + QStringLiteral(")?"),
                    QMessageBox::NoButton, parent);
    // A sheet on the composer: modal to the window only.
    box.setWindowModality(Qt::WindowModal);
    QPushButton* followers = box.addButton(QStringLiteral("Share with Followers"), QMessageBox::AcceptRole);
    QPushButton* only = box.addButton(QStringLiteral("Community Only"), QMessageBox::NoRole);
    box.addButton(QStringLiteral("Cancel"), QMessageBox::RejectRole);
    box.setDefaultButton(followers);
    box.exec();
    if (box.clickedButton() == followers)
        return true;
    if (box.clickedButton() == only)
        return false;
    return std::nullopt;
}

QStringList pickMediaFiles(QWidget* parent)
{
    return QFileDialog::getOpenFileNames(parent, QObject::tr("Attach Images or a Video"), QString(),
                                         QObject::tr("Images and videos (*.png *.jpg *.jpeg *.gif *.webp *.heic *.avif "
                                                     "*.mp4 *.mov *.m4v *.webm *.mkv);;All files (*)"));
}

} // namespace

ComposerWindow::ComposerWindow(Composer& composer, const InstanceServices& services, MediaAttacher& attacher,
                               QWidget* parent)
    : QWidget(parent)
    , m_composer(composer)
    , m_services(services)
    , m_attacher(attacher)
    , m_pickFiles(pickMediaFiles)
    , m_askCommunity(askAboutFollowers)
    , m_destinations(new DestinationPicker(services.accounts, this))
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
    m_quote = new QPushButton(tr("Quote…"), this);
    m_quote->setToolTip(tr("Quote one of your posts or a pasted post link"));
    connect(m_quote, &QPushButton::clicked, this, &ComposerWindow::chooseQuote);
    actions->addWidget(m_autoSplit);
    actions->addWidget(m_quote);
    auto* reorder = new QPushButton(tr("Reorder"), this);
    reorder->setCheckable(true);
    reorder->setToolTip(tr("Move posts up and down; Alt+Up and Alt+Down also work while writing"));
    connect(reorder, &QPushButton::toggled, &m_composer, &Composer::setReorderMode);
    connect(&m_composer, &Composer::reorderModeChanged, this, [this, reorder](bool on) {
        reorder->setChecked(on);
        for (PostEditor* editor : std::as_const(m_editors))
            editor->setReordering(on);
    });
    actions->addWidget(reorder);
    actions->addStretch();
    actions->addWidget(m_cancel);
    actions->addWidget(m_schedule);
    actions->addWidget(m_post);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_destinations);
    m_communityRow = buildNoteRow(m_communityLabel, tr("Post to the Timeline Instead"), [this] { m_composer.setCommunity(std::nullopt); });
    m_quoteRow = buildNoteRow(m_quoteLabel, tr("Remove Quote"), [this] { m_composer.setQuote(std::nullopt); });
    layout->addWidget(m_communityRow);
    layout->addWidget(m_quoteRow);
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
        recountAll();
    });
    connect(m_add, &QPushButton::clicked, this, [this] {
        if (m_composer.insertPost())
            m_editors.last()->focusText();
    });
    connect(m_post, &QPushButton::clicked, this, [this] { QCoro::connect(publishNow(), this, [] {}); });
    connect(m_cancel, &QPushButton::clicked, this, [this] { m_services.publishing.cancel(); });
    connect(m_panel, &PublishPanel::retryRequested, this, [this](const QUuid& accountId) {
        QCoro::connect(retryAccount(accountId), this, [] {});
    });
    connect(m_schedule, &QPushButton::clicked, this, [this] { openScheduleSheet(); });
    connect(&m_services.accounts, &AccountManager::accountsDidChange, this, &ComposerWindow::recountAll);
    connect(m_destinations, &DestinationPicker::changed, this, &ComposerWindow::recountAll);
    connect(m_destinations, &DestinationPicker::communityRequested, this, &ComposerWindow::chooseCommunity);
    rebuildEditors();
}

// A thread that never reached every account can only be retried while this window lives.
ComposerWindow::~ComposerWindow()
{
    if (m_lastRequest)
        m_services.publishing.forgetDeliveries(*m_lastRequest->scheduledPostId);
}

void ComposerWindow::selectPlatforms(const QStringList& names)
{
    m_destinations->selectPlatforms(names);
}

void ComposerWindow::selectDestinations(const ScheduledPost& post)
{
    m_destinations->select(post);
}

QList<PlatformType> ComposerWindow::selectedPlatforms() const
{
    return m_destinations->selectedPlatforms();
}

QCheckBox* ComposerWindow::platformToggle(PlatformType platform) const
{
    return m_destinations->toggle(platform);
}

// A line above the thread saying what applies to all of it, with the button that drops it.
QWidget* ComposerWindow::buildNoteRow(QLabel*& label, const QString& dropText, const std::function<void()>& drop)
{
    auto* rowWidget = new QWidget(this);
    auto* row = new QHBoxLayout(rowWidget);
    row->setContentsMargins(0, 0, 0, 0);
    label = new QLabel(rowWidget);
    label->setWordWrap(true);
    auto* button = new QPushButton(dropText, rowWidget);
    connect(button, &QPushButton::clicked, this, drop);
    row->addWidget(label, 1);
    row->addWidget(button);
    return rowWidget;
}

QuotePicker* ComposerWindow::quotePicker() const
{
    return findChild<QuotePicker*>();
}

// Lists the posts of the accounts the thread goes to on the networks that can list them.
void ComposerWindow::chooseQuote()
{
    QList<SocialAccount> accounts;
    const ScheduledPost chosen = destinations();
    for (const PlatformType platform : {PlatformType::bluesky, PlatformType::mastodon}) {
        if (selectedPlatforms().contains(platform))
            accounts << m_services.accounts.accountsForPublishing(chosen, platform);
    }
    delete quotePicker();
    auto* picker = new QuotePicker(m_services.publishing, m_recentPosts, m_services.clock, accounts, this);
    connect(picker, &QDialog::finished, picker, &QObject::deleteLater);
    connect(picker, &QDialog::accepted, this, [this, picker] { m_composer.setQuote(picker->quote()); });
    picker->open();
}

void ComposerWindow::showQuote()
{
    const auto quote = m_composer.quote();
    m_quoteRow->setVisible(quote.has_value());
    if (quote)
        m_quoteLabel->setText(tr("Quoting: %1").arg(QFontMetrics(font()).elidedText(quote->text.simplified(), Qt::ElideRight, 420)));
}

void ComposerWindow::chooseCommunity()
{
    auto* dialog = new CommunityDialog(this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QDialog::accepted, this, [this, dialog] { m_composer.setCommunity(dialog->community()); });
    dialog->open();
}

void ComposerWindow::showCommunity()
{
    const auto community = m_composer.community();
    m_communityRow->setVisible(community.has_value());
    if (community)
        m_communityLabel->setText(tr("On X this goes to the community <b>%1</b>.").arg(community->name.toHtmlEscaped()));
}

std::optional<QMap<QUuid, bool>> ComposerWindow::askShareWithFollowers()
{
    QMap<QUuid, bool> answers;
    const auto community = m_composer.community();
    if (!community || !selectedPlatforms().contains(PlatformType::x))
        return answers;
    const std::optional<bool> share = m_askCommunity(this, community->name);
    if (!share)
        return std::nullopt;
    for (const SocialAccount& account : m_services.accounts.accountsForPublishing(destinations(), PlatformType::x))
        answers.insert(account.id, *share);
    return answers;
}

// What both Post and Schedule… go to.
ScheduledPost ComposerWindow::destinations() const
{
    return m_destinations->destinations();
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
        m_editors[i]->setMedia(posts[i].mediaItems);
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
        editor->setMedia(posts[i].mediaItems);
        editor->setPosition(int(i + 1), int(posts.size()));
        editor->setReordering(m_composer.isReorderMode());
        connectEditor(editor);
        m_thread->addWidget(editor);
        m_editors.append(editor);
    }
    m_add->setEnabled(posts.size() < m_composer.maxPosts());
    recountAll();
}

// Indexes are looked up when a signal comes: the index of a post changes as others move.
void ComposerWindow::connectEditor(PostEditor* editor)
{
    connect(editor, &PostEditor::textEdited, this, [this, editor](const QString& text) {
        const qsizetype index = m_editors.indexOf(editor);
        m_composer.setText(index, text);
        recount(index);
        updateActions();
    });
    connect(editor, &PostEditor::removeRequested, this, [this, editor] { m_composer.removePost(m_editors.indexOf(editor)); });
    connect(editor, &PostEditor::addAfterRequested, this, [this, editor] {
        const qsizetype index = m_editors.indexOf(editor);
        if (m_composer.insertPost(index))
            m_editors[index + 1]->focusText();
    });
    editor->postTextEdit()->setPasteRule([this, editor](const QString& text, qsizetype cursor) {
        return m_composer.paste(m_editors.indexOf(editor), cursor, text);
    });
    const auto postId = [this, editor] { return m_composer.posts().value(m_editors.indexOf(editor)).id; };
    connect(editor, &PostEditor::filesDropped, this, [this, postId](const QStringList& paths) {
        QCoro::connect(attachFiles(postId(), paths), this, [] {});
    });
    connect(editor, &PostEditor::addMediaRequested, this, [this, postId] {
        const QStringList paths = m_pickFiles(this);
        if (!paths.isEmpty())
            QCoro::connect(attachFiles(postId(), paths), this, [] {});
    });
    connect(editor, &PostEditor::imagePasted, this, [this, postId](const QImage& image) { attachImage(postId(), image); });
    connect(editor, &PostEditor::splitRequested, this, [this, editor] { m_composer.splitPost(m_editors.indexOf(editor)); });
    connect(editor, &PostEditor::moveRequested, this, [this, editor](int by) {
        const qsizetype from = m_editors.indexOf(editor);
        const qsizetype to = from + by;
        if (to < 0 || to >= m_editors.size())
            return;
        m_composer.movePost(from, to);
        m_editors[to]->focusText();
    });
    MediaStrip* strip = editor->mediaStrip();
    connect(strip, &MediaStrip::altTextEdited, this, [this, editor](const QUuid& mediaId, const QString& text) {
        editMedia(editor, mediaId, [&text](PostMedia& media) {
            media.altText = text.trimmed().isEmpty() ? std::nullopt : std::optional<QString>(text);
        });
    });
    connect(strip, &MediaStrip::removeRequested, this, [this, editor](const QUuid& mediaId) {
        m_composer.removeMedia(m_editors.indexOf(editor), mediaId);
    });
    const auto withMedia = [this, editor](const QUuid& mediaId, auto emitFor) {
        const Post post = m_composer.posts().value(m_editors.indexOf(editor));
        for (const PostMedia& media : post.mediaItems) {
            if (media.id == mediaId)
                emitFor(post.id, media);
        }
    };
    connect(strip, &MediaStrip::editVideoRequested, this, [this, withMedia](const QUuid& mediaId) {
        withMedia(mediaId, [this](const QUuid& owner, const PostMedia& media) { Q_EMIT editVideoRequested(owner, media); });
    });
    connect(strip, &MediaStrip::redactRequested, this, [this, withMedia](const QUuid& mediaId) {
        withMedia(mediaId, [this](const QUuid& owner, const PostMedia& media) { Q_EMIT redactImageRequested(owner, media); });
    });
}

void ComposerWindow::applyMediaEdit(const QUuid& postId, const PostMedia& media)
{
    m_composer.updateMedia(indexOfPost(postId), media);
}

qsizetype ComposerWindow::indexOfPost(const QUuid& postId) const
{
    const QList<Post>& posts = m_composer.posts();
    const auto found = std::find_if(posts.cbegin(), posts.cend(), [&](const Post& post) { return post.id == postId; });
    return found == posts.cend() ? -1 : found - posts.cbegin();
}

// Reading and converting runs in the media worker; the post may have moved (or gone)
// meanwhile, so it is found again by its id afterwards.
QCoro::Task<void> ComposerWindow::attachFiles(QUuid postId, QStringList paths)
{
    QList<PostMedia> attached;
    QStringList problems;
    for (const QString& path : std::as_const(paths)) {
        try {
            attached << co_await m_attacher.attachFile(path);
        } catch (const ComposeError& error) {
            problems << error.message();
        }
    }
    m_composer.addMedia(indexOfPost(postId), attached);
    if (!problems.isEmpty()) {
        m_panel->start();
        m_panel->showError(problems.join(QLatin1Char('\n')));
    }
    Q_EMIT mediaAttached();
}

void ComposerWindow::attachImage(const QUuid& postId, const QImage& image)
{
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    try {
        if (image.isNull() || !image.save(&buffer, "PNG"))
            throw ComposeError(tr("The pasted image could not be read."));
        m_composer.addMedia(indexOfPost(postId), {m_attacher.attachPng(png)});
    } catch (const ComposeError& error) {
        m_panel->start();
        m_panel->showError(error.message());
    }
    Q_EMIT mediaAttached();
}

void ComposerWindow::editMedia(PostEditor* editor, const QUuid& mediaId, const std::function<void(PostMedia&)>& change)
{
    const qsizetype index = m_editors.indexOf(editor);
    for (PostMedia media : m_composer.posts().value(index).mediaItems) {
        if (media.id != mediaId)
            continue;
        change(media);
        m_composer.updateMedia(index, media);
        return;
    }
}

void ComposerWindow::recount(qsizetype index)
{
    if (index < 0 || index >= m_editors.size())
        return;
    PostEditor::Counts counts;
    for (const PlatformType platform : selectedPlatforms())
        counts.append({platform, m_composer.characterCount(index, platform, mastodonLimit())});
    PostEditor* editor = m_editors[index];
    editor->setCounts(counts);
    // Only a post that is too long is split again, so typing in one that fits costs nothing.
    editor->setSplitPreview(m_autoSplit->isChecked() && !editor->fitsAll() ? m_composer.splitPreview(index) : QStringList{});
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
    showCommunity();
    showQuote();
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
        names << (accounts == 1 ? tr("%1 (1 account)").arg(displayName(platform))
                                : tr("%1 (%2 accounts)").arg(displayName(platform)).arg(accounts));
    }
    return names.join(QStringLiteral(", "));
}

// A thread posted from here gets a delivery record like a scheduled one, so a failed
// account can be retried without posting again to the accounts that have it.
QCoro::Task<void> ComposerWindow::publishNow()
{
    PublishRequest request;
    request.thread = m_composer.posts();
    request.scheduledPostId = QUuid::createUuid();
    const ScheduledPost chosen = destinations();
    for (const PlatformType platform : selectedPlatforms()) {
        const QList<SocialAccount> accounts = m_services.accounts.accountsForPublishing(chosen, platform);
        if (!accounts.isEmpty())
            request.accounts.insert(platform, accounts);
    }
    const std::optional<QMap<QUuid, bool>> share = askShareWithFollowers();
    if (!share)
        co_return;
    request.xShareWithFollowers = *share;
    if (request.accounts.isEmpty()) {
        m_panel->start();
        m_panel->showError(tr("No enabled account for the chosen networks. Connect one in the settings."));
        co_return;
    }
    if (m_lastRequest)
        m_services.publishing.forgetDeliveries(*m_lastRequest->scheduledPostId);
    m_lastRequest = request;
    m_lastResults.clear();
    QCoro::Task<void> running = runPublish(request);
    co_await std::move(running);
}

// Publishes to one account that failed before, from the thread as it was posted then.
QCoro::Task<void> ComposerWindow::retryAccount(QUuid accountId)
{
    if (!m_lastRequest || m_services.publishing.isPublishing())
        co_return;
    PublishRequest request = *m_lastRequest;
    request.accounts.clear();
    for (auto it = m_lastRequest->accounts.cbegin(); it != m_lastRequest->accounts.cend(); ++it) {
        for (const SocialAccount& account : it.value()) {
            if (account.id == accountId)
                request.accounts.insert(it.key(), {m_services.accounts.account(accountId).value_or(account)});
        }
    }
    if (request.accounts.isEmpty())
        co_return;
    QCoro::Task<void> running = runPublish(request);
    co_await std::move(running);
}

QCoro::Task<void> ComposerWindow::runPublish(PublishRequest request)
{
    m_panel->start();
    const auto status = connect(&m_services.publishing, &PublishingService::statusChanged, m_panel, &PublishPanel::setStatus);
    const auto detail = connect(&m_services.publishing, &PublishingService::detailChanged, m_panel, &PublishPanel::setDetail);
    const auto progress = connect(&m_services.publishing, &PublishingService::progressChanged, m_panel, &PublishPanel::setProgress);
    m_post->setEnabled(false);
    m_schedule->setEnabled(false);
    m_cancel->show();
    try {
        QCoro::Task<QList<PublishResult>> publishing = m_services.publishing.publish(request);
        const QList<PublishResult> results = co_await std::move(publishing);
        mergeResults(results);
        m_panel->showResults(m_lastResults);
    } catch (const QuilloError& error) {
        m_panel->showError(error.message());
    }
    disconnect(status);
    disconnect(detail);
    disconnect(progress);
    const bool allDelivered = !m_lastResults.isEmpty()
        && std::all_of(m_lastResults.cbegin(), m_lastResults.cend(), [](const PublishResult& result) { return result.success; });
    // What went out is on the networks now; a failure keeps the thread for another try.
    if (allDelivered) {
        m_services.publishing.forgetDeliveries(*request.scheduledPostId);
        m_lastRequest.reset();
        m_composer.reset();
    }
    updateActions();
    Q_EMIT publishFinished();
}

void ComposerWindow::mergeResults(const QList<PublishResult>& results)
{
    for (const PublishResult& result : results) {
        const auto known = std::find_if(m_lastResults.begin(), m_lastResults.end(),
                                        [&](const PublishResult& earlier) { return earlier.accountId == result.accountId; });
        if (known != m_lastResults.end())
            *known = result;
        else
            m_lastResults.append(result);
    }
}

void ComposerWindow::openScheduleSheet(const std::optional<ScheduledPost>& prefilled)
{
    if (prefilled) {
        m_composer.setPosts(prefilled->content);
        m_destinations->select(*prefilled);
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
        const ScheduledPost chosen = destinations();
        post.platforms = chosen.platforms;
        post.platformModes = chosen.platformModes;
        post.accountIds = chosen.accountIds;
        const std::optional<QMap<QUuid, bool>> share = askShareWithFollowers();
        if (!share)
            return;
        post.xShareWithFollowers = *share;
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
