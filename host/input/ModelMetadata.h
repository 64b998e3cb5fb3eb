#pragma once

#include <osg/Vec3d>

#include <optional>
#include <string>

namespace mvgeo::host
{
/** What a model's metadata.xml says about its place on the earth. */
struct ModelMetadata
{
    std::string file;
    std::string srs;                  ///< text as written: WKT, "EPSG:4547" or "ENU:lat,lon"; white space joined
    std::optional<osg::Vec3d> origin; ///< SRSOrigin, if it is three numbers
};

/** Reads metadata.xml; empty if there is no such file or it tells neither. */
std::optional<ModelMetadata> readModelMetadata(const std::string& file);
} // namespace mvgeo::host
