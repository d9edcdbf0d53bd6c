#include "commands/url_scheme_handler.h"

#include "commands/account_commands.h"
#include "commands/command_date_parser.h"
#include "commands/command_thread.h"
#include "commands/commands_log.h"
#include "commands/media_importer.h"
#include "commands/url_scheme_error.h"
#include "core/clock.h"
#include "core/preference_keys.h"
#include "core/preference_store.h"
#include "events/app_events.h"
#include "store/account_manager.h"
#include "store/scheduled_post_actions.h"
#include "store/scheduler_service.h"
#include "text/platform_character_counter.h"

namespace {

constexpr qsizetype kMaxMediaPerPost = 4;

// The success log line, and the same words (without the marker) as the reply.
CommandOutcome succeeded(const QString& text)
{
    qCInfo(lcCommands).noquote() << QStringLiteral("✅ URLSchemeHandler: ") + text;
    return CommandOutcome::success(text);
}

bool isStealth(const CommandParams& params)
{
    return params.isTrue(QStringLiteral("stealthMode"));
}

bool logStealth(const CommandParams& params)
{
    qCInfo(lcCommands).noquote() << QStringLiteral("🔍 URLSchemeHandler: stealthMode param = '")
            + params.value(QStringLiteral("stealthMode")) + u'\'';
    return isStealth(params);
}

PostStatus statusFrom(const CommandParams& params, PostStatus fallback)
{
    const auto text = params.get(QStringLiteral("status"));
    if (!text)
        return fallback;
    if (*text == QStringLiteral("draft"))
        return PostStatus::draft;
    if (*text == QStringLiteral("queued"))
        return PostStatus::queued;
    throw URLSchemeError::invalidParameter(QStringLiteral("status must be 'draft' or 'queued', not '") + *text + u'\'');
}

} // namespace

URLSchemeHandler::URLSchemeHandler(AppEvents& events, SchedulerService& scheduler, AccountManager& accounts,
                                   MediaImporter& media, const Clock& clock, QObject* parent)
    : QObject(parent)
    , m_events(events)
    , m_scheduler(scheduler)
    , m_accounts(accounts)
    , m_media(media)
    , m_clock(clock)
    , m_builder(accounts)
{
}

QString URLSchemeHandler::expectedScheme()
{
    // Linux has no declared URL types to read: the scheme is fixed by the .desktop file.
    return QStringLiteral("quillo");
}

std::optional<URLSchemeHandler::Action> URLSchemeHandler::actionForHost(const QString& host)
{
    static const QMap<QString, Action> actions{
        {QStringLiteral("compose"), Action::compose},   {QStringLiteral("schedule"), Action::schedule},
        {QStringLiteral("calendar"), Action::calendar}, {QStringLiteral("settings"), Action::settings},
        {QStringLiteral("license"), Action::license},   {QStringLiteral("open"), Action::open},
        {QStringLiteral("accounts"), Action::accounts}, {QStringLiteral("scheduled"), Action::scheduled},
    };
    const auto found = actions.constFind(host);
    if (found == actions.cend())
        return std::nullopt;
    return *found;
}

QString URLSchemeHandler::actionName(Action action)
{
    switch (action) {
    case Action::compose: return QStringLiteral("compose");
    case Action::schedule: return QStringLiteral("schedule");
    case Action::calendar: return QStringLiteral("calendar");
    case Action::settings: return QStringLiteral("settings");
    case Action::license: return QStringLiteral("license");
    case Action::open: return QStringLiteral("open");
    case Action::accounts: return QStringLiteral("accounts");
    case Action::scheduled: return QStringLiteral("scheduled");
    }
    return {};
}

