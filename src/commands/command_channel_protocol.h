#pragma once

#include "commands/command_outcome.h"

#include <QByteArray>
#include <QString>

#include <variant>

// The wire format of the command channel: one JSON object per line, at most
// kMaxMessageBytes long including the line feed. A request carries one URL, the
// reply says whether the command succeeded and why not.
//
//   request  {"version":1,"url":"quillo://open"}
//   reply    {"version":1,"ok":true,"message":"Activated app"}
//
// JSON escapes every line feed inside strings, so the line feed is a safe frame end.
namespace CommandChannelProtocol {

inline constexpr int kVersion = 1;
inline constexpr qsizetype kMaxMessageBytes = 1024 * 1024;

struct DecodeError {
    QString message;
};

QByteArray encodeRequest(const QString& url);
QByteArray encodeReply(const CommandOutcome& outcome);

// Both take one frame without its line feed.
std::variant<QString, DecodeError> decodeRequest(const QByteArray& frame);
std::variant<CommandOutcome, DecodeError> decodeReply(const QByteArray& frame);

} // namespace CommandChannelProtocol
