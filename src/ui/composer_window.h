#pragma once

#include "app/window_host.h"
#include "model/platform_type.h"
#include "model/post.h"
#include "model/scheduled_post.h"
#include "scheduling/publish_result.h"
#include "scheduling/publishing_service.h"
#include "ui/recent_posts_cache.h"

#include <QList>
#include <QMap>
#include <QWidget>

#include <qcoro/qcorotask.h>

#include <functional>

class Composer;
class DestinationPicker;
class MediaAttacher;
class QImage;
class PostEditor;
class PublishPanel;
class QuotePicker;
class QCheckBox;
class QLabel;
class QPushButton;
class QVBoxLayout;
class ScheduleSheet;

// The "Composer" window over the Composer model: the thread, where it goes, its length on
// each chosen network, and the Post and Schedule… actions.
class ComposerWindow : public QWidget {
    Q_OBJECT
public:
    // Asks for media files to attach; the default is the system's file dialog.
    using FilePicker = std::function<QStringList(QWidget* parent)>;

    ComposerWindow(Composer& composer, const InstanceServices& services, MediaAttacher& attacher,
                   QWidget* parent = nullptr);
    ~ComposerWindow() override;
    void setFilePicker(FilePicker picker) { m_pickFiles = std::move(picker); }
    // Asks whether a community post also goes to the followers; nothing means Cancel.
    using CommunityQuestion = std::function<std::optional<bool>(QWidget* parent, const QString& community)>;
    void setCommunityQuestion(CommunityQuestion ask) { m_askCommunity = std::move(ask); }
    // The question's answer for every X account the thread goes to; nothing when cancelled.
    std::optional<QMap<QUuid, bool>> askShareWithFollowers();

    // Chooses these networks (raw names as commands give them); others are unchecked.
    void selectPlatforms(const QStringList& names);
    // A stored post's networks, account modes and picked accounts.
    void selectDestinations(const ScheduledPost& post);
    // An attachment edited elsewhere (video editor, redaction) replaces its earlier self.
    void applyMediaEdit(const QUuid& postId, const PostMedia& media);
    QList<PlatformType> selectedPlatforms() const;
    // Opens the scheduling sheet, prefilled from a command when given.
    void openScheduleSheet(const std::optional<ScheduledPost>& prefilled = std::nullopt);
    void bringToFront();

    const QList<PostEditor*>& editors() const { return m_editors; }
    QPushButton* postButton() const { return m_post; }
    QPushButton* cancelButton() const { return m_cancel; }
    QCheckBox* platformToggle(PlatformType platform) const;
    DestinationPicker* destinationPicker() const { return m_destinations; }
    PublishPanel* publishPanel() const { return m_panel; }
    ScheduleSheet* scheduleSheet() const { return m_sheet; }
    QPushButton* quoteButton() const { return m_quote; }
    // The open quote picker, if any.
    QuotePicker* quotePicker() const;

Q_SIGNALS:
    void publishFinished();
    // Attaching finished (files read, or an error shown).
    void mediaAttached();
    // The "Edit video" button of a post's video.
    void editVideoRequested(const QUuid& postId, const PostMedia& media);
    // The "Redact…" button of a post's image.
    void redactImageRequested(const QUuid& postId, const PostMedia& media);

private:
    void syncEditors();
    void rebuildEditors();
    void connectEditor(PostEditor* editor);
    qsizetype indexOfPost(const QUuid& postId) const;
    QCoro::Task<void> attachFiles(QUuid postId, QStringList paths);
    void attachImage(const QUuid& postId, const QImage& image);
    void editMedia(PostEditor* editor, const QUuid& mediaId, const std::function<void(PostMedia&)>& change);
    void recount(qsizetype index);
    void recountAll();
    void updateActions();
    QWidget* buildNoteRow(QLabel*& label, const QString& dropText, const std::function<void()>& drop);
    void chooseQuote();
    void showQuote();
    void chooseCommunity();
    void showCommunity();
    ScheduledPost destinations() const;
    QString destinationsText() const;
    qsizetype mastodonLimit() const;
    QCoro::Task<void> publishNow();
    QCoro::Task<void> retryAccount(QUuid accountId);
    QCoro::Task<void> runPublish(PublishRequest request);
    void mergeResults(const QList<PublishResult>& results);
    void saveScheduled(const ScheduledPost& post);

    Composer& m_composer;
    InstanceServices m_services;
    MediaAttacher& m_attacher;
    FilePicker m_pickFiles;
    CommunityQuestion m_askCommunity;
    QWidget* m_communityRow = nullptr;
    QLabel* m_communityLabel = nullptr;
    QWidget* m_quoteRow = nullptr;
    QLabel* m_quoteLabel = nullptr;
    QPushButton* m_quote = nullptr;
    RecentPostsCache m_recentPosts;
    DestinationPicker* m_destinations;
    QCheckBox* m_autoSplit;
    QVBoxLayout* m_thread;
    QList<PostEditor*> m_editors;
    QPushButton* m_add;
    QPushButton* m_schedule;
    QPushButton* m_post;
    QPushButton* m_cancel;
    PublishPanel* m_panel;
    ScheduleSheet* m_sheet = nullptr;
    // The last thread posted from here and how it went per account, while a retry may follow.
    std::optional<PublishRequest> m_lastRequest;
    QList<PublishResult> m_lastResults;
};
