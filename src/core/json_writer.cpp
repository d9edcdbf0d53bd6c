#include "core/json_writer.h"

#include "core/utf8.h"

#include "core/coding_error.h"
#include "core/file_url.h"

#include <QIODevice>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <cmath>

JsonWriter::JsonWriter(JsonLayout layout, DateEncoding dates)
    : m_pretty(layout == JsonLayout::pretty)
    , m_dates(dates)
{
}

JsonWriter::JsonWriter(QIODevice& device, JsonLayout layout, DateEncoding dates)
    : JsonWriter(layout, dates)
{
    m_device = &device;
}

bool JsonWriter::finish()
{
    if (m_device && m_size > 0) {
        m_deviceFailed |= m_device->write(m_data, m_size) != m_size;
        m_size = 0;
    }
    return !m_deviceFailed;
}

void JsonWriter::grow(qsizetype n)
{
    // A block small enough to stay in the cache while it is filled and written out.
    constexpr qsizetype kDeviceBlock = 256 * 1024;
    if (m_device) {
        finish();
        if (m_capacity - m_size >= n)
            return;
        m_capacity = std::max(kDeviceBlock, n);
        m_out.resize(m_capacity);
        m_data = m_out.data();
        return;
    }
    m_capacity = std::max({2 * m_capacity, m_size + n, qsizetype(4096)});
    // The bytes beyond m_size are never read, so they may stay uninitialised.
    m_out.resize(m_capacity);
    m_data = m_out.data();
}

void JsonWriter::put(std::string_view bytes)
{
    const auto n = static_cast<qsizetype>(bytes.size());
    std::memcpy(room(n), bytes.data(), bytes.size());
    m_size += n;
}

QByteArray JsonWriter::toByteArray()
{
    m_out.resize(m_size);
    // The caller now shares the buffer: the next write reallocates rather than change it.
    m_capacity = m_size;
    return m_out;
}

void JsonWriter::newline()
{
    const qsizetype indent = static_cast<qsizetype>(2 * m_counts.size());
    char* out = room(indent + 1);
    *out = '\n';
    std::memset(out + 1, ' ', static_cast<size_t>(indent));
    m_size += indent + 1;
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
        put(',');
    if (m_pretty)
        newline();
}

void JsonWriter::beginObject()
{
    beforeValue();
    put('{');
    m_counts.push_back(0);
}

void JsonWriter::endObject()
{
    const int count = m_counts.back();
    m_counts.pop_back();
    if (m_pretty && count > 0)
        newline();
    put('}');
}

void JsonWriter::beginArray()
{
    beforeValue();
    put('[');
    m_counts.push_back(0);
}

void JsonWriter::endArray()
{
    endObject();
    m_data[m_size - 1] = ']';
}

void JsonWriter::encoded(std::string_view json)
{
    beforeValue();
    put(json);
}

void JsonWriter::key(std::string_view name)
{
    beforeValue();
    appendString(name);
    put(m_pretty ? std::string_view(": ") : std::string_view(":"));
    m_afterKey = true;
}

namespace {

// Writes the escape of an ASCII byte that cannot stand in a JSON string as it is;
// returns the end of what it wrote (at most six bytes).
char* writeEscaped(char* out, char32_t c)
{
    const auto two = [out](char second) {
        out[0] = '\\';
        out[1] = second;
        return out + 2;
    };
    switch (c) {
    case '"': return two('"');
    case '\\': return two('\\');
    case '\b': return two('b');
    case '\f': return two('f');
    case '\n': return two('n');
    case '\r': return two('r');
    case '\t': return two('t');
    default: break;
    }
    static constexpr char kHex[] = "0123456789abcdef";
    std::memcpy(out, "\\u00", 4);
    out[4] = kHex[(c >> 4) & 0xF];
    out[5] = kHex[c & 0xF];
    return out + 6;
}

bool needsEscape(char32_t c)
{
    return c < 0x20 || c == '"' || c == '\\';
}

// Whether four UTF-16 units are all ASCII that needs no escape: most of any post's
// text, which can then be copied four units at a time.
bool isPlainAscii(std::uint64_t units)
{
    constexpr std::uint64_t ones = 0x0001000100010001ULL;
    constexpr std::uint64_t highs = 0x8000800080008000ULL;
    const auto hasZero = [](std::uint64_t v) { return (v - ones) & ~v & highs; };
    if (units & (ones * 0xFF80))
        return false;
    return (hasZero(units ^ (ones * '"')) | hasZero(units ^ (ones * '\\')) | ((units - ones * 0x20) & ~units & highs))
           == 0;
}

// Whether eight UTF-8 bytes hold no quote, backslash or control character, so that
// they can be copied as they are.
bool isPlainUtf8(std::uint64_t bytes)
{
    constexpr std::uint64_t ones = 0x0101010101010101ULL;
    constexpr std::uint64_t highs = 0x8080808080808080ULL;
    const auto hasZero = [](std::uint64_t v) { return (v - ones) & ~v & highs; };
    return (hasZero(bytes ^ (ones * '"')) | hasZero(bytes ^ (ones * '\\')) | ((bytes - ones * 0x20) & ~bytes & highs))
           == 0;
}

} // namespace

