#pragma once

#include "channel/command_outcome.h"

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
// A command is answered once it is carried out; what it changed is saved in the
// background. A sync request is answered once everything changed by the commands
// before it is stored, for clients that read the stored documents next.
//
//   request  {"version":1,"sync":true}
//   reply    {"version":1,"ok":true,"message":"Stored"}  (ok false when the save failed)
//
// While a command waits in the queue or runs, the instance sends keep-alives to its
// client every few seconds, so a slow command (a large download) is never given up
// on by a client that then sees it succeed:
//
//   keep-alive {"version":1,"working":true}
//
// JSON escapes every line feed inside strings, so the line feed is a safe frame end.
namespace CommandChannelProtocol {

inline constexpr int kVersion = 1;
inline constexpr qsizetype kMaxMessageBytes = 1024 * 1024;

struct DecodeError {
    QString message;
};

struct SyncRequest {};
struct KeepAlive {};

QByteArray encodeRequest(const QString& url);
QByteArray encodeSyncRequest();
QByteArray encodeReply(const CommandOutcome& outcome);
QByteArray encodeKeepAlive();

// Both take one frame without its line feed.
// A command request decodes to its URL.
std::variant<QString, SyncRequest, DecodeError> decodeRequest(const QByteArray& frame);
std::variant<CommandOutcome, KeepAlive, DecodeError> decodeReply(const QByteArray& frame);

} // namespace CommandChannelProtocol
