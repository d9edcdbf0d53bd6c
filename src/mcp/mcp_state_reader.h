#pragma once

#include "model/delivery_record.h"
#include "model/platform_type.h"
#include "model/scheduled_post.h"
#include "model/social_account.h"

#include <QList>

#include <sys/types.h>

class PreferenceStore;

// Reads what the running instance stored, fresh at every call: the instance may have
// changed it a moment ago. A document is decoded again only when its file changed
// (a new file replaces the old one on every save), so repeated queries stay cheap.
// Throws MCPToolError with a readable message when a stored document is damaged.
class MCPStateReader {
public:
    // deliveriesDir: where the instance keeps what reached each account (none: not shown).
    explicit MCPStateReader(PreferenceStore& preferences, QString deliveriesDir = {});

    const QList<ScheduledPost>& scheduledPosts();
    const QList<SocialAccount>& accounts();
    QList<PlatformType> enabledPlatforms();
    // What of a post reached which account; nothing when none of it went out.
    std::optional<DeliveryRecord> delivery(const QUuid& scheduledPostId) const;

private:
    struct FileStamp {
        bool exists = false;
        ino_t inode = 0;
        off_t size = 0;
        long long modifiedNs = 0;
        bool operator==(const FileStamp&) const = default;
    };
    FileStamp stamp(const QString& path) const;

    PreferenceStore& m_preferences;
    QString m_deliveriesDir;
    std::optional<FileStamp> m_postsStamp;
    QList<ScheduledPost> m_posts;
    std::optional<FileStamp> m_accountsStamp;
    QList<SocialAccount> m_accounts;
};
