// Exports through the worker, by hand (`quillo-media export`) and as the instance does it
// (WorkerVideoExporter over the JSON-lines job), on videos made here.
#include "core/json.h"
#include "media/media_error.h"
#include "media/worker_video_exporter.h"
#include "support/coro_wait.h"
#include "support/test_video.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

struct WorkerRun {
    int exitCode = -1;
    Json answer;
    QString log;
};

WorkerRun runWorker(const QStringList& arguments)
{
    QProcess worker;
    worker.start(QStringLiteral(QUILLO_MEDIA_BINARY), arguments);
    worker.waitForFinished(120000);
    const QList<QByteArray> lines = worker.readAllStandardOutput().trimmed().split('\n');
    return {worker.exitCode(), Json::parse(lines.constLast().toStdString(), nullptr, false),
            QString::fromUtf8(worker.readAllStandardError())};
}

Json probe(const QString& path)
{
    return runWorker({QStringLiteral("probe"), path}).answer;
}

class VideoExport : public ::testing::Test {
protected:
    QString make(const QString& name, const TestVideoOptions& options)
    {
        const QString path = dir.filePath(name);
        QString error;
        EXPECT_TRUE(writeTestVideo(path, options, &error)) << error.toStdString();
        return path;
    }
    QString out(const QString& name) const { return dir.filePath(name); }
    // Nothing half-written may be left beside the outputs.
    bool hasPartialFiles() const { return !QDir(dir.path()).entryList({QStringLiteral("*.part")}, QDir::Files).isEmpty(); }

    QTemporaryDir dir;
};

constexpr double kFrame = 1.0 / 25;

} // namespace

TEST_F(VideoExport, ReencodedTrimHasTheKeptDurationToTheFrameAndKeepsSoundInStep)
{
    TestVideoOptions options;
    options.width = 640;
    options.height = 360;
    options.seconds = 10;
    options.keyFrameInterval = 50;
    options.quiet = {{4, 6}};
    const QString source = make(QStringLiteral("tone.mp4"), options);

    const WorkerRun run = runWorker({QStringLiteral("export"), source, out(QStringLiteral("trim.mp4")), QStringLiteral("--preset"),
                                     QStringLiteral("socialMedia"), QStringLiteral("--clips"), QStringLiteral("1.5-4,6-9.25")});
    ASSERT_EQ(run.exitCode, 0) << run.log.toStdString();
    // 640x360 is smaller than 960x540: the first preset would enlarge it and is passed over.
    EXPECT_TRUE(run.log.contains(QStringLiteral("VideoEditor: Trying export with preset: AVAssetExportPreset960x540")));
    EXPECT_EQ(run.answer["preset"], "AVAssetExportPresetMediumQuality");
    EXPECT_TRUE(run.log.contains(QStringLiteral("progress: 100%")));
    EXPECT_NEAR(streamDuration(out(QStringLiteral("trim.mp4")), "video"), 5.75, kFrame);
    EXPECT_NEAR(streamDuration(out(QStringLiteral("trim.mp4")), "audio"), 5.75, kFrame);
    const Json facts = probe(out(QStringLiteral("trim.mp4")));
    EXPECT_EQ(facts["streams"][0]["width"], 640);
    EXPECT_EQ(facts["streams"][0]["height"], 360);

    // The silence 4–6 s was cut out exactly, so the envelope holds no quiet stretch.
    const Json silences = runWorker({QStringLiteral("silences"), out(QStringLiteral("trim.mp4"))}).answer;
    EXPECT_TRUE(silences["silences"].empty()) << silences.dump();
}

