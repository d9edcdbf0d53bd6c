#include "model/json_writer.h"

#include "model/utf8.h"

#include "model/coding_error.h"
#include "model/file_url.h"

#include <charconv>
#include <cmath>

JsonWriter::JsonWriter(JsonLayout layout, DateEncoding dates)
    : m_pretty(layout == JsonLayout::pretty)
    , m_dates(dates)
{
}

void JsonWriter::newline()
{
    m_out.push_back('\n');
    m_out.append(static_cast<qsizetype>(2 * m_counts.size()), ' ');
}

void JsonWriter::beforeValue()
{
    if (m_afterKey) {
        m_afterKey = false;
        return;
    }
    if (m_counts.empty())
        return;
    if (m_counts.back()++ > 0)
        m_out.push_back(',');
    if (m_pretty)
        newline();
}

void JsonWriter::beginObject()
{
    beforeValue();
    m_out.push_back('{');
    m_counts.push_back(0);
}

void JsonWriter::endObject()
{
    const int count = m_counts.back();
    m_counts.pop_back();
    if (m_pretty && count > 0)
        newline();
    m_out.push_back('}');
}

void JsonWriter::beginArray()
{
    beforeValue();
    m_out.push_back('[');
    m_counts.push_back(0);
}

void JsonWriter::endArray()
{
    endObject();
    m_out.back() = ']';
}

void JsonWriter::key(std::string_view name)
{
    beforeValue();
    appendString(name);
    m_out.append(m_pretty ? ": " : ":");
    m_afterKey = true;
}

namespace {

void appendEscaped(QByteArray& out, char32_t c)
{
    switch (c) {
    case '"': out.append("\\\""); return;
    case '\\': out.append("\\\\"); return;
    case '\b': out.append("\\b"); return;
    case '\f': out.append("\\f"); return;
    case '\n': out.append("\\n"); return;
    case '\r': out.append("\\r"); return;
    case '\t': out.append("\\t"); return;
    default: break;
    }
    static constexpr char kHex[] = "0123456789abcdef";
    out.append("\\u00");
    out.push_back(kHex[(c >> 4) & 0xF]);
    out.push_back(kHex[c & 0xF]);
}


} // namespace

void JsonWriter::string(const QString& text)
{
    beforeValue();
    m_out.push_back('"');
    const char16_t* data = reinterpret_cast<const char16_t*>(text.utf16());
    const qsizetype size = text.size();
    for (qsizetype i = 0; i < size; ++i) {
        char32_t c = data[i];
        if (c < 0x80) {
            if (c < 0x20 || c == '"' || c == '\\')
                appendEscaped(m_out, c);
            else
                m_out.push_back(static_cast<char>(c));
            continue;
        }
        if (c >= 0xD800 && c <= 0xDBFF && i + 1 < size && data[i + 1] >= 0xDC00 && data[i + 1] <= 0xDFFF) {
            c = 0x10000 + ((c - 0xD800) << 10) + (data[i + 1] - 0xDC00);
            ++i;
        } else if (c >= 0xD800 && c <= 0xDFFF) {
            c = 0xFFFD; // a lone surrogate has no UTF-8 form
        }
        appendUtf8(m_out, c);
    }
    m_out.push_back('"');
}

void JsonWriter::string(std::string_view utf8)
{
    beforeValue();
    appendString(utf8);
}

void JsonWriter::appendString(std::string_view utf8)
{
    m_out.push_back('"');
    for (const char ch : utf8) {
        const auto c = static_cast<unsigned char>(ch);
        if (c < 0x20 || c == '"' || c == '\\')
            appendEscaped(m_out, c);
        else
            m_out.push_back(ch);
    }
    m_out.push_back('"');
}

void JsonWriter::number(double value)
{
    if (!std::isfinite(value))
        throw CodingError(CodingError::Kind::unencodable, {}, QStringLiteral("a number that is not finite"));
    beforeValue();
    char buffer[32];
    constexpr double kExactIntegerLimit = 9007199254740992.0; // 2^53
    std::to_chars_result result;
    if (std::trunc(value) == value && std::fabs(value) < kExactIntegerLimit)
        result = std::to_chars(buffer, buffer + sizeof buffer, static_cast<long long>(value));
    else
        result = std::to_chars(buffer, buffer + sizeof buffer, value);
    m_out.append(buffer, result.ptr - buffer);
}

void JsonWriter::boolean(bool value)
{
    beforeValue();
    m_out.append(value ? "true" : "false");
}

void JsonWriter::null()
{
    beforeValue();
    m_out.append("null");
}

void JsonWriter::uuid(const QUuid& id)
{
    beforeValue();
    static constexpr char kHex[] = "0123456789ABCDEF";
    char text[38];
    char* p = text;
    *p++ = '"';
    // The sixteen bytes in text order (big-endian fields).
    const unsigned char bytes[16] = {
        static_cast<unsigned char>(id.data1 >> 24), static_cast<unsigned char>(id.data1 >> 16),
        static_cast<unsigned char>(id.data1 >> 8),  static_cast<unsigned char>(id.data1),
        static_cast<unsigned char>(id.data2 >> 8),  static_cast<unsigned char>(id.data2),
        static_cast<unsigned char>(id.data3 >> 8),  static_cast<unsigned char>(id.data3),
        id.data4[0], id.data4[1], id.data4[2], id.data4[3], id.data4[4], id.data4[5], id.data4[6], id.data4[7]};
    for (int i = 0; i < 16; ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10)
            *p++ = '-';
        *p++ = kHex[bytes[i] >> 4];
        *p++ = kHex[bytes[i] & 0xF];
    }
    *p++ = '"';
    m_out.append(text, p - text);
}

void JsonWriter::date(Timestamp date)
{
    if (m_dates == DateEncoding::referenceSeconds)
        return number(date.referenceSeconds());
    const QString text = date.toIso8601();
    if (text.isEmpty())
        throw CodingError(CodingError::Kind::unencodable, {}, QStringLiteral("a date beyond the calendar"));
    string(text);
}

void JsonWriter::fileUrl(const FileUrl& url)
{
    beginObject();
    key("relative");
    string(url.text());
    endObject();
}

