#pragma once

#include "model/platform_type.h"
#include "model/post.h"
#include "model/scheduled_post.h"

#include <QDateTime>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

// The one place where requests for the user interface are raised: commands, shortcuts
// and services emit here, and the windows subscribe when they exist. An instance without
// windows calls logRequestsWithoutWindows() so every request still leaves a trace.
class AppEvents : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

    void logRequestsWithoutWindows();

Q_SIGNALS:
    // Bring the application to the front.
    void activateRequested();
    void calendarRequested(const QString& view, const QDateTime& date, const QString& status);
    void settingsRequested(const QString& section);
    void licenseRequested(const QString& action);
    // The composer with these drafts; platforms preselected when not empty.
    void composerRequested(const QList<Post>& drafts, const QStringList& platforms);
    // The composer with the post's thread and the scheduling sheet prefilled from it
    // ("openComposerWithDrafts" with a ScheduledPost payload).
    void schedulerRequested(const ScheduledPost& prefilled);
    // The composer with a stored scheduled post, for review after an edit.
    void scheduledPostEditRequested(const ScheduledPost& post);
    // Settings at the platform's section ("social-x", ...) with the add-account form shown.
    void addAccountRequested(PlatformType platform, const QString& section);
    // "PrefillMastodonInstance": the instance host for the Mastodon account form.
    void prefillMastodonInstanceRequested(const QString& instance);
    // "TriggerAccountConnect": press the connect button of the platform's form.
    void accountConnectRequested(PlatformType platform);
    // The first start's welcome window (onboarding not completed yet).
    void onboardingRequested();
    // A failure the user should see, as an alert with this title.
    void alertRequested(const QString& title, const QString& message);
};
