// The worker's media jobs on sound files made here: tone and silence in known places.
#include "core/json.h"
#include "support/wav_file.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

struct WorkerRun {
    int exitCode = -1;
    Json answer;
};

WorkerRun runWorker(const QStringList& arguments)
{
    QProcess worker;
    worker.start(QStringLiteral(QUILLO_MEDIA_BINARY), arguments);
    worker.waitForFinished(30000);
    return {worker.exitCode(), Json::parse(worker.readAllStandardOutput().toStdString(), nullptr, false)};
}

} // namespace

TEST(MediaWorker, ProbesAndReadsTheLevelEnvelope)
{
    QTemporaryDir dir;
    const QString wav = dir.filePath(QStringLiteral("tone.wav"));
    ASSERT_TRUE(writeWav(wav, 3, {{1, 2}}));

    const WorkerRun probe = runWorker({QStringLiteral("probe"), wav});
    ASSERT_EQ(probe.exitCode, 0);
    EXPECT_EQ(probe.answer["container"], "wav");
    EXPECT_NEAR(probe.answer["duration"].get<double>(), 3.0, 0.01);
    ASSERT_EQ(probe.answer["streams"].size(), 1u);
    EXPECT_EQ(probe.answer["streams"][0]["type"], "audio");
    EXPECT_EQ(probe.answer["streams"][0]["codec"], "pcm_s16le");
    EXPECT_EQ(probe.answer["streams"][0]["sampleRate"], 44100);
    EXPECT_EQ(probe.answer["streams"][0]["channels"], 2);

    const WorkerRun envelope = runWorker({QStringLiteral("envelope"), wav, QStringLiteral("--buckets"), QStringLiteral("30"),
                                    QStringLiteral("--rate"), QStringLiteral("8000")});
    ASSERT_EQ(envelope.exitCode, 0);
    EXPECT_EQ(envelope.answer["samplesPerBucket"], 800); // 3 s × 8000 Hz ÷ 30
    const auto levels = envelope.answer["levels"].get<std::vector<float>>();
    ASSERT_GE(levels.size(), 30u); // a partial last bucket may follow
    ASSERT_LE(levels.size(), 31u);
    for (std::size_t i = 0; i < 30; ++i) {
        // Buckets of 0.1 s: the tone's peak is 0.5; the middle second is silent. The buckets
        // at the edges of the silence may hold a little of the resampler's ringing.
        if (i == 9 || i == 10 || i == 19 || i == 20)
            continue;
        if (i > 10 && i < 19)
            EXPECT_LT(levels[i], 0.01f) << "bucket " << i;
        else
            EXPECT_NEAR(levels[i], 0.5f, 0.05f) << "bucket " << i;
    }
}

TEST(MediaWorker, FindsTheSilencesOfASoundTrack)
{
    QTemporaryDir dir;
    const QString wav = dir.filePath(QStringLiteral("talk.wav"));
    ASSERT_TRUE(writeWav(wav, 20, {{5, 6}, {12, 12.8}}, 22050, 1));
    const WorkerRun run = runWorker({QStringLiteral("silences"), wav});
    ASSERT_EQ(run.exitCode, 0);
    ASSERT_EQ(run.answer["silences"].size(), 2u) << run.answer.dump();
    EXPECT_NEAR(run.answer["silences"][0]["start"].get<double>(), 5, 0.12);
    EXPECT_NEAR(run.answer["silences"][0]["end"].get<double>(), 6, 0.12);
    EXPECT_NEAR(run.answer["silences"][1]["start"].get<double>(), 12, 0.12);
    EXPECT_NEAR(run.answer["silences"][1]["end"].get<double>(), 12.8, 0.12);
}

TEST(MediaWorker, BadFilesGiveClearAnswers)
{
    QTemporaryDir dir;
    QFile text(dir.filePath(QStringLiteral("notes.mp4")));
    ASSERT_TRUE(text.open(QIODevice::WriteOnly));
    text.write("this is not a video, only words");
    text.close();

    const WorkerRun probe = runWorker({QStringLiteral("probe"), text.fileName()});
    EXPECT_EQ(probe.exitCode, 1);
    EXPECT_EQ(probe.answer["error"], "unreadable");

    // Audio that cannot be read still gives an envelope: flat, so no silences come of it.
    const WorkerRun envelope = runWorker({QStringLiteral("envelope"), text.fileName(), QStringLiteral("--buckets"),
                                    QStringLiteral("50")});
    EXPECT_EQ(envelope.exitCode, 0);
    EXPECT_EQ(envelope.answer["levels"], Json(std::vector<float>(50, 0.0f)));
    EXPECT_TRUE(envelope.answer.contains("problem"));
    const WorkerRun silences = runWorker({QStringLiteral("silences"), dir.filePath(QStringLiteral("absent.wav"))});
    EXPECT_EQ(silences.exitCode, 0);
    EXPECT_TRUE(silences.answer["silences"].empty());

    EXPECT_EQ(runWorker({QStringLiteral("envelope"), text.fileName(), QStringLiteral("--buckets"), QStringLiteral("-3")})
                  .exitCode,
              2);
    EXPECT_EQ(runWorker({QStringLiteral("probe")}).exitCode, 2);
}
