#pragma once

#include "model/json_values.h"
#include "model/timestamp.h"

#include <QByteArray>
#include <QString>
#include <QUuid>

#include <string>
#include <string_view>
#include <vector>

class FileUrl;

// Writes JSON text straight into one buffer, keys in the order they are written.
// The stored documents are written this way rather than through a tree of
// nlohmann::json values: a large schedule is saved several times faster and with a
// fraction of the memory. Compact or pretty (two-space indent) layout; sorting keys
// is JsonValues::dump's job, so prettySortedKeys writes compact text here.
class JsonWriter {
public:
    explicit JsonWriter(JsonLayout layout = JsonLayout::compact, DateEncoding dates = DateEncoding::referenceSeconds);

    DateEncoding dateEncoding() const { return m_dates; }

    void beginObject();
    void endObject();
    void beginArray();
    void endArray();
    void key(std::string_view name);

    void string(const QString& text);
    void string(std::string_view utf8);
    // Whole numbers without a fraction; throws CodingError for NaN and infinities.
    void number(double value);
    void boolean(bool value);
    void null();
    void uuid(const QUuid& id);
    void date(Timestamp date);
    // The keyed URL form {"relative": "..."}.
    void fileUrl(const FileUrl& url);

    std::string_view text() const { return {m_out.constData(), static_cast<size_t>(m_out.size())}; }
    // Shares the buffer: no copy of a large document.
    QByteArray toByteArray() const { return m_out; }

private:
    void beforeValue();
    void newline();
    // A string of valid UTF-8, escaped, without the separator logic.
    void appendString(std::string_view utf8);

    QByteArray m_out;
    bool m_pretty;
    DateEncoding m_dates;
    // Per open container: how many elements it has so far.
    std::vector<int> m_counts;
    bool m_afterKey = false;
};

// The nlohmann::json form of any value that can write itself, for callers that build
// larger JSON values around it (tool results, tests).
template<class T>
Json toJsonValue(const T& value, DateEncoding dates = DateEncoding::referenceSeconds)
{
    JsonWriter writer(JsonLayout::compact, dates);
    value.write(writer);
    const std::string_view text = writer.text();
    return Json::parse(text.begin(), text.end());
}
