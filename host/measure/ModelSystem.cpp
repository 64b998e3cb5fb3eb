#include "measure/ModelSystem.h"

#include "common/GdalAccess.h"

#include <cmath>

namespace mvgeo::host
{
namespace
{
std::string urnOf(const OGRSpatialReference& srs)
{
    const char* authority = srs.GetAuthorityName(nullptr);
    const char* code = srs.GetAuthorityCode(nullptr);
    if (!authority || !code) return {};
    return std::string("urn:ogc:def:crs:") + authority + "::" + code;
}

std::string unitOf(const OGRSpatialReference& srs)
{
    if (srs.IsGeographic()) return "degrees";
    const char* name = nullptr;
    const double metres = srs.GetLinearUnits(&name);
    return std::abs(metres - 1.0) < 1e-9 || !name ? "m" : name;
}
} // namespace

ModelSystem systemOf(const Terrain& terrain)
{
    const std::optional<TerrainLayer>& layer = terrain.dem ? terrain.dem : terrain.dom;
    if (!layer || !layer->used().srs) return {};
    const OGRSpatialReference& srs = *layer->used().srs;
    return {describe(srs), urnOf(srs), std::nullopt, unitOf(srs)};
}

ModelSystem systemOf(const std::optional<ModelMetadata>& metadata)
{
    if (!metadata) return {};
    ModelSystem system;
    system.name = metadata->srs;
    if (metadata->origin && metadata->origin->length() > 0.0) system.origin = metadata->origin;
    const QuietGdal quiet; // "ENU:lat,lon" is none of its systems
    OGRSpatialReference srs;
    const auto* limits = OGRSpatialReference::SET_FROM_USER_INPUT_LIMITATIONS_get(); // opens no file, asks no server
    if (metadata->srs.empty() || srs.SetFromUserInput(metadata->srs.c_str(), limits) != OGRERR_NONE) return system;
    system.name = describe(srs);
    if (!system.origin) system.urn = urnOf(srs);
    return system;
}

Json toJson(const ModelSystem& system)
{
    if (system.name.empty() && !system.origin) return nullptr;
    return {{"name", system.name.empty() ? Json(nullptr) : Json(system.name)},
            {"origin", system.origin ? toJson(*system.origin) : Json(nullptr)},
            {"unit", system.unit}};
}
} // namespace mvgeo::host
