#include "events/app_events.h"

#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcEvents, "quillo.events")

void AppEvents::logRequestsWithoutWindows()
{
    connect(this, &AppEvents::activateRequested, this, [] {
        qCInfo(lcEvents).noquote() << "No window to bring to the front (headless)";
    });
    connect(this, &AppEvents::calendarRequested, this, [](const QString& view, const QDateTime& date, const QString& status) {
        qCInfo(lcEvents).noquote() << QStringLiteral("Would open the calendar: view=") + view + QStringLiteral(", date=")
                + date.toString(Qt::ISODate) + QStringLiteral(", status=") + status;
    });
    connect(this, &AppEvents::settingsRequested, this, [](const QString& section) {
        qCInfo(lcEvents).noquote() << "Would open settings at section" << section;
    });
    connect(this, &AppEvents::licenseRequested, this, [](const QString& action) {
        qCInfo(lcEvents).noquote() << "Would open the license window:" << action;
    });
    connect(this, &AppEvents::composerRequested, this, [](const QList<Post>& drafts, const QStringList& platforms) {
        qCInfo(lcEvents).noquote() << QStringLiteral("Would open the composer with %1 post(s) for [%2]")
                                       .arg(drafts.size())
                                       .arg(platforms.join(QStringLiteral(", ")));
    });
    connect(this, &AppEvents::schedulerRequested, this, [](const ScheduledPost& post) {
        qCInfo(lcEvents).noquote() << QStringLiteral("Would open the scheduling sheet with %1 post(s), status %2")
                                       .arg(post.content.size())
                                       .arg(rawValue(post.status));
    });
    connect(this, &AppEvents::scheduledPostEditRequested, this, [](const ScheduledPost& post) {
        qCInfo(lcEvents).noquote() << "Would open the composer to review scheduled post" << post.id.toString(QUuid::WithoutBraces);
    });
    connect(this, &AppEvents::addAccountRequested, this, [](PlatformType, const QString& section) {
        qCInfo(lcEvents).noquote() << "Would open settings at" << section << "with the add-account form";
    });
    connect(this, &AppEvents::prefillMastodonInstanceRequested, this, [](const QString& instance) {
        qCInfo(lcEvents).noquote() << "Would prefill the Mastodon instance" << instance;
    });
    connect(this, &AppEvents::accountConnectRequested, this, [](PlatformType platform) {
        qCInfo(lcEvents).noquote() << "Would start connecting a" << displayName(platform) << "account";
    });
    connect(this, &AppEvents::onboardingRequested, this, [] {
        qCInfo(lcEvents).noquote() << "No window to show onboarding in";
    });
    connect(this, &AppEvents::alertRequested, this, [](const QString& title, const QString& message) {
        qCWarning(lcEvents).noquote() << QStringLiteral("Alert \"") + title + QStringLiteral("\": ") + message;
    });
}
