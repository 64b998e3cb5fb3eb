#include "measure/ShapeInput.h"

#include "common/HostError.h"
#include "common/TextParsing.h"
#include "common/WholeFile.h"
#include "measure/GeoJsonShapes.h"
#include "measure/PointTable.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>

namespace fs = std::filesystem;

namespace mvgeo::host
{
namespace
{
constexpr std::uintmax_t kMaxFileBytes = 64 << 20; // a million points take half of it
constexpr double kLargestCoordinate = 1e12;        // beyond, neighbouring numbers are too far apart to measure with
constexpr double kShortestLine = 1e-6;             // in plan
const ColumnNames kPlaceNames{
    {"x", "y"}, {"east", "north"}, {"easting", "northing"}, {"lon", "lat"}, {"longitude", "latitude"}};
const ColumnNames kPixelNames{{"column", "row"}, {"x", "y"}};

std::string readText(const std::string& file)
{
    std::error_code error;
    const fs::file_status status = fs::status(file, error);
    if (!fs::exists(status)) throw HostError("There is no file '" + file + "'.");
    if (!fs::is_regular_file(status)) throw HostError("'" + file + "' is not a file of points.");
    const std::uintmax_t size = fs::file_size(file, error);
    if (error || size > kMaxFileBytes)
        throw HostError("The file '" + file + "' is larger than " + std::to_string(kMaxFileBytes >> 20) + " MB.");
    std::optional<std::string> text = readWholeFile(file);
    if (!text) throw HostError("Cannot read the file '" + file + "'.");
    if (startsWith(*text, "\xFF\xFE") || startsWith(*text, "\xFE\xFF"))
        throw HostError("The file '" + file + "' is UTF-16 text; save it as UTF-8.");
    if (startsWith(*text, "\xEF\xBB\xBF")) text->erase(0, 3); // the mark that some editors put before UTF-8
    if (text->find_first_not_of(" \t\r\n") == std::string::npos) throw HostError("The file '" + file + "' is empty.");
    return *text;
}

bool isJson(const std::string& text, const std::string& file)
{
    const std::string extension = fs::path(file).extension().string();
    return extension == ".geojson" || extension == ".json" || text[text.find_first_not_of(" \t\r\n")] == '{';
}

/** Throws unless exactly one of the two is given. */
void checkSource(const std::string& text, const std::string& file, const std::string& option)
{
    if (text.empty() && file.empty()) throw HostError(option + " or --from FILE is required.");
    if (!text.empty() && !file.empty())
        throw HostError(option + " and --from are two ways to say the same; give one of them.");
}

bool isSamePlace(const osg::Vec3d& a, const osg::Vec3d& b)
{
    return a.x() == b.x() && a.y() == b.y();
}

void checkCoordinates(const Points& points)
{
    for (const osg::Vec3d& point : points)
        if (std::max(std::abs(point.x()), std::abs(point.y())) > kLargestCoordinate)
            throw HostError("A coordinate is larger than 1e12; nothing can be measured there.");
}

void checkLine(const Points& line)
{
    if (line.size() < 2)
        throw HostError("A line needs at least two points, one has " + std::to_string(line.size()) +
                        ": nothing would be draped.");
    checkCoordinates(line);
    double length = 0.0;
    for (std::size_t i = 1; i < line.size(); ++i)
        length += planDistance(line[i - 1], line[i]);
    if (length == 0.0) throw HostError("All points of a line are one place: nothing would be draped.");
    if (length < kShortestLine) throw HostError("A line is shorter than 1e-6: nothing would be draped.");
}

/** True if no point is farther beside a line through the ring than rounded coordinates are. */
bool isFlat(const Points& ring)
{
    double reach = 0.0;
    osg::Vec3d along;
    for (const osg::Vec3d& point : ring)
    {
        reach = std::max({reach, std::abs(point.x()), std::abs(point.y())});
        if ((point - ring.front()).length2() > along.length2()) along = point - ring.front();
    }
    const double rounding = 4.0 * std::numeric_limits<double>::epsilon() * reach * along.length();
    const auto isBeside = [&](const osg::Vec3d& point)
    {
        const osg::Vec3d to = point - ring.front();
        return std::abs(along.x() * to.y() - along.y() * to.x()) > rounding;
    };
    return std::none_of(ring.begin(), ring.end(), isBeside);
}

/** Three points that do not lie on one line: only then anything can be enclosed. */
void checkRing(const Points& ring)
{
    const auto isStart = [&ring](const osg::Vec3d& point) { return isSamePlace(point, ring.front()); };
    const auto other = std::find_if_not(ring.begin(), ring.end(), isStart);
    std::size_t distinct = ring.empty() ? 0 : 1;
    if (other != ring.end()) distinct = 2;
    for (auto point = other; point != ring.end(); ++point)
        if (distinct < 3 && !isStart(*point) && !isSamePlace(*point, *other)) distinct = 3;
    if (distinct < 3)
        throw HostError("A polygon needs at least three different points, one has " + std::to_string(distinct) + ".");
    checkCoordinates(ring);
    if (isFlat(ring)) throw HostError("All points of a polygon lie on one line: it encloses nothing.");
}

Points joinRings(const std::vector<Points>& rings)
{
    Points boundary;
    for (const Points& ring : rings)
    {
        checkRing(ring);
        boundary.insert(boundary.end(), ring.begin(), ring.end());
        if (!isSamePlace(ring.front(), ring.back())) boundary.push_back(ring.front());
        if (rings.size() > 1) boundary.push_back(boundary.front());
    }
    return boundary;
}
} // namespace

std::vector<Points> readLines(const std::string& text, const std::string& file)
{
    checkSource(text, file, "--line");
    std::vector<Points> lines;
    if (file.empty())
        lines.push_back(parsePointList(text, "--line"));
    else
    {
        const std::string content = readText(file);
        lines = isJson(content, file) ? linesFromGeoJson(content, file) : readPointTable(content, kPlaceNames, file);
    }
    if (lines.empty()) throw HostError("The file '" + file + "' holds no line.");
    std::for_each(lines.begin(), lines.end(), checkLine);
    return lines;
}

Points readBoundary(const std::string& text, const std::string& file)
{
    checkSource(text, file, "--polygon");
    if (file.empty()) return joinRings({parsePointList(text, "--polygon")});
    const std::string content = readText(file);
    if (isJson(content, file)) return joinRings(ringsFromGeoJson(content, file));
    const std::vector<Points> rings = readPointTable(content, kPlaceNames, file);
    if (rings.size() != 1)
        throw HostError("The file '" + file + "' holds " + std::to_string(rings.size()) +
                        " rings of points; one is clipped with.");
    return joinRings(rings);
}

Points readPixels(const std::string& file)
{
    const std::string content = readText(file);
    if (isJson(content, file)) throw HostError("'" + file + "' is JSON; pixels come in a CSV file, column and row.");
    Points pixels;
    for (const Points& line : readPointTable(content, kPixelNames, file))
        pixels.insert(pixels.end(), line.begin(), line.end());
    if (pixels.empty()) throw HostError("The file '" + file + "' holds no pixel.");
    return pixels;
}
} // namespace mvgeo::host
