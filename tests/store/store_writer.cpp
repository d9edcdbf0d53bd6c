// Helper process of the two-process test: rewrites a large schedule again and again
// through the store, alternating synchronous and background saves.
#include "core/app_paths.h"
#include "core/preference_store.h"
#include "store/scheduler_service.h"
#include "support/sample_posts.h"

#include <QCoreApplication>
#include <QLoggingCategory>

#include <cstdio>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("quillo.store.info=false"));
    const QStringList args = app.arguments();
    if (args.size() != 3)
        return 2;
    const int rounds = args[1].toInt();
    const int size = args[2].toInt();

    PreferenceStore store(AppPaths::fromEnvironment());
    SchedulerService service(store);
    const QList<ScheduledPost> even = samplePosts(size, 0);
    const QList<ScheduledPost> odd = samplePosts(size + 1, 1);
    for (int round = 0; round < rounds; ++round) {
        const QList<ScheduledPost>& posts = round % 2 ? odd : even;
        if (round % 3 == 0) {
            if (!service.savePosts(posts))
                return 1;
            service.loadPosts();
            continue;
        }
        service.addOrUpdate(posts[round % posts.size()]);
        service.waitForPendingSaves();
    }
    std::printf("done\n");
    return 0;
}
