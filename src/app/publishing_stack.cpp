#include "app/publishing_stack.h"

#include "app/app_log.h"
#include "core/accelerated_clock.h"
#include "core/app_paths.h"
#include "media/worker_image_encoder.h"

#include <QDir>
#include <QProcessEnvironment>

namespace {

std::unique_ptr<Clock> fastClockFromEnvironment(const Clock& clock)
{
    bool ok = false;
    const double speed = qEnvironmentVariable("QUILLO_CLOCK_SPEED").toDouble(&ok);
    if (!ok || speed <= 1)
        return nullptr;
    qCWarning(lcApp).noquote() << QStringLiteral("⏩ The scheduler's clock runs %1 times faster (QUILLO_CLOCK_SPEED)").arg(speed);
    return std::make_unique<AcceleratedClock>(clock, speed);
}

} // namespace

PublishingStack::PublishingStack(const AppPaths& paths, PreferenceStore& preferences, SchedulerService& store,
                                 AccountManager& accounts, QNetworkAccessManager& network, const Clock& clock)
    : m_fastClock(fastClockFromEnvironment(clock))
    , m_loopClock(m_fastClock ? *m_fastClock : clock)
    , m_exporter(WorkerImageEncoder::defaultWorkerPath())
    , m_images(WorkerImageEncoder::defaultWorkerPath())
    , m_prober(WorkerImageEncoder::defaultWorkerPath())
    , m_media(m_exporter, m_images, preferences, QDir::tempPath())
    , m_validator(m_prober)
    , m_deliveries(paths.deliveriesDir())
    , m_publishers(network, clock, m_images, Endpoints::fromEnvironment(QProcessEnvironment::systemEnvironment()))
    , m_publishing(m_publishers, m_media, m_deliveries)
    , m_loop(store, accounts, m_publishing, m_validator, m_publishers, m_deliveries, m_loopClock)
    , m_notifier(m_loop, m_notifications)
{
    if (m_fastClock)
        m_loop.setTimeScale(static_cast<const AcceleratedClock&>(*m_fastClock).speed());
}

void PublishingStack::start()
{
    m_loop.recoverInterrupted();
    m_loop.start();
}
