#pragma once

#include "ViewCamera.h"

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

/** To standard output. Bytes that are not UTF-8, as in an odd file name, become replacement characters. */
void printJson(const Json& report);

/** A number of bytes for people: "3.4 MB". */
std::string readableBytes(double bytes);
/** "1.25 s". */
std::string readableSeconds(double seconds);
/** "x, y, z" with centimetres. */
std::string readablePoint(const osg::Vec3d& point);
} // namespace mvgeo::host
