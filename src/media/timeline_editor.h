#pragma once

#include "media/time_range.h"
#include "model/clip_segment.h"

#include <QList>
#include <QObject>
#include <QSet>
#include <QVariantMap>

#include <qcoro/qcorotask.h>

#include <optional>
#include <vector>

// The video editor's timeline without its window: the clip list with undo, the playhead,
// and the silence actions. Every edit pushes the list it replaces; undo pops it back.
// Silence detection runs on a worker thread and is applied back on this object's thread.
class TimelineEditor : public QObject {
    Q_OBJECT
public:
    TimelineEditor(double duration, QList<ClipSegment> clips, QObject* parent = nullptr);

    double duration() const { return m_duration; }
    const QList<ClipSegment>& clips() const { return m_clips; }
    double playhead() const { return m_playhead; }
    void setPlayhead(double seconds);
    // The level envelope drawn as the waveform and read by the silence detector.
    void setWaveform(std::vector<float> waveform) { m_waveform = std::move(waveform); }

    bool canUndo() const { return !m_undoStack.isEmpty(); }
    bool undo();
    // The lists before each edit, oldest first: what the editor keeps per file.
    const QList<QList<ClipSegment>>& undoStack() const { return m_undoStack; }
    // Puts back a saved editing state (clips and their undo stack) without recording an edit.
    void restore(QList<ClipSegment> clips, QList<QList<ClipSegment>> undoStack);

    bool splitAtPlayhead();
    bool removeClip(const QUuid& id);
    bool mergeLeft(const QUuid& id);
    bool mergeRight(const QUuid& id);
    // Moves the clip edge nearest to `near` by `delta` seconds (a cut between two clips moves
    // both), kept inside the source, off other clips and leaving clips at least
    // ClipEdits::kShortestPiece long.
    bool nudgeEdge(double near, double delta);

    // The last detection's result, and the silences the person unmarked (by their centre).
    const std::vector<TimeRange>& displaySilences() const { return m_displaySilences; }
    bool isDetectingSilence() const { return m_detecting; }
    void markSilence(double centre);
    void unmarkSilence(double centre);
    bool isSilenceHidden(double centre) const { return m_hiddenCentres.contains(centre); }

    // "Auto-split at silence" and "Remove detected silences". Both detect first; false when
    // there is nothing to detect in (no waveform, no duration) or a detection is running.
    QCoro::Task<bool> detectSilenceAndSplit();
    QCoro::Task<bool> removeDetectedSilences();
    // A timeline action by its name: "splitAtPlayhead", "detectSilenceAndSplit",
    // "removeDetectedSilences". False for an unknown name or an action that did nothing.
    QCoro::Task<bool> perform(QString action);

Q_SIGNALS:
    void clipsChanged();
    void silencesChanged();
    void detectingChanged(bool detecting);
    void usageEvent(const QString& name, const QVariantMap& properties);

private:
    void apply(QList<ClipSegment> clips);
    bool merge(qsizetype left, qsizetype right);
    qsizetype indexOf(const QUuid& id) const;
    QCoro::Task<std::optional<std::vector<TimeRange>>> detect();

    double m_duration;
    QList<ClipSegment> m_clips;
    QList<QList<ClipSegment>> m_undoStack;
    double m_playhead = 0;
    std::vector<float> m_waveform;
    std::vector<TimeRange> m_displaySilences;
    QSet<double> m_hiddenCentres;
    bool m_detecting = false;
};
