#pragma once

#include "core/json.h"
#include "core/timestamp.h"

#include <QByteArray>
#include <QString>
#include <QUrl>
#include <QUuid>


#include <string>
#include <string_view>

// Stored state writes dates as seconds since 2001-01-01 UTC; files the user exports
// (and URL and MCP parameters) use ISO 8601 text.
enum class DateEncoding { referenceSeconds, iso8601 };

enum class JsonLayout {
    compact,
    pretty,
    // Pretty, with the keys of every object in sorted order: the export files.
    prettySortedKeys,
};

// Helpers for building nlohmann::json values.
namespace JsonValues {
std::string utf8(const QString& text);
// Upper-case hyphenated text, 36 characters.
std::string uuidText(const QUuid& id);
// Text of a document. Throws CodingError when a string holds invalid UTF-8.
QByteArray dump(const Json& document, JsonLayout layout);
// Containers nested deeper than this are refused wherever JSON from outside is read
// (MCP lines, the command channel, stored documents, network answers): walking, copying
// or writing such a value recurses once per level and would exhaust the stack.
inline constexpr int kMaxNesting = 128;
// Whether the text opens more than maxDepth arrays or objects at once. Brackets inside
// strings do not count; the text need not be valid JSON.
bool nestsDeeperThan(std::string_view text, int maxDepth = kMaxNesting);
// Parses a document; throws CodingError (malformedJson) on bad syntax or too deep nesting.
Json parse(const QByteArray& bytes);
// Parses a document from outside: a discarded value (is_discarded()) on bad syntax or
// too deep nesting, never an exception.
Json parseOrDiscard(std::string_view bytes);
} // namespace JsonValues
