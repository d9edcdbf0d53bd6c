#pragma once

#include "model/coding_error.h"
#include "model/json_values.h"

#include <QList>
#include <QString>
#include <QUrl>
#include <QUuid>

#include <optional>

// A read-only view of one value inside a document being decoded. Every accessor
// checks the shape and throws CodingError naming the path on a mismatch, so a
// decoder reads like a list of fields and still fails as a whole on bad input.
//
// A child reader refers to its parent to build the path lazily (only when an error
// is thrown); keep children inside the scope of the reader they came from.
class JsonReader {
public:
    explicit JsonReader(const Json& value, DateEncoding dates = DateEncoding::referenceSeconds);

    const Json& json() const { return *m_value; }
    DateEncoding dateEncoding() const { return m_dates; }

    // A required member of an object; missing or null is an error.
    JsonReader operator[](const char* key) const;
    // An optional member: nothing when it is missing or null.
    std::optional<JsonReader> optional(const char* key) const;
    JsonReader at(size_t index) const;

    void expectObject() const;
    void expectArray() const;
    size_t arraySize() const;

    QString string() const;
    double number() const;
    bool boolean() const;
    QUuid uuid() const;
    Timestamp date() const;
    // The keyed URL form {"relative": ..., "base": ...}; a plain URL string is accepted too.
    QUrl fileUrl() const;
    QStringList stringList() const;

    // Decodes each element of an array with decode(JsonReader).
    template<class Decode>
    auto list(Decode decode) const
    {
        using Element = decltype(decode(std::declval<const JsonReader&>()));
        const size_t count = arraySize();
        QList<Element> result;
        result.reserve(static_cast<qsizetype>(count));
        for (size_t i = 0; i < count; ++i)
            result.append(decode(at(i)));
        return result;
    }

    // The flat dictionary form [key1, value1, key2, value2, ...] of dictionaries
    // whose keys are not strings; calls pair(keyReader, valueReader) for each pair.
    template<class Pair>
    void forEachPair(Pair pair) const
    {
        const size_t count = arraySize();
        if (count % 2 != 0)
            fail(CodingError::Kind::wrongType, QStringLiteral("an array of alternating keys and values"));
        for (size_t i = 0; i < count; i += 2)
            pair(at(i), at(i + 1));
    }

    // Calls member(key, valueReader) for each member of an object, in document order.
    template<class Member>
    void forEachMember(Member member) const
    {
        expectObject();
        for (auto it = m_value->begin(); it != m_value->end(); ++it)
            member(it.key(), JsonReader(it.value(), this, it.key().c_str(), 0));
    }

    [[noreturn]] void fail(CodingError::Kind kind, const QString& detail) const;
    QString path() const;

private:
    JsonReader(const Json& value, const JsonReader* parent, const char* key, size_t index);

    const Json* m_value;
    DateEncoding m_dates;
    const JsonReader* m_parent = nullptr;
    const char* m_key = nullptr;
    size_t m_index = 0;
};
