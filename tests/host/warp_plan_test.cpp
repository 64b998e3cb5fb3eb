#include <terrain/WarpPlan.h>

#include <gtest/gtest.h>

using namespace mvgeo::host;

namespace
{
/** 100 x 100 pixels; `epsg` 0: no coordinate system. */
RasterFacts factsAt(int epsg, double west, double north, double pixel)
{
    RasterFacts facts;
    facts.path = "raster" + std::to_string(epsg);
    facts.width = facts.height = 100;
    facts.transform = {west, pixel, 0.0, north, 0.0, -pixel};
    if (epsg == 0) return facts;
    facts.srs.emplace();
    facts.srs->importFromEPSG(epsg);
    facts.srs->SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    return facts;
}

RasterFacts degreesAround(double longitude, double latitude, double span = 0.1)
{
    return factsAt(4326, longitude - span / 2.0, latitude + span / 2.0, span / 100.0);
}

int zoneAt(double longitude, double latitude, int* isNorth = nullptr)
{
    const RasterFacts raster = degreesAround(longitude, latitude);
    return metricSystemFor(raster, *raster.srs).GetUTMZone(isNorth);
}

OGRSpatialReference epsg(int code)
{
    OGRSpatialReference srs;
    srs.importFromEPSG(code);
    return srs;
}

std::string projectionOf(const RasterFacts& raster)
{
    const OGRSpatialReference metric = metricSystemFor(raster, *raster.srs);
    const char* name = metric.GetAttrValue("PROJECTION");
    return name ? name : "";
}
} // namespace

TEST(WarpPlan, LeavesRastersOfOneSystemAsTheyAre)
{
    const RasterFacts dom = factsAt(32613, 5e5, 4e6, 1.0);
    const RasterFacts dem = factsAt(32613, 5e5, 4e6, 10.0);
    const WarpPlan plan = planWarp(&dom, &dem);
    EXPECT_FALSE(plan.warpsDom);
    EXPECT_FALSE(plan.warpsDem);
    EXPECT_TRUE(plan.notes.empty());
}

TEST(WarpPlan, BringsTheDomIntoTheSystemOfTheDem)
{
    const RasterFacts dom = factsAt(3857, -1.2e7, 4.8e6, 1.0);
    const RasterFacts dem = factsAt(32613, 5e5, 4e6, 10.0);
    const WarpPlan plan = planWarp(&dom, &dem);
    EXPECT_TRUE(plan.warpsDom);
    EXPECT_FALSE(plan.warpsDem);
    ASSERT_TRUE(plan.target);
    EXPECT_TRUE(isSameSystem(*plan.target, epsg(32613)));
}

TEST(WarpPlan, NoticesThatOnlyTheUnitDiffers)
{
    const RasterFacts dom = factsAt(2225, 6e6, 2e6, 1.0);  // NAD83 / California zone 1, US survey feet
    const RasterFacts dem = factsAt(26941, 2e6, 6e5, 1.0); // the same in metres
    EXPECT_TRUE(planWarp(&dom, &dem).warpsDom);
}

TEST(WarpPlan, TakesAMissingSystemToBeTheOthersAndSaysSo)
{
    const RasterFacts bare = factsAt(0, 5e5, 4e6, 1.0);
    const RasterFacts known = factsAt(32613, 5e5, 4e6, 10.0);
    for (const WarpPlan& plan : {planWarp(&bare, &known), planWarp(&known, &bare)})
    {
        EXPECT_FALSE(plan.warpsDom);
        EXPECT_FALSE(plan.warpsDem);
        ASSERT_EQ(plan.notes.size(), 1U);
        EXPECT_NE(plan.notes[0].find("'raster0' names no coordinate system"), std::string::npos);
        EXPECT_NE(plan.notes[0].find("EPSG:32613"), std::string::npos);
    }
}

TEST(WarpPlan, AsksNothingOfRastersThatBothNameNoSystem)
{
    const RasterFacts dom = factsAt(0, 0.0, 100.0, 1.0);
    const RasterFacts dem = factsAt(0, 0.0, 100.0, 1.0);
    const WarpPlan plan = planWarp(&dom, &dem);
    EXPECT_FALSE(plan.warpsDom || plan.warpsDem || plan.target);
    EXPECT_TRUE(plan.notes.empty());
}

