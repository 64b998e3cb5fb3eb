#include "measure/GeoJsonShapes.h"

#include "common/HostError.h"
#include "common/JsonInput.h"
#include "common/TextParsing.h"

#include <nlohmann/json.hpp>

#include <optional>
#include <stdexcept>
#include <utility>

namespace mvgeo::host
{
namespace
{
using GeoJson = nlohmann::json;

GeoJson parse(const std::string& text, const std::string& file)
{
    std::optional<GeoJson> document = parseJson(text);
    if (!document) throw HostError("The file '" + file + "' is not valid JSON.");
    return std::move(*document);
}

std::string typeOf(const GeoJson& object)
{
    return object.at("type").get<std::string>();
}

/** A feature may have no geometry. */
std::vector<const GeoJson*> geometriesOf(const GeoJson& document)
{
    std::vector<const GeoJson*> geometries;
    const auto add = [&geometries](const GeoJson& feature)
    {
        const GeoJson& geometry = feature.at("geometry");
        if (!geometry.is_null()) geometries.push_back(&geometry);
    };
    const std::string type = typeOf(document);
    if (type == "FeatureCollection")
        for (const GeoJson& feature : document.at("features"))
            add(feature);
    else if (type == "Feature")
        add(document);
    else
        geometries.push_back(&document);
    return geometries;
}

Points pointsOf(const GeoJson& positions)
{
    if (!positions.is_array()) throw std::invalid_argument("positions are a list");
    Points points;
    points.reserve(positions.size());
    for (const GeoJson& position : positions)
        points.emplace_back(position.at(0).get<double>(), position.at(1).get<double>(), 0.0);
    return points;
}

void addPoints(const GeoJson& list, std::vector<Points>& lines)
{
    if (!list.is_array()) throw std::invalid_argument("lines are a list");
    for (const GeoJson& positions : list)
        lines.push_back(pointsOf(positions));
}

[[noreturn]] void failForType(const std::string& type, const std::string& wanted, const std::string& file)
{
    throw HostError("The file '" + file + "' holds a GeoJSON " + quotable(type) + " where a " + wanted +
                    " is expected.");
}

/** Whatever `read` finds missing or of another type is one sentence for the user. */
template <typename Read>
std::vector<Points> readOrFail(const std::string& file, Read read)
{
    try
    {
        return read();
    }
    catch (const HostError&)
    {
        throw;
    }
    catch (const std::exception&)
    {
        throw HostError("The file '" + file +
                        "' is not GeoJSON: a type, a list of coordinates or a number is missing.");
    }
}

std::vector<Points> linesOf(const GeoJson& document, const std::string& file)
{
    std::vector<Points> lines;
    for (const GeoJson* geometry : geometriesOf(document))
    {
        const std::string type = typeOf(*geometry);
        if (type == "LineString")
            lines.push_back(pointsOf(geometry->at("coordinates")));
        else if (type == "MultiLineString")
            addPoints(geometry->at("coordinates"), lines);
        else
            failForType(type, "LineString", file);
    }
    return lines;
}

std::vector<Points> ringsOf(const GeoJson& document, const std::string& file)
{
    const std::vector<const GeoJson*> geometries = geometriesOf(document);
    for (const GeoJson* geometry : geometries)
        if (const std::string type = typeOf(*geometry); type != "Polygon" && type != "MultiPolygon")
            failForType(type, "Polygon", file);
    if (geometries.size() != 1)
        throw HostError("The file '" + file + "' holds " + std::to_string(geometries.size()) +
                        " polygons; one is clipped with, which may be a MultiPolygon.");
    std::vector<Points> rings;
    const GeoJson& coordinates = geometries.front()->at("coordinates");
    if (typeOf(*geometries.front()) == "Polygon")
        addPoints(coordinates, rings);
    else
        for (const GeoJson& polygon : coordinates)
            addPoints(polygon, rings);
    if (rings.empty()) throw HostError("The polygon in '" + file + "' has no points.");
    return rings;
}
} // namespace

std::vector<Points> linesFromGeoJson(const std::string& text, const std::string& file)
{
    const GeoJson document = parse(text, file);
    return readOrFail(file, [&] { return linesOf(document, file); });
}

std::vector<Points> ringsFromGeoJson(const std::string& text, const std::string& file)
{
    const GeoJson document = parse(text, file);
    return readOrFail(file, [&] { return ringsOf(document, file); });
}
} // namespace mvgeo::host
