#include "mcp/scheduled_post_entry.h"

#include "core/json_values.h"

#include <QFileInfo>

namespace {

using JsonValues::utf8;
using JsonValues::uuidText;

Json mediaEntry(const PostMedia& media)
{
    Json entry = {{"type", media.isVideo() ? "video" : "image"},
                  {"filename", utf8(QFileInfo(media.localFile()).fileName())},
                  {"isMissing", media.isMissing}};
    if (media.isVideo() && media.videoDuration)
        entry["videoDuration"] = *media.videoDuration;
    if (media.altText)
        entry["altText"] = utf8(*media.altText);
    entry["hasSubtitles"] = media.subtitles.has_value() && !media.subtitles->segments.isEmpty();
    entry["subtitleSegments"] = media.subtitles ? media.subtitles->segments.size() : 0;
    return entry;
}

Json postEntry(const Post& post)
{
    Json entry = {{"text", utf8(post.text)}};
    if (post.quoteContext) {
        Json ids = Json::object();
        for (auto it = post.quoteContext->platformIds.cbegin(); it != post.quoteContext->platformIds.cend(); ++it)
            ids[utf8(it.key())] = utf8(it.value());
        entry["quote"] = {{"text", utf8(post.quoteContext->text)}, {"platformIds", std::move(ids)}};
    }
    Json media = Json::array();
    for (const PostMedia& item : post.mediaItems)
        media.push_back(mediaEntry(item));
    entry["media"] = std::move(media);
    return entry;
}

Json accountIds(const ScheduledPost& post)
{
    Json ids = Json::object();
    for (auto it = post.accountIds.cbegin(); it != post.accountIds.cend(); ++it) {
        Json list = Json::array();
        for (const QUuid& id : it.value())
            list.push_back(uuidText(id));
        ids[utf8(rawValue(it.key()))] = std::move(list);
    }
    return ids;
}

Json platformModes(const ScheduledPost& post)
{
    Json modes = Json::object();
    for (auto it = post.platformModes.cbegin(); it != post.platformModes.cend(); ++it)
        modes[utf8(rawValue(it.key()))] = utf8(rawValue(it.value()));
    return modes;
}

Json shareWithFollowers(const ScheduledPost& post)
{
    Json share = Json::object();
    for (auto it = post.xShareWithFollowers.cbegin(); it != post.xShareWithFollowers.cend(); ++it)
        share[uuidText(it.key())] = it.value();
    return share;
}

} // namespace

Json ScheduledPostEntry::encode(const ScheduledPost& post, const Options& options, const DeliveryRecord* delivery)
{
    Json platforms = Json::array();
    for (const QString& platform : post.platforms)
        platforms.push_back(utf8(platform));

    Json entry = {
        {"id", uuidText(post.id)},
        {"scheduledDate", utf8(post.scheduledDate.toIso8601())},
        {"timeZone", utf8(post.timeZoneIdentifier)},
        {"platforms", std::move(platforms)},
        {"status", utf8(rawValue(post.status))},
        {"postingMode", utf8(rawValue(post.postingMode))},
        {"contentCount", post.content.size()},
    };
    // A post that failed says why; an error left from an earlier attempt of a post that
    // has since been queued again or published is no longer true.
    if (options.includeError && post.status == PostStatus::failed && post.error)
        entry["error"] = utf8(*post.error);
    if (options.includeAccounts) {
        entry["accountIds"] = accountIds(post);
        entry["platformModes"] = platformModes(post);
    }
    if (options.includeShare)
        entry["xShareWithFollowers"] = shareWithFollowers(post);
    if (delivery && !delivery->isEmpty()) {
        Json delivered = Json::array();
        for (const AccountDelivery& account : delivery->accounts) {
            Json posts = Json::array();
            for (const DeliveredPost& item : account.posts)
                posts.push_back({{"index", item.index}, {"id", utf8(item.id)}, {"url", utf8(item.url)}});
            delivered.push_back({{"platform", utf8(rawValue(account.platform))},
                                 {"account", utf8(account.accountName)},
                                 {"complete", account.complete},
                                 {"posts", std::move(posts)}});
        }
        entry["delivered"] = std::move(delivered);
    }
    if (options.includeContent) {
        Json content = Json::array();
        for (const Post& item : post.content)
            content.push_back(postEntry(item));
        entry["content"] = std::move(content);
    }
    return entry;
}