TEST_F(VideoExport, PresetsFallBackWithoutEverEnlargingAndComeOutUpright)
{
    TestVideoOptions fullHd;
    fullHd.width = 1920;
    fullHd.height = 1080;
    fullHd.seconds = 0.4;
    fullHd.withAudio = false;
    const WorkerRun fourK = runWorker({QStringLiteral("export"), make(QStringLiteral("hd.mp4"), fullHd),
                                       out(QStringLiteral("4k.mov")), QStringLiteral("--preset"), QStringLiteral("fourK")});
    ASSERT_EQ(fourK.exitCode, 0) << fourK.log.toStdString();
    EXPECT_EQ(fourK.answer["preset"], "AVAssetExportPreset1920x1080");
    EXPECT_TRUE(fourK.log.contains(QStringLiteral("Cannot use preset AVAssetExportPreset3840x2160")));
    EXPECT_TRUE(fourK.log.contains(QStringLiteral("fileType: com.apple.quicktime-movie")));
    EXPECT_EQ(probe(out(QStringLiteral("4k.mov")))["container"], "mov,mp4,m4a,3gp,3g2,mj2");

    // An odd-sized picture a phone recorded turned: the export is upright, even-sized, unrotated.
    TestVideoOptions phone;
    phone.width = 641;
    phone.height = 361;
    phone.seconds = 0.4;
    phone.rotation = 90;
    const QString turned = make(QStringLiteral("phone.mp4"), phone);
    ASSERT_EQ(probe(turned)["rotation"], 90);
    const WorkerRun upright = runWorker({QStringLiteral("export"), turned, out(QStringLiteral("upright.mp4")),
                                         QStringLiteral("--preset"), QStringLiteral("hd")});
    ASSERT_EQ(upright.exitCode, 0) << upright.log.toStdString();
    EXPECT_EQ(upright.answer["preset"], "AVAssetExportPresetHighestQuality");
    const Json facts = probe(out(QStringLiteral("upright.mp4")));
    EXPECT_EQ(facts["rotation"], 0);
    EXPECT_EQ(facts["streams"][0]["width"], 362);
    EXPECT_EQ(facts["streams"][0]["height"], 642);
}

TEST_F(VideoExport, PassthroughCopiesEveryBitAndStartsRangesOnKeyFrames)
{
    TestVideoOptions options;
    options.seconds = 6;
    options.keyFrameInterval = 25;
    options.rotation = 270;
    const QString source = make(QStringLiteral("camera.mp4"), options);

    const WorkerRun whole = runWorker({QStringLiteral("export"), source, out(QStringLiteral("copy.m4v")), QStringLiteral("--preset"),
                                       QStringLiteral("original")});
    ASSERT_EQ(whole.exitCode, 0) << whole.log.toStdString();
    const std::vector<QByteArray> copied = videoPackets(out(QStringLiteral("copy.m4v")));
    const std::vector<QByteArray> original = videoPackets(source);
    ASSERT_EQ(copied.size(), original.size());
    EXPECT_TRUE(copied == original) << "a copied packet differs from the source";
    EXPECT_EQ(probe(out(QStringLiteral("copy.m4v")))["rotation"], 270);

    // Key frames each second: 2.5–3.5 starts at 2 s, 4.2–5 at 4 s.
    const WorkerRun cut = runWorker({QStringLiteral("export"), source, out(QStringLiteral("cut.mp4")), QStringLiteral("--preset"),
                                     QStringLiteral("original"), QStringLiteral("--clips"), QStringLiteral("2.5-3.5,4.2-5")});
    ASSERT_EQ(cut.exitCode, 0) << cut.log.toStdString();
    EXPECT_NEAR(streamDuration(out(QStringLiteral("cut.mp4")), "video"), 1.5 + 1.0, 2 * kFrame);
    const std::vector<QByteArray> sourcePackets = videoPackets(source);
    const std::vector<QByteArray> cutPackets = videoPackets(out(QStringLiteral("cut.mp4")));
    ASSERT_FALSE(cutPackets.empty());
    EXPECT_EQ(cutPackets.front(), sourcePackets[50]);
}

TEST_F(VideoExport, CaptionsAndWatermarkAreDrawnAndRuleOutPassthrough)
{
    TestVideoOptions options;
    options.seconds = 2;
    const QString source = make(QStringLiteral("talk.mp4"), options);
    QFile srt(dir.filePath(QStringLiteral("talk.srt")));
    ASSERT_TRUE(srt.open(QIODevice::WriteOnly));
    srt.write("1\r\n00:00:00,000 --> 00:00:02,000\r\nHELLO HELLO HELLO\r\n");
    srt.close();
    QFile watermark(dir.filePath(QStringLiteral("mark.ppm")));
    ASSERT_TRUE(watermark.open(QIODevice::WriteOnly));
    watermark.write("P6 4 2 255\n" + QByteArray(4 * 2 * 3, '\0').replace(QByteArray(3, '\0'), QByteArray("\xff\x00\x00", 3)));
    watermark.close();

    const WorkerRun original = runWorker({QStringLiteral("export"), source, out(QStringLiteral("o.mp4")), QStringLiteral("--preset"),
                                          QStringLiteral("original"), QStringLiteral("--subtitles"), srt.fileName()});
    EXPECT_EQ(original.exitCode, 1);
    EXPECT_EQ(original.answer["error"], "noPreset");
    EXPECT_TRUE(original.log.contains(QStringLiteral("VideoEditor: Skipping passthrough preset because videoComposition is set")));
    EXPECT_TRUE(original.log.contains(QStringLiteral("VideoEditor: No more presets to try, export failed")));
    EXPECT_FALSE(QFile::exists(out(QStringLiteral("o.mp4"))));

    const WorkerRun drawn = runWorker({QStringLiteral("export"), source, out(QStringLiteral("d.mp4")), QStringLiteral("--preset"),
                                       QStringLiteral("socialMedia"), QStringLiteral("--subtitles"), srt.fileName(),
                                       QStringLiteral("--watermark-image"), watermark.fileName()});
    ASSERT_EQ(drawn.exitCode, 0) << drawn.log.toStdString();
    EXPECT_TRUE(drawn.log.contains(QStringLiteral("subtitles: 1")));
    const TestFrame plain = readTestFrame(source, 1.0);
    const TestFrame frame = readTestFrame(out(QStringLiteral("d.mp4")), 1.0);
    ASSERT_EQ(frame.width, 320);
    // 320x180: the mark's long side is 180 × 0.4 × 0.5 = 36 px, 7 px from the bottom right.
    const std::vector<int> mark = frame.at(320 - 7 - 18, 180 - 7 - 9);
    EXPECT_GT(mark[0], 180);
    EXPECT_LT(mark[1], 90);
    // The captions change the bottom middle of the picture.
    int changed = 0;
    for (int x = 100; x < 220; ++x)
        changed += std::abs(frame.at(x, 165)[0] - plain.at(x, 165)[0]) > 60 ? 1 : 0;
    EXPECT_GT(changed, 10);
}

