#include "mcp/any_codable.h"

#include "core/json_values.h"

#include <cmath>
#include <limits>

namespace {

bool holdsWholeInt64(double number)
{
    return std::isfinite(number) && std::trunc(number) == number
        && number >= double(std::numeric_limits<int64_t>::min()) && number < double(std::numeric_limits<int64_t>::max());
}

} // namespace

AnyCodable AnyCodable::decode(const Json& value)
{
    return AnyCodable(normalise(value, 0));
}

Json AnyCodable::normalise(const Json& value, int depth)
{
    // One call per level: a value built elsewhere gets the same bound as a parsed line.
    if (depth > JsonValues::kMaxNesting)
        throw DecodingError("The data is nested deeper than " + std::to_string(JsonValues::kMaxNesting) + " levels.");
    switch (value.type()) {
    case Json::value_t::null:
    case Json::value_t::boolean:
    case Json::value_t::number_integer:
    case Json::value_t::string:
        return value;
    case Json::value_t::number_unsigned:
        if (value.get<uint64_t>() <= uint64_t(std::numeric_limits<int64_t>::max()))
            return Json(value.get<int64_t>());
        return Json(value.get<double>());
    case Json::value_t::number_float: {
        const double number = value.get<double>();
        return holdsWholeInt64(number) ? Json(int64_t(number)) : value;
    }
    case Json::value_t::array: {
        Json array = Json::array();
        for (const Json& element : value)
            array.push_back(normalise(element, depth + 1));
        return array;
    }
    case Json::value_t::object: {
        Json object = Json::object();
        for (const auto& [key, element] : value.items())
            object[key] = normalise(element, depth + 1);
        return object;
    }
    case Json::value_t::binary:
    case Json::value_t::discarded:
        break;
    }
    throw DecodingError("Unsupported JSON");
}