void JsonWriter::string(const QString& text)
{
    beforeValue();
    // constData(), not utf16(): the latter copies literals to give them a terminator.
    const char16_t* data = reinterpret_cast<const char16_t*>(text.constData());
    const qsizetype size = text.size();
    // Six bytes per unit covers the longest escape; three covers any UTF-8 per unit.
    char* const begin = room(6 * size + 2);
    char* out = begin;
    *out++ = '"';
    for (qsizetype i = 0; i < size; ++i) {
        while (size - i >= 4) {
            std::uint64_t units;
            std::memcpy(&units, data + i, sizeof units);
            if (!isPlainAscii(units))
                break;
            for (int k = 0; k < 4; ++k)
                out[k] = static_cast<char>(data[i + k]);
            out += 4;
            i += 4;
        }
        if (i == size)
            break;
        char32_t c = data[i];
        if (c < 0x80) {
            if (needsEscape(c))
                out = writeEscaped(out, c);
            else
                *out++ = static_cast<char>(c);
            continue;
        }
        if (c >= 0xD800 && c <= 0xDBFF && i + 1 < size && data[i + 1] >= 0xDC00 && data[i + 1] <= 0xDFFF) {
            c = 0x10000 + ((c - 0xD800) << 10) + (data[i + 1] - 0xDC00);
            ++i;
        } else if (c >= 0xD800 && c <= 0xDFFF) {
            c = 0xFFFD; // a lone surrogate has no UTF-8 form
        }
        out = writeUtf8(out, c);
    }
    *out++ = '"';
    m_size += out - begin;
}

void JsonWriter::string(std::string_view utf8)
{
    beforeValue();
    appendString(utf8);
}

void JsonWriter::appendString(std::string_view utf8)
{
    char* const begin = room(6 * static_cast<qsizetype>(utf8.size()) + 2);
    char* out = begin;
    *out++ = '"';
    size_t i = 0;
    for (; utf8.size() - i >= 8; i += 8) {
        std::uint64_t bytes;
        std::memcpy(&bytes, utf8.data() + i, sizeof bytes);
        if (!isPlainUtf8(bytes))
            break;
        std::memcpy(out, &bytes, sizeof bytes);
        out += 8;
    }
    for (const char ch : utf8.substr(i)) {
        const auto c = static_cast<unsigned char>(ch);
        if (needsEscape(c))
            out = writeEscaped(out, c);
        else
            *out++ = ch;
    }
    *out++ = '"';
    m_size += out - begin;
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
    put({buffer, static_cast<size_t>(result.ptr - buffer)});
}

void JsonWriter::boolean(bool value)
{
    beforeValue();
    put(value ? std::string_view("true") : std::string_view("false"));
}

void JsonWriter::null()
{
    beforeValue();
    put(std::string_view("null"));
}

void JsonWriter::uuid(const QUuid& id)
{
    beforeValue();
    // Two upper-case hex digits per byte value.
    static constexpr auto kPairs = [] {
        constexpr char hex[] = "0123456789ABCDEF";
        std::array<char, 512> pairs{};
        for (int b = 0; b < 256; ++b) {
            pairs[2 * b] = hex[b >> 4];
            pairs[2 * b + 1] = hex[b & 0xF];
        }
        return pairs;
    }();
    // The sixteen bytes in text order (big-endian fields).
    const unsigned char bytes[16] = {
        static_cast<unsigned char>(id.data1 >> 24), static_cast<unsigned char>(id.data1 >> 16),
        static_cast<unsigned char>(id.data1 >> 8),  static_cast<unsigned char>(id.data1),
        static_cast<unsigned char>(id.data2 >> 8),  static_cast<unsigned char>(id.data2),
        static_cast<unsigned char>(id.data3 >> 8),  static_cast<unsigned char>(id.data3),
        id.data4[0], id.data4[1], id.data4[2], id.data4[3], id.data4[4], id.data4[5], id.data4[6], id.data4[7]};
    char* const begin = room(38);
    char* p = begin;
    *p++ = '"';
    for (int i = 0; i < 16; ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10)
            *p++ = '-';
        std::memcpy(p, &kPairs[2 * bytes[i]], 2);
        p += 2;
    }
    *p++ = '"';
    m_size += p - begin;
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

