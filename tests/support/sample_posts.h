#pragma once

#include "model/scheduled_post.h"

#include <QList>

// An attachment in the media folder, named after its id as the importer names files.
inline PostMedia sampleMedia(MediaType type)
{
    PostMedia media;
    media.id = QUuid::createUuid();
    media.type = type;
    media.originalPath = FileUrl::fromLocalFile(QStringLiteral("/home/user/.local/share/quillo/Quillo/Media/")
                                                + media.id.toString(QUuid::WithoutBraces).toUpper()
                                                + (type == MediaType::image ? QStringLiteral(".png") : QStringLiteral(".mp4")));
    return media;
}

// A realistic large schedule: three-post threads, two media per post (an image with
// alt text and a trimmed video), accounts on two platforms.
inline QList<ScheduledPost> samplePosts(int count, int variant = 0)
{
    QList<ScheduledPost> posts;
    posts.reserve(count);
    for (int i = 0; i < count; ++i) {
        ScheduledPost post;
        post.id = QUuid::createUuid();
        post.scheduledDate = Timestamp::fromReferenceSeconds(784000000.0 + 60.0 * i + 0.25 * variant);
        post.timeZoneIdentifier = QStringLiteral("Europe/Berlin");
        post.platforms = {QStringLiteral("x"), QStringLiteral("bluesky"), QStringLiteral("mastodon")};
        post.status = PostStatus::queued;
        post.postingMode = ScheduledPostingMode::specific;
        const QUuid xAccount = QUuid::createUuid();
        post.accountIds.insert(PlatformType::x, {xAccount});
        post.accountIds.insert(PlatformType::bluesky, {QUuid::createUuid()});
        post.xShareWithFollowers.insert(xAccount, true);
        post.platformModes.insert(PlatformType::mastodon, ScheduledPostingMode::allEnabled);
        for (int p = 0; p < 3; ++p) {
            Post entry = Post::create(QStringLiteral("Post %1 of thread %2 (variant %3): a sentence or two of text "
                                                     "that a person might write about their day, with a link "
                                                     "https://example.com/%2 and a #tag.")
                                          .arg(p + 1)
                                          .arg(i)
                                          .arg(variant));
            PostMedia image = sampleMedia(MediaType::image);
            image.altText = QStringLiteral("A photo of the thing described in the text");
            PostMedia video = sampleMedia(MediaType::video);
            video.videoDuration = 42.5;
            video.trimClips = QList<ClipSegment>{{QUuid::createUuid(), 1.5, 30.25}};
            entry.mediaItems = {image, video};
            post.content.append(entry);
        }
        posts.append(post);
    }
    return posts;
}
