#include "media/waveform_peaks.h"

#include <algorithm>
#include <cmath>

WaveformPeaks::WaveformPeaks(std::span<const float> levels, double duration)
    : m_duration(duration)
{
    m_levels.emplace_back(levels.begin(), levels.end());
    while (m_levels.back().size() > 1) {
        const std::vector<float>& finer = m_levels.back();
        std::vector<float> coarser((finer.size() + 1) / 2);
        for (size_t i = 0; i < coarser.size(); ++i)
            coarser[i] = std::max(finer[2 * i], 2 * i + 1 < finer.size() ? finer[2 * i + 1] : 0.0f);
        m_levels.push_back(std::move(coarser));
    }
}

float WaveformPeaks::peak(double from, double to) const
{
    if (isEmpty() || m_duration <= 0 || to <= from)
        return 0;
    const auto count = double(m_levels.front().size());
    auto first = qint64(std::floor(from / m_duration * count));
    auto last = qint64(std::ceil(to / m_duration * count)) - 1;
    first = std::max<qint64>(first, 0);
    last = std::min<qint64>(last, qint64(count) - 1);
    if (last < first)
        return 0;
    // The coarsest level that still gives at least two values across the span.
    size_t level = 0;
    while (level + 1 < m_levels.size() && ((last - first) >> (level + 1)) >= 2)
        ++level;
    const std::vector<float>& values = m_levels[level];
    const qint64 from2 = first >> level;
    const qint64 to2 = std::min<qint64>(last >> level, qint64(values.size()) - 1);
    float best = 0;
    for (qint64 i = from2; i <= to2; ++i)
        best = std::max(best, values[size_t(i)]);
    return best;
}
