#pragma once

#include <QString>

// Progress of one Bluesky post, shown as a status line in the composer.
struct BlueSkyPublishState {
    enum class Phase { preparingMedia, uploadingMedia, processingMedia, publishingPost, authenticating };

    Phase phase = Phase::publishingPost;
    QString type{};        // "image" or "video" while media is handled
    double progress = 0;   // 0...1 while uploading
    int index = 0;         // 1-based position of the post in its thread
    int total = 0;

    static BlueSkyPublishState preparingMedia(const QString& type) { return {Phase::preparingMedia, type}; }
    static BlueSkyPublishState uploadingMedia(const QString& type, double progress)
    {
        return {Phase::uploadingMedia, type, progress};
    }
    static BlueSkyPublishState processingMedia(const QString& type) { return {Phase::processingMedia, type}; }
    static BlueSkyPublishState publishingPost(int index, int total) { return {Phase::publishingPost, {}, 0, index, total}; }
    static BlueSkyPublishState authenticating() { return {Phase::authenticating}; }

    QString statusText() const;
    bool operator==(const BlueSkyPublishState&) const = default;
};
