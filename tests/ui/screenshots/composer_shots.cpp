#include "screenshot_session.h"
#include "screenshots.h"

#include "compose/composer.h"
#include "compose/debounce_timer.h"
#include "compose/post_storage.h"
#include "ui/composer_window.h"
#include "ui/schedule_sheet.h"
#include "ui/tray_controller.h"

#include <QMenu>

void addComposerShots(ScreenshotSession& session)
{
    UiStack& stack = session.stack();
    PostStorage storage(stack.preferences);
    Composer composer(stack.preferences, storage, std::make_unique<QtDebounceTimer>());
    composer.setPosts({Post::create(QStringLiteral("Quillo 0.1 is out: write once, publish to X, Bluesky and Mastodon. 🧵")),
                       Post::create(QStringLiteral("Schedule posts from the calendar or from your editor through MCP."))});
    ComposerWindow window(composer, stack.services());
    window.selectPlatforms({QStringLiteral("x"), QStringLiteral("bluesky"), QStringLiteral("mastodon")});
    session.save(window, QStringLiteral("composer"));

    window.openScheduleSheet();
    if (window.scheduleSheet())
        session.save(*window.scheduleSheet(), QStringLiteral("schedule-sheet"));

    TrayController tray(stack.events, stack.scheduler, stack.preferences, stack.clock);
    session.save(*tray.menu(), QStringLiteral("tray-menu"));
}