QCoro::Task<CommandOutcome> URLSchemeHandler::handle(QUrl url)
{
    qCInfo(lcCommands).noquote() << QStringLiteral("📱 URLSchemeHandler: Processing URL: ") + url.toString();
    const CommandParams params = CommandParams::fromUrl(url);
    QString alertTitle = QStringLiteral("URL Scheme Error");
    CommandOutcome outcome;
    try {
        if (url.scheme() != expectedScheme())
            throw URLSchemeError::failed(QStringLiteral("Invalid URL scheme. Expected '") + expectedScheme() + u'\'');
        const auto action = actionForHost(url.host());
        if (!action) {
            alertTitle = QStringLiteral("Invalid URL Action");
            // `scheduled` is accepted but, as ever, not advertised here.
            throw URLSchemeError::failed(QStringLiteral("Unknown action: '") + url.host()
                                         + QStringLiteral("'. Valid actions: compose, schedule, calendar, settings, "
                                                          "license, open, accounts"));
        }
        qCInfo(lcCommands).noquote() << QStringLiteral("📱 URLSchemeHandler: Action=") + actionName(*action)
                + QStringLiteral(", Params") + params.describe();
        outcome = co_await run(*action, params);
    } catch (const URLSchemeError& error) {
        outcome = CommandOutcome::failure(error.message());
    }
    if (outcome.ok)
        co_return outcome;
    qCWarning(lcCommands).noquote() << QStringLiteral("❌ URLSchemeHandler: Error handling action: ") + outcome.message;
    if (!isStealth(params))
        Q_EMIT m_events.alertRequested(alertTitle, outcome.message);
    co_return outcome;
}

QCoro::Task<CommandOutcome> URLSchemeHandler::run(Action action, CommandParams params)
{
    switch (action) {
    case Action::compose: co_return co_await compose(params);
    case Action::schedule: co_return co_await schedule(params);
    case Action::calendar: co_return openCalendar(params);
    case Action::settings: co_return settings(params);
    case Action::license: co_return openLicense(params);
    case Action::open: co_return activate();
    case Action::accounts: co_return AccountCommands(m_accounts, m_events, m_mastodon).run(params);
    case Action::scheduled: co_return co_await scheduled(params);
    }
    co_return CommandOutcome::failure(QStringLiteral("Unknown action"));
}

bool URLSchemeHandler::autosplit(const CommandParams& params) const
{
    if (params.has(QStringLiteral("autosplit")))
        return params.isTrue(QStringLiteral("autosplit"));
    if (!m_preferences)
        return true;
    // The setting may have been changed by another process (`quillo config set`).
    m_preferences->sync();
    return m_preferences->boolValue(PreferenceKeys::AutoSplitEnabled).value_or(true);
}

void URLSchemeHandler::requireWindow(const QString& what) const
{
    if (!m_windowless.isEmpty())
        throw URLSchemeError::failed(m_windowless + QStringLiteral(": ") + what);
}

qsizetype URLSchemeHandler::mastodonLimit() const
{
    // The smallest limit of the Mastodon accounts known, so a piece fits whichever is chosen.
    return PlatformCharacterCounter::mastodonLimit(m_accounts.accounts(PlatformType::mastodon));
}

QList<Post> URLSchemeHandler::threadFrom(const CommandParams& params, const QStringList& networks) const
{
    const QString text = params.value(QStringLiteral("text"));
    const QString thread = params.value(QStringLiteral("thread")).trimmed();
    QList<PlatformType> platforms;
    for (const QString& name : networks) {
        if (const auto platform = platformTypeFromName(name))
            platforms << *platform;
    }
    // A thread given as a JSON array of texts spells the posts out.
    const QStringList texts = thread.startsWith(u'[')
        ? CommandThread::parseTexts(thread)
        : CommandThread::textsFor(text, thread == QStringLiteral("true"), autosplit(params), platforms,
                                  mastodonLimit());
    QList<Post> posts;
    for (const QString& piece : texts)
        posts.append(Post::create(piece));
    // Callers attach media and quotes to the first post: there always is one.
    if (posts.isEmpty())
        posts.append(Post::create(QString()));
    posts.first().quoteContext = QuoteContext::fromLink(params.value(QStringLiteral("quote")));
    return posts;
}

QCoro::Task<QList<PostMedia>> URLSchemeHandler::mediaFrom(CommandParams params)
{
    const QStringList references = params.list(QStringLiteral("media"));
    if (references.size() > kMaxMediaPerPost)
        throw URLSchemeError::invalidParameter(QStringLiteral("media: at most %1 items per post").arg(kMaxMediaPerPost));
    if (references.isEmpty())
        co_return QList<PostMedia>{};
    co_return co_await m_media.importAll(references);
}

