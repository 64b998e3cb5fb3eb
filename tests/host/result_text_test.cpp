#include <measure/ResultText.h>

#include <gmock/gmock.h>

#include <cmath>

using namespace mvgeo::host;
using testing::HasSubstr;
using testing::Not;

namespace
{
std::vector<DrapedLine> twoPieces()
{
    return {makeDrapedLine({{4e6, 0.0, 0.0}, {4e6 + 10.0, 0.0, 0.0}},
                           {{{4e6, 0.0, 1.0}, {4e6 + 4.25, 0.0, 4.0}}, {{4e6 + 8.0, 0.0, 2.0}, {4e6 + 9.0, 0.0, 2.0}}},
                           std::nullopt)};
}

const Points kTriangles{{0.0, 0.0, 1.0}, {3.0, 0.0, 1.0}, {0.0, 4.0, 1.0},
                        {9.0, 0.0, 0.5}, {9.0, 1.0, 0.5}, {9.0, 1.0, 2.5}};

Json parse(const std::string& text)
{
    return Json::parse(text, nullptr, /*allow_exceptions*/ false);
}

ModelSystem utm()
{
    return {"WGS 84 / UTM zone 13N (EPSG:32613)", "urn:ogc:def:crs:EPSG::32613", std::nullopt, "m"};
}
} // namespace

TEST(ResultText, KeepsAHundredthOfAMillimetreAtFourMillion)
{
    for (const double value : {4e6 + 0.0001, -4123456.7891, 0.00012345, 0.0, 1e-17, 500000.0})
    {
        std::string text;
        appendNumber(text, value);
        EXPECT_NEAR(std::stod(text), value, 1e-5) << text;
    }
    std::string text;
    appendNumber(text, 0.1 + 0.2);
    EXPECT_EQ(text, "0.3");
    text.clear();
    appendNumber(text, 1234567.891234567); // twelve digits, no more and no fewer
    EXPECT_EQ(text, "1234567.89123");
}

TEST(ResultText, WritesALinesPointsAsCsv)
{
    EXPECT_EQ(toCsv(twoPieces()), "line,piece,distance,x,y,z\n"
                                  "1,1,0,4000000,0,1\n"
                                  "1,1,4.25,4000004.25,0,4\n"
                                  "1,2,8,4000008,0,2\n"
                                  "1,2,9,4000009,0,2\n");
    EXPECT_EQ(toCsv(std::vector<DrapedLine>()), "line,piece,distance,x,y,z\n");
}

// Lines are counted from 1, pieces from 1 in each line, and a line without pieces keeps its number.
TEST(ResultText, CountsLinesAndTheirPieces)
{
    std::vector<DrapedLine> lines = twoPieces();
    lines.push_back(makeDrapedLine({{0.0, 0.0, 0.0}, {10.0, 0.0, 0.0}}, {}, std::nullopt));
    lines.push_back(
        makeDrapedLine({{0.0, 0.0, 0.0}, {10.0, 0.0, 0.0}}, {{{2.0, 0.0, -7.5}, {3.0, 0.0, 1e-9}}}, std::nullopt));
    const std::string text = toCsv(lines);
    EXPECT_THAT(text, HasSubstr("\n1,2,9,4000009,0,2\n3,1,2,2,0,-7.5\n3,1,3,3,0,1e-09\n"));
    const Json json = parse(toGeoJson(lines, utm()));
    ASSERT_EQ(json["features"].size(), 3U);
    const Json& last = json["features"][2]["properties"];
    EXPECT_EQ(last["line"], 3);
    EXPECT_EQ(last["piece"], 1);
    EXPECT_EQ(last["from"], 2.0);
    EXPECT_EQ(last["to"], 3.0);
    EXPECT_EQ(last["lowest"], -7.5);
    EXPECT_NEAR(last["highest"].get<double>(), 1e-9, 1e-18);
    EXPECT_EQ(json["features"][1]["properties"]["from"], 8.0);
    EXPECT_EQ(json["features"][1]["properties"]["to"], 9.0);
}

TEST(ResultText, WritesAPieceAsAFeature)
{
    const Json json = parse(toGeoJson(twoPieces(), utm()));
    EXPECT_EQ(json["type"], "FeatureCollection");
    EXPECT_EQ(json["coordinateSystem"]["name"], "WGS 84 / UTM zone 13N (EPSG:32613)");
    EXPECT_EQ(json["crs"]["properties"]["name"], "urn:ogc:def:crs:EPSG::32613");
    ASSERT_EQ(json["features"].size(), 2U);
    const Json& first = json["features"][0];
    EXPECT_EQ(first["geometry"]["type"], "LineString");
    EXPECT_EQ(first["geometry"]["coordinates"], parse("[[4000000,0,1],[4000004.25,0,4]]"));
    EXPECT_EQ(first["properties"]["line"], 1);
    EXPECT_NEAR(first["properties"]["lengthPlan"].get<double>(), 4.25, 1e-8);
    EXPECT_NEAR(first["properties"]["lengthSpace"].get<double>(), std::hypot(4.25, 3.0), 1e-6);
    EXPECT_EQ(first["properties"]["highest"], 4.0);
    EXPECT_EQ(json["features"][1]["properties"]["piece"], 2);
}

TEST(ResultText, SaysNothingAboutASystemThatIsNotKnown)
{
    const std::string text = toGeoJson(twoPieces(), {});
    EXPECT_THAT(text, Not(HasSubstr("crs")));
    EXPECT_THAT(text, Not(HasSubstr("coordinateSystem")));
    ModelSystem local = utm();
    local.urn.clear();
    local.origin = osg::Vec3d(5e5, 4e6, 0.0);
    const Json json = parse(toGeoJson(twoPieces(), local));
    EXPECT_EQ(json["coordinateSystem"]["origin"], parse("[500000.0,4000000.0,0.0]"));
    EXPECT_FALSE(json.contains("crs"));
}

