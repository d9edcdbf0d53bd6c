#include "app/publishing_stack.h"

#include "core/app_paths.h"
#include "media/worker_image_encoder.h"

#include <QDir>
#include <QProcessEnvironment>

PublishingStack::PublishingStack(const AppPaths& paths, PreferenceStore& preferences, SchedulerService& store,
                                 AccountManager& accounts, QNetworkAccessManager& network, const Clock& clock)
    : m_exporter(WorkerImageEncoder::defaultWorkerPath())
    , m_prober(WorkerImageEncoder::defaultWorkerPath())
    , m_media(m_exporter, preferences, QDir::tempPath())
    , m_validator(m_prober)
    , m_deliveries(QDir(paths.stateDir()).filePath(QStringLiteral("deliveries")))
    , m_publishers(network, clock, Endpoints::fromEnvironment(QProcessEnvironment::systemEnvironment()))
    , m_publishing(m_publishers, m_media, m_deliveries)
    , m_loop(store, accounts, m_publishing, m_validator, m_publishers, m_deliveries, clock)
{
}

void PublishingStack::start()
{
    m_loop.recoverInterrupted();
    m_loop.start();
}
