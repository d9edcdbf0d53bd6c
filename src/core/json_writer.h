#pragma once

#include "core/json_values.h"
#include "core/timestamp.h"

#include <QByteArray>
#include <QString>
#include <QUuid>

#include <string>
#include <string_view>
#include <vector>

class FileUrl;
class QIODevice;

// Writes JSON text straight into one buffer, keys in the order they are written.
// The stored documents are written this way rather than through a tree of
// nlohmann::json values: a large schedule is saved several times faster and with a
// fraction of the memory. Compact or pretty (two-space indent) layout; sorting keys
// is JsonValues::dump's job, so prettySortedKeys writes compact text here.
class JsonWriter {
public:
    explicit JsonWriter(JsonLayout layout = JsonLayout::compact, DateEncoding dates = DateEncoding::referenceSeconds);
    // Streams the text to a device in blocks instead of keeping all of it: a large
    // document is then never held in memory whole. Call finish() at the end.
    JsonWriter(QIODevice& device, JsonLayout layout, DateEncoding dates = DateEncoding::referenceSeconds);

    // Writes what is still buffered to the device; false when any write to it failed.
    bool finish();

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
    // A value that is already JSON text in this writer's layout, written as it stands
    // (the store keeps its entries encoded so that a save only joins them).
    void encoded(std::string_view json);

    std::string_view text() const { return {m_data, static_cast<size_t>(m_size)}; }
    // Shares the buffer: no copy of a large document.
    QByteArray toByteArray();

private:
    // Room for n more bytes at the end of the text; bytes written there are counted by
    // the caller (m_size). Writing through a pointer instead of appending byte by byte
    // is what makes encoding a large schedule cheap.
    char* room(qsizetype n)
    {
        if (m_capacity - m_size < n)
            grow(n);
        return m_data + m_size;
    }
    void grow(qsizetype n);
    void put(char c)
    {
        *room(1) = c;
        ++m_size;
    }
    void put(std::string_view bytes);
    void beforeValue();
    void newline();
    // A string of valid UTF-8, escaped, without the separator logic.
    void appendString(std::string_view utf8);

    // m_out holds m_capacity bytes of which the first m_size are the text so far.
    QByteArray m_out;
    QIODevice* m_device = nullptr;
    bool m_deviceFailed = false;
    char* m_data = nullptr;
    qsizetype m_size = 0;
    qsizetype m_capacity = 0;
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