// Degrees in plan and metres of height make no length or area.
TEST(ResultText, LeavesOpenWhatHasNoUnit)
{
    ModelSystem degrees = utm();
    degrees.unit = "degrees";
    EXPECT_TRUE(toJson(figuresOf(kTriangles), degrees)["areaSpace"].is_null());
    EXPECT_EQ(toJson(figuresOf(kTriangles), degrees)["areaPlan"], 6.0);
    EXPECT_TRUE(toJson(figuresOf(twoPieces().front()), degrees)["lengthSpace"].is_null());
    EXPECT_EQ(toJson(figuresOf(kTriangles), utm())["areaSpace"], 7.0);
}

TEST(ResultText, TellsSmallAreasInDegrees)
{
    ModelSystem degrees;
    degrees.unit = "degrees";
    EXPECT_EQ(readableArea(1.2345678e-8, degrees), "1.23457e-08 square degrees");
    EXPECT_EQ(readableArea(12.346, utm()), "12.35 m\xC2\xB2");
    ModelSystem feet;
    feet.unit = "US survey foot";
    EXPECT_EQ(readableArea(12.346, feet), "12.35 square US survey foot");
}

TEST(ResultText, KnowsAllFiguresOfASurface)
{
    const Json json = toJson(figuresOf(kTriangles), utm());
    EXPECT_EQ(json["triangles"], 2);
    EXPECT_EQ(json["areaPlan"], 6.0);
    EXPECT_EQ(json["areaSpace"], 7.0);
    EXPECT_EQ(json["lowest"], 0.5);
    EXPECT_EQ(json["highest"], 2.5);
    EXPECT_TRUE(pointsToJson({}).is_null());
    EXPECT_EQ(pointsToJson({{1.0, 2.0, 3.0}, {4.0, 5.0, 6.0}}), parse("[[1.0,2.0,3.0],[4.0,5.0,6.0]]"));
}

TEST(ResultText, WritesNineColumnsATriangle)
{
    EXPECT_EQ(trianglesToCsv(kTriangles), "x1,y1,z1,x2,y2,z2,x3,y3,z3\n"
                                          "0,0,1,3,0,1,0,4,1\n"
                                          "9,0,0.5,9,1,0.5,9,1,2.5\n");
}

TEST(ResultText, WritesTrianglesAsClosedRings)
{
    const Json json = parse(trianglesToGeoJson(kTriangles, {}));
    ASSERT_EQ(json["features"].size(), 1U);
    const Json& feature = json["features"][0];
    EXPECT_EQ(feature["geometry"]["type"], "MultiPolygon");
    ASSERT_EQ(feature["geometry"]["coordinates"].size(), 2U);
    EXPECT_EQ(feature["geometry"]["coordinates"][0], parse("[[[0,0,1],[3,0,1],[0,4,1],[0,0,1]]]"));
    EXPECT_EQ(feature["properties"]["triangles"], 2);
    EXPECT_EQ(feature["properties"]["areaPlan"], 6.0);
    EXPECT_EQ(feature["properties"]["areaSpace"], 7.0);
    EXPECT_EQ(parse(trianglesToGeoJson(Points(), {}))["features"][0]["geometry"]["coordinates"].size(), 0U);
}

TEST(ResultText, LeavesAMissOpen)
{
    const std::vector<PickedPixel> pixels{{7.0, 8.5, osg::Vec3d(1.0, 2.0, 3.0), {{0, 0, 3}, {4, 0, 3}, {0, 4, 3}}},
                                          {9.0, 9.0, std::nullopt, {}}};
    EXPECT_EQ(toCsv(pixels), "column,row,x,y,z,x1,y1,z1,x2,y2,z2,x3,y3,z3\n"
                             "7,8.5,1,2,3,0,0,3,4,0,3,0,4,3\n"
                             "9,9,,,,,,,,,,,,\n");
    const Json json = parse(toGeoJson(pixels, {}));
    EXPECT_EQ(json["features"][0]["geometry"], parse(R"({"type":"Point","coordinates":[1,2,3]})"));
    EXPECT_EQ(json["features"][0]["properties"]["row"], 8.5);
    EXPECT_EQ(json["features"][0]["properties"]["triangle"].size(), 3U);
    EXPECT_TRUE(json["features"][1]["geometry"].is_null());
    EXPECT_TRUE(json["features"][1]["properties"]["triangle"].is_null());
}

TEST(ModelSystem, IsKnownFromMetadata)
{
    ModelMetadata metadata;
    metadata.srs = "EPSG:32613";
    EXPECT_EQ(systemOf(std::optional(metadata)).name, "WGS 84 / UTM zone 13N (EPSG:32613)");
    EXPECT_EQ(systemOf(std::optional(metadata)).urn, "urn:ogc:def:crs:EPSG::32613");
    metadata.origin = osg::Vec3d(5e5, 4e6, 0.0);
    EXPECT_EQ(systemOf(std::optional(metadata)).urn, "");
    EXPECT_EQ(systemOf(std::optional(metadata)).origin, metadata.origin);
    metadata.srs = "ENU:30.5,114.2";
    EXPECT_EQ(systemOf(std::optional(metadata)).name, "ENU:30.5,114.2");
    EXPECT_TRUE(systemOf(std::optional(metadata)).isMetric());
    EXPECT_TRUE(toJson(systemOf(std::optional<ModelMetadata>())).is_null());
}
