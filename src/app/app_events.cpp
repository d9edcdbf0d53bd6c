#include "app/app_events.h"

#include "app/app_log.h"

void AppEvents::logRequestsWithoutWindows()
{
    connect(this, &AppEvents::activateRequested, this, [] {
        qCInfo(lcApp).noquote() << "No window to bring to the front (headless)";
    });
    connect(this, &AppEvents::calendarRequested, this, [](const QString& view, const QDateTime& date, const QString& status) {
        qCInfo(lcApp).noquote() << QStringLiteral("Would open the calendar: view=") + view + QStringLiteral(", date=")
                + date.toString(Qt::ISODate) + QStringLiteral(", status=") + status;
    });
    connect(this, &AppEvents::settingsRequested, this, [](const QString& section) {
        qCInfo(lcApp).noquote() << "Would open settings at section" << section;
    });
    connect(this, &AppEvents::licenseRequested, this, [](const QString& action) {
        qCInfo(lcApp).noquote() << "Would open the license window:" << action;
    });
    connect(this, &AppEvents::alertRequested, this, [](const QString& title, const QString& message) {
        qCWarning(lcApp).noquote() << QStringLiteral("Alert \"") + title + QStringLiteral("\": ") + message;
    });
}
