#include "common/JsonInput.h"

#include <nlohmann/json.hpp>

namespace mvgeo::host
{
std::optional<nlohmann::json> parseJson(std::string_view text)
{
    nlohmann::json document = nlohmann::json::parse(text, nullptr, /*allow_exceptions*/ false);
    if (document.is_discarded()) return std::nullopt;
    return document;
}

bool isJson(std::string_view text)
{
    return nlohmann::json::accept(text);
}
} // namespace mvgeo::host
