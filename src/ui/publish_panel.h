#pragma once

#include "scheduling/publish_result.h"

#include <QList>
#include <QWidget>

class QLabel;
class QProgressBar;

// Under the composer while a thread goes out: the publishing status with its progress,
// then one line per account with the link to the thread or the error.
class PublishPanel : public QWidget {
    Q_OBJECT
public:
    explicit PublishPanel(QWidget* parent = nullptr);

    void start();
    void setStatus(const QString& status);
    void setDetail(const QString& detail);
    void setProgress(double fraction);
    void showResults(const QList<PublishResult>& results);
    void showError(const QString& message);
    QString resultsText() const;
    QLabel* resultsLabel() const { return m_results; }

Q_SIGNALS:
    // The "Retry" link beside a failed account.
    void retryRequested(const QUuid& accountId);

private:
    QLabel* m_status;
    QLabel* m_detail;
    QProgressBar* m_progress;
    QLabel* m_results;
};
