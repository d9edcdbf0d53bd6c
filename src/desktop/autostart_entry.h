#pragma once

#include "core/quillo_error.h"

#include <QProcessEnvironment>
#include <QString>

// Quillo's login item: the XDG autostart entry "<config home>/autostart/quillo.desktop"
// that desktop sessions run when the user logs in. Its presence is the setting.
class AutostartEntry {
public:
    // Writing or removing the entry failed; message() says which file and why.
    class Error : public QuilloError {
    public:
        explicit Error(QString message)
            : QuilloError(std::move(message))
        {
        }
    };

    // configHome: $XDG_CONFIG_HOME or ~/.config; executable: the quillo binary to start.
    AutostartEntry(QString configHome, QString executable);

    // $XDG_CONFIG_HOME when it is an absolute path (XDG ignores relative ones), else ~/.config.
    static QString configHomeFrom(const QProcessEnvironment& environment);

    QString filePath() const;
    bool isEnabled() const;
    // Writes (atomically) or removes the entry. Throws Error with a sentence for the
    // user when the file cannot be written or removed; nothing is half-written.
    void setEnabled(bool enabled);

    // The entry's text, with the executable quoted as the desktop entry format asks.
    QByteArray contents() const;

private:
    void write();
    void remove();

    QString m_configHome;
    QString m_executable;
};
