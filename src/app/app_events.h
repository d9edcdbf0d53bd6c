#pragma once

#include <QDateTime>
#include <QObject>
#include <QString>

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
    // A failure the user should see, as an alert with this title.
    void alertRequested(const QString& title, const QString& message);
};
