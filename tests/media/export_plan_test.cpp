// The pure parts of an export: which sizes a preset gives, how kept ranges and captions
// are laid out, SubRip in and out, where the watermark goes, the job request's JSON form.
#include "media/composition.h"
#include "media/export_session_preset.h"
#include "media/srt_file.h"
#include "media/video_export_request.h"
#include "media/watermark.h"

#include <gtest/gtest.h>

TEST(ExportPlan, SizedPresetsScaleDownToFitKeepTheAspectAndNeverEnlarge)
{
    using P = ExportSessionPreset;
    EXPECT_EQ(outputSize(P::size1280x720, QSize(1920, 1080)), QSize(1280, 720));
    // A portrait picture fits the box turned.
    EXPECT_EQ(outputSize(P::size1280x720, QSize(1080, 1920)), QSize(720, 1280));
    // Cinemascope is bounded by width; odd results round to even.
    EXPECT_EQ(outputSize(P::size960x540, QSize(2048, 858)), QSize(960, 402));
    // Exactly the box is no enlargement; anything smaller on both sides is.
    EXPECT_EQ(outputSize(P::size1920x1080, QSize(1920, 1080)), QSize(1920, 1080));
    EXPECT_FALSE(outputSize(P::size3840x2160, QSize(1920, 1080)));
    EXPECT_FALSE(outputSize(P::size1920x1080, QSize(1280, 1000)));
    // The quality presets keep the size, made even.
    EXPECT_EQ(outputSize(P::highestQuality, QSize(361, 641)), QSize(362, 642));
    EXPECT_FALSE(outputSize(P::passthrough, QSize(640, 360)));

    EXPECT_EQ(sessionPresetsFor(VideoExportPreset::socialMedia),
              (QList<P>{P::size960x540, P::mediumQuality, P::highestQuality}));
    EXPECT_EQ(sessionPresetsFor(VideoExportPreset::fourK), (QList<P>{P::size3840x2160, P::size1920x1080, P::highestQuality}));
    for (const P preset : {P::passthrough, P::size960x540, P::highestQuality})
        EXPECT_EQ(exportSessionPresetFromName(name(preset)), preset);
}

TEST(ExportPlan, ClipsAreCheckedAndCaptionsFollowTheCuts)
{
    QString error;
    EXPECT_EQ(Composition::make(10, {}, &error)->ranges(), (QList<TimeRange>{{0, 10}}));
    // A clip ending a rounding error past the end is cut there.
    const auto composition = Composition::make(10, {{1, 3}, {5, 10.05}}, &error);
    ASSERT_TRUE(composition);
    EXPECT_DOUBLE_EQ(composition->duration(), 7);
    for (const QList<TimeRange>& bad : {QList<TimeRange>{{2, 2}}, QList<TimeRange>{{3, 4}, {1, 2}},
                                        QList<TimeRange>{{1, 3}, {2, 4}}, QList<TimeRange>{{9, 11}}, QList<TimeRange>{{-1, 2}}}) {
        error.clear();
        EXPECT_FALSE(Composition::make(10, bad, &error));
        EXPECT_TRUE(error.startsWith(QStringLiteral("Clip "))) << error.toStdString();
    }

    const auto caption = [](double start, double end, const char* text) {
        SubtitleSegment segment;
        segment.start = start;
        segment.end = end;
        segment.text = QString::fromUtf8(text);
        return segment;
    };
    // Kept: 1–3 and 5–10. A caption across the cut is split; one in the removed part goes.
    const QList<SubtitleSegment> mapped =
        composition->mapSubtitles({caption(2.5, 6, "across"), caption(3.5, 4.5, "removed"), caption(0, 1.5, "start"), caption(6, 7, " ")});
    ASSERT_EQ(mapped.size(), 3);
    EXPECT_EQ(mapped[0].text, QStringLiteral("start"));
    EXPECT_DOUBLE_EQ(mapped[0].start, 0);
    EXPECT_DOUBLE_EQ(mapped[0].end, 0.5);
    EXPECT_DOUBLE_EQ(mapped[1].start, 1.5);
    EXPECT_DOUBLE_EQ(mapped[1].end, 2);
    EXPECT_DOUBLE_EQ(mapped[2].start, 2);
    EXPECT_DOUBLE_EQ(mapped[2].end, 3);
}

TEST(ExportPlan, SubRipRoundTripsAndReportsTheLineItCannotRead)
{
    QString error;
    const auto parsed = SrtFile::parse("\xEF\xBB\xBF" "1\r\n00:00:01,5 --> 00:00:02.250\r\nHello\r\nthere\r\n\r\n"
                                       "00:01:00,000 --> 01:00:00,001\nno number\n",
                                       &error);
    ASSERT_TRUE(parsed) << error.toStdString();
    ASSERT_EQ(parsed->size(), 2);
    EXPECT_DOUBLE_EQ((*parsed)[0].start, 1.5);
    EXPECT_DOUBLE_EQ((*parsed)[0].end, 2.25);
    EXPECT_EQ((*parsed)[0].text, QStringLiteral("Hello\nthere"));
    EXPECT_DOUBLE_EQ((*parsed)[1].end, 3600.001);
    const auto again = SrtFile::parse(SrtFile::write(*parsed), &error);
    ASSERT_TRUE(again);
    EXPECT_EQ((*again)[1].text, QStringLiteral("no number"));
    EXPECT_DOUBLE_EQ((*again)[1].end, 3600.001);

    EXPECT_FALSE(SrtFile::parse("1\n00:00:01 --> later\nHello\n", &error));
    EXPECT_EQ(error.left(7), QStringLiteral("Line 2:"));
}

TEST(ExportPlan, TheWatermarkSitsInItsCornerScaledFromThePicture)
{
    Watermark watermark;
    watermark.imagePath = QStringLiteral("/marks/logo.png");
    // 1080p: the long side is 1080 × 0.4 × 0.5 = 216 px, the margin 1080 × 0.04 = 43 px.
    EXPECT_EQ(watermark.placement(QSize(1920, 1080), QSize(400, 200)), QRect(1920 - 43 - 216, 1080 - 43 - 108, 216, 108));
    watermark.corner = WatermarkCorner::topLeft;
    watermark.marginMultiplier = 2;
    EXPECT_EQ(watermark.placement(QSize(1920, 1080), QSize(400, 200)).topLeft(), QPoint(86, 86));
    // Never larger than the picture, whatever the multiplier.
    watermark.sizeMultiplier = 50;
    const QRect huge = watermark.placement(QSize(320, 180), QSize(100, 100));
    EXPECT_LE(huge.width(), 180);
    EXPECT_GE(huge.left(), 0);

    VideoExportRequest request;
    request.input = QStringLiteral("/v/in.mov");
    request.output = QStringLiteral("/v/out.mp4");
    request.presets = {ExportSessionPreset::passthrough, ExportSessionPreset::highestQuality};
    request.clips = {{1, 2.5}};
    request.watermark = watermark;
    QString error;
    const auto decoded = VideoExportRequest::fromJson(request.toJson(), &error);
    ASSERT_TRUE(decoded) << error.toStdString();
    EXPECT_EQ(decoded->presets, request.presets);
    EXPECT_EQ(decoded->clips, request.clips);
    EXPECT_EQ(decoded->watermark, request.watermark);
    EXPECT_FALSE(VideoExportRequest::fromJson(Json{{"input", "a"}, {"output", "b"}, {"presets", {"AVAssetExportPreset640x480"}}}, &error));
    EXPECT_FALSE(VideoExportRequest::fromJson(Json{{"input", "a"}}, &error));
}
