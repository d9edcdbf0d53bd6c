// The timeline's edits as the editor window will drive them: splits, merges, removals,
// undo, and the two silence actions on a real envelope.
#include "media/clip_edits.h"
#include "media/timeline_editor.h"
#include "support/coro_wait.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

#include <cmath>

namespace {

ClipSegment clip(double start, double end)
{
    return {QUuid::createUuid(), start, end};
}

std::vector<std::pair<double, double>> spans(const QList<ClipSegment>& clips)
{
    std::vector<std::pair<double, double>> out;
    for (const ClipSegment& c : clips)
        out.emplace_back(c.start, c.end);
    return out;
}

// 20 s of speech (100 buckets a second) with quiet at 5–6 s and 12–13 s.
std::vector<float> speechWithTwoPauses()
{
    std::vector<float> levels(2001);
    for (std::size_t i = 0; i < levels.size(); ++i) {
        const double t = double(i) / 100;
        const bool quiet = (t >= 5 && t <= 6) || (t >= 12 && t <= 13);
        levels[i] = quiet ? 0.01f : 0.7f + 0.2f * float(std::sin(double(i) * 0.7));
    }
    return levels;
}

} // namespace

TEST(ClipEdits, CutPointsCloseTogetherCountOnceAndNeverMakeSlivers)
{
    const QList<ClipSegment> whole{clip(0, 10)};
    // Cuts at 1.0 and 1.04 (too close to the first to be made); the next silence's first
    // edge, 29 ms after 1.04, counts as the same cut and is dropped, 31 ms after it is made.
    EXPECT_EQ(ClipEdits::splitAtSilences(whole, {{1.005, 1.035}, {1.074, 5}}, 10).size(), 3);
    EXPECT_EQ(ClipEdits::splitAtSilences(whole, {{1.005, 1.035}, {1.076, 5}}, 10).size(), 4);

    // A cut 40 ms inside a clip's edge is not made, one 60 ms inside is (the silence's other
    // edge, 10 ms later, counts as the same cut).
    const QList<ClipSegment> late{clip(0.5, 10)};
    EXPECT_EQ(ClipEdits::splitAtSilences(late, {{0.545, 0.545}}, 10), late);
    const QList<ClipSegment> cut = ClipEdits::splitAtSilences(late, {{0.565, 0.565}}, 10);
    ASSERT_EQ(cut.size(), 2);
    EXPECT_NEAR(cut[0].end, 0.56, 1e-9);
    EXPECT_NE(cut[0].id, late[0].id);
    // Edges never leave the media.
    EXPECT_EQ(spans(ClipEdits::splitAtSilences(whole, {{0, 1}, {9, 10}}, 10)),
              (std::vector<std::pair<double, double>>{{0, 1.005}, {1.005, 8.995}, {8.995, 10}}));
}

TEST(ClipEdits, RemovingSilencesKeepsWhatIsAroundThemAndDropsSlivers)
{
    const ClipSegment first = clip(0, 10);
    const ClipSegment second = clip(20, 30);
    const QList<ClipSegment> removed =
        ClipEdits::removeSilences({first, second}, {{8, 9}, {1, 3}, {2, 4}, {9.97, 22}, {25, 26}});
    EXPECT_EQ(spans(removed), (std::vector<std::pair<double, double>>{{0, 1}, {4, 8}, {9, 9.97}, {22, 25}, {26, 30}}));

    // What is left of a clip after a silence may be too short to keep.
    EXPECT_EQ(spans(ClipEdits::removeSilences({first}, {{1, 9.97}})), (std::vector<std::pair<double, double>>{{0, 1}}));

    // A clip wholly inside a silence disappears; one untouched keeps its id.
    const QList<ClipSegment> kept = ClipEdits::removeSilences({first, second}, {{19, 31}});
    ASSERT_EQ(kept.size(), 1);
    EXPECT_EQ(kept[0], first);

    // Unmarked silences (by centre) are left out; overlapping ones merge.
    EXPECT_EQ(ClipEdits::visibleSilences({{5, 6}, {1, 3}, {2, 4}}, {5.5}),
              (std::vector<TimeRange>{{1, 4}}));
}

TEST(TimelineEditor, EditsAreUndoneInReverseOrder)
{
    const ClipSegment a = clip(0, 4);
    const ClipSegment b = clip(6, 10);
    TimelineEditor editor(10, {a, b});
    QSignalSpy changed(&editor, &TimelineEditor::clipsChanged);

    editor.setPlayhead(2);
    EXPECT_TRUE(editor.splitAtPlayhead());
    editor.setPlayhead(5); // in the gap between clips: nothing to split
    EXPECT_FALSE(editor.splitAtPlayhead());
    EXPECT_TRUE(editor.mergeRight(editor.clips()[1].id)); // [2,4] with [6,10]
    EXPECT_EQ(spans(editor.clips()), (std::vector<std::pair<double, double>>{{0, 2}, {2, 10}}));
    EXPECT_FALSE(editor.mergeLeft(editor.clips()[0].id)) << "nothing left of the first clip";
    EXPECT_TRUE(editor.removeClip(editor.clips()[0].id));
    EXPECT_EQ(changed.size(), 3);

    EXPECT_TRUE(editor.undo());
    EXPECT_TRUE(editor.undo());
    EXPECT_TRUE(editor.undo());
    EXPECT_EQ(editor.clips(), (QList<ClipSegment>{a, b}));
    EXPECT_FALSE(editor.undo());
}

TEST(TimelineEditor, SilenceActionsDetectThenEditAndCanBeUndone)
{
    TimelineEditor editor(20, {clip(0, 20)});
    EXPECT_FALSE(waitForTask(editor.perform(QStringLiteral("detectSilenceAndSplit")))) << "no waveform yet";
    editor.setWaveform(speechWithTwoPauses());
    QSignalSpy usage(&editor, &TimelineEditor::usageEvent);
    QSignalSpy detecting(&editor, &TimelineEditor::detectingChanged);

    ASSERT_TRUE(waitForTask(editor.perform(QStringLiteral("detectSilenceAndSplit"))));
    ASSERT_EQ(editor.displaySilences().size(), 2u);
    EXPECT_EQ(editor.clips().size(), 5) << "two silences cut one clip into five";
    EXPECT_EQ(detecting.size(), 2);
    ASSERT_EQ(usage.size(), 1);
    EXPECT_EQ(usage[0][0].toString(), QStringLiteral("video_auto_split_at_silence"));
    EXPECT_EQ(usage[0][1].toMap().value(QStringLiteral("clips_added")).toInt(), 4);

    EXPECT_TRUE(editor.undo());
    // The person keeps the second pause: only the first is cut out.
    editor.unmarkSilence(editor.displaySilences()[1].centre());
    ASSERT_TRUE(waitForTask(editor.perform(QStringLiteral("removeDetectedSilences"))));
    ASSERT_EQ(editor.clips().size(), 2);
    EXPECT_NEAR(editor.clips()[0].end, 5, 0.12);
    EXPECT_NEAR(editor.clips()[1].start, 6, 0.12);
    EXPECT_EQ(editor.clips()[1].end, 20);
    EXPECT_FALSE(waitForTask(editor.perform(QStringLiteral("zoomIn"))));
}
