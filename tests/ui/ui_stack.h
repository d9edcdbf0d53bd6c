#pragma once

// The services a desktop window observes, over real stores in a temporary home, with
// publishers that record what reaches them. Widget tests, the screenshot tool and the
// window benchmarks build their windows over it.
#include "app/window_host.h"
#include "compose/media_attacher.h"
#include "core/app_paths.h"
#include "core/preference_store.h"
#include "events/app_events.h"
#include "media/media_error.h"
#include "media/media_preparation_service.h"
#include "scheduling/publishing_service.h"
#include "store/account_manager.h"
#include "store/delivery_record_store.h"
#include "store/scheduler_service.h"
#include "support/manual_clock.h"
#include "support/temp_home.h"
#include "../scheduling/scheduling_fakes.h"

#include <QFile>
#include <QImage>

// Hands back the file as it is when it decodes: tests attach PNG files, which need no
// converting, and broken ones, which the worker would refuse.
class PassThroughImageEncoder : public ImageEncoder {
public:
    QCoro::Task<QByteArray> encode(ImageEncodeRequest request) override
    {
        QFile file(request.input);
        if (!file.open(QIODevice::ReadOnly))
            throw MediaError::unreadableInput(request.input);
        const QByteArray bytes = file.readAll();
        if (QImage::fromData(bytes).isNull())
            throw MediaError::unreadableInput(request.input);
        co_return bytes;
    }
};

struct UiStack {
    UiStack()
        : paths(home.paths())
        , preferences(paths)
        , scheduler(preferences)
        , accounts(preferences)
        , media(exporter, images, preferences, home.path())
        , deliveries(paths.deliveriesDir())
        , publishing(publishers, media, deliveries)
        , attacher(paths.mediaDir(), attachedImages, prober)
    {
    }

    InstanceServices services() { return {paths, events, preferences, scheduler, accounts, publishing, clock}; }

    // Adds an enabled account; X gets API keys, the others a handle and app password.
    SocialAccount addAccount(PlatformType platform, const QString& name)
    {
        const QMap<QString, QString> credentials = platform == PlatformType::x
            ? QMap<QString, QString>{{QString(CredentialKeys::apiKey), QStringLiteral("key-") + name},
                                     {QString(CredentialKeys::apiSecret), QStringLiteral("s")}}
            : QMap<QString, QString>{{QString(CredentialKeys::handle), name},
                                     {QString(CredentialKeys::appPassword), QStringLiteral("p")}};
        const SocialAccount account = SocialAccount::create(platform, name, credentials, kFixedTestTime);
        if (const auto refused = accounts.addAccount(account))
            qFatal("UiStack: account %s refused: %s", qPrintable(name), qPrintable(*refused));
        accounts.setPlatformEnabled(platform, true);
        return account;
    }

    TempHome home;
    AppPaths paths;
    ManualClock clock;
    PreferenceStore preferences;
    SchedulerService scheduler;
    AccountManager accounts;
    AppEvents events;
    UnusedExporter exporter;
    UnusedImageEncoder images;
    MediaPreparationService media;
    DeliveryRecordStore deliveries;
    FakePublisherFactory publishers;
    PublishingService publishing;
    PassThroughImageEncoder attachedImages;
    AcceptingProber prober;
    MediaAttacher attacher;
};
