#pragma once

#include <QLoggingCategory>
#include <QUrl>
#include <QString>
#include <QStringList>

// Collects every log line, debug included, while it lives.
class LogCapture {
public:
    LogCapture()
    {
        s_lines.clear();
        QLoggingCategory::setFilterRules(QStringLiteral("*.debug=true"));
        m_previous = qInstallMessageHandler(&LogCapture::collect);
    }
    ~LogCapture()
    {
        qInstallMessageHandler(m_previous);
        QLoggingCategory::setFilterRules(QString());
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    const QStringList& lines() const { return s_lines; }
    // The lines that hold any of the texts (as written, or percent-encoded).
    QStringList linesHoldingAnyOf(const QStringList& texts) const
    {
        QStringList found;
        for (const QString& line : s_lines) {
            for (const QString& text : texts) {
                if (!text.isEmpty()
                    && (line.contains(text) || line.contains(QString::fromLatin1(QUrl::toPercentEncoding(text))))) {
                    found << line;
                    break;
                }
            }
        }
        return found;
    }

private:
    static void collect(QtMsgType, const QMessageLogContext&, const QString& message) { s_lines << message; }

    static inline QStringList s_lines;
    QtMessageHandler m_previous = nullptr;
};
