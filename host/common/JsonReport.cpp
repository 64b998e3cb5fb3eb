#include "common/JsonReport.h"

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

std::string jsonText(const Json& json, int indent)
{
    return json.dump(indent, ' ', false, Json::error_handler_t::replace);
}

void printJson(const Json& report)
{
    std::cout << jsonText(report, 2) << '\n';
}
} // namespace mvgeo::host
