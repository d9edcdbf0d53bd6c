#pragma once

// The services a desktop window observes, over real stores in a temporary home, with
// publishers that record what reaches them. Widget tests, the screenshot tool and the
// window benchmarks build their windows over it.
#include "app/window_host.h"
#include "core/app_paths.h"
#include "core/preference_store.h"
#include "events/app_events.h"
#include "media/media_preparation_service.h"
#include "scheduling/publishing_service.h"
#include "store/account_manager.h"
#include "store/delivery_record_store.h"
#include "store/scheduler_service.h"
#include "support/manual_clock.h"
#include "support/temp_home.h"
#include "../scheduling/scheduling_fakes.h"

struct UiStack {
    UiStack()
        : paths(home.paths())
        , preferences(paths)
        , scheduler(preferences)
        , accounts(preferences)
        , media(exporter, images, preferences, home.path())
        , deliveries(paths.deliveriesDir())
        , publishing(publishers, media, deliveries)
    {
    }

    InstanceServices services() { return {paths, events, preferences, scheduler, accounts, publishing, clock}; }

    // Adds an enabled account; X gets API keys, the others a handle and app password.
    SocialAccount addAccount(PlatformType platform, const QString& name)
    {
        const QMap<QString, QString> credentials = platform == PlatformType::x
            ? QMap<QString, QString>{{QString(CredentialKeys::apiKey), QStringLiteral("k")},
                                     {QString(CredentialKeys::apiSecret), QStringLiteral("s")}}
            : QMap<QString, QString>{{QString(CredentialKeys::handle), name},
                                     {QString(CredentialKeys::appPassword), QStringLiteral("p")}};
        const SocialAccount account = SocialAccount::create(platform, name, credentials, kFixedTestTime);
        accounts.addAccount(account);
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
};
