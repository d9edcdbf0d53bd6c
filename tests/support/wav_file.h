#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

// Sound files made at test time: 16-bit PCM WAV with a 440 Hz tone at half level,
// except in the quiet ranges (seconds). False when the file cannot be written.
inline void appendLittleEndian(QByteArray& bytes, quint32 value, int size)
{
    for (int i = 0; i < size; ++i)
        bytes.append(char((value >> (8 * i)) & 0xff));
}

inline bool writeWav(const QString& path, double seconds, const std::vector<std::pair<double, double>>& quiet,
                     int rate = 44100, int channels = 2)
{
    const auto frames = qint64(seconds * rate);
    QByteArray samples;
    samples.reserve(frames * channels * 2);
    for (qint64 i = 0; i < frames; ++i) {
        const double t = double(i) / rate;
        const bool silent =
            std::any_of(quiet.begin(), quiet.end(), [t](const auto& r) { return t >= r.first && t < r.second; });
        const auto value = qint16(silent ? 0 : std::lround(16384 * std::sin(2 * M_PI * 440 * t)));
        for (int c = 0; c < channels; ++c)
            appendLittleEndian(samples, quint16(value), 2);
    }
    QByteArray header("RIFF");
    appendLittleEndian(header, quint32(36 + samples.size()), 4);
    header += "WAVEfmt ";
    appendLittleEndian(header, 16, 4);
    appendLittleEndian(header, 1, 2); // PCM
    appendLittleEndian(header, quint32(channels), 2);
    appendLittleEndian(header, quint32(rate), 4);
    appendLittleEndian(header, quint32(rate * channels * 2), 4);
    appendLittleEndian(header, quint32(channels * 2), 2);
    appendLittleEndian(header, 16, 2);
    header += "data";
    appendLittleEndian(header, quint32(samples.size()), 4);
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(header) == header.size() && file.write(samples) == samples.size();
}
