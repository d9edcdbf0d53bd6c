#include "core/preference_keys.h"
#include "core/preference_store.h"
#include "model/scheduled_post.h"
#include "support/temp_home.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QSet>

#include <gtest/gtest.h>

namespace {

// One process rewrites a large schedule in a loop (synchronous and background saves)
// while this one reads the document in a loop: every read must decode whole.
TEST(TwoProcessStore, ReaderNeverSeesAHalfWrittenDocument)
{
    TempHome home;
    PreferenceStore store(home.paths());

    QProcess writer;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("QUILLO_HOME"), home.path());
    writer.setProcessEnvironment(env);
    writer.start(QStringLiteral(STORE_WRITER), {QStringLiteral("60"), QStringLiteral("1500")});
    ASSERT_TRUE(writer.waitForStarted());

    int reads = 0;
    QSet<qsizetype> sizesSeen;
    QElapsedTimer clock;
    clock.start();
    while (writer.state() != QProcess::NotRunning && clock.elapsed() < 120000) {
        const auto document = store.data(PreferenceKeys::ScheduledPosts);
        if (document) {
            ++reads;
            try {
                sizesSeen.insert(ScheduledPost::decodeList(*document).size());
            } catch (const CodingError& error) {
                ADD_FAILURE() << "read " << reads << ": " << error.what();
                break;
            }
        }
        writer.waitForFinished(0);
    }
    writer.waitForFinished(1000);
    ASSERT_EQ(writer.state(), QProcess::NotRunning);
    EXPECT_EQ(writer.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(writer.exitCode(), 0) << writer.readAllStandardError().constData();
    EXPECT_GT(reads, 5);
    // Several different versions of the document were read, so the reads overlapped the writes.
    EXPECT_GT(sizesSeen.size(), 1);
    std::printf("%d whole reads, %lld versions seen\n", reads, static_cast<long long>(sizesSeen.size()));
}

} // namespace
