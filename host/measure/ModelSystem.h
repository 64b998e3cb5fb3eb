#pragma once

#include "common/JsonReport.h"
#include "input/ModelMetadata.h"
#include "terrain/Terrain.h"

#include <optional>
#include <string>

namespace mvgeo::host
{
/** What a model's coordinates mean, as far as it is known. */
struct ModelSystem
{
    std::string name;                 ///< "WGS 84 / UTM zone 13N (EPSG:32613)"; empty if unknown
    std::string urn;                  ///< for GeoJSON's member "crs"; only if coordinates need no origin
    std::optional<osg::Vec3d> origin; ///< in that system: coordinates are relative to it
    std::string unit = "m";           ///< of lengths in plan; heights are metres

    [[nodiscard]] bool isMetric() const { return unit == "m"; }
};

ModelSystem systemOf(const Terrain& terrain);
ModelSystem systemOf(const std::optional<ModelMetadata>& metadata);

/** null if nothing is known. */
Json toJson(const ModelSystem& system);
} // namespace mvgeo::host
