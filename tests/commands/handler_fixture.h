#pragma once

#include "channel/command_outcome.h"
#include "commands/media_importer.h"
#include "commands/url_scheme_handler.h"
#include "core/preference_store.h"
#include "events/app_events.h"
#include "media/worker_image_encoder.h"
#include "store/account_manager.h"
#include "store/scheduler_service.h"
#include "support/coro_wait.h"
#include "support/manual_clock.h"
#include "support/temp_home.h"

#include <QNetworkAccessManager>
#include <QSignalSpy>
#include <QUrl>

#include <qcoro/qcorotask.h>

#include <gtest/gtest.h>

// A URLSchemeHandler over real stores in a temporary home, with two X accounts
// ("work", nicknamed "Work", and "home"), one Bluesky account, and X and Bluesky enabled.
class HandlerFixture : public ::testing::Test {
protected:
    HandlerFixture()
        : preferences(home.paths())
        , scheduler(preferences)
        , accounts(preferences)
        , images(QStringLiteral(QUILLO_MEDIA_BINARY))
        , media(home.paths().mediaDir(), network, images, MediaImporter::Limits{4096, std::chrono::milliseconds(3000)})
        , handler(events, scheduler, accounts, media, clock)
        , alerts(&events, &AppEvents::alertRequested)
    {
        work = addAccount(PlatformType::x, QStringLiteral("work"), {{QStringLiteral("apiKey"), QStringLiteral("k1")},
                                                                   {QStringLiteral("apiSecret"), QStringLiteral("s1")}});
        personal = addAccount(PlatformType::x, QStringLiteral("home"), {{QStringLiteral("apiKey"), QStringLiteral("k2")},
                                                                       {QStringLiteral("apiSecret"), QStringLiteral("s2")}});
        sky = addAccount(PlatformType::bluesky, QStringLiteral("me.bsky.social"),
                         {{QStringLiteral("handle"), QStringLiteral("me.bsky.social")},
                          {QStringLiteral("appPassword"), QStringLiteral("pw")}});
        SocialAccount named = *accounts.account(work);
        named.nickname = QStringLiteral("Work");
        accounts.updateAccount(named);
        accounts.setPlatformEnabled(PlatformType::x, true);
        accounts.setPlatformEnabled(PlatformType::bluesky, true);
    }

    QUuid addAccount(PlatformType platform, const QString& name, const QMap<QString, QString>& credentials)
    {
        const SocialAccount account = SocialAccount::create(platform, name, credentials, clock.now());
        EXPECT_EQ(accounts.addAccount(account), std::nullopt);
        return account.id;
    }

    CommandOutcome send(const QString& url) { return waitForTask(handler.handle(QUrl(url))); }

    // What another process would read: the stored document, not the in-memory list.
    QList<ScheduledPost> stored()
    {
        scheduler.waitForPendingSaves();
        const auto document = preferences.data(QStringLiteral("scheduledPosts"));
        return document ? ScheduledPost::decodeList(*document) : QList<ScheduledPost>{};
    }

    ScheduledPost storedOne()
    {
        const auto posts = stored();
        EXPECT_EQ(posts.size(), 1);
        return posts.value(0);
    }

    TempHome home;
    PreferenceStore preferences;
    SchedulerService scheduler;
    AccountManager accounts;
    QNetworkAccessManager network;
    WorkerImageEncoder images;
    MediaImporter media;
    ManualClock clock;
    AppEvents events;
    URLSchemeHandler handler;
    QSignalSpy alerts;
    QUuid work;
    QUuid personal;
    QUuid sky;
};
