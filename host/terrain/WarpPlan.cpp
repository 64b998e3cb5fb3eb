#include "terrain/WarpPlan.h"

#include "common/GdalAccess.h"

#include <algorithm>
#include <cmath>

namespace mvgeo::host
{
namespace
{
constexpr double kPi = 3.14159265358979323846;
constexpr double kNorthEndOfUtm = 84.0; // degrees
constexpr double kSouthEndOfUtm = -80.0;
constexpr double kWidestForOneZone = 30.0; // beyond it, transverse Mercator stretches by more than 3 %

/** Degrees, into -180 up to but not including 180. */
double wrappedLongitude(double degrees)
{
    return degrees - 360.0 * std::floor((degrees + 180.0) / 360.0);
}

void noteAssumedSystem(const RasterFacts& without, const RasterFacts& with, WarpPlan& plan)
{
    plan.notes.push_back("'" + without.path + "' names no coordinate system; taken to be in that of '" + with.path +
                         "', " + describe(*with.srs) + ".");
}

bool needsWarp(const RasterFacts& raster, const std::optional<OGRSpatialReference>& own,
               const std::optional<OGRSpatialReference>& target)
{
    return !raster.isNorthUp() || (own && target && !isSameSystem(*own, *target));
}
} // namespace

OGRSpatialReference metricSystemFor(const RasterFacts& raster, const OGRSpatialReference& geographic)
{
    const double degrees = geographic.GetAngularUnits() * 180.0 / kPi;
    const std::array<double, 6>& t = raster.transform;
    const double x = raster.width / 2.0;
    const double y = raster.height / 2.0;
    const double longitude = wrappedLongitude((t[0] + x * t[1] + y * t[2]) * degrees);
    const double latitude = std::clamp((t[3] + x * t[4] + y * t[5]) * degrees, -90.0, 90.0);
    const double wide = std::abs(raster.width * t[1]) * degrees;
    const double high = std::abs(raster.height * t[5]) * degrees;
    const std::string datum = geographic.GetName() ? geographic.GetName() : "unnamed";

    OGRSpatialReference metric;
    const auto begin = [&](const std::string& name)
    {
        metric.SetProjCS((datum + " / " + name).c_str());
        metric.CopyGeogCSFrom(&geographic);
    };
    if (latitude > kNorthEndOfUtm || latitude < kSouthEndOfUtm)
    {
        begin(latitude > 0.0 ? "polar stereographic north" : "polar stereographic south");
        metric.SetPS(latitude > 0.0 ? 90.0 : -90.0, 0.0, 0.994, 2.0e6, 2.0e6); // as UPS has it
    }
    else if (std::max(wide, high) > kWidestForOneZone)
    {
        begin("equal area");
        metric.SetLAEA(latitude, longitude, 0.0, 0.0);
    }
    else
    {
        const int zone = static_cast<int>(std::floor((longitude + 180.0) / 6.0)) + 1;
        begin("UTM zone " + std::to_string(zone) + (latitude < 0.0 ? "S" : "N"));
        metric.SetUTM(zone, latitude >= 0.0);
    }
    metric.AutoIdentifyEPSG(); // so that people are told its number where there is one
    metric.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    return metric;
}

WarpPlan planWarp(const RasterFacts* dom, const RasterFacts* dem)
{
    const QuietGdal quiet;
    WarpPlan plan;
    if (dom) plan.domSystem = dom->srs;
    if (dem) plan.demSystem = dem->srs;
    if (dom && dem && dom->srs.has_value() != dem->srs.has_value())
    {
        if (dom->srs)
            noteAssumedSystem(*dem, *dom, plan);
        else
            noteAssumedSystem(*dom, *dem, plan);
        (dom->srs ? plan.demSystem : plan.domSystem) = dom->srs ? dom->srs : dem->srs;
    }
    const RasterFacts* leading = dem ? dem : dom;
    plan.target = dem ? plan.demSystem : plan.domSystem;
    if (plan.target && plan.target->IsGeographic()) plan.target = metricSystemFor(*leading, *plan.target);
    plan.warpsDom = dom && needsWarp(*dom, plan.domSystem, plan.target);
    plan.warpsDem = dem && needsWarp(*dem, plan.demSystem, plan.target);
    return plan;
}
} // namespace mvgeo::host
