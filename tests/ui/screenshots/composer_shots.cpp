#include "screenshot_session.h"
#include "screenshots.h"

#include "compose/composer.h"
#include "compose/debounce_timer.h"
#include "compose/post_storage.h"
#include "ui/app_icon.h"
#include "ui/composer_window.h"
#include "ui/publish_panel.h"
#include "ui/schedule_sheet.h"
#include "ui/tray_controller.h"

#include <QBuffer>
#include <QLinearGradient>
#include <QMenu>
#include <QPainter>

namespace {

// A stand-in photo: a sunset gradient with the logo on it.
QByteArray samplePhoto()
{
    QImage image(640, 420, QImage::Format_RGB32);
    QPainter painter(&image);
    QLinearGradient sky(0, 0, 0, 420);
    sky.setColorAt(0, QColor(0xff, 0x9a, 0x5a));
    sky.setColorAt(1, QColor(0x5a, 0x3a, 0x8a));
    painter.fillRect(image.rect(), sky);
    painter.drawImage(QPoint(220, 110), AppIcon::render(200));
    painter.end();
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return png;
}

} // namespace

void addComposerShots(ScreenshotSession& session)
{
    UiStack& stack = session.stack();
    stack.addAccount(PlatformType::x, QStringLiteral("ada"));
    stack.addAccount(PlatformType::bluesky, QStringLiteral("ada.example.com"));
    stack.addAccount(PlatformType::mastodon, QStringLiteral("ada@example.social"));
    PostStorage storage(stack.preferences);
    Composer composer(stack.preferences, storage, std::make_unique<QtDebounceTimer>());
    PostMedia photo = stack.attacher.attachPng(samplePhoto());
    photo.altText = QStringLiteral("The Quillo logo over a sunset");
    composer.setPosts({Post::create(QStringLiteral("Quillo 0.1 is out: write once, publish to X, Bluesky and Mastodon. 🧵"), {photo}),
                       Post::create(QStringLiteral("Schedule posts from the calendar or from your editor through MCP. "
                                                   "Counts under each post follow every network's own rules."))});
    composer.setQuote(QuoteContext::fromLink(QStringLiteral("https://bsky.app/profile/ada.example.com/post/3kxyz")));
    ComposerWindow window(composer, stack.services(), stack.attacher);
    window.selectPlatforms({QStringLiteral("x"), QStringLiteral("bluesky"), QStringLiteral("mastodon")});
    window.resize(620, 760);
    session.save(window, QStringLiteral("composer"));

    window.publishPanel()->start();
    window.publishPanel()->setStatus(QStringLiteral("Publishing to BlueSky (1/1)..."));
    window.publishPanel()->setDetail(QStringLiteral("Uploading media 1 of 1…"));
    window.publishPanel()->setProgress(0.45);
    session.save(window, QStringLiteral("composer-publishing"));
    window.publishPanel()->showResults(
        {PublishResult::succeeded(PlatformType::bluesky, QUuid::createUuid(), QStringLiteral("ada.example.com"),
                                  QStringLiteral("https://bsky.app/profile/ada.example.com/post/3kabc")),
         PublishResult::failed(PlatformType::x, QUuid::createUuid(), QStringLiteral("ada"),
                               QStringLiteral("X posting error: rate limit reached, try again in 15 minutes"))});
    session.save(window, QStringLiteral("composer-results"));

    window.openScheduleSheet();
    if (window.scheduleSheet())
        session.save(*window.scheduleSheet(), QStringLiteral("schedule-sheet"));

    ScheduledPost later;
    later.id = QUuid::createUuid();
    later.content = {Post::create(QStringLiteral("Later today"))};
    later.platforms = {QStringLiteral("bluesky")};
    later.scheduledDate = stack.clock.now().addSeconds(60);
    stack.scheduler.addOrUpdate(later, std::nullopt);
    TrayController tray(stack.events, stack.scheduler, stack.preferences, stack.clock);
    session.save(*tray.menu(), QStringLiteral("tray-menu"));
}
