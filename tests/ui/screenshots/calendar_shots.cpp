#include "screenshot_session.h"
#include "screenshots.h"

#include "support/fake_url_opener.h"
#include "ui/calendar_window.h"

namespace {

struct Sample {
    int dayOffset;
    QTime time;
    PostStatus status;
    const char* text;
    QStringList platforms;
};

QStringList all()
{
    return {QStringLiteral("x"), QStringLiteral("bluesky"), QStringLiteral("mastodon")};
}

QList<Sample> samples()
{
    const QStringList sky{QStringLiteral("bluesky")};
    const QStringList xAndSky{QStringLiteral("x"), QStringLiteral("bluesky")};
    const QStringList masto{QStringLiteral("mastodon")};
    return {
        {-9, QTime(9, 0), PostStatus::published, "Quillo 0.1 is out: write once, publish everywhere.", all()},
        {-6, QTime(13, 30), PostStatus::published, "Three things I learned shipping a Qt app in 2025 (a thread)", xAndSky},
        {-2, QTime(8, 15), PostStatus::published, "Good morning! Coffee, then the release notes.", sky},
        {-2, QTime(17, 0), PostStatus::failed, "Livestream tonight at 8: building the calendar view", all()},
        {-1, QTime(11, 45), PostStatus::published, "The calendar is in: drag posts to move them.", masto},
        {0, QTime(9, 0), PostStatus::published, "Today's tip: a global shortcut opens the composer from anywhere.", xAndSky},
        {0, QTime(10, 15), PostStatus::processing, "Weekly digest: what changed in Quillo this week", all()},
        {0, QTime(12, 0), PostStatus::queued, "Lunch thread: the tools I use every day", sky},
        {0, QTime(16, 30), PostStatus::failed, "Poll: which network should we support next?", xAndSky},
        {1, QTime(9, 30), PostStatus::queued, "Behind the scenes of the scheduler loop", all()},
        {1, QTime(14, 0), PostStatus::draft, "Draft: notes from the meetup", masto},
        {2, QTime(10, 0), PostStatus::queued, "New blog post: exactly-once publishing with delivery records", all()},
        {3, QTime(18, 0), PostStatus::queued, "Friday links roundup", xAndSky},
        {6, QTime(11, 0), PostStatus::draft, "Idea: a thread about keyboard shortcuts", sky},
        {8, QTime(9, 0), PostStatus::queued, "Monday motivation", all()},
        {13, QTime(15, 0), PostStatus::queued, "Changelog for 0.2", all()},
    };
}

QUuid addSample(UiStack& stack, const Sample& sample, QDate today)
{
    ScheduledPost post;
    post.content = {Post::create(QString::fromUtf8(sample.text))};
    post.scheduledDate = Timestamp::fromDateTime(QDateTime(today.addDays(sample.dayOffset), sample.time));
    post.timeZoneIdentifier = QString::fromUtf8(QTimeZone::systemTimeZone().id());
    post.platforms = sample.platforms;
    post.status = sample.status;
    if (sample.status == PostStatus::failed && sample.dayOffset == 0)
        post.error = QStringLiteral("X posting error: Too Many Requests (rate limit resets at 17:15)");
    else if (sample.status == PostStatus::failed)
        post.error = QStringLiteral("Publishing was interrupted: Quillo stopped while this post was being published.\n"
                                    "Retry to deliver only what is missing.");
    return stack.scheduler.addOrUpdate(post);
}

void recordLinks(UiStack& stack, const QUuid& id)
{
    DeliveryRecord record;
    record.scheduledPostId = id;
    record.entry(QUuid::createUuid(), PlatformType::x, QStringLiteral("ada")).posts = {
        {0, QStringLiteral("1"), QStringLiteral("https://x.com/ada/status/1880000000000000000")}};
    record.entry(QUuid::createUuid(), PlatformType::bluesky, QStringLiteral("ada.example.com")).posts = {
        {0, QStringLiteral("3l"), QStringLiteral("https://bsky.app/profile/ada.example.com/post/3lfq2abc")}};
    stack.deliveries.save(record);
}

} // namespace

void addCalendarShots(ScreenshotSession& session)
{
    UiStack& stack = session.stack();
    const QDate today = stack.clock.now().toDateTime().toLocalTime().date();
    QUuid failed;
    QUuid published;
    for (const Sample& sample : samples()) {
        const QUuid id = addSample(stack, sample, today);
        if (sample.status == PostStatus::failed && sample.dayOffset == 0)
            failed = id;
        if (sample.status == PostStatus::published && sample.dayOffset == 0)
            published = id;
    }
    recordLinks(stack, published);

    FakeUrlOpener browser;
    CalendarWindow window(stack.services(), browser);
    window.open(QStringLiteral("month"), today.startOfDay(), {});
    window.selectPost(failed);
    session.save(window, QStringLiteral("calendar-month"));

    window.open(QStringLiteral("week"), QDateTime(today, QTime(9, 0)), {});
    window.selectPost(published);
    session.save(window, QStringLiteral("calendar-week"));

    window.open(QStringLiteral("day"), QDateTime(today, QTime(9, 0)), {});
    window.selectPost(failed);
    session.save(window, QStringLiteral("calendar-day"));

    window.open(QStringLiteral("list"), today.startOfDay(), {});
    session.save(window, QStringLiteral("calendar-list"));

    window.open(QStringLiteral("list"), {}, QStringLiteral("failed"));
    session.save(window, QStringLiteral("calendar-list-failed"));
}
