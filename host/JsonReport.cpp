#include "JsonReport.h"

#include <cstdio>
#include <iostream>

namespace mvgeo::host
{
Json toJson(const osg::Vec3d& point)
{
    return Json::array({point.x(), point.y(), point.z()});
}

Json toJson(const osg::Matrixd& matrix)
{
    Json numbers = Json::array();
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column)
            numbers.push_back(matrix(row, column));
    return numbers;
}

Json toJson(const osg::BoundingBoxd& box)
{
    if (!box.valid()) return nullptr;
    return {{"min", toJson(box._min)}, {"max", toJson(box._max)}};
}

void printJson(const Json& report)
{
    std::cout << report.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

std::string readableBytes(double bytes)
{
    const char* const units[] = {"bytes", "KB", "MB", "GB", "TB"};
    int unit = 0;
    for (; bytes >= 1000.0 && unit < 4; ++unit)
        bytes /= 1000.0;
    char text[64];
    std::snprintf(text, sizeof text, unit == 0 ? "%.0f %s" : "%.1f %s", bytes, units[unit]);
    return text;
}

std::string readableSeconds(double seconds)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.2f s", seconds);
    return text;
}

std::string readablePoint(const osg::Vec3d& point)
{
    char text[1024]; // three doubles of any size in fixed notation
    std::snprintf(text, sizeof text, "%.2f, %.2f, %.2f", point.x(), point.y(), point.z());
    return text;
}
} // namespace mvgeo::host