TEST(WarpPlan, BringsDegreesIntoTheUtmZoneWithTheDom)
{
    const RasterFacts dom = degreesAround(138.7, 35.4);
    const RasterFacts dem = degreesAround(138.7, 35.4);
    const WarpPlan plan = planWarp(&dom, &dem);
    EXPECT_TRUE(plan.warpsDom && plan.warpsDem);
    ASSERT_TRUE(plan.target);
    EXPECT_TRUE(isSameSystem(*plan.target, epsg(32654))); // 138 to 144 degrees east
}

TEST(WarpPlan, LeavesADomThatIsInTheZoneAlready)
{
    const RasterFacts dom = factsAt(32654, 2e5, 4e6, 1.0);
    const RasterFacts dem = degreesAround(138.7, 35.4);
    const WarpPlan plan = planWarp(&dom, &dem);
    EXPECT_FALSE(plan.warpsDom);
    EXPECT_TRUE(plan.warpsDem);
}

TEST(WarpPlan, GivesBareRastersTheDegreesOfTheOther)
{
    const RasterFacts dom = degreesAround(10.0, 50.0);
    const RasterFacts dem = factsAt(0, 9.95, 50.05, 0.001);
    const WarpPlan plan = planWarp(&dom, &dem);
    EXPECT_TRUE(plan.warpsDom && plan.warpsDem);
    EXPECT_TRUE(plan.demSystem && plan.demSystem->IsGeographic());
}

TEST(WarpPlan, ServesADomOrADemAlone)
{
    const RasterFacts degrees = degreesAround(10.0, 50.0);
    const RasterFacts metres = factsAt(32632, 5e5, 5e6, 1.0);
    EXPECT_TRUE(planWarp(&degrees, nullptr).warpsDom);
    EXPECT_TRUE(planWarp(nullptr, &degrees).warpsDem);
    EXPECT_FALSE(planWarp(&metres, nullptr).warpsDom);
    EXPECT_FALSE(planWarp(nullptr, &metres).warpsDem);
}

TEST(WarpPlan, TurnsRastersThatAreNotNorthUp)
{
    RasterFacts dem = factsAt(32632, 5e5, 5e6, 1.0);
    dem.transform[5] = 1.0;
    EXPECT_TRUE(planWarp(nullptr, &dem).warpsDem);
}

TEST(WarpPlan, ChoosesTheZoneOfTheCentre)
{
    int isNorth = 0;
    EXPECT_EQ(zoneAt(9.0, 50.0, &isNorth), 32);
    EXPECT_TRUE(isNorth);
    EXPECT_EQ(zoneAt(-70.0, -33.0, &isNorth), 19);
    EXPECT_FALSE(isNorth);
    EXPECT_EQ(zoneAt(-179.9, 0.5), 1);
    EXPECT_EQ(zoneAt(179.9, 0.5), 60);
    EXPECT_EQ(zoneAt(289.0, 10.0), 19); // 0 to 360 degrees: 71 degrees west
}

TEST(WarpPlan, IsPolarBeyondTheZonesAndEqualAreaWhereTheyAreTooNarrow)
{
    EXPECT_NE(projectionOf(degreesAround(20.0, 85.0)).find("Polar_Stereographic"), std::string::npos);
    EXPECT_NE(projectionOf(degreesAround(20.0, -81.0)).find("Polar_Stereographic"), std::string::npos);
    EXPECT_EQ(projectionOf(degreesAround(20.0, 83.0)), "Transverse_Mercator");
    EXPECT_EQ(projectionOf(degreesAround(20.0, 20.0, 40.0)), "Lambert_Azimuthal_Equal_Area");
}

TEST(WarpPlan, KeepsTheDatum)
{
    const RasterFacts raster = factsAt(4269, -105.0, 40.0, 0.001); // NAD83
    EXPECT_TRUE(isSameSystem(metricSystemFor(raster, *raster.srs), epsg(26913)));
}
