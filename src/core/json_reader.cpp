#include "core/json_reader.h"

#include <array>
#include <cmath>

namespace {

// Hex digit values by byte, -1 for everything else: a schedule holds a UUID for every
// post and attachment, so this is looked up millions of times on a load.
constexpr std::array<signed char, 256> kHexDigits = [] {
    std::array<signed char, 256> table{};
    for (auto& entry : table)
        entry = -1;
    for (int i = 0; i < 10; ++i)
        table['0' + i] = static_cast<signed char>(i);
    for (int i = 0; i < 6; ++i) {
        table['a' + i] = static_cast<signed char>(10 + i);
        table['A' + i] = static_cast<signed char>(10 + i);
    }
    return table;
}();

int hexDigit(char c)
{
    return kHexDigits[static_cast<unsigned char>(c)];
}

// The 36-character hyphenated form, either case.
std::optional<QUuid> parseUuid(std::string_view text)
{
    if (text.size() != 36)
        return std::nullopt;
    unsigned char bytes[16];
    size_t at = 0;
    for (int i = 0; i < 16; ++i) {
        if (at == 8 || at == 13 || at == 18 || at == 23) {
            if (text[at] != '-')
                return std::nullopt;
            ++at;
        }
        const int high = hexDigit(text[at]);
        const int low = hexDigit(text[at + 1]);
        if (high < 0 || low < 0)
            return std::nullopt;
        bytes[i] = static_cast<unsigned char>(high << 4 | low);
        at += 2;
    }
    const uint data1 = uint(bytes[0]) << 24 | uint(bytes[1]) << 16 | uint(bytes[2]) << 8 | bytes[3];
    const auto data2 = static_cast<ushort>(bytes[4] << 8 | bytes[5]);
    const auto data3 = static_cast<ushort>(bytes[6] << 8 | bytes[7]);
    return QUuid(data1, data2, data3, bytes[8], bytes[9], bytes[10], bytes[11], bytes[12], bytes[13], bytes[14],
                 bytes[15]);
}

} // namespace

JsonReader::JsonReader(const JsonTape& tape, DateEncoding dates)
    : m_tape(&tape)
    , m_dates(dates)
{
}

JsonReader::JsonReader(const JsonTape& tape, DateEncoding dates, size_t position)
    : m_tape(&tape)
    , m_dates(dates)
    , m_position(position)
    , m_isElement(true)
{
}

bool JsonReader::startsWithArray(const QByteArray& document)
{
    for (const char c : document) {
        if (c != ' ' && c != '\n' && c != '\r' && c != '\t')
            return c == '[';
    }
    return false;
}

JsonReader::JsonReader(const Json& value, DateEncoding dates)
    : m_dates(dates)
{
    const std::string text = value.dump();
    m_owned = std::make_shared<const JsonTape>(
        JsonTape::parse(QByteArray(text.data(), static_cast<qsizetype>(text.size()))));
    m_tape = m_owned.get();
}

JsonReader::JsonReader(const JsonReader& parent, std::uint32_t index, std::string_view key, size_t position)
    : m_tape(parent.m_tape)
    , m_index(index)
    , m_dates(parent.m_dates)
    , m_parent(&parent)
    , m_key(key)
    , m_position(position)
{
}

QString JsonReader::path() const
{
    if (!m_parent)
        return m_isElement ? u'[' + QString::number(m_position) + u']' : QString();
    const QString parent = m_parent->path();
    if (m_parent->isObject()) {
        const QString key = QString::fromUtf8(m_key.data(), static_cast<qsizetype>(m_key.size()));
        return parent.isEmpty() ? key : parent + u'.' + key;
    }
    return parent + u'[' + QString::number(m_position) + u']';
}

void JsonReader::fail(CodingError::Kind kind, const QString& detail) const
{
    throw CodingError(kind, path(), detail);
}

void JsonReader::expectObject() const
{
    if (!isObject())
        fail(CodingError::Kind::wrongType, QStringLiteral("an object"));
}

void JsonReader::expectArray() const
{
    if (!isArray())
        fail(CodingError::Kind::wrongType, QStringLiteral("an array"));
}

