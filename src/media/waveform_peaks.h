#pragma once

#include <QtGlobal>

#include <span>
#include <vector>

// A level envelope ready to draw at any zoom: halving levels of pair-wise peaks, so the
// peak of any time span is read from a few values instead of every bucket under it.
class WaveformPeaks {
public:
    WaveformPeaks() = default;
    WaveformPeaks(std::span<const float> levels, double duration);

    bool isEmpty() const { return m_levels.empty() || m_levels.front().empty(); }
    double duration() const { return m_duration; }
    // The largest level between the two times (seconds); 0 outside the envelope.
    float peak(double from, double to) const;

private:
    std::vector<std::vector<float>> m_levels;
    double m_duration = 0;
};
