#include "commands/scheduled_post_builder.h"

#include "commands/command_date_parser.h"
#include "commands/commands_log.h"
#include "commands/url_scheme_error.h"
#include "core/json.h"
#include "core/json_values.h"
#include "store/account_manager.h"

#include <QRegularExpression>

namespace {

struct PlatformParam {
    PlatformType platform;
    const char16_t* mode;
    const char16_t* accounts;
};

constexpr PlatformParam kPlatformParams[] = {
    {PlatformType::x, u"xMode", u"xAccounts"},
    {PlatformType::bluesky, u"blueskyMode", u"blueskyAccounts"},
    {PlatformType::mastodon, u"mastodonMode", u"mastodonAccounts"},
};

ScheduledPostingMode parseMode(const QString& name, const QString& text)
{
    const auto mode = scheduledPostingModeFromRawValue(text.trimmed());
    if (!mode)
        throw URLSchemeError::invalidParameter(name + QStringLiteral(" must be 'defaults', 'allEnabled' or 'specific', not '")
                                               + text + u'\'');
    return *mode;
}

// Quotes as people and chat tools type them, made plain so the text parses as JSON.
QString normaliseQuotes(QString text)
{
    for (const char16_t quote : {u'\'', u'\u2018', u'\u2019', u'\u201C', u'\u201D', u'\u00B4', u'`'})
        text.replace(QChar(quote), u'"');
    return text;
}

} // namespace

ScheduledPostBuilder::ScheduledPostBuilder(const AccountManager& accounts)
    : m_accounts(accounts)
    , m_resolver(accounts)
{
}

QTimeZone ScheduledPostBuilder::zoneOf(const ScheduledPost& post)
{
    const QTimeZone zone(post.timeZoneIdentifier.toUtf8());
    return zone.isValid() ? zone : QTimeZone::systemTimeZone();
}

void ScheduledPostBuilder::applyTimeZone(ScheduledPost& post, const CommandParams& params) const
{
    const auto text = params.get(QStringLiteral("timezone"));
    if (!text)
        return;
    const QByteArray id = text->trimmed().toUtf8();
    if (!QTimeZone::isTimeZoneIdAvailable(id))
        throw URLSchemeError::invalidParameter(QStringLiteral("timezone '") + *text + QStringLiteral("' is not a known time zone"));
    post.timeZoneIdentifier = QString::fromUtf8(id);
}

void ScheduledPostBuilder::applyDate(ScheduledPost& post, const CommandParams& params) const
{
    const auto text = params.get(QStringLiteral("date"));
    if (!text)
        return;
    const auto date = CommandDateParser::parse(text->trimmed(), zoneOf(post));
    if (!date)
        throw URLSchemeError::failed(QStringLiteral(
            "Invalid date format. Use ISO8601 format (e.g., 2024-12-25T10:00:00Z or 2024-12-25T10:00:00)"));
    post.scheduledDate = Timestamp::fromDateTime(*date);
}

void ScheduledPostBuilder::applyPlatforms(ScheduledPost& post, const CommandParams& params, bool useEnabledWhenAbsent) const
{
    if (!params.has(QStringLiteral("platforms"))) {
        if (!useEnabledWhenAbsent)
            return;
        QStringList names;
        const QList<PlatformType> enabled = m_accounts.enabledPlatforms();
        for (PlatformType platform : enabled)
            names << rawValue(platform);
        qCInfo(lcCommands).noquote() << QStringLiteral("ℹ️ URLSchemeHandler: Using default enabled platforms → ")
                + names.join(QStringLiteral(", "));
        post.platforms = names;
        return;
    }
    QStringList names;
    const QStringList given = params.list(QStringLiteral("platforms"));
    for (const QString& name : given) {
        const auto platform = platformTypeFromName(name);
        if (!platform) {
            qCWarning(lcCommands).noquote() << QStringLiteral("⚠️ URLSchemeHandler: Unknown platform '") + name + u'\'';
            continue;
        }
        if (!names.contains(rawValue(*platform)))
            names << rawValue(*platform);
    }
    post.platforms = names;
}

void ScheduledPostBuilder::applyAccounts(ScheduledPost& post, const CommandParams& params) const
{
    QStringList unmatched;
    applyModes(post, params);
    applyAccountLists(post, params, unmatched);
    if (const auto share = params.get(QStringLiteral("xShareWithFollowers")))
        applyShareWithFollowers(post, *share, unmatched);
    if (const auto accounts = params.get(QStringLiteral("accounts")))
        applyAccountsSelection(post, *accounts, unmatched);
    if (!unmatched.isEmpty())
        throw URLSchemeError::failed(QStringLiteral("No account matches ") + unmatched.join(QStringLiteral(", "))
                                     + QStringLiteral("; nothing was changed"));
}