void URLSchemeHandler::announceSaved() const
{
    // The store saves in the background; clients that read it next send a sync request.
    qCInfo(lcCommands).noquote() << QStringLiteral("💾 URLSchemeHandler: Posting .scheduledPostsDidUpdate notification with ")
            + QString::number(m_scheduler.scheduledPosts().size()) + QStringLiteral(" posts");
}

QCoro::Task<CommandOutcome> URLSchemeHandler::compose(CommandParams params)
{
    requireWindow(QStringLiteral("the composer cannot be opened"));
    QStringList platforms;
    const QStringList given = params.list(QStringLiteral("platforms"));
    for (const QString& name : given) {
        if (const auto platform = platformTypeFromName(name))
            platforms << rawValue(*platform);
        else
            qCWarning(lcCommands).noquote() << QStringLiteral("⚠️ URLSchemeHandler: Unknown platform '") + name + u'\'';
    }
    QList<Post> drafts = threadFrom(params, platforms);
    const QList<PostMedia> media = co_await mediaFrom(params);
    drafts.first().mediaItems = media;
    Q_EMIT m_events.composerRequested(drafts, platforms);
    co_return succeeded(QStringLiteral("Opened composer with %1 post(s)").arg(drafts.size()));
}

QCoro::Task<CommandOutcome> URLSchemeHandler::schedule(CommandParams params)
{
    const bool stealth = logStealth(params);
    // Without stealth the post goes to the scheduling sheet for review, and is stored
    // only from there: with no window that would store nothing.
    if (!stealth)
        requireWindow(QStringLiteral("the scheduler cannot be opened; add stealthMode=true to store the post directly"));
    ScheduledPost post;
    post.id = QUuid::createUuid();
    post.timeZoneIdentifier = QString::fromUtf8(QTimeZone::systemTimeZoneId());
    post.status = statusFrom(params, PostStatus::queued);
    m_builder.applyTimeZone(post, params);
    // Without a date the post goes out an hour from now.
    post.scheduledDate = m_clock.now().addSeconds(3600);
    m_builder.applyDate(post, params);
    m_builder.applyPlatforms(post, params, true);
    m_builder.applyAccounts(post, params);
    post.content = threadFrom(params, post.platforms);
    // Media last: nothing is copied for a command that fails on a simple parameter.
    post.content.first().mediaItems = co_await mediaFrom(params);
    if (post.content.size() == 1 && post.content.first().text.isEmpty() && post.content.first().mediaItems.isEmpty())
        throw URLSchemeError::invalidParameter(QStringLiteral("text: a post needs text or media"));

    if (stealth) {
        m_scheduler.addOrUpdate(post);
        announceSaved();
        co_return succeeded(QStringLiteral("Scheduled in background (stealth mode)"));
    }
    qCInfo(lcCommands).noquote() << QStringLiteral("📨 Posting .openComposerWithDrafts with ScheduledPost payload");
    Q_EMIT m_events.schedulerRequested(post);
    co_return succeeded(QStringLiteral("Opened scheduler with prefilled config"));
}

QCoro::Task<CommandOutcome> URLSchemeHandler::scheduled(CommandParams params)
{
    const auto action = params.get(QStringLiteral("action"));
    if (!action || action->isEmpty())
        throw URLSchemeError::failed(QStringLiteral("Missing action parameter. Use 'edit' or 'delete'"));
    if (*action == QStringLiteral("edit"))
        co_return co_await editScheduled(params);
    if (*action == QStringLiteral("delete"))
        co_return deleteScheduled(params);
    if (*action == QStringLiteral("retry"))
        co_return retryScheduled(params);
    throw URLSchemeError::failed(QStringLiteral("Unknown scheduled action: '") + *action
                                 + QStringLiteral("'. Valid actions: 'edit', 'delete'"));
}

