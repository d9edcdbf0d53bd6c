// Feeds arbitrary bytes to the stored-document decoders (scheduled posts in both date
// forms, accounts, accounts backup): each must decode or throw CodingError, never
// crash, and whatever decodes must encode again and decode to the same values.
#include "model/accounts_backup.h"
#include "model/scheduled_post.h"
#include "model/social_account.h"

#include <cstdlib>

namespace {

template<class Decode, class Encode>
void roundTrip(const QByteArray& bytes, Decode decode, Encode encode)
{
    try {
        const auto decoded = decode(bytes);
        if (decode(encode(decoded)) != decoded)
            std::abort();
    } catch (const CodingError&) {
        // Refusing bad input is the expected outcome.
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    roundTrip(
        bytes, [](const QByteArray& b) { return ScheduledPost::decodeList(b); },
        [](const QList<ScheduledPost>& p) { return ScheduledPost::encodeList(p, JsonLayout::compact); });
    roundTrip(
        bytes, [](const QByteArray& b) { return ScheduledPost::decodeList(b, DateEncoding::iso8601); },
        [](const QList<ScheduledPost>& p) {
            return ScheduledPost::encodeList(p, JsonLayout::prettySortedKeys, DateEncoding::iso8601);
        });
    roundTrip(
        bytes, [](const QByteArray& b) { return SocialAccount::decodeList(b); },
        [](const QList<SocialAccount>& a) { return SocialAccount::encodeList(a); });
    roundTrip(
        bytes, [](const QByteArray& b) { return AccountsBackup::decodeDocument(b); },
        [](const AccountsBackup& b) { return b.encode(); });
    return 0;
}