TEST_F(VideoExport, BadInputGetsAClearErrorAndLeavesNothingBehind)
{
    QFile text(dir.filePath(QStringLiteral("notes.mp4")));
    ASSERT_TRUE(text.open(QIODevice::WriteOnly));
    text.write("these are my notes, not a video\n");
    text.close();
    const QStringList hd{QStringLiteral("--preset"), QStringLiteral("hd")};
    const WorkerRun notVideo = runWorker(QStringList{QStringLiteral("export"), text.fileName(), out(QStringLiteral("a.mp4"))} + hd);
    EXPECT_EQ(notVideo.exitCode, 1);
    EXPECT_EQ(notVideo.answer["error"], "unreadable");

    TestVideoOptions soundOnly;
    soundOnly.withVideo = false;
    soundOnly.seconds = 1;
    const WorkerRun noVideo = runWorker(
        QStringList{QStringLiteral("export"), make(QStringLiteral("voice.m4a"), soundOnly), out(QStringLiteral("b.mp4"))} + hd);
    EXPECT_EQ(noVideo.answer["message"], "No video track found");

    TestVideoOptions silent;
    silent.seconds = 3;
    silent.withAudio = false;
    const QString mute = make(QStringLiteral("mute.mp4"), silent);
    const WorkerRun noSound = runWorker(QStringList{QStringLiteral("export"), mute, out(QStringLiteral("c.mp4"))} + hd);
    EXPECT_EQ(noSound.exitCode, 0) << noSound.log.toStdString();
    EXPECT_EQ(streamDuration(out(QStringLiteral("c.mp4")), "audio"), -1);
    EXPECT_TRUE(runWorker({QStringLiteral("silences"), mute}).answer["silences"].empty());

    for (const QString& clips : {QStringLiteral("1-1"), QStringLiteral("2-3,1-1.5"), QStringLiteral("2-9")}) {
        const WorkerRun wrong = runWorker(
            QStringList{QStringLiteral("export"), mute, out(QStringLiteral("d.mp4")), QStringLiteral("--clips"), clips} + hd);
        EXPECT_EQ(wrong.answer["error"], "invalidClips") << clips.toStdString();
        EXPECT_TRUE(QString::fromStdString(wrong.answer["message"].get<std::string>()).startsWith(QStringLiteral("Clip ")));
    }
    // A download that did not finish: the header promises 3 s, the pictures stop near 1.5 s.
    ASSERT_EQ(runWorker({QStringLiteral("export"), mute, out(QStringLiteral("whole.mp4")), QStringLiteral("--preset"),
                         QStringLiteral("original")})
                  .exitCode,
              0);
    QFile whole(out(QStringLiteral("whole.mp4")));
    ASSERT_TRUE(whole.open(QIODevice::ReadWrite));
    whole.resize(whole.size() / 2);
    whole.close();
    for (const QString& preset : {QStringLiteral("original"), QStringLiteral("hd")}) {
        const WorkerRun cut = runWorker({QStringLiteral("export"), whole.fileName(), out(QStringLiteral("f.mp4")),
                                         QStringLiteral("--preset"), preset});
        EXPECT_EQ(cut.answer["error"], "exportFailed") << cut.answer.dump();
        EXPECT_TRUE(QString::fromStdString(cut.answer.value("message", std::string())).contains(QStringLiteral("cut short")));
    }
    const WorkerRun unwritable =
        runWorker(QStringList{QStringLiteral("export"), mute, dir.filePath(QStringLiteral("missing/folder/e.mp4"))} + hd);
    EXPECT_EQ(unwritable.exitCode, 1);
    EXPECT_EQ(unwritable.answer["error"], "exportFailed");

    for (const QString& name : {QStringLiteral("a.mp4"), QStringLiteral("b.mp4"), QStringLiteral("d.mp4"), QStringLiteral("f.mp4")})
        EXPECT_FALSE(QFile::exists(out(name))) << name.toStdString();
    EXPECT_FALSE(hasPartialFiles());
}