namespace {

ScheduledPost storedPost(const SchedulerService& scheduler, const CommandParams& params)
{
    const QString text = params.value(QStringLiteral("id")).trimmed();
    const QUuid id = QUuid::fromString(text);
    if (id.isNull())
        throw URLSchemeError::failed(QStringLiteral("Invalid or missing post ID"));
    const auto post = scheduler.scheduledPost(id);
    if (!post)
        throw URLSchemeError::failed(QStringLiteral("Scheduled post not found with ID: ") + text);
    return *post;
}

// The networks an edited post goes to: the edit's own platforms when it names them.
QList<PlatformType> platformsOf(const ScheduledPost& post, const CommandParams& params)
{
    const QStringList names = params.has(QStringLiteral("platforms")) ? params.list(QStringLiteral("platforms")) : post.platforms;
    QList<PlatformType> platforms;
    for (const QString& name : names) {
        if (const auto platform = platformTypeFromName(name))
            platforms << *platform;
    }
    return platforms;
}

} // namespace

QCoro::Task<CommandOutcome> URLSchemeHandler::editScheduled(CommandParams params)
{
    const bool stealth = logStealth(params);
    ScheduledPost post = storedPost(m_scheduler, params);
    const QString id = post.id.toString(QUuid::WithoutBraces).toUpper();
    if (post.status == PostStatus::published)
        throw URLSchemeError::failed(QStringLiteral("Cannot edit a published post (ID: ") + id
                                     + QStringLiteral("). Published posts are read-only."));
    if (const auto status = params.get(QStringLiteral("status"))) {
        if (*status != QStringLiteral("draft") && *status != QStringLiteral("queued"))
            throw URLSchemeError::failed(
                QStringLiteral("Invalid status change: can only set status to 'draft' or 'queued'. Current status: ")
                + rawValue(post.status));
        post.status = *status == QStringLiteral("draft") ? PostStatus::draft : PostStatus::queued;
    }

    if (const auto thread = params.get(QStringLiteral("thread"))) {
        CommandThread::setTexts(post.content, CommandThread::parseTexts(*thread));
    } else if (const auto ops = params.get(QStringLiteral("threadOps"))) {
        CommandThread::applyOps(post.content, *ops);
    } else if (const auto text = params.get(QStringLiteral("text"))) {
        if (params.isTrue(QStringLiteral("autosplit")))
            CommandThread::setTexts(post.content, CommandThread::textsFor(*text, false, true, platformsOf(post, params),
                                                                          mastodonLimit()));
        else if (post.content.size() == 1)
            post.content.first().text = *text;
        else
            throw URLSchemeError::invalidParameter(
                QStringLiteral("text replaces the text of a single-post thread; use thread or threadOps for a thread"));
    }
    m_builder.applyTimeZone(post, params);
    m_builder.applyDate(post, params);
    m_builder.applyPlatforms(post, params, false);
    m_builder.applyAccounts(post, params);
    if (params.has(QStringLiteral("media"))) {
        // A stored thread may have no post at all ("content": [] decodes): the media
        // then start its first post.
        QList<PostMedia> media = co_await mediaFrom(params);
        if (post.content.isEmpty())
            post.content.append(Post::create(QString()));
        post.content.first().mediaItems = std::move(media);
    }

    m_scheduler.addOrUpdate(post, post.id);
    announceSaved();
    if (stealth)
        co_return succeeded(QStringLiteral("Scheduled post edited in background (stealth mode)"));
    if (!m_windowless.isEmpty())
        co_return succeeded(QStringLiteral("Scheduled post edited (") + m_windowless.toLower()
                            + QStringLiteral(" to review it)"));
    Q_EMIT m_events.scheduledPostEditRequested(post);
    co_return succeeded(QStringLiteral("Opened scheduler for editing post"));
}

CommandOutcome URLSchemeHandler::retryScheduled(const CommandParams& params)
{
    const ScheduledPost post = storedPost(m_scheduler, params);
    if (post.status != PostStatus::failed)
        throw URLSchemeError::failed(QStringLiteral("Only a failed post can be retried (ID: %1, status: %2)")
                                         .arg(post.id.toString(QUuid::WithoutBraces).toUpper(), rawValue(post.status)));
    ScheduledPostActions(m_scheduler).retry(post.id);
    announceSaved();
    return succeeded(QStringLiteral("Scheduled post queued for retry"));
}

