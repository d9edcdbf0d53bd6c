#pragma once

#include <QString>

// Progress of a Mastodon publication, shown as a status line in the composer.
struct MastodonPublishState {
    enum class Kind { preparingMedia, uploadingMedia, publishingPost, authenticating };

    Kind kind = Kind::publishingPost;
    QString mediaType{};  // "image" or "video"
    double progress = 0;  // 0...1 while uploading
    int index = 0;        // 1-based post of the thread
    int total = 0;

    static MastodonPublishState preparingMedia(QString type) { return {Kind::preparingMedia, std::move(type)}; }
    static MastodonPublishState uploadingMedia(QString type, double progress)
    {
        return {Kind::uploadingMedia, std::move(type), progress};
    }
    static MastodonPublishState publishingPost(int index, int total) { return {Kind::publishingPost, {}, 0, index, total}; }
    static MastodonPublishState authenticating() { return {Kind::authenticating}; }

    QString statusText() const;
    bool operator==(const MastodonPublishState&) const = default;
};
