#include "media/timeline_editor.h"

#include "media/clip_edits.h"
#include "media/media_log.h"
#include "media/silence_detector.h"

#include <QThread>

#include <qcoro/qcorothread.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <memory>

TimelineEditor::TimelineEditor(double duration, QList<ClipSegment> clips, QObject* parent)
    : QObject(parent)
    , m_duration(duration)
    , m_clips(std::move(clips))
{
}

void TimelineEditor::setPlayhead(double seconds)
{
    m_playhead = std::clamp(seconds, 0.0, m_duration);
}

void TimelineEditor::apply(QList<ClipSegment> clips)
{
    m_undoStack.append(m_clips);
    m_clips = std::move(clips);
    Q_EMIT clipsChanged();
}

bool TimelineEditor::undo()
{
    if (m_undoStack.isEmpty())
        return false;
    m_clips = m_undoStack.takeLast();
    Q_EMIT clipsChanged();
    return true;
}

void TimelineEditor::restore(QList<ClipSegment> clips, QList<QList<ClipSegment>> undoStack)
{
    m_clips = std::move(clips);
    m_undoStack = std::move(undoStack);
    Q_EMIT clipsChanged();
}

bool TimelineEditor::splitAtPlayhead()
{
    auto split = ClipEdits::splitAt(m_clips, m_playhead);
    if (!split)
        return false;
    apply(std::move(*split));
    return true;
}

qsizetype TimelineEditor::indexOf(const QUuid& id) const
{
    const auto found = std::find_if(m_clips.cbegin(), m_clips.cend(), [&id](const ClipSegment& clip) { return clip.id == id; });
    return found == m_clips.cend() ? -1 : found - m_clips.cbegin();
}

bool TimelineEditor::removeClip(const QUuid& id)
{
    const qsizetype index = indexOf(id);
    if (index < 0)
        return false;
    QList<ClipSegment> clips = m_clips;
    clips.removeAt(index);
    apply(std::move(clips));
    return true;
}

// The two neighbours become one clip spanning both (and whatever lay cut out between them).
bool TimelineEditor::merge(qsizetype left, qsizetype right)
{
    if (left < 0 || right >= m_clips.size())
        return false;
    QList<ClipSegment> clips = m_clips;
    const ClipSegment merged{QUuid::createUuid(), std::min(clips[left].start, clips[right].start),
                             std::max(clips[left].end, clips[right].end)};
    clips.replace(left, merged);
    clips.removeAt(right);
    apply(std::move(clips));
    return true;
}

bool TimelineEditor::mergeLeft(const QUuid& id)
{
    const qsizetype index = indexOf(id);
    return index > 0 && merge(index - 1, index);
}

bool TimelineEditor::mergeRight(const QUuid& id)
{
    const qsizetype index = indexOf(id);
    return index >= 0 && merge(index, index + 1);
}

// A cut shared by two neighbouring clips moves as one; an edge next to a gap moves alone.
bool TimelineEditor::nudgeEdge(double near, double delta)
{
    constexpr double kSame = 1e-9;
    std::optional<double> edge;
    for (const ClipSegment& clip : m_clips) {
        for (const double candidate : {clip.start, clip.end}) {
            if (!edge || std::abs(candidate - near) < std::abs(*edge - near))
                edge = candidate;
        }
    }
    if (!edge || delta == 0)
        return false;
    double lowest = 0;
    double highest = m_duration;
    for (qsizetype i = 0; i < m_clips.size(); ++i) {
        const ClipSegment& clip = m_clips[i];
        if (std::abs(clip.start - *edge) < kSame)
            highest = std::min(highest, clip.end - ClipEdits::kShortestPiece);
        else if (clip.end < *edge - kSame)
            lowest = std::max(lowest, clip.end);
        if (std::abs(clip.end - *edge) < kSame)
            lowest = std::max(lowest, clip.start + ClipEdits::kShortestPiece);
        else if (clip.start > *edge + kSame)
            highest = std::min(highest, clip.start);
    }
    if (lowest > highest)
        return false;
    const double moved = std::clamp(*edge + delta, lowest, highest);
    if (std::abs(moved - *edge) < kSame)
        return false;
    QList<ClipSegment> clips = m_clips;
    for (ClipSegment& clip : clips) {
        if (std::abs(clip.start - *edge) < kSame)
            clip.start = moved;
        if (std::abs(clip.end - *edge) < kSame)
            clip.end = moved;
    }
    apply(std::move(clips));
    return true;
}

void TimelineEditor::markSilence(double centre)
{
    if (m_hiddenCentres.remove(centre))
        Q_EMIT silencesChanged();
}

void TimelineEditor::unmarkSilence(double centre)
{
    if (!m_hiddenCentres.contains(centre)) {
        m_hiddenCentres.insert(centre);
        Q_EMIT silencesChanged();
    }
}

QCoro::Task<std::optional<std::vector<TimeRange>>> TimelineEditor::detect()
{
    if (m_waveform.empty() || m_duration <= 0.001 || m_detecting)
        co_return std::nullopt;
    m_detecting = true;
    Q_EMIT detectingChanged(true);
    // A thread of its own for the rare detection (no thread pool library in this process);
    // it works on copies, so the timeline may be edited meanwhile.
    std::vector<TimeRange> silences;
    const std::unique_ptr<QThread> worker(QThread::create(
        [&silences, waveform = m_waveform, duration = m_duration] {
            silences = SilenceDetector::detectSilences(duration, waveform, SilenceDetector::Config::forDuration(duration));
        }));
    worker->start();
    co_await qCoro(worker.get()).waitForFinished();
    m_displaySilences = silences;
    m_detecting = false;
    Q_EMIT silencesChanged();
    Q_EMIT detectingChanged(false);
    qCInfo(lcMedia).noquote() << "Detected" << silences.size() << "silences";
    co_return silences;
}

QCoro::Task<bool> TimelineEditor::detectSilenceAndSplit()
{
    const auto silences = co_await detect();
    if (!silences)
        co_return false;
    const qsizetype before = m_clips.size();
    apply(ClipEdits::splitAtSilences(m_clips, *silences, m_duration));
    Q_EMIT usageEvent(QStringLiteral("video_auto_split_at_silence"),
                      {{QStringLiteral("clips_added"), m_clips.size() - before}});
    co_return true;
}

QCoro::Task<bool> TimelineEditor::removeDetectedSilences()
{
    // Awaited into a variable: GCC 12 mishandles the task's temporary in a condition.
    const auto detected = co_await detect();
    if (!detected)
        co_return false;
    apply(ClipEdits::removeSilences(m_clips, ClipEdits::visibleSilences(m_displaySilences, m_hiddenCentres)));
    Q_EMIT usageEvent(QStringLiteral("silences_removed"), {});
    co_return true;
}

QCoro::Task<bool> TimelineEditor::perform(QString action)
{
    if (action == QStringLiteral("splitAtPlayhead"))
        co_return splitAtPlayhead();
    if (action == QStringLiteral("detectSilenceAndSplit"))
        co_return co_await detectSilenceAndSplit();
    if (action == QStringLiteral("removeDetectedSilences"))
        co_return co_await removeDetectedSilences();
    co_return false;
}
