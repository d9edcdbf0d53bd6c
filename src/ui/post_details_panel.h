#pragma once

#include "model/scheduled_post.h"

#include <QList>
#include <QTimeZone>
#include <QUrl>
#include <QWidget>

#include <optional>

class QLabel;
class QPushButton;
class QToolButton;

// The post selected in the calendar: its time, status, networks, text and last error,
// with what can be done to it. Knows nothing of the store; the window acts on its requests.
class PostDetailsPanel : public QWidget {
    Q_OBJECT
public:
    explicit PostDetailsPanel(QWidget* parent = nullptr);

    // Nothing shows the empty state. `links` are the published addresses of the post.
    void showPost(const std::optional<ScheduledPost>& post, const QList<QUrl>& links, const QTimeZone& zone);
    const std::optional<ScheduledPost>& post() const { return m_post; }

    QPushButton* editButton() const { return m_edit; }
    QPushButton* duplicateButton() const { return m_duplicate; }
    QPushButton* deleteButton() const { return m_delete; }
    QPushButton* retryButton() const { return m_retry; }
    QToolButton* linksButton() const { return m_links; }
    QLabel* errorLabel() const { return m_error; }

Q_SIGNALS:
    void editRequested(const QUuid& id);
    void duplicateRequested(const QUuid& id);
    void deleteRequested(const QUuid& id);
    void retryRequested(const QUuid& id);
    void linkRequested(const QUrl& url);

private:
    QPushButton* addButton(const QString& text, void (PostDetailsPanel::*signal)(const QUuid&));
    void setLinks(const QList<QUrl>& links);
    void showEmpty();

    std::optional<ScheduledPost> m_post;
    QList<QUrl> m_linkList;
    QLabel* m_when;
    QLabel* m_status;
    QLabel* m_networks;
    QLabel* m_text;
    QLabel* m_error;
    QWidget* m_actions;
    QPushButton* m_edit = nullptr;
    QPushButton* m_duplicate = nullptr;
    QPushButton* m_delete = nullptr;
    QPushButton* m_retry = nullptr;
    QToolButton* m_links;
};
