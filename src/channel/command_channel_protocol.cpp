#include "channel/command_channel_protocol.h"
#include "core/json.h"
#include "core/json_values.h"

namespace CommandChannelProtocol {
namespace {

QByteArray frame(const Json& message)
{
    const std::string text = message.dump(-1, ' ', false, Json::error_handler_t::replace);
    return QByteArray(text.data(), qsizetype(text.size())) + '\n';
}

// Parses a frame into an object with the expected version, or says why it is not one.
std::variant<Json, DecodeError> parseObject(const QByteArray& bytes)
{
    const Json message = JsonValues::parseOrDiscard(std::string_view(bytes.constData(), size_t(bytes.size())));
    if (message.is_discarded() || !message.is_object())
        return DecodeError{QStringLiteral("Malformed command message: not a JSON object")};
    const auto version = message.find("version");
    if (version == message.end() || !version->is_number_integer() || version->get<int>() != kVersion)
        return DecodeError{QStringLiteral("Unsupported command message version (expected %1)").arg(kVersion)};
    return message;
}

QString toQString(const Json& value)
{
    const auto& text = value.get_ref<const std::string&>();
    return QString::fromUtf8(text.data(), qsizetype(text.size()));
}

} // namespace

QByteArray encodeRequest(const QString& url)
{
    return frame(Json{{"version", kVersion}, {"url", url.toStdString()}});
}

QByteArray encodeReply(const CommandOutcome& outcome)
{
    return frame(Json{{"version", kVersion}, {"ok", outcome.ok}, {"message", outcome.message.toStdString()}});
}

QByteArray encodeKeepAlive()
{
    return frame(Json{{"version", kVersion}, {"working", true}});
}

QByteArray encodeSyncRequest()
{
    return frame(Json{{"version", kVersion}, {"sync", true}});
}

std::variant<QString, SyncRequest, DecodeError> decodeRequest(const QByteArray& bytes)
{
    auto parsed = parseObject(bytes);
    if (auto* error = std::get_if<DecodeError>(&parsed))
        return *error;
    const Json& message = std::get<Json>(parsed);
    const auto sync = message.find("sync");
    if (sync != message.end() && sync->is_boolean() && sync->get<bool>())
        return SyncRequest{};
    const auto url = message.find("url");
    if (url == message.end() || !url->is_string() || url->get_ref<const std::string&>().empty())
        return DecodeError{QStringLiteral("Malformed command message: \"url\" must be a non-empty string")};
    return toQString(*url);
}

std::variant<CommandOutcome, KeepAlive, DecodeError> decodeReply(const QByteArray& bytes)
{
    auto parsed = parseObject(bytes);
    if (auto* error = std::get_if<DecodeError>(&parsed))
        return *error;
    const Json& message = std::get<Json>(parsed);
    if (const auto working = message.find("working"); working != message.end() && working->is_boolean() && working->get<bool>())
        return KeepAlive{};
    const auto ok = message.find("ok");
    const auto text = message.find("message");
    if (ok == message.end() || !ok->is_boolean() || text == message.end() || !text->is_string())
        return DecodeError{QStringLiteral("Malformed reply from Quillo")};
    return CommandOutcome{ok->get<bool>(), toQString(*text)};
}

} // namespace CommandChannelProtocol
