#include "common/TextParsing.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace mvgeo::host
{
std::optional<double> parseNumber(std::string_view text)
{
    if (!text.empty() && text.front() == '+') text.remove_prefix(1);
    double value = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) return std::nullopt;
    return value;
}

std::optional<osg::Vec3d> parsePoint(std::string_view text)
{
    osg::Vec3d point;
    for (int i = 0; i < 3; ++i)
    {
        const std::size_t comma = text.find(',');
        if ((comma == std::string_view::npos) != (i == 2)) return std::nullopt;
        const std::optional<double> number = parseNumber(text.substr(0, comma));
        if (!number) return std::nullopt;
        point[i] = *number;
        if (i < 2) text.remove_prefix(comma + 1);
    }
    return point;
}

std::optional<std::pair<int, int>> parsePair(std::string_view text, int limit)
{
    const auto number = [limit](std::string_view digits) -> std::optional<int>
    {
        int value = 0;
        const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
        if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
        if (value < 1 || value > limit) return std::nullopt;
        return value;
    };
    const std::size_t cross = text.find_first_of("xX");
    if (cross == std::string_view::npos) return std::nullopt;
    const std::optional<int> first = number(text.substr(0, cross));
    const std::optional<int> second = number(text.substr(cross + 1));
    if (!first || !second) return std::nullopt;
    return std::make_pair(*first, *second);
}

std::optional<osg::Vec3f> parseColour(std::string_view text)
{
    if (text.size() != 7 || text.front() != '#') return std::nullopt;
    osg::Vec3f colour;
    for (int i = 0; i < 3; ++i)
    {
        const std::string_view digits = text.substr(1 + 2 * static_cast<std::size_t>(i), 2);
        unsigned int value = 0;
        const auto [end, error] = std::from_chars(digits.data(), digits.data() + 2, value, 16);
        if (error != std::errc() || end != digits.data() + 2) return std::nullopt;
        colour[i] = static_cast<float>(value) / 255.0F;
    }
    return colour;
}

std::vector<std::string_view> splitText(std::string_view text, std::string_view separators)
{
    std::vector<std::string_view> pieces;
    while (!text.empty())
    {
        const std::size_t end = std::min(text.find_first_of(separators), text.size());
        if (end > 0) pieces.push_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return pieces;
}

std::string quotable(std::string_view text)
{
    constexpr std::size_t kMostBytes = 60;
    std::string quoted(text.substr(0, kMostBytes));
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; };
    std::replace_if(quoted.begin(), quoted.end(), isControl, '?');
    return text.size() > kMostBytes ? quoted + "..." : quoted;
}
} // namespace mvgeo::host
