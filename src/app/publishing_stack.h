#pragma once

#include "app/publish_notifier.h"
#include "desktop/desktop_notifications.h"
#include "media/media_preparation_service.h"
#include "media/worker_image_encoder.h"
#include "media/worker_media_prober.h"
#include "media/worker_video_exporter.h"
#include "scheduling/media_validator.h"
#include "scheduling/network_publisher_factory.h"
#include "scheduling/publishing_service.h"
#include "scheduling/scheduler_loop.h"
#include "store/delivery_record_store.h"

#include <memory>

class AccountManager;
class AppPaths;
class Clock;
class PreferenceStore;
class QNetworkAccessManager;
class SchedulerService;

// Everything between a stored scheduled post and the networks, put together for the
// instance: the media worker's exporter and prober, the clients, the delivery records,
// the publishing service and the minute loop.
class PublishingStack {
public:
    PublishingStack(const AppPaths& paths, PreferenceStore& preferences, SchedulerService& store, AccountManager& accounts,
                    QNetworkAccessManager& network, const Clock& clock);

    // Settles posts an earlier instance left mid-publication, then starts the minute loop.
    void start();

    PublishingService& publishing() { return m_publishing; }
    DesktopNotifications& notifications() { return m_notifications; }
    SchedulerLoop& loop() { return m_loop; }

private:
    // The loop's clock: the instance's, or a faster one when QUILLO_CLOCK_SPEED asks.
    std::unique_ptr<Clock> m_fastClock;
    const Clock& m_loopClock;
    WorkerVideoExporter m_exporter;
    WorkerImageEncoder m_images;
    WorkerMediaProber m_prober;
    MediaPreparationService m_media;
    MediaValidator m_validator;
    DeliveryRecordStore m_deliveries;
    NetworkPublisherFactory m_publishers;
    PublishingService m_publishing;
    SchedulerLoop m_loop;
    DesktopNotifications m_notifications;
    PublishNotifier m_notifier;
};
