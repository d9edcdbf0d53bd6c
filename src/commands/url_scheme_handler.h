#pragma once

#include "channel/command_outcome.h"
#include "commands/command_params.h"
#include "commands/scheduled_post_builder.h"
#include "model/post.h"

#include <QObject>
#include <QString>
#include <QUrl>

#include <qcoro/qcorotask.h>

#include <optional>

class AccountManager;
class AppEvents;
class Clock;
class MastodonAccountConnector;
class MediaImporter;
class PreferenceStore;
class SchedulerService;

// Carries out quillo:// commands: links from other applications, scripts, and every
// command the MCP server sends. The action is the URL's host, its parameters the query
// items. In stealth mode a command changes stored state without raising any window or
// alert. Runs on the main thread, one command at a time (the command channel queues).
class URLSchemeHandler : public QObject {
    Q_OBJECT
public:
    enum class Action { compose, schedule, calendar, settings, license, open, accounts, scheduled };

    URLSchemeHandler(AppEvents& events, SchedulerService& scheduler, AccountManager& accounts, MediaImporter& media,
                     const Clock& clock, QObject* parent = nullptr);

    QCoro::Task<CommandOutcome> handle(QUrl url);
    // Where `accounts?action=add&platform=mastodon` starts the sign-in; none: the form's
    // connect button is asked to (TriggerAccountConnect).
    void setMastodonConnector(MastodonAccountConnector* connector) { m_mastodon = connector; }
    // Where a command without `autosplit` reads "AutoSplitEnabled"; none: it splits.
    void setPreferences(PreferenceStore* preferences) { m_preferences = preferences; }
    // No window will show what a command opens: those commands fail with this reason
    // ("No window in headless mode") instead of reporting what nobody sees.
    void setWindowless(QString reason) { m_windowless = std::move(reason); }

    static QString expectedScheme();
    static std::optional<Action> actionForHost(const QString& host);
    static QString actionName(Action action);

private:
    QCoro::Task<CommandOutcome> run(Action action, CommandParams params);
    QCoro::Task<CommandOutcome> compose(CommandParams params);
    QCoro::Task<CommandOutcome> schedule(CommandParams params);
    QCoro::Task<CommandOutcome> editScheduled(CommandParams params);
    CommandOutcome deleteScheduled(const CommandParams& params);
    CommandOutcome retryScheduled(const CommandParams& params);
    QCoro::Task<CommandOutcome> scheduled(CommandParams params);
    CommandOutcome openCalendar(const CommandParams& params);
    CommandOutcome settings(const CommandParams& params);
    CommandOutcome openLicense(const CommandParams& params);
    CommandOutcome activate();

    // The thread that `text`, `thread`, `autosplit` and `quote` describe.
    // `networks`: where the thread goes, when known, so that an autosplit fits each one.
    QList<Post> threadFrom(const CommandParams& params, const QStringList& networks) const;
    qsizetype mastodonLimit() const;
    bool autosplit(const CommandParams& params) const;
    // Throws when the command would only open a window and there is none.
    void requireWindow(const QString& what) const;
    // `media`, imported into the media folder; at most one post's worth.
    QCoro::Task<QList<PostMedia>> mediaFrom(CommandParams params);
    // Logs the list change; the store saves it in the background.
    void announceSaved() const;

    AppEvents& m_events;
    SchedulerService& m_scheduler;
    AccountManager& m_accounts;
    MediaImporter& m_media;
    const Clock& m_clock;
    ScheduledPostBuilder m_builder;
    MastodonAccountConnector* m_mastodon = nullptr;
    PreferenceStore* m_preferences = nullptr;
    QString m_windowless;
};
