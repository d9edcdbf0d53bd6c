#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <utility>
#include <vector>

// Videos made at test time with FFmpeg's libraries: moving colour bars (H.264) and a 440 Hz
// tone (AAC) with quiet ranges, of any size, frame rate, key-frame spacing and rotation.
struct TestVideoOptions {
    int width = 320;
    int height = 180;
    int fps = 25;
    double seconds = 4;
    // Frames between key frames.
    int keyFrameInterval = 25;
    // Clockwise degrees a player turns the picture (stored as a display matrix).
    int rotation = 0;
    bool withVideo = true;
    bool withAudio = true;
    std::vector<std::pair<double, double>> quiet;
};

// False (and `error`) when the file cannot be made.
bool writeTestVideo(const QString& path, const TestVideoOptions& options, QString* error);

// One decoded picture as 8-bit RGB, as stored (not turned).
struct TestFrame {
    int width = 0;
    int height = 0;
    std::vector<uint8_t> rgb;

    // Red, green and blue at a point.
    std::vector<int> at(int x, int y) const;
};

// The first picture at or after `seconds`; empty when there is none.
TestFrame readTestFrame(const QString& path, double seconds);

// The payload of every video packet, in file order: copies must keep them bit for bit.
std::vector<QByteArray> videoPackets(const QString& path);

// The duration of the first stream of a type ("video" or "audio") in seconds; -1 when absent.
double streamDuration(const QString& path, const char* type);