std::optional<JsonReader> JsonReader::optional(std::string_view key) const
{
    expectObject();
    const JsonTape::Node& object = node();
    if ((object.keys & JsonTape::keyBit(key)) == 0)
        return std::nullopt;
    const auto matches = [&](std::uint32_t i) {
        return m_tape->node(i).text.length == key.size() && m_tape->text(i) == key;
    };
    std::uint32_t found = 0;
    if (object.flag) {
        // Some key occurs twice, and then the last one counts: search to the end.
        for (std::uint32_t i = m_index + 1; i < object.end; i = m_tape->next(i + 1)) {
            if (matches(i))
                found = i + 1;
        }
    } else {
        // Decoders ask for keys in the order they are written: start after the last key
        // found, and wrap around to the start of the object.
        const std::uint32_t first = m_index + 1;
        const std::uint32_t hint = m_hint > first && m_hint < object.end ? m_hint : first;
        for (std::uint32_t i = hint; i < object.end && found == 0; i = m_tape->next(i + 1)) {
            if (matches(i))
                found = i + 1;
        }
        for (std::uint32_t i = first; i < hint && found == 0; i = m_tape->next(i + 1)) {
            if (matches(i))
                found = i + 1;
        }
        if (found != 0)
            m_hint = m_tape->next(found);
    }
    if (found == 0 || m_tape->node(found).type == JsonTape::Type::null)
        return std::nullopt;
    return JsonReader(*this, found, m_tape->text(found - 1), 0);
}

JsonReader JsonReader::operator[](std::string_view key) const
{
    auto member = optional(key);
    if (!member)
        fail(CodingError::Kind::missingKey, QString::fromUtf8(key.data(), static_cast<qsizetype>(key.size())));
    return *member;
}

size_t JsonReader::arraySize() const
{
    expectArray();
    size_t count = 0;
    for (std::uint32_t i = m_index + 1; i < node().end; i = m_tape->next(i))
        ++count;
    return count;
}

size_t JsonReader::memberCount() const
{
    expectObject();
    size_t count = 0;
    for (std::uint32_t i = m_index + 1; i < node().end; i = m_tape->next(i + 1))
        ++count;
    return count;
}

std::string_view JsonReader::utf8() const
{
    if (!isString())
        fail(CodingError::Kind::wrongType, QStringLiteral("a string"));
    return m_tape->text(m_index);
}

QString JsonReader::string() const
{
    const std::string_view text = utf8();
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

double JsonReader::number() const
{
    if (!isNumber())
        fail(CodingError::Kind::wrongType, QStringLiteral("a number"));
    const double number = node().number;
    // An overflowing literal such as 1e999 would load but could never be saved again.
    if (!std::isfinite(number))
        fail(CodingError::Kind::invalidValue, QStringLiteral("a number out of range"));
    return number;
}

bool JsonReader::boolean() const
{
    if (!isBoolean())
        fail(CodingError::Kind::wrongType, QStringLiteral("a Boolean"));
    return node().flag;
}

QUuid JsonReader::uuid() const
{
    if (!isString())
        fail(CodingError::Kind::wrongType, QStringLiteral("a UUID string"));
    const auto id = parseUuid(m_tape->text(m_index));
    if (!id)
        fail(CodingError::Kind::invalidValue, QStringLiteral("not a UUID: ") + string());
    return *id;
}

Timestamp JsonReader::date() const
{
    if (m_dates == DateEncoding::referenceSeconds)
        return Timestamp::fromReferenceSeconds(number());
    const QString text = string();
    const auto parsed = Timestamp::fromIso8601(text);
    if (!parsed)
        fail(CodingError::Kind::invalidValue, QStringLiteral("not an ISO 8601 date: ") + text);
    return *parsed;
}

FileUrl JsonReader::fileUrl() const
{
    if (isString()) {
        const QString text = string();
        if (text.isEmpty())
            fail(CodingError::Kind::invalidValue, QStringLiteral("an empty URL"));
        return FileUrl::fromText(text);
    }
    const QString relative = (*this)["relative"].string();
    if (const auto base = optional("base")) {
        const QUrl resolved = QUrl(base->fileUrl().text()).resolved(QUrl(relative));
        if (!resolved.isValid() || resolved.isEmpty())
            fail(CodingError::Kind::invalidValue, QStringLiteral("not a URL"));
        return FileUrl(resolved);
    }
    if (relative.isEmpty())
        fail(CodingError::Kind::invalidValue, QStringLiteral("an empty URL"));
    return FileUrl::fromText(relative);
}

QStringList JsonReader::stringList() const
{
    return list([](const JsonReader& element) { return element.string(); });
}
