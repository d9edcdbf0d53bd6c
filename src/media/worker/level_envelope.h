#pragma once

#include <QString>

#include <cstdint>
#include <vector>

// The level envelope of a media file's first audio track: mono float samples at the asked
// rate, cut into buckets of equal length, each holding its peak absolute sample (a
// partial last bucket too). The timeline draws it and the silence detector reads it.
class LevelEnvelope {
public:
    // The timeline's resolution: 100 buckets a second of 8 kHz audio.
    static constexpr int kBucketsPerSecond = 100;
    static constexpr int kDefaultSampleRate = 8000;

    struct Options {
        // 0: kBucketsPerSecond for each second of the file (at least 64).
        int buckets = 0;
        int sampleRate = kDefaultSampleRate;
        // What every bucket holds when the audio cannot be read.
        float fill = 0.0f;
    };

    struct Result {
        double duration = 0;
        std::int64_t samplesPerBucket = 1;
        std::vector<float> levels;
        // Empty when the audio was read; otherwise why it could not be.
        QString problem;
    };

    static Result read(const QString& path, const Options& options);

    // max(1, ⌊max(duration, 0.001) × rate⌋ ÷ max(1, buckets)), integer division.
    static std::int64_t samplesPerBucket(double duration, int sampleRate, int buckets);
};
