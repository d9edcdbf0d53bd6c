#pragma once

#include "app/window_host.h"
#include "model/platform_type.h"
#include "model/post.h"
#include "model/scheduled_post.h"

#include <QList>
#include <QMap>
#include <QWidget>

#include <qcoro/qcorotask.h>

class Composer;
class PostEditor;
class PublishPanel;
class QCheckBox;
class QPushButton;
class QVBoxLayout;
class ScheduleSheet;

// The "Composer" window over the Composer model: the thread, where it goes, its length on
// each chosen network, and the Post and Schedule… actions.
class ComposerWindow : public QWidget {
    Q_OBJECT
public:
    ComposerWindow(Composer& composer, const InstanceServices& services, QWidget* parent = nullptr);

    // Chooses these networks (raw names as commands give them); others are unchecked.
    void selectPlatforms(const QStringList& names);
    QList<PlatformType> selectedPlatforms() const;
    // Opens the scheduling sheet, prefilled from a command when given.
    void openScheduleSheet(const std::optional<ScheduledPost>& prefilled = std::nullopt);
    void bringToFront();

    const QList<PostEditor*>& editors() const { return m_editors; }
    QPushButton* postButton() const { return m_post; }
    QPushButton* cancelButton() const { return m_cancel; }
    QCheckBox* platformToggle(PlatformType platform) const { return m_platforms.value(platform); }
    PublishPanel* publishPanel() const { return m_panel; }
    ScheduleSheet* scheduleSheet() const { return m_sheet; }

Q_SIGNALS:
    void publishFinished();

private:
    QWidget* buildDestinations();
    void syncEditors();
    void rebuildEditors();
    void recount(qsizetype index);
    void recountAll();
    void updateActions();
    ScheduledPost destinations() const;
    QString destinationsText() const;
    qsizetype mastodonLimit() const;
    QCoro::Task<void> publishNow();
    void saveScheduled(const ScheduledPost& post);

    Composer& m_composer;
    InstanceServices m_services;
    QMap<PlatformType, QCheckBox*> m_platforms;
    QCheckBox* m_autoSplit;
    QVBoxLayout* m_thread;
    QList<PostEditor*> m_editors;
    QPushButton* m_add;
    QPushButton* m_schedule;
    QPushButton* m_post;
    QPushButton* m_cancel;
    PublishPanel* m_panel;
    ScheduleSheet* m_sheet = nullptr;
};
