#pragma once

#include <nlohmann/json_fwd.hpp>

#include <optional>
#include <string_view>

namespace mvgeo::host
{
// Here and not where it is needed: the parser takes the compiler long.

/** What the text says; none if it is not JSON. */
std::optional<nlohmann::json> parseJson(std::string_view text);
bool isJson(std::string_view text);
} // namespace mvgeo::host
