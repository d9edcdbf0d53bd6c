#pragma once

#include "app/window_host.h"
#include "media/worker_image_encoder.h"
#include "media/worker_media_prober.h"
#include "model/post.h"
#include "model/scheduled_post.h"

#include <QObject>
#include <QPointer>

#include <memory>

class Composer;
class MediaAttacher;
class ComposerWindow;
class PostStorage;
class TrayController;

// The desktop instance's windows: the tray and the composer, shown on the requests that
// commands, the tray and the running services raise.
class DesktopWindows : public QObject {
    Q_OBJECT
public:
    explicit DesktopWindows(const InstanceServices& services, QObject* parent = nullptr);
    ~DesktopWindows() override;

    // Created on first use and kept: its draft and state survive closing it.
    ComposerWindow& composer();
    Composer& composerModel() { return *m_composer; }
    TrayController& tray() { return *m_tray; }

private:
    void showComposer(const QList<Post>& drafts, const QStringList& platforms);
    void showAlert(const QString& title, const QString& message);
    void notYetAvailable(const QString& what);

    InstanceServices m_services;
    std::unique_ptr<PostStorage> m_storage;
    std::unique_ptr<Composer> m_composer;
    WorkerImageEncoder m_images;
    WorkerMediaProber m_prober;
    std::unique_ptr<MediaAttacher> m_attacher;
    std::unique_ptr<ComposerWindow> m_composerWindow;
    std::unique_ptr<TrayController> m_tray;
};