void ScheduledPostBuilder::applyModes(ScheduledPost& post, const CommandParams& params) const
{
    if (const auto mode = params.get(QStringLiteral("postingMode")))
        post.postingMode = parseMode(QStringLiteral("postingMode"), *mode);
    for (const PlatformParam& entry : kPlatformParams) {
        const QString name = QString::fromUtf16(entry.mode);
        if (const auto mode = params.get(name))
            post.platformModes.insert(entry.platform, parseMode(name, *mode));
    }
}

void ScheduledPostBuilder::applyAccountLists(ScheduledPost& post, const CommandParams& params, QStringList& unmatched) const
{
    for (const PlatformParam& entry : kPlatformParams) {
        const QString name = QString::fromUtf16(entry.accounts);
        if (!params.has(name))
            continue;
        const QList<QUuid> ids = m_resolver.resolve(entry.platform, params.list(name), &unmatched);
        if (ids.isEmpty())
            post.accountIds.remove(entry.platform);
        else
            post.accountIds.insert(entry.platform, ids);
    }
}

void ScheduledPostBuilder::applyShareWithFollowers(ScheduledPost& post, const QString& text, QStringList& unmatched) const
{
    QMap<QUuid, bool> flags;
    const QString trimmed = text.trimmed();
    // The older form: one flag for every X account the post goes through.
    if (trimmed == QStringLiteral("true") || trimmed == QStringLiteral("false")) {
        const QList<QUuid> ids = post.accountIds.value(PlatformType::x);
        for (const QUuid& id : ids)
            flags.insert(id, trimmed == QStringLiteral("true"));
        post.xShareWithFollowers = flags;
        return;
    }
    const auto entries = trimmed.split(u',', Qt::SkipEmptyParts);
    for (const QString& entry : entries) {
        const qsizetype separator = entry.lastIndexOf(QRegularExpression(QStringLiteral("[:=]")));
        const QString value = entry.mid(separator + 1).trimmed();
        if (separator <= 0 || (value != QStringLiteral("true") && value != QStringLiteral("false")))
            throw URLSchemeError::invalidParameter(
                QStringLiteral("xShareWithFollowers entries must read account:true or account:false, not '") + entry + u'\'');
        const QList<QUuid> ids = m_resolver.resolve(PlatformType::x, {entry.left(separator).trimmed()}, &unmatched);
        for (const QUuid& id : ids)
            flags.insert(id, value == QStringLiteral("true"));
    }
    post.xShareWithFollowers = flags;
}

void ScheduledPostBuilder::applyAccountsSelection(ScheduledPost& post, const QString& text, QStringList& unmatched) const
{
    const QString trimmed = text.trimmed();
    if (trimmed == QStringLiteral("default") || trimmed == QStringLiteral("all")) {
        post.postingMode = trimmed == QStringLiteral("all") ? ScheduledPostingMode::allEnabled : ScheduledPostingMode::defaults;
        post.platformModes.clear();
        post.accountIds.clear();
        return;
    }
    // Proper JSON first: an apostrophe inside a name ("Ada's sky") is text, not a quote.
    // Only what does not parse gets the quotes people type turned into JSON's.
    Json selection = JsonValues::parseOrDiscard(trimmed.toStdString());
    if (!selection.is_object())
        selection = JsonValues::parseOrDiscard(normaliseQuotes(trimmed).toStdString());
    if (!selection.is_object()) {
        qCWarning(lcCommands).noquote() << QStringLiteral("❌ URLSchemeHandler: Failed to parse accounts parameter as JSON");
        qCWarning(lcCommands).noquote() << QStringLiteral(R"(   - Expected JSON format: {"x":["account1"],"bluesky":["account2"]})");
        return;
    }
    for (const auto& [key, value] : selection.items()) {
        const auto platform = platformTypeFromName(QString::fromStdString(key));
        if (!platform) {
            qCWarning(lcCommands).noquote() << QStringLiteral("⚠️ URLSchemeHandler: Unknown platform '") + QString::fromStdString(key) + u'\'';
            continue;
        }
        if (value.is_string() && (value == "default" || value == "all")) {
            post.platformModes.insert(*platform, value == "all" ? ScheduledPostingMode::allEnabled : ScheduledPostingMode::defaults);
            post.accountIds.remove(*platform);
            continue;
        }
        QStringList identifiers;
        if (value.is_array()) {
            for (const Json& item : value) {
                if (item.is_string())
                    identifiers << QString::fromStdString(item.get<std::string>());
            }
        } else if (value.is_string()) {
            identifiers << QString::fromStdString(value.get<std::string>());
        }
        post.platformModes.insert(*platform, ScheduledPostingMode::specific);
        post.accountIds.insert(*platform, m_resolver.resolve(*platform, identifiers, &unmatched));
    }
}
