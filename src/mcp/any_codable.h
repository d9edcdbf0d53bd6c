#pragma once

#include "core/json.h"
#include "core/quillo_error.h"

#include <string>

// A JSON value of any kind, as it crosses the MCP wire. Decoding tries null,
// boolean, integer, double, text, array, object in turn; a whole-numbered double
// (7.0) is therefore read as the integer 7.
class AnyCodable {
public:
    struct DecodingError : QuilloError {
        explicit DecodingError(const std::string& message)
            : QuilloError(QString::fromStdString(message))
        {
        }
    };

    AnyCodable() = default;
    static AnyCodable decode(const Json& value);

    const Json& json() const { return m_value; }
    Json& json() { return m_value; }

private:
    explicit AnyCodable(Json value)
        : m_value(std::move(value))
    {
    }
    static Json normalise(const Json& value, int depth);

    Json m_value;
};
