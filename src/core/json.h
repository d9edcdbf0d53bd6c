#pragma once

#include <nlohmann/json.hpp>

// The one JSON value type of Quillo. Key order is kept everywhere: stored documents
// write their keys in declaration order, and answers keep the order they were built in.
using Json = nlohmann::ordered_json;
