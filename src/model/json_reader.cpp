#include "model/json_reader.h"

#include <cmath>

JsonReader::JsonReader(const Json& value, DateEncoding dates)
    : m_value(&value)
    , m_dates(dates)
{
}

JsonReader::JsonReader(const Json& value, const JsonReader* parent, const char* key, size_t index)
    : m_value(&value)
    , m_dates(parent->m_dates)
    , m_parent(parent)
    , m_key(key)
    , m_index(index)
{
}

QString JsonReader::path() const
{
    if (!m_parent)
        return {};
    const QString parent = m_parent->path();
    if (m_key)
        return parent.isEmpty() ? QString::fromUtf8(m_key) : parent + u'.' + QString::fromUtf8(m_key);
    return parent + u'[' + QString::number(m_index) + u']';
}

void JsonReader::fail(CodingError::Kind kind, const QString& detail) const
{
    throw CodingError(kind, path(), detail);
}

void JsonReader::expectObject() const
{
    if (!m_value->is_object())
        fail(CodingError::Kind::wrongType, QStringLiteral("an object"));
}

void JsonReader::expectArray() const
{
    if (!m_value->is_array())
        fail(CodingError::Kind::wrongType, QStringLiteral("an array"));
}

std::optional<JsonReader> JsonReader::optional(const char* key) const
{
    expectObject();
    const auto found = m_value->find(key);
    if (found == m_value->end() || found->is_null())
        return std::nullopt;
    return JsonReader(*found, this, key, 0);
}

JsonReader JsonReader::operator[](const char* key) const
{
    auto member = optional(key);
    if (!member)
        fail(CodingError::Kind::missingKey, QString::fromUtf8(key));
    return *member;
}

JsonReader JsonReader::at(size_t index) const
{
    expectArray();
    if (index >= m_value->size())
        fail(CodingError::Kind::wrongType, QStringLiteral("an element at index ") + QString::number(index));
    return JsonReader((*m_value)[index], this, nullptr, index);
}

size_t JsonReader::arraySize() const
{
    expectArray();
    return m_value->size();
}

QString JsonReader::string() const
{
    const auto* text = m_value->get_ptr<const Json::string_t*>();
    if (!text)
        fail(CodingError::Kind::wrongType, QStringLiteral("a string"));
    return QString::fromUtf8(text->data(), static_cast<qsizetype>(text->size()));
}

double JsonReader::number() const
{
    if (!m_value->is_number())
        fail(CodingError::Kind::wrongType, QStringLiteral("a number"));
    const double number = m_value->get<double>();
    // An overflowing literal such as 1e999 would load but could never be saved again.
    if (!std::isfinite(number))
        fail(CodingError::Kind::invalidValue, QStringLiteral("a number out of range"));
    return number;
}

bool JsonReader::boolean() const
{
    if (!m_value->is_boolean())
        fail(CodingError::Kind::wrongType, QStringLiteral("a Boolean"));
    return m_value->get<bool>();
}

QUuid JsonReader::uuid() const
{
    const auto* text = m_value->get_ptr<const Json::string_t*>();
    if (!text)
        fail(CodingError::Kind::wrongType, QStringLiteral("a UUID string"));
    constexpr size_t kUuidLength = 36;
    const QUuid id = text->size() == kUuidLength
        ? QUuid::fromString(QLatin1StringView(text->data(), static_cast<qsizetype>(text->size())))
        : QUuid();
    // The nil UUID is valid text that parses to a null QUuid.
    if (id.isNull() && *text != "00000000-0000-0000-0000-000000000000")
        fail(CodingError::Kind::invalidValue, QStringLiteral("not a UUID: ") + QString::fromStdString(*text));
    return id;
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

QUrl JsonReader::fileUrl() const
{
    QUrl url;
    if (m_value->is_string()) {
        url = QUrl(string());
    } else {
        url = QUrl((*this)["relative"].string());
        if (const auto base = optional("base"))
            url = base->fileUrl().resolved(url);
    }
    if (!url.isValid() || url.isEmpty())
        fail(CodingError::Kind::invalidValue, QStringLiteral("not a URL"));
    return url;
}

QStringList JsonReader::stringList() const
{
    return list([](const JsonReader& element) { return element.string(); });
}
