#pragma once

#include "core/coding_error.h"
#include "core/file_url.h"
#include "core/json_tape.h"
#include "core/json_values.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <QUuid>

#include <memory>
#include <optional>
#include <string_view>

// A read-only view of one value inside a parsed document. Every accessor checks the
// shape and throws CodingError naming the path on a mismatch, so a decoder reads like
// a list of fields and still fails as a whole on bad input.
//
// A child reader refers to its parent to build the path lazily (only when an error
// is thrown); keep children inside the scope of the reader they came from.
class JsonReader {
public:
    // The document's top-level value.
    explicit JsonReader(const JsonTape& tape, DateEncoding dates = DateEncoding::referenceSeconds);
    // A value held as nlohmann::json; the reader keeps its own parsed copy of it.
    explicit JsonReader(const Json& value, DateEncoding dates = DateEncoding::referenceSeconds);

    // Parses a document and hands its top-level value to decode(const JsonReader&).
    template<class Decode>
    static auto read(const QByteArray& document, DateEncoding dates, Decode decode)
    {
        const JsonTape tape = JsonTape::parse(document);
        return decode(JsonReader(tape, dates));
    }
    // Decodes a document that is an array with decode(const JsonReader&) per element,
    // parsing one element at a time: a long list never needs a tape of the whole document.
    template<class Decode>
    static auto readList(const QByteArray& document, DateEncoding dates, Decode decode)
    {
        using Element = decltype(decode(std::declval<const JsonReader&>()));
        if (!startsWithArray(document)) // other values fail with the whole-document errors
            return read(document, dates, [&](const JsonReader& root) { return root.list(decode); });
        QList<Element> result;
        JsonTape::parseElements(document, [&](const JsonTape& tape, size_t position) {
            result.append(decode(JsonReader(tape, dates, position)));
        });
        return result;
    }
    // The same for a value already held as nlohmann::json.
    template<class Decode>
    static auto read(const Json& value, DateEncoding dates, Decode decode)
    {
        const std::string text = value.dump();
        return read(QByteArray(text.data(), static_cast<qsizetype>(text.size())), dates, decode);
    }

    DateEncoding dateEncoding() const { return m_dates; }

    JsonTape::Type type() const { return node().type; }
    bool isNull() const { return type() == JsonTape::Type::null; }
    bool isBoolean() const { return type() == JsonTape::Type::boolean; }
    bool isNumber() const { return type() == JsonTape::Type::number; }
    bool isString() const { return type() == JsonTape::Type::string; }
    bool isArray() const { return type() == JsonTape::Type::array; }
    bool isObject() const { return type() == JsonTape::Type::object; }

    // A required member of an object; missing or null is an error. When a key occurs
    // twice the last one counts.
    JsonReader operator[](std::string_view key) const;
    // An optional member: nothing when it is missing or null.
    std::optional<JsonReader> optional(std::string_view key) const;

    void expectObject() const;
    void expectArray() const;
    size_t arraySize() const;
    size_t memberCount() const;

    QString string() const;
    std::string_view utf8() const;
    double number() const;
    bool boolean() const;
    QUuid uuid() const;
    Timestamp date() const;
    // The keyed URL form {"relative": ..., "base": ...}; a plain URL string is accepted too.
    FileUrl fileUrl() const;
    QStringList stringList() const;

    // Calls element(reader) for each element of an array, in order.
    template<class Element>
    void forEachElement(Element element) const
    {
        expectArray();
        size_t position = 0;
        for (std::uint32_t i = m_index + 1; i < node().end; i = m_tape->next(i))
            element(JsonReader(*this, i, {}, position++));
    }

    // Decodes each element of an array with decode(JsonReader).
    template<class Decode>
    auto list(Decode decode) const
    {
        using Element = decltype(decode(std::declval<const JsonReader&>()));
        QList<Element> result;
        result.reserve(static_cast<qsizetype>(arraySize()));
        forEachElement([&](const JsonReader& element) { result.append(decode(element)); });
        return result;
    }

    // The flat dictionary form [key1, value1, key2, value2, ...] of dictionaries
    // whose keys are not strings; calls pair(keyReader, valueReader) for each pair.
    template<class Pair>
    void forEachPair(Pair pair) const
    {
        if (arraySize() % 2 != 0)
            fail(CodingError::Kind::wrongType, QStringLiteral("an array of alternating keys and values"));
        size_t position = 0;
        for (std::uint32_t i = m_index + 1; i < node().end;) {
            const std::uint32_t value = m_tape->next(i);
            pair(JsonReader(*this, i, {}, position), JsonReader(*this, value, {}, position + 1));
            position += 2;
            i = m_tape->next(value);
        }
    }

    // Calls member(key, valueReader) for each member of an object, in document order.
    template<class Member>
    void forEachMember(Member member) const
    {
        expectObject();
        for (std::uint32_t i = m_index + 1; i < node().end;) {
            const std::string_view key = m_tape->text(i);
            member(key, JsonReader(*this, i + 1, key, 0));
            i = m_tape->next(i + 1);
        }
    }

    [[noreturn]] void fail(CodingError::Kind kind, const QString& detail) const;
    QString path() const;

private:
    // An element of a top-level array parsed on its own; its path starts with "[position]".
    JsonReader(const JsonTape& tape, DateEncoding dates, size_t position);
    static bool startsWithArray(const QByteArray& document);
    JsonReader(const JsonReader& parent, std::uint32_t index, std::string_view key, size_t position);
    const JsonTape::Node& node() const { return m_tape->node(m_index); }

    std::shared_ptr<const JsonTape> m_owned;
    const JsonTape* m_tape = nullptr;
    std::uint32_t m_index = 0;
    DateEncoding m_dates;
    const JsonReader* m_parent = nullptr;
    std::string_view m_key;
    size_t m_position = 0;
    bool m_isElement = false;
    // Objects: where the search for the next key starts (after the last one found).
    mutable std::uint32_t m_hint = 0;
};
