#include "measure/ResultText.h"

#include "common/ReadableText.h"

#include <charconv>
#include <cstdio>
#include <utility>

namespace mvgeo::host
{
namespace
{
constexpr int kDigits = 12;

void appendPosition(std::string& text, const osg::Vec3d& point)
{
    for (int i = 0; i < 3; ++i)
    {
        text += i == 0 ? '[' : ',';
        appendNumber(text, point[i]);
    }
    text += ']';
}

void appendColumns(std::string& text, const osg::Vec3d& point)
{
    for (int i = 0; i < 3; ++i)
    {
        text += ',';
        appendNumber(text, point[i]);
    }
}

Json inSpace(double value, const ModelSystem& system)
{
    return system.isMetric() ? Json(value) : Json(nullptr);
}

/** A collection, one feature a line. Geometries are written at once: as values they would take ten times the memory. */
class FeatureText
{
public:
    explicit FeatureText(const ModelSystem& system) : _text("{\"type\":\"FeatureCollection\",\n")
    {
        if (const Json about = toJson(system); !about.is_null())
            _text += "\"coordinateSystem\":" + jsonText(about) + ",\n";
        if (!system.urn.empty())
            _text += "\"crs\":" + jsonText({{"type", "name"}, {"properties", {{"name", system.urn}}}}) + ",\n";
        _text += "\"features\":[";
    }

    /** @param appendGeometry  adds the geometry to a text */
    template <typename Append>
    void add(const Json& properties, Append appendGeometry)
    {
        _text += _isEmpty ? "\n" : ",\n";
        _text += "{\"type\":\"Feature\",\"properties\":" + jsonText(properties) + ",\"geometry\":";
        appendGeometry(_text);
        _text += '}';
        _isEmpty = false;
    }

    [[nodiscard]] std::string finish() { return std::move(_text += "\n]}\n"); }

private:
    std::string _text;
    bool _isEmpty = true;
};

void appendLineString(std::string& text, const Points& points)
{
    text += "{\"type\":\"LineString\",\"coordinates\":[";
    for (std::size_t i = 0; i < points.size(); ++i)
    {
        if (i > 0) text += ',';
        appendPosition(text, points[i]);
    }
    text += "]}";
}

void appendPoint(std::string& text, const std::optional<osg::Vec3d>& point)
{
    if (point) text += "{\"type\":\"Point\",\"coordinates\":";
    if (point) appendPosition(text, *point);
    text += point ? "}" : "null";
}

void appendMultiPolygon(std::string& text, const Points& triangles)
{
    text += "{\"type\":\"MultiPolygon\",\"coordinates\":[";
    for (std::size_t first = 0; first + 2 < triangles.size(); first += 3)
    {
        text += first == 0 ? "[[" : ",\n[[";
        for (std::size_t corner = 0; corner < 3; ++corner)
        {
            appendPosition(text, triangles[first + corner]);
            text += ',';
        }
        appendPosition(text, triangles[first]); // rings are closed
        text += "]]";
    }
    text += "]}";
}
} // namespace

void appendNumber(std::string& text, double value)
{
    char digits[32];
    const auto end = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::general, kDigits).ptr;
    text.append(digits, end);
}

std::string readableArea(double value, const ModelSystem& system)
{
    if (system.isMetric()) return readableLength(value, "m\xC2\xB2");
    if (system.unit != "degrees") return readableLength(value, "square " + system.unit);
    char text[64];
    std::snprintf(text, sizeof text, "%.6g ", value);
    return text + ("square " + system.unit);
}

std::string toCsv(const std::vector<DrapedLine>& lines)
{
    std::string text = "line,piece,distance,x,y,z\n";
    for (std::size_t line = 0; line < lines.size(); ++line)
        for (std::size_t number = 0; number < lines[line].pieces.size(); ++number)
        {
            const DrapedPiece& piece = lines[line].pieces[number];
            const std::string start = std::to_string(line + 1) + ',' + std::to_string(number + 1) + ',';
            for (std::size_t i = 0; i < piece.points.size(); ++i)
            {
                text += start;
                appendNumber(text, piece.distances[i]);
                appendColumns(text, piece.points[i]);
                text += '\n';
            }
        }
    return text;
}

std::string toGeoJson(const std::vector<DrapedLine>& lines, const ModelSystem& system)
{
    FeatureText features(system);
    for (std::size_t line = 0; line < lines.size(); ++line)
        for (std::size_t number = 0; number < lines[line].pieces.size(); ++number)
        {
            const DrapedPiece& piece = lines[line].pieces[number];
            Json properties{{"line", line + 1}, {"piece", number + 1}, {"from", piece.from()}, {"to", piece.to()}};
            properties.update(toJson(figuresOf(piece), system));
            features.add(properties, [&piece](std::string& text) { appendLineString(text, piece.points); });
        }
    return features.finish();
}

std::string trianglesToCsv(const Points& triangles)
{
    std::string text = "x1,y1,z1,x2,y2,z2,x3,y3,z3\n";
    for (std::size_t i = 0; i < triangles.size(); ++i)
    {
        std::string columns;
        appendColumns(columns, triangles[i]);
        text += i % 3 == 0 ? columns.substr(1) : columns;
        if (i % 3 == 2) text += '\n';
    }
    return text;
}

std::string trianglesToGeoJson(const Points& triangles, const ModelSystem& system)
{
    FeatureText features(system);
    features.add(toJson(figuresOf(triangles), system),
                 [&triangles](std::string& text) { appendMultiPolygon(text, triangles); });
    return features.finish();
}

std::string toCsv(const std::vector<PickedPixel>& pixels)
{
    std::string text = "column,row,x,y,z,x1,y1,z1,x2,y2,z2,x3,y3,z3\n";
    for (const PickedPixel& pixel : pixels)
    {
        appendNumber(text, pixel.column);
        text += ',';
        appendNumber(text, pixel.row);
        if (pixel.hit)
            appendColumns(text, *pixel.hit);
        else
            text += ",,,";
        if (pixel.triangle.empty()) text += ",,,,,,,,,";
        for (const osg::Vec3d& corner : pixel.triangle)
            appendColumns(text, corner);
        text += '\n';
    }
    return text;
}

std::string toGeoJson(const std::vector<PickedPixel>& pixels, const ModelSystem& system)
{
    FeatureText features(system);
    for (const PickedPixel& pixel : pixels)
    {
        const Json properties{{"column", pixel.column}, {"row", pixel.row}, {"triangle", pointsToJson(pixel.triangle)}};
        features.add(properties, [&pixel](std::string& text) { appendPoint(text, pixel.hit); });
    }
    return features.finish();
}

Json toJson(const LineFigures& figures, const ModelSystem& system)
{
    return {{"lengthPlan", figures.lengthPlan},
            {"lengthSpace", inSpace(figures.lengthSpace, system)},
            {"lowest", figures.lowest},
            {"highest", figures.highest}};
}

Json toJson(const SurfaceFigures& figures, const ModelSystem& system)
{
    return {{"triangles", figures.triangles},
            {"areaPlan", figures.areaPlan},
            {"areaSpace", inSpace(figures.areaSpace, system)},
            {"lowest", figures.lowest},
            {"highest", figures.highest}};
}

Json pointsToJson(const Points& points)
{
    if (points.empty()) return nullptr;
    Json json = Json::array();
    for (const osg::Vec3d& point : points)
        json.push_back(toJson(point));
    return json;
}
} // namespace mvgeo::host
