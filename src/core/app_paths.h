#pragma once

#include <QProcessEnvironment>
#include <QString>

// Where Quillo keeps its files. QUILLO_HOME puts everything under one folder
// (tests and portable use); otherwise the XDG base directories are honoured.
class AppPaths {
public:
    static AppPaths fromEnvironment(const QProcessEnvironment& env = QProcessEnvironment::systemEnvironment());
    static AppPaths underHome(const QString& home);

    QString configDir() const { return m_config; }
    QString dataDir() const { return m_data; }
    QString stateDir() const { return m_state; }
    QString runtimeDir() const { return m_runtime; }

    QString preferencesFile() const;
    QString mediaDir() const;
    QString logFile() const;
    // One delivery record per scheduled post that went (partly) out.
    QString deliveriesDir() const;
    QString socketPath() const;

    // Creates the folders (user-only where they hold private data). False when one cannot be made.
    bool ensureExists() const;

private:
    QString m_config;
    QString m_data;
    QString m_state;
    QString m_runtime;
};