CommandOutcome URLSchemeHandler::deleteScheduled(const CommandParams& params)
{
    const bool stealth = logStealth(params);
    const ScheduledPost post = storedPost(m_scheduler, params);
    m_scheduler.deletePost(post.id);
    announceSaved();
    return succeeded(stealth ? QStringLiteral("Scheduled post deleted in background (stealth mode)")
                             : QStringLiteral("Scheduled post deleted"));
}

CommandOutcome URLSchemeHandler::openCalendar(const CommandParams& params)
{
    QDateTime date;
    if (const auto text = params.get(QStringLiteral("date")); text && !text->trimmed().isEmpty()) {
        const QString trimmed = text->trimmed();
        // A day alone ("2025-01-15") is what a calendar is usually asked for: its start.
        const QDate day = QDate::fromString(trimmed, QStringLiteral("yyyy-MM-dd"));
        if (const auto parsed = CommandDateParser::parse(trimmed, QTimeZone::systemTimeZone()))
            date = *parsed;
        else if (day.isValid())
            date = day.startOfDay(QTimeZone::systemTimeZone());
        else
            throw URLSchemeError::invalidParameter(QStringLiteral("date must be an ISO 8601 date or date and time, not '")
                                                   + trimmed + u'\'');
    }
    const QString view = params.value(QStringLiteral("view")).trimmed().toLower();
    static const QStringList views{QStringLiteral("month"), QStringLiteral("week"), QStringLiteral("day"), QStringLiteral("list")};
    if (!view.isEmpty() && !views.contains(view))
        throw URLSchemeError::invalidParameter(QStringLiteral("view must be month, week, day or list, not '") + view + u'\'');
    const QString status = params.value(QStringLiteral("status")).trimmed().toLower();
    if (!status.isEmpty() && status != QLatin1String("all") && !postStatusFromRawValue(status))
        throw URLSchemeError::invalidParameter(
            QStringLiteral("status must be draft, queued, processing, published or failed, not '") + status + u'\'');
    requireWindow(QStringLiteral("the calendar cannot be opened"));
    Q_EMIT m_events.calendarRequested(view, date, status);
    return succeeded(QStringLiteral("Opened calendar"));
}

CommandOutcome URLSchemeHandler::settings(const CommandParams& params)
{
    const auto platformName = params.get(QStringLiteral("platform"));
    const auto enabled = params.get(QStringLiteral("set-enabled"));
    if (platformName && enabled) {
        const auto platform = platformTypeFromRawValue(platformName->trimmed().toLower());
        if (!platform)
            throw URLSchemeError::failed(QStringLiteral("Invalid platform: ") + *platformName
                                         + QStringLiteral(". Valid: x, bluesky, mastodon"));
        if (*enabled != QStringLiteral("true") && *enabled != QStringLiteral("false"))
            throw URLSchemeError::invalidParameter(QStringLiteral("set-enabled must be 'true' or 'false'"));
        m_accounts.setPlatformEnabled(*platform, *enabled == QStringLiteral("true"));
        return succeeded(QStringLiteral("Toggled ") + rawValue(*platform) + QStringLiteral(" platform to ") + *enabled);
    }
    requireWindow(QStringLiteral("the settings cannot be opened"));
    Q_EMIT m_events.settingsRequested(params.value(QStringLiteral("section"), QStringLiteral("general")));
    return succeeded(QStringLiteral("Opened settings"));
}

CommandOutcome URLSchemeHandler::openLicense(const CommandParams& params)
{
    requireWindow(QStringLiteral("the license window cannot be opened"));
    const QString action = params.value(QStringLiteral("action"));
    Q_EMIT m_events.licenseRequested(action);
    return succeeded(QStringLiteral("Opened license (") + action + u')');
}

CommandOutcome URLSchemeHandler::activate()
{
    Q_EMIT m_events.activateRequested();
    return succeeded(QStringLiteral("Activated app"));
}
