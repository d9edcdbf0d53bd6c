#include "app/publish_notifier.h"

#include "app/app_log.h"
#include "scheduling/publish_error.h"

namespace {

constexpr qsizetype kHeadlineLength = 60;

} // namespace

PublishNotifier::PublishNotifier(SchedulerLoop& loop, DesktopNotifications& notifications, QObject* parent)
    : QObject(parent)
    , m_notifications(notifications)
{
    connect(&loop, &SchedulerLoop::postPublished, this, &PublishNotifier::published);
    connect(&loop, &SchedulerLoop::postFailed, this, &PublishNotifier::failed);
}

QString PublishNotifier::headline(const ScheduledPost& post)
{
    const QString text = post.content.isEmpty() ? QString() : post.content.first().text.simplified();
    if (text.isEmpty())
        return QStringLiteral("A post with media");
    if (text.size() <= kHeadlineLength)
        return QStringLiteral("“") + text + QStringLiteral("”");
    return QStringLiteral("“") + text.left(kHeadlineLength).trimmed() + QStringLiteral("…”");
}

void PublishNotifier::published(const ScheduledPost& post, const QList<PublishResult>& results, std::chrono::seconds late)
{
    QStringList where;
    for (const PublishResult& result : results)
        where.append(publishingName(result.platform) + QLatin1Char(' ') + result.accountName);
    QString body = headline(post) + QStringLiteral(" is on ") + where.join(QStringLiteral(", ")) + QLatin1Char('.');
    if (late >= std::chrono::minutes(2))
        body += QStringLiteral(" It went out %1 minutes late: Quillo was not running at its time.").arg(late.count() / 60);
    qCInfo(lcApp).noquote() << QStringLiteral("🔔 Published: ") + body;
    m_notifications.notify(DesktopNotifications::Kind::success, QStringLiteral("Post published"), body);
}

void PublishNotifier::failed(const ScheduledPost& post, const QString& error)
{
    const QString body = headline(post) + QStringLiteral(" was not published: ") + error.section(QLatin1Char('\n'), 0, 0);
    qCWarning(lcApp).noquote() << QStringLiteral("🔔 Failed: ") + body;
    m_notifications.notify(DesktopNotifications::Kind::failure, QStringLiteral("Post not published"), body);
}
