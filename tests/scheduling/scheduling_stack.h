#pragma once

// The minute loop over the real post store, account manager and publishing service, with
// publishers that record what reaches them and one enabled, default X account "ada".
#include "core/preference_store.h"
#include "media/media_preparation_service.h"
#include "scheduling/media_validator.h"
#include "scheduling/publishing_service.h"
#include "scheduling/scheduler_loop.h"
#include "store/account_manager.h"
#include "store/delivery_record_store.h"
#include "store/scheduler_service.h"
#include "support/manual_clock.h"
#include "support/temp_home.h"
#include "scheduling_fakes.h"

struct SchedulingStack {
    SchedulingStack()
        : preferences(home.paths())
        , store(preferences)
        , accounts(preferences)
        , media(exporter, images, preferences, home.path())
        , validator(prober)
        , deliveries(home.path() + QStringLiteral("/deliveries"))
        , publishing(publishers, media, deliveries)
        , loop(store, accounts, publishing, validator, publishers, deliveries, clock)
    {
        x = SocialAccount::create(PlatformType::x, QStringLiteral("ada"),
                                  {{QStringLiteral("apiKey"), QStringLiteral("k")}, {QStringLiteral("apiSecret"), QStringLiteral("s")},
                                   {QStringLiteral("accessToken"), QStringLiteral("t")},
                                   {QStringLiteral("accessSecret"), QStringLiteral("u")}},
                                  kFixedTestTime);
        x.isDefault = true;
        accounts.addAccount(x);
        accounts.setPlatformEnabled(PlatformType::x, true);
    }

    TempHome home;
    ManualClock clock;
    PreferenceStore preferences;
    SchedulerService store;
    AccountManager accounts;
    UnusedExporter exporter;
    UnusedImageEncoder images;
    MediaPreparationService media;
    AcceptingProber prober;
    MediaValidator validator;
    DeliveryRecordStore deliveries;
    FakePublisherFactory publishers;
    PublishingService publishing;
    SchedulerLoop loop;
    SocialAccount x;
};
