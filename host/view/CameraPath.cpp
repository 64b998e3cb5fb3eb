#include "view/CameraPath.h"

#include "common/HostError.h"
#include "common/JsonInput.h"
#include "common/TextParsing.h"
#include "common/WholeFile.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cassert>
#include <optional>
#include <sstream>

namespace mvgeo::host
{
namespace
{
osg::Vec3d catmullRom(const osg::Vec3d& a, const osg::Vec3d& b, const osg::Vec3d& c, const osg::Vec3d& d, double t)
{
    const osg::Vec3d linear = c - a;
    const osg::Vec3d square = a * 2.0 - b * 5.0 + c * 4.0 - d;
    const osg::Vec3d cube = b * 3.0 - a - c * 3.0 + d;
    return (b * 2.0 + (linear + (square + cube * t) * t) * t) * 0.5;
}

std::optional<CameraKey> keyFromLine(std::string_view line)
{
    const std::vector<std::string_view> pieces = splitText(line, " \t\r,;");
    if (pieces.size() != 6) return std::nullopt;
    double numbers[6];
    for (std::size_t i = 0; i < 6; ++i)
    {
        const std::optional<double> number = parseNumber(pieces[i]);
        if (!number) return std::nullopt;
        numbers[i] = *number;
    }
    return CameraKey{{numbers[0], numbers[1], numbers[2]}, {numbers[3], numbers[4], numbers[5]}};
}

std::vector<CameraKey> keysFromText(const std::string& text, const std::string& file)
{
    std::vector<CameraKey> keys;
    std::istringstream lines(text);
    std::string line;
    for (int number = 1; std::getline(lines, line); ++number)
    {
        line.erase(std::min(line.find('#'), line.size()));
        if (splitText(line, " \t\r,;").empty()) continue;
        const std::optional<CameraKey> key = keyFromLine(line);
        const bool heading = number == 1 && line.find_first_of("0123456789") == std::string::npos;
        if (!key && !heading)
            throw HostError("Line " + std::to_string(number) + " of the camera path '" + file +
                            "' is not six numbers: eye x, y, z and target x, y, z.");
        if (key) keys.push_back(*key);
    }
    return keys;
}

osg::Vec3d pointFromJson(const nlohmann::json& value)
{
    if (!value.is_array() || value.size() != 3) throw std::invalid_argument("a point is three numbers");
    return {value.at(0).get<double>(), value.at(1).get<double>(), value.at(2).get<double>()};
}

std::vector<CameraKey> keysFromJson(const std::string& text, const std::string& file)
{
    std::vector<CameraKey> keys;
    try
    {
        const std::optional<nlohmann::json> document = parseJson(text);
        for (const nlohmann::json& key : document.value().is_array() ? *document : document->at("keyframes"))
            keys.push_back({pointFromJson(key.at("eye")), pointFromJson(key.at("target"))});
    }
    catch (const std::exception&)
    {
        throw HostError("The camera path '" + file +
                        "' is not a JSON list of keyframes with \"eye\" and \"target\", three numbers each.");
    }
    return keys;
}
} // namespace

CameraPath::CameraPath(std::vector<CameraKey> keys) : _keys(std::move(keys))
{
    assert(!_keys.empty());
}

CameraKey CameraPath::at(double time) const
{
    const std::size_t last = _keys.size() - 1;
    const double place = std::clamp(time, 0.0, 1.0) * static_cast<double>(last);
    const std::size_t i = std::min(static_cast<std::size_t>(place), last == 0 ? 0 : last - 1);
    const double t = place - static_cast<double>(i);
    const CameraKey& before = _keys[i == 0 ? 0 : i - 1];
    const CameraKey& from = _keys[i];
    const CameraKey& to = _keys[std::min(i + 1, last)];
    const CameraKey& after = _keys[std::min(i + 2, last)];
    return {catmullRom(before.eye, from.eye, to.eye, after.eye, t),
            catmullRom(before.target, from.target, to.target, after.target, t)};
}

CameraPath overviewAndLowPass(const ViewCamera& camera, const osg::BoundingBoxd& extents)
{
    ViewCamera overview = camera;
    overview.orthoHeight = 0.0;
    fitCameraToBox(overview, extents);

    const osg::Vec3d centre = extents.center();
    const double sizeX = extents.xMax() - extents.xMin();
    const double sizeY = extents.yMax() - extents.yMin();
    const osg::Vec3d along = sizeX >= sizeY ? osg::Vec3d(sizeX / 2.0, 0.0, 0.0) : osg::Vec3d(0.0, sizeY / 2.0, 0.0);
    const double halfLength = std::max(along.length(), 1e-3);

    // A twelfth of the half length above the highest point: near enough for the finest tiles below the eye.
    const auto low = [&](double place)
    {
        osg::Vec3d eye = centre + along * place;
        eye.z() = extents.zMax() + halfLength / 12.0;
        osg::Vec3d target = centre + along * (place + 0.4);
        target.z() = centre.z();
        return CameraKey{eye, target};
    };
    const CameraKey above{overview.eye, overview.target};
    return CameraPath({above, low(-1.0), low(-0.5), low(0.0), low(0.5), above});
}

CameraPath readCameraPath(const std::string& file)
{
    const std::optional<std::string> text = readWholeFile(file);
    if (!text) throw HostError("Cannot read the camera path '" + file + "'.");
    const std::size_t first = text->find_first_not_of(" \t\r\n");
    const bool isJson = first != std::string::npos && ((*text)[first] == '[' || (*text)[first] == '{');
    std::vector<CameraKey> keys = isJson ? keysFromJson(*text, file) : keysFromText(*text, file);
    if (keys.empty()) throw HostError("The camera path '" + file + "' holds no keyframe.");
    return CameraPath(std::move(keys));
}
} // namespace mvgeo::host
