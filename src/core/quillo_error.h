#pragma once

#include <QByteArray>
#include <QString>

#include <exception>

// The base of every error that crosses a service boundary. An owner's error keeps its
// case and payload and hands the one sentence a person reads to this base when it is
// made, so any catcher can show message() without knowing the owner.
class QuilloError : public std::exception {
public:
    const QString& message() const { return m_message; }
    const char* what() const noexcept override { return m_what.constData(); }

protected:
    // what() says message unless the owner has a longer text for logs.
    explicit QuilloError(QString message, QString logText = {});

private:
    QString m_message;
    QByteArray m_what;
};
