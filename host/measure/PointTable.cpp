#include "measure/PointTable.h"

#include "common/HostError.h"
#include "common/TextParsing.h"

#include <algorithm>
#include <optional>

namespace mvgeo::host
{
namespace
{
std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view kAround = " \t\r\"";
    const std::size_t first = text.find_first_not_of(kAround);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kAround) - first + 1);
}

/** Empty columns count, except between blanks. */
std::vector<std::string_view> splitRow(std::string_view row)
{
    std::size_t at = std::string_view::npos;
    for (const char separator : {';', '\t', ','})
        if (at == std::string_view::npos) at = row.find(separator);
    if (at == std::string_view::npos) return splitText(row, " ");

    const char separator = row[at];
    std::vector<std::string_view> columns;
    for (std::size_t first = 0; first <= row.size();)
    {
        const std::size_t end = std::min(row.find(separator, first), row.size());
        columns.push_back(trimmed(row.substr(first, end - first)));
        first = end + 1;
    }
    return columns;
}

std::optional<std::size_t> findColumn(const std::vector<std::string_view>& heading, const std::string& name)
{
    const auto isIt = [&name](std::string_view column)
    {
        return std::equal(column.begin(), column.end(), name.begin(), name.end(),
                          [](char a, char b) { return (a >= 'A' && a <= 'Z' ? a - 'A' + 'a' : a) == b; });
    };
    const auto found = std::find_if(heading.begin(), heading.end(), isIt);
    if (found == heading.end()) return std::nullopt;
    return static_cast<std::size_t>(found - heading.begin());
}

/** Where a table's values stand. */
struct Layout
{
    std::size_t x = 0;
    std::size_t y = 1;
    std::vector<std::size_t> lineKeys; ///< columns whose change begins another line

    /** False if the heading does not say which two of its columns are meant. */
    [[nodiscard]] bool readHeading(const std::vector<std::string_view>& heading, const ColumnNames& names)
    {
        for (const char* key : {"line", "piece"})
            if (const auto column = findColumn(heading, key)) lineKeys.push_back(*column);
        bool isHalfNamed = false;
        for (const auto& [nameOfX, nameOfY] : names)
        {
            const auto first = findColumn(heading, nameOfX);
            const auto second = findColumn(heading, nameOfY);
            if (first && second)
            {
                x = *first;
                y = *second;
                return true;
            }
            isHalfNamed = isHalfNamed || first || second;
        }
        return heading.size() <= 2 && !isHalfNamed && lineKeys.empty();
    }

    [[nodiscard]] std::optional<osg::Vec3d> point(const std::vector<std::string_view>& row) const
    {
        if (std::max(x, y) >= row.size()) return std::nullopt;
        const auto first = parseNumber(row[x]);
        const auto second = parseNumber(row[y]);
        if (!first || !second) return std::nullopt;
        return osg::Vec3d(*first, *second, 0.0);
    }

    [[nodiscard]] std::string lineKey(const std::vector<std::string_view>& row) const
    {
        std::string key;
        for (const std::size_t column : lineKeys)
            key += std::string(column < row.size() ? row[column] : std::string_view()) + '\n';
        return key;
    }
};

bool beginsLikeNumber(std::string_view column)
{
    const std::size_t first = column.find_first_not_of("+-.,");
    return first != std::string_view::npos && column[first] >= '0' && column[first] <= '9';
}

bool isHeading(const std::vector<std::string_view>& row)
{
    return std::none_of(row.begin(), row.end(), beginsLikeNumber);
}

/** "x and y, or east and north". */
std::string namesForPeople(const ColumnNames& names)
{
    std::string text;
    for (std::size_t i = 0; i < names.size(); ++i)
    {
        if (i > 0) text += i + 1 < names.size() ? ", " : ", or ";
        text += names[i].first + " and " + names[i].second;
    }
    return text;
}

std::string rowOf(std::size_t number, const std::string& file)
{
    return "Row " + std::to_string(number) + " of '" + file + "'";
}
} // namespace

Points parsePointList(std::string_view text, const std::string& option)
{
    Points points;
    for (const std::string_view piece : splitText(text, " \t\r\n"))
    {
        const std::size_t comma = piece.find(',');
        const bool hasHeight = comma != std::string_view::npos && piece.find(',', comma + 1) != std::string_view::npos;
        auto point = parsePoint(hasHeight ? std::string(piece) : std::string(piece) + ",0");
        if (!point) throw HostError(option + ": '" + quotable(piece) + "' is not a point x,y.");
        point->z() = 0.0;
        points.push_back(*point);
    }
    return points;
}

std::vector<Points> readPointTable(std::string_view text, const ColumnNames& names, const std::string& file)
{
    std::vector<Points> lines;
    Layout layout;
    std::string key;
    bool isFirst = true;
    for (std::size_t rowNumber = 1; !text.empty(); ++rowNumber)
    {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::string_view content = trimmed(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        if (content.empty()) continue;
        const std::vector<std::string_view> row = splitRow(content);
        if (std::exchange(isFirst, false) && isHeading(row))
        {
            if (layout.readHeading(row, names)) continue;
            throw HostError(rowOf(rowNumber, file) + " is a heading that does not name the two columns " +
                            namesForPeople(names) + ": '" + quotable(content) + "'.");
        }
        const std::optional<osg::Vec3d> point = layout.point(row);
        if (!point) throw HostError(rowOf(rowNumber, file) + " holds no point: '" + quotable(content) + "'.");
        std::string rowKey = layout.lineKey(row);
        if (lines.empty() || rowKey != key) lines.emplace_back();
        key = std::move(rowKey);
        lines.back().push_back(*point);
    }
    return lines;
}
} // namespace mvgeo::host
