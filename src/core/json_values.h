#pragma once

#include "core/json.h"
#include "core/timestamp.h"

#include <QByteArray>
#include <QString>
#include <QUrl>
#include <QUuid>


#include <string>

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
// Parses a document; throws CodingError (malformedJson) on bad syntax.
Json parse(const QByteArray& bytes);
} // namespace JsonValues
