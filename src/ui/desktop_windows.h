#pragma once

#include "app/window_host.h"
#include "core/xdg_url_opener.h"
#include "model/post.h"
#include "model/scheduled_post.h"

#include <QObject>
#include <QPointer>

#include <memory>

class CalendarWindow;
class Composer;
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
    // Created on first use and kept, like the composer.
    CalendarWindow& calendar();
    TrayController& tray() { return *m_tray; }

private:
    void showComposer(const QList<Post>& drafts, const QStringList& platforms);
    void showAlert(const QString& title, const QString& message);
    void notYetAvailable(const QString& what);

    InstanceServices m_services;
    std::unique_ptr<PostStorage> m_storage;
    std::unique_ptr<Composer> m_composer;
    std::unique_ptr<ComposerWindow> m_composerWindow;
    std::unique_ptr<TrayController> m_tray;
    XdgUrlOpener m_browser;
    std::unique_ptr<CalendarWindow> m_calendarWindow;
};