TEST_F(VideoExport, TheInstanceSideReportsProgressAndCancelsWithoutLeftovers)
{
    TestVideoOptions options;
    options.width = 640;
    options.height = 360;
    options.seconds = 6;
    const QString source = make(QStringLiteral("long.mp4"), options);

    WorkerVideoExporter exporter(QStringLiteral(QUILLO_MEDIA_BINARY));
    VideoExportRequest request;
    request.input = source;
    request.output = out(QStringLiteral("ready.mp4"));
    request.presets = sessionPresetsFor(VideoExportPreset::socialMedia);
    request.clips = {TimeRange{1, 2}, TimeRange{3, 4.5}};
    std::vector<double> progress;
    const QString ready = waitForTask(exporter.exportVideo(request, [&](double value) { progress.push_back(value); }));
    EXPECT_EQ(ready, request.output);
    EXPECT_NEAR(streamDuration(ready, "video"), 2.5, kFrame);
    ASSERT_FALSE(progress.empty());
    EXPECT_TRUE(std::is_sorted(progress.begin(), progress.end()));
    EXPECT_GE(progress.back(), 0.9);

    // Cancelled at its first progress report: the worker ends and its partial file goes.
    request.output = out(QStringLiteral("cancelled.mp4"));
    request.clips = {};
    request.presets = {ExportSessionPreset::highestQuality};
    try {
        waitForTask(exporter.exportVideo(request, [&](double) { exporter.cancel(); }));
        ADD_FAILURE() << "the export was not cancelled";
    } catch (const MediaError& error) {
        EXPECT_EQ(error.kind(), MediaError::Kind::cancelled);
    }
    EXPECT_FALSE(QFile::exists(request.output));
    EXPECT_FALSE(hasPartialFiles());

    // A job the worker refuses comes back as a clear error of the request.
    request.input = dir.filePath(QStringLiteral("gone.mp4"));
    try {
        waitForTask(exporter.exportVideo(request, [](double) {}));
        ADD_FAILURE() << "a missing file was exported";
    } catch (const MediaError& error) {
        EXPECT_EQ(error.kind(), MediaError::Kind::unreadableInput);
    }
}

TEST_F(VideoExport, AStalledOrCrashingWorkerIsEndedAndReported)
{
    const auto fakeWorker = [&](const QString& name, const QByteArray& body) {
        QFile script(dir.filePath(name));
        EXPECT_TRUE(script.open(QIODevice::WriteOnly));
        script.write("#!/bin/sh\n" + body);
        script.close();
        script.setPermissions(script.permissions() | QFileDevice::ExeOwner);
        return script.fileName();
    };
    VideoExportRequest request;
    request.input = dir.filePath(QStringLiteral("in.mp4"));
    request.output = dir.filePath(QStringLiteral("out.mp4"));
    request.presets = {ExportSessionPreset::highestQuality};

    WorkerVideoExporter stalled(fakeWorker(QStringLiteral("stall.sh"), "echo '{\"progress\":0.1}'\nexec sleep 30\n"),
                                std::chrono::milliseconds(300));
    try {
        waitForTask(stalled.exportVideo(request, [](double) {}));
        ADD_FAILURE() << "a stalled worker was waited for";
    } catch (const MediaError& error) {
        EXPECT_EQ(error.kind(), MediaError::Kind::workerFailed);
        EXPECT_TRUE(error.message().contains(QStringLiteral("stopped making progress")));
    }

    WorkerVideoExporter crashing(fakeWorker(QStringLiteral("crash.sh"), "kill -SEGV $$\n"));
    try {
        waitForTask(crashing.exportVideo(request, [](double) {}));
        ADD_FAILURE() << "a crashed worker gave a result";
    } catch (const MediaError& error) {
        EXPECT_EQ(error.kind(), MediaError::Kind::workerFailed);
    }
}
