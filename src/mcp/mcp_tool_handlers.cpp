#include "mcp/mcp_tool_handlers.h"

#include "core/clock.h"
#include "core/json_values.h"
#include "mcp/mcp_account_lookup.h"
#include "mcp/mcp_arguments.h"
#include "mcp/mcp_command_sender.h"
#include "mcp/mcp_command_url.h"
#include "mcp/mcp_log.h"
#include "mcp/mcp_protocol.h"
#include "mcp/mcp_state_reader.h"
#include "mcp/mcp_tool_catalogue.h"
#include "mcp/scheduled_post_entry.h"
#include "mcp/scheduled_post_query.h"

#include <stdexcept>

namespace {

using JsonValues::utf8;
using JsonValues::uuidText;

MCPToolResult failure(std::string text)
{
    return {std::move(text), true};
}

std::string dump(const Json& json)
{
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

const MCPTool* findTool(const std::string& name)
{
    for (const MCPTool& tool : MCPToolCatalogue::tools()) {
        if (tool.name == name)
            return &tool;
    }
    return nullptr;
}

// Copies the given text, boolean and list arguments into the URL under the same keys.
void copyArguments(MCPCommandURL& url, const MCPArguments& args, std::initializer_list<const char*> keys)
{
    for (const char* key : keys) {
        const Json* value = args.raw(key);
        if (!value)
            continue;
        if (value->is_boolean())
            url.add(key, value->get<bool>());
        else if (value->is_string())
            url.add(key, value->get<std::string>());
        else if (const auto list = args.strings(key))
            url.add(key, *list);
    }
}

// The account was found in the stored list, but the instance no longer has it.
bool isVanished(const MCPToolResult& result)
{
    return result.isError && result.text == "Account not found";
}

bool stealth(const MCPArguments& args)
{
    // The assistant works in the background unless it asks otherwise.
    return args.boolean("stealthMode").value_or(true);
}

Json accountEntry(const SocialAccount& account)
{
    Json entry = {{"id", uuidText(account.id)},
                  {"platform", utf8(rawValue(account.platform))},
                  {"username", utf8(account.name)}};
    entry["nickname"] = account.nickname ? Json(utf8(*account.nickname)) : Json(nullptr);
    entry["enabled"] = account.isEnabled;
    entry["isDefault"] = account.isDefault;
    return entry;
}

// The tool's own words for bad arguments come first, the detail after them.
std::string typeErrorText(const std::string& tool, const MCPArguments::TypeError& error)
{
    static const std::map<std::string, std::string> prefixes = {
        {"compose", "Invalid compose params"},
        {"schedule", "Invalid schedule params"},
        {"scheduled_edit", "Invalid edit params"},
        {"scheduled_delete", "Invalid delete params"},
    };
    const std::string detail = error.message().toStdString();
    if (tool == "settings_platform") {
        if (error.key() == "set-enabled")
            return "Missing 'set-enabled' parameter (must be true or false): " + detail;
        if (error.key() == "platform")
            return "Invalid or missing platform. Must be 'x', 'bluesky', or 'mastodon': " + detail;
    }
    if (const auto prefix = prefixes.find(tool); prefix != prefixes.end())
        return prefix->second + ": " + detail;
    return "Invalid argument " + detail;
}

} // namespace

MCPToolHandlers::MCPToolHandlers(MCPStateReader& state, MCPCommandSender& commands, const MCPLog& log,
                                 const Clock& clock)
    : m_state(state)
    , m_commands(commands)
    , m_log(log)
    , m_clock(clock)
{
}

const std::vector<MCPTool>& MCPToolHandlers::tools() const
{
    return MCPToolCatalogue::tools();
}

const std::map<std::string, MCPToolHandlers::Handler>& MCPToolHandlers::handlers()
{
    static const std::map<std::string, Handler> table = {
        {"compose", &MCPToolHandlers::compose},
        {"schedule", &MCPToolHandlers::schedule},
        {"calendar_open", &MCPToolHandlers::calendarOpen},
        {"settings_open", &MCPToolHandlers::settingsOpen},
        {"settings_platform", &MCPToolHandlers::settingsPlatform},
        {"settings_list_platforms", &MCPToolHandlers::settingsListPlatforms},
        {"open", &MCPToolHandlers::open},
        {"license_open", &MCPToolHandlers::licenseOpen},
        {"accounts_list", &MCPToolHandlers::accountsList},
        {"accounts_add", &MCPToolHandlers::accountsAdd},
        {"accounts_remove", &MCPToolHandlers::accountsRemove},
        {"accounts_edit", &MCPToolHandlers::accountsEdit},
        {"accounts_setDefault", &MCPToolHandlers::accountsSetDefault},
        {"scheduled_list", &MCPToolHandlers::scheduledList},
        {"scheduled_edit", &MCPToolHandlers::scheduledEdit},
        {"scheduled_delete", &MCPToolHandlers::scheduledDelete},
    };
    return table;
}

MCPToolResult MCPToolHandlers::callTool(const std::string& name, const Json& arguments)
{
    const MCPTool* tool = findTool(name);
    const auto handler = handlers().find(name);
    if (!tool || handler == handlers().end())
        return failure("Unknown tool: " + name);
    try {
        const MCPArguments args(arguments, tool->inputSchema);
        return (this->*(handler->second))(args);
    } catch (const MCPArguments::TypeError& error) {
        return failure(typeErrorText(name, error));
    } catch (const QuilloError& error) {
        // Bad arguments and damaged stored state are the caller's to see, never a crash.
        return failure(error.message().toStdString());
    } catch (const std::exception& error) {
        return failure(error.what());
    }
}

Json MCPToolHandlers::resourceContent(const std::string& uri)
{
    Json list = Json::array();
    if (uri == MCPProtocol::ResourceURI::Accounts) {
        for (const SocialAccount& account : m_state.accounts())
            list.push_back(accountEntry(account));
        return list;
    }
    for (const ScheduledPost& post : m_state.scheduledPosts())
        list.push_back(ScheduledPostEntry::encode(post, {}));
    return list;
}

MCPToolResult MCPToolHandlers::send(const MCPCommandURL& url, const std::string& successText, const char* completionLabel)
{
    const std::string text = url.text();
    m_log.line("openURLInBackground: " + text);
    const MCPCommandSender::Outcome outcome = m_commands.send(url.url());
    m_log.line("NSWorkspace.open completed: app=quillo, error=" + (outcome.ok ? std::string("nil") : outcome.message));
    if (completionLabel)
        m_log.line(std::string(completionLabel) + " completed: success=" + (outcome.ok ? "true" : "false"));
    if (!outcome.ok)
        return failure(outcome.message.empty() ? "Quillo could not carry out the command" : outcome.message);
    return {successText, false};
}

MCPToolResult MCPToolHandlers::compose(const MCPArguments& args)
{
    MCPCommandURL url("compose");
    copyArguments(url, args, {"text", "thread", "autosplit", "media", "quote", "platforms"});
    return send(url, "Opened composer");
}

MCPToolResult MCPToolHandlers::schedule(const MCPArguments& args)
{
    const auto status = args.string("status");
    if (status && *status != "draft" && *status != "queued")
        return failure("Invalid status: must be 'draft' or 'queued'");
    MCPCommandURL url("schedule");
    copyArguments(url, args,
                  {"text", "date", "timezone", "platforms", "status", "thread", "autosplit", "media", "quote", "postingMode",
                   "xMode", "blueskyMode", "mastodonMode", "xAccounts", "blueskyAccounts", "mastodonAccounts",
                   "xShareWithFollowers"});
    const bool quiet = stealth(args);
    if (quiet)
        url.add("stealthMode", true);
    m_log.line("schedule: URL =" + url.text());
    m_log.line(std::string("schedule: stealthMode =") + (quiet ? "true" : "false"));
    return send(url, quiet ? "✅ Post scheduled silently in background (stealth mode)" : "Opened scheduler with provided details",
                "schedule");
}

MCPToolResult MCPToolHandlers::calendarOpen(const MCPArguments& args)
{
    MCPCommandURL url("calendar");
    copyArguments(url, args, {"view", "date", "status"});
    return send(url, "Opened calendar");
}

MCPToolResult MCPToolHandlers::settingsOpen(const MCPArguments& args)
{
    MCPCommandURL url("settings");
    url.add("section", args.string("section").value_or("general"));
    return send(url, "Opened settings");
}

MCPToolResult MCPToolHandlers::settingsPlatform(const MCPArguments& args)
{
    const std::string platform = args.string("platform").value_or("");
    if (!platformTypeFromRawValue(QString::fromStdString(platform)))
        return failure("Invalid or missing platform. Must be 'x', 'bluesky', or 'mastodon'");
    const auto enabled = args.boolean("set-enabled");
    if (!enabled)
        return failure("Missing 'set-enabled' parameter (must be true or false)");
    MCPCommandURL url("settings");
    url.add("platform", platform).add("set-enabled", *enabled);
    return send(url, "Updated platform settings");
}

MCPToolResult MCPToolHandlers::settingsListPlatforms(const MCPArguments&)
{
    const QList<PlatformType> enabled = m_state.enabledPlatforms();
    Json list = Json::array();
    for (PlatformType platform : allPlatformTypes())
        list.push_back({{"platform", utf8(rawValue(platform))}, {"enabled", enabled.contains(platform)}});
    return {dump(list), false};
}

MCPToolResult MCPToolHandlers::open(const MCPArguments&)
{
    return send(MCPCommandURL("open"), "Brought Quillo to front");
}

MCPToolResult MCPToolHandlers::licenseOpen(const MCPArguments& args)
{
    MCPCommandURL url("license");
    url.add("action", args.string("action").value_or("view"));
    return send(url, "Opened license view");
}

MCPToolResult MCPToolHandlers::accountsList(const MCPArguments&)
{
    Json list = Json::array();
    for (const SocialAccount& account : m_state.accounts())
        list.push_back(accountEntry(account));
    return {dump(list), false};
}

MCPToolResult MCPToolHandlers::accountsAdd(const MCPArguments& args)
{
    const std::string platform = args.string("platform").value_or("");
    const auto type = platformTypeFromRawValue(QString::fromStdString(platform));
    if (!type)
        return failure("Invalid or missing platform. Must be 'x', 'bluesky', or 'mastodon'");
    MCPCommandURL url("accounts");
    url.add("action", std::string("add")).add("platform", platform);
    if (*type == PlatformType::mastodon)
        url.add("instance", args.string("instance").value_or(utf8(QString(kDefaultMastodonInstance))));
    // Always said: the command side takes a missing key as true.
    url.add("autoConnect", args.boolean("autoConnect").value_or(true));
    return send(url, "Triggered account add flow");
}

MCPToolResult MCPToolHandlers::accountsRemove(const MCPArguments& args)
{
    const auto found = MCPAccountLookup::find(m_state.accounts(), args, MCPAccountLookup::Purpose::remove);
    if (const auto* message = std::get_if<std::string>(&found))
        return failure(*message);
    const SocialAccount& account = std::get<SocialAccount>(found);
    MCPCommandURL url("accounts");
    url.add("action", std::string("remove")).add("platform", utf8(rawValue(account.platform))).add("id", uuidText(account.id));
    const MCPToolResult result = send(url, "Removed account @" + utf8(account.name));
    if (!result.isError)
        return result;
    // The caller gets the fixed words; the cause is for the log.
    m_log.line("accounts_remove failed: " + result.text);
    return failure(isVanished(result) ? "Account not found in storage" : "Failed to remove account");
}

MCPToolResult MCPToolHandlers::accountsEdit(const MCPArguments& args)
{
    const auto found = MCPAccountLookup::find(m_state.accounts(), args, MCPAccountLookup::Purpose::edit);
    if (const auto* message = std::get_if<std::string>(&found))
        return failure(*message);
    const auto nickname = args.string("setNickname");
    const auto enabled = args.boolean("setEnabled");
    if (!nickname && !enabled)
        return failure("No updates provided (setNickname or setEnabled)");
    const SocialAccount& account = std::get<SocialAccount>(found);
    MCPCommandURL url("accounts");
    url.add("action", std::string("edit")).add("platform", utf8(rawValue(account.platform))).add("id", uuidText(account.id));
    if (nickname)
        url.add("set-nickname", *nickname);
    if (enabled)
        url.add("set-enabled", *enabled);
    const MCPToolResult result = send(url, "Updated account @" + utf8(account.name));
    return isVanished(result) ? failure("Account not found in storage") : result;
}

MCPToolResult MCPToolHandlers::accountsSetDefault(const MCPArguments& args)
{
    const auto found = MCPAccountLookup::find(m_state.accounts(), args, MCPAccountLookup::Purpose::setDefault);
    if (const auto* message = std::get_if<std::string>(&found))
        return failure(*message);
    const SocialAccount& account = std::get<SocialAccount>(found);
    MCPCommandURL url("accounts");
    url.add("action", std::string("set-default")).add("platform", utf8(rawValue(account.platform))).add("id", uuidText(account.id));
    const MCPToolResult result = send(url, "Set default account");
    return isVanished(result) ? failure("Account not found in storage") : result;
}

MCPToolResult MCPToolHandlers::scheduledList(const MCPArguments& args)
{
    const ScheduledPostQuery query = ScheduledPostQuery::fromArguments(args, m_clock.now());
    ScheduledPostEntry::Options options;
    options.includeContent = args.boolean("includeContent").value_or(true);
    options.includeAccounts = args.boolean("includeAccounts").value_or(true);
    options.includeError = args.boolean("includeError").value_or(true);
    options.includeShare = args.boolean("includeShare").value_or(false);

    Json list = Json::array();
    for (const ScheduledPost* post : query.run(m_state.scheduledPosts())) {
        // Only posts that went (or began to go) out have a record to read.
        const bool mayHaveRecord = post->status == PostStatus::published || post->status == PostStatus::failed
            || post->status == PostStatus::processing;
        const std::optional<DeliveryRecord> delivery = mayHaveRecord ? m_state.delivery(post->id) : std::nullopt;
        list.push_back(ScheduledPostEntry::encode(*post, options, delivery ? &*delivery : nullptr));
    }
    return {dump(list), false};
}

MCPToolResult MCPToolHandlers::scheduledEdit(const MCPArguments& args)
{
    const auto id = args.string("id");
    if (!id || id->empty())
        return failure("Missing required parameter: id");
    MCPCommandURL url("scheduled");
    url.add("action", std::string("edit")).add("id", *id);
    copyArguments(url, args, {"text"});
    for (const char* structured : {"thread", "threadOps"}) {
        if (const Json* value = args.raw(structured))
            url.addJson(structured, *value);
    }
    copyArguments(url, args, {"date", "timezone", "platforms", "status"});
    if (const Json* accounts = args.raw("accounts")) {
        if (accounts->is_string())
            url.add("accounts", accounts->get<std::string>());
        else
            url.addJson("accounts", *accounts);
    }
    copyArguments(url, args, {"autosplit", "media"});
    const bool quiet = stealth(args);
    if (quiet)
        url.add("stealthMode", true);
    return send(url, quiet ? "✅ Scheduled post updated silently in background (stealth mode)" : "Opened editor for scheduled post",
                "scheduled_edit");
}

MCPToolResult MCPToolHandlers::scheduledDelete(const MCPArguments& args)
{
    const auto id = args.string("id");
    if (!id || id->empty())
        return failure("Missing required parameter: id");
    MCPCommandURL url("scheduled");
    url.add("action", std::string("delete")).add("id", *id);
    const bool quiet = stealth(args);
    if (quiet)
        url.add("stealthMode", true);
    return send(url, quiet ? "✅ Scheduled post deleted silently (stealth mode)" : "Scheduled post deleted", "scheduled_delete");
}
