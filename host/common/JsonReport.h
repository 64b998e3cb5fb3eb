#pragma once

#include <nlohmann/json.hpp>

#include <osg/BoundingBox>
#include <osg/Matrixd>
#include <osg/Vec3d>

#include <string>

namespace mvgeo::host
{
/** Keys stay in the order in which they were added. */
using Json = nlohmann::ordered_json;

Json toJson(const osg::Vec3d& point);
/** Sixteen numbers row by row, for row vectors: the translation is in the last row. */
Json toJson(const osg::Matrixd& matrix);
/** {"min": ..., "max": ...}, or null for an empty box. */
Json toJson(const osg::BoundingBoxd& box);

/** In one line, unless an indent is given. Bytes that are not UTF-8, as in an odd file name, become replacement
 * characters. */
std::string jsonText(const Json& json, int indent = -1);
/** To standard output, over several lines. */
void printJson(const Json& report);
} // namespace mvgeo::host
