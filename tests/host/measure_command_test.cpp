#include "OwnCaches.h"
#include "ProgramRunner.h"
#include "RasterMaker.h"

#include <nlohmann/json.hpp>

#include <osg/Geode>
#include <osg/Geometry>
#include <osgDB/ReadFile>
#include <osgDB/WriteFile>

#include <cmath>

namespace
{
using Json = nlohmann::json;

/** The program over a gable roof 100 m square: its eaves at x = 0 and x = 100 are 10 m high, its ridge at x = 50 is
 * 60 m high and runs north. South of y = 20 there is a second, level surface of 5 m below it. */
class MeasureCommand : public testing::Test
{
protected:
    [[nodiscard]] static osg::ref_ptr<osg::Geometry> surface(const std::vector<osg::Vec3>& corners)
    {
        osg::ref_ptr<osg::Geometry> geometry = new osg::Geometry;
        geometry->setVertexArray(new osg::Vec3Array(corners.begin(), corners.end()));
        const osg::ref_ptr<osg::DrawElementsUInt> indices = new osg::DrawElementsUInt(GL_TRIANGLES);
        for (unsigned int i = 0; i + 3 < corners.size(); i += 2) // a strip of quads
            for (const unsigned int corner : {i, i + 2, i + 1, i + 1, i + 2, i + 3})
                indices->push_back(corner);
        geometry->addPrimitiveSet(indices);
        return geometry;
    }

    MeasureCommand()
    {
        const osg::ref_ptr<osg::Geode> geode = new osg::Geode;
        geode->addDrawable(
            surface({{0, 0, 10}, {0, 100, 10}, {50, 0, 60}, {50, 100, 60}, {100, 0, 10}, {100, 100, 10}}));
        geode->addDrawable(surface({{0, 0, 5}, {0, 20, 5}, {100, 0, 5}, {100, 20, 5}}));
        osgDB::writeNodeFile(*geode, roof);
    }

    [[nodiscard]] Json runForJson(const std::string& arguments) const
    {
        const Outcome outcome = run(arguments + " --json --log-dir " + quoted(folder.path("log")));
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return Json::parse(outcome.out, nullptr, /*allow_exceptions*/ false);
    }

    /** Pixels of about this colour. */
    [[nodiscard]] static int countPixels(const std::string& picture, const osg::Vec3f& colour)
    {
        const osg::ref_ptr<osg::Image> image = osgDB::readRefImageFile(picture);
        if (!image) return -1;
        int found = 0;
        for (int y = 0; y < image->t(); ++y)
            for (int x = 0; x < image->s(); ++x)
            {
                const osg::Vec4f pixel = image->getColor(x, y);
                if ((osg::Vec3f(pixel.r(), pixel.g(), pixel.b()) - colour).length() < 0.1F) ++found;
            }
        return found;
    }

    TempFolder folder;
    OwnCaches caches;
    const std::string roof = folder.path("roof.osgb");
    const std::string model = quoted(roof);
};

const osg::Vec3f kBright(1.0F, 0.87F, 0.10F);
} // namespace

// Each side of the roof is 50 m in plan and 50 times the root of 2 in space.
TEST_F(MeasureCommand, DrapeFollowsTheRoof)
{
    const Json report = runForJson("drape " + model + " --line \"-20,50 120,50\"");
    ASSERT_EQ(report["lines"].size(), 1U);
    const Json& line = report["lines"][0];
    EXPECT_EQ(line["given"], 140.0);
    EXPECT_NEAR(line["covered"].get<double>(), 100.0, 1e-6);
    EXPECT_NEAR(line["lengthSpace"].get<double>(), 100.0 * std::sqrt(2.0), 1e-4);
    EXPECT_NEAR(line["lowest"].get<double>(), 10.0, 1e-4);
    EXPECT_NEAR(line["highest"].get<double>(), 60.0, 1e-4);
    ASSERT_EQ(line["pieces"].size(), 1U);
    EXPECT_NEAR(line["pieces"][0]["from"].get<double>(), 20.0, 1e-6);
}

TEST_F(MeasureCommand, DrapeKeepsSurfacesApartThatLieAboveEachOther)
{
    const Json line = runForJson("drape " + model + " --line \"10,10 90,10\"")["lines"][0];
    EXPECT_EQ(line["pieces"].size(), 2U);
    EXPECT_NEAR(line["covered"].get<double>(), 80.0, 1e-6);
    EXPECT_NEAR(line["lengthPlan"].get<double>(), 160.0, 1e-6);
}

// Corners of three degrees on posts of 2 cm, at the coordinates of a map.
TEST_F(MeasureCommand, DrapeGoesRoundSharpCornersOnAFineRaster)
{
    const std::string dem =
        "--dem " + quoted(writeRaster(folder.path("dem.tif"), rasterAt(32613, 5e5, 4e6, 0.02, 64),
                                      [](int x, int y) { return 0.01 * std::sin(1.7 * x) * std::cos(2.3 * y); }));
    const std::string line = folder.write("a.csv", "x,y\n500000.107,3999999.503\n500001.113,3999999.503\n"
                                                   "500000.107,3999999.553\n500001.113,3999999.603\n");
    const Json draped = runForJson("drape " + dem + " --from " + quoted(line))["lines"][0];
    const double length = 1.006 + 2.0 * std::hypot(1.006, 0.05);
    EXPECT_NEAR(draped["given"].get<double>(), length, 1e-6);
    EXPECT_NEAR(draped["covered"].get<double>(), length, 1e-4);
    EXPECT_NEAR(draped["lengthPlan"].get<double>(), length, 1e-3);
    EXPECT_EQ(draped["pieces"].size(), 1U);
}

TEST_F(MeasureCommand, DrapeReadsBackWhatItWrote)
{
    const std::string file = folder.path("draped.csv");
    ASSERT_EQ(run("drape " + model + " --line \"0,30 100,90\" --out " + quoted(file)).status, 0);
    const Json again = runForJson("drape " + model + " --from " + quoted(file));
    EXPECT_NEAR(again["lines"][0]["covered"].get<double>(), std::hypot(100.0, 60.0), 1e-3);
    const Outcome geojson = run("drape " + model + " --format geojson --from " + quoted(file));
    const Json collection = Json::parse(geojson.out, nullptr, /*allow_exceptions*/ false);
    EXPECT_EQ(collection["features"][0]["geometry"]["type"], "LineString");
    EXPECT_NEAR(collection["features"][0]["properties"]["highest"].get<double>(), 60.0, 1e-3);
}

TEST_F(MeasureCommand, DrapeSaysIfNothingIsThere)
{
    const Outcome outcome = run("drape " + model + " --line \"500,500 600,600\"");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_NE(outcome.err.find("does not meet the model"), std::string::npos) << outcome.err;
    EXPECT_NE(outcome.out.find("0.00 m lie on the model"), std::string::npos) << outcome.out;
}

TEST_F(MeasureCommand, DrapeDrawsAProfile)
{
    const std::string profile = folder.path("p.svg");
    ASSERT_EQ(run("drape " + model + " --line \"0,50 100,50\" --profile " + quoted(profile)).status, 0);
    const std::string svg = readFile(profile);
    EXPECT_NE(svg.find("Profile across roof.osgb"), std::string::npos);
    EXPECT_NE(svg.find("heights 10.00 m to 60.00 m"), std::string::npos);
}

// From the east only the ridge and what is on this side of it can be seen.
TEST_F(MeasureCommand, DrapeDrawsTheLineWhereItCanBeSeen)
{
    const WithoutLeakCheck drawing;
    const std::string picture = folder.path("p.png");
    const std::string draw = "drape " + model + " --size 400x300 --picture " + quoted(picture) + " --target 50,50,30 ";
    ASSERT_EQ(run(draw + "--eye 200,50,20 --line \"60,20 60,80\"").status, 0);
    const int inFront = countPixels(picture, kBright);
    EXPECT_GT(inFront, 100);
    ASSERT_EQ(run(draw + "--eye 200,50,20 --line \"20,20 20,80\"").status, 0);
    EXPECT_EQ(countPixels(picture, kBright), 0);
    ASSERT_EQ(run(draw + "--eye 50,50,400 --line \"20,20 20,80\" --ortho 150").status, 0);
    EXPECT_GT(countPixels(picture, kBright), 100);
}

// Of the roof 30 m by 20 m over its west side, which rises 1 in 1.
TEST_F(MeasureCommand, FlyDrapesALineOnTheWay)
{
    const Outcome outcome = run("fly " + model + " --frames 3 --line \"0,30 100,90\"");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_NE(outcome.out.find("The line was draped in each frame, always alike."), std::string::npos);
    EXPECT_EQ(run("fly " + model + " --frames 3 --line \"0,30\"").status, 1);
}

TEST_F(MeasureCommand, ClipMeasuresTheRoof)
{
    const std::string inside = "clip " + model + " --polygon \"10,40 40,40 40,60 10,60\" --finest";
    const Json kept = runForJson(inside);
    EXPECT_NEAR(kept["areaPlan"].get<double>(), 600.0, 1e-3);
    EXPECT_NEAR(kept["areaSpace"].get<double>(), 600.0 * std::sqrt(2.0), 1e-3);
    EXPECT_NEAR(kept["lowest"].get<double>(), 20.0, 1e-4);
    EXPECT_NEAR(runForJson(inside + " --outside")["areaPlan"].get<double>(), 10000.0 + 2000.0 - 600.0, 1e-2);
    EXPECT_NEAR(runForJson(inside + " --heights 20,30")["areaPlan"].get<double>(), 200.0, 1e-3);
    EXPECT_NEAR(runForJson(inside + " --root 0")["areaPlan"].get<double>(), 600.0, 1e-3);
}

TEST_F(MeasureCommand, ClipTakesTheTilesOfTheViewToo)
{
    const Json kept = runForJson("clip " + model + " --polygon \"10,40 40,40 40,60 10,60\"");
    EXPECT_NEAR(kept["areaPlan"].get<double>(), 600.0, 1e-3);
}

TEST_F(MeasureCommand, ClipLeavesOutTheHolesOfAPolygon)
{
    const std::string file = folder.write("hole.geojson", R"({"type":"Polygon","coordinates":
        [[[10,40],[40,40],[40,80],[10,80],[10,40]],[[20,50],[20,60],[30,60],[30,50],[20,50]]]})");
    const Json kept = runForJson("clip " + model + " --finest --from " + quoted(file));
    EXPECT_NEAR(kept["areaPlan"].get<double>(), 1200.0 - 100.0, 1e-3);
}

TEST_F(MeasureCommand, ClipWritesItsTriangles)
{
    const std::string file = folder.path("clipped.csv");
    const std::string clip = "clip " + model + " --finest --polygon \"10,40 40,40 40,60\" ";
    ASSERT_EQ(run(clip + "--out " + quoted(file)).status, 0);
    const std::string csv = readFile(file);
    EXPECT_EQ(csv.rfind("x1,y1,z1,", 0), 0U);
    EXPECT_GE(std::count(csv.begin(), csv.end(), '\n'), 2);
    const Json collection = Json::parse(run(clip + "--format geojson").out, nullptr, /*allow_exceptions*/ false);
    EXPECT_NEAR(collection["features"][0]["properties"]["areaPlan"].get<double>(), 300.0, 1e-3);
}

TEST_F(MeasureCommand, ClipTintsWhatItKeeps)
{
    const WithoutLeakCheck drawing;
    const std::string picture = folder.path("p.png");
    const std::string clip = "clip " + model + " --size 400x300 --eye 50,50,400 --target 50,50,0 --picture " +
                             quoted(picture) + " --polygon ";
    ASSERT_EQ(run(clip + "\"10,10 90,10 90,90 10,90\"").status, 0);
    const osg::ref_ptr<osg::Image> image = osgDB::readRefImageFile(picture);
    ASSERT_TRUE(image);
    const osg::Vec4f middle = image->getColor(200, 150);
    EXPECT_GT(middle.r(), middle.g() + 0.1F);
    const osg::Vec4f beside = image->getColor(200 + 35, 150);
    EXPECT_GT(beside.r(), beside.g() + 0.1F);
}

TEST_F(MeasureCommand, PickTakesSeveralPixels)
{
    const std::string pixels = folder.write("pixels.csv", "column,row\n200,150\n1,1\n");
    const std::string pick =
        "pick " + model + " --size 400x300 --eye 50,50,400 --target 50,50,0 --from " + quoted(pixels);
    const Json report = runForJson(pick);
    ASSERT_EQ(report["pixels"].size(), 2U);
    EXPECT_NEAR(report["pixels"][0]["hit"][0].get<double>(), 50.0, 1.0);
    EXPECT_NEAR(report["pixels"][0]["hit"][2].get<double>(), 60.0, 1.0);
    EXPECT_TRUE(report["pixels"][1]["hit"].is_null());
    const Outcome csv = run(pick + " --format csv");
    EXPECT_EQ(std::count(csv.out.begin(), csv.out.end(), '\n'), 3);
    EXPECT_NE(csv.out.find("\n1,1,,,,"), std::string::npos) << csv.out;
}

TEST_F(MeasureCommand, PickMarksWhatItHit)
{
    const WithoutLeakCheck drawing;
    const std::string picture = folder.path("p.png");
    ASSERT_EQ(
        run("pick " + model + " 150 150 --size 400x300 --eye 50,50,400 --target 50,50,0 --picture " + quoted(picture))
            .status,
        0);
    EXPECT_GT(countPixels(picture, kBright), 40);
}

TEST_F(MeasureCommand, RefusesWhatItCannotUse)
{
    const std::string line = "drape " + model + " --line \"0,0 9,9\" ";
    const std::string polygon = "clip " + model + " --polygon \"0,0 9,0 9,9\" ";
    expectOneSentence("drape " + model, "--line or --from");
    expectOneSentence("drape " + model + " --line \"0,0\"", "at least two points");
    expectOneSentence("drape " + model + " --line \"0,0 zero\"", "not a point");
    expectOneSentence(line + "--from x", "two ways");
    expectOneSentence("drape " + model + " --from " + quoted(folder.path("none")), "There is no file");
    expectOneSentence("drape " + model + " --from /dev/null", "not a file of points");
    expectOneSentence(line + "--profile a.png", "does not end in .svg");
    expectOneSentence(line + "--format xml", "--format");
    expectOneSentence(line + "--out a.xyz", "tells no format");
    expectOneSentence(line + "--json --format csv", "standard output");
    expectOneSentence(line + "--picture a.nonsense", "picture format");
    expectOneSentence(line + "--picture a.svg", "picture format"); // OSG may read it, but does not write it
    expectOneSentence("clip " + model + " --polygon \"0,0 9,9\"", "at least three");
    expectOneSentence("clip " + model + " --polygon \"0,0 9,9 5,5\"", "on one line");
    expectOneSentence(polygon + "--heights 5", "LOW,HIGH");
    expectOneSentence(polygon + "--heights 5,b", "LOW,HIGH");
    expectOneSentence(polygon + "--heights 5,1", "lower");
    expectOneSentence(polygon + "--root 1", "There is no root tile 1");
    expectOneSentence(polygon + "--root -1", "--root");
    expectOneSentence("pick " + model + " 1 1 --from x", "two ways");
    expectOneSentence("pick " + model + " --from " + quoted(folder.write("p.csv", "1,9999\n")), "outside the picture");
    const std::string two = folder.write("two.csv", "line,x,y\n1,0,0\n1,9,9\n2,0,0\n2,9,0\n");
    expectOneSentence("drape " + model + " --profile a.svg --from " + quoted(two), "one line");
}

TEST_F(MeasureCommand, OverwritesNeitherItsOutputsNorItsInputs)
{
    const std::string points = folder.write("a.csv", "x,y\n0,50\n100,50\n");
    const std::string line = "drape " + model + " --from " + quoted(points) + " --out ";
    expectOneSentence(line + quoted(points), "--from and --out name the same file");
    expectOneSentence(line + quoted(folder.path("./a.csv")), "same file");
    std::filesystem::create_hard_link(points, folder.path("link.csv"));
    expectOneSentence(line + quoted(folder.path("link.csv")), "same file");
    expectOneSentence(line + quoted(folder.path("p.svg")) + " --format csv --profile " + quoted(folder.path("p.svg")),
                      "--out and --profile name the same file");
    expectOneSentence("clip " + model + " --polygon \"0,0 9,0 9,9\" --format csv --out " + model, "MODEL and --out");
    expectOneSentence("pick " + model + " --format csv --from " + quoted(points) + " --out " + quoted(points),
                      "--from and --out");
    EXPECT_EQ(readFile(points), "x,y\n0,50\n100,50\n");
    EXPECT_FALSE(std::filesystem::exists(folder.path("p.svg")));
}

// Round the square, of which the sides at x = 90 lie beside the roof beyond y = 100.
TEST_F(MeasureCommand, DrapeMeasuresAClosedLine)
{
    const std::string ring = " --line \"50,50 90,50 90,300 50,300 50,50\"";
    const Json line = runForJson("drape " + model + ring)["lines"][0];
    EXPECT_NEAR(line["covered"].get<double>(), 40.0 + 50.0 + 50.0, 1e-3);
    EXPECT_NEAR(line["lengthPlan"].get<double>(), 140.0, 1e-3);
}

TEST_F(MeasureCommand, LeavesNothingHalfWritten)
{
    const std::string line = "drape " + model + " --line \"0,0 9,9\" ";
    expectOneSentence(line + "--out " + quoted(folder.path("missing/a.csv")), "does not exist");
    expectOneSentence(line + "--out /dev/full --format csv", "is no file");
    std::filesystem::create_directories(folder.path("a.csv"));
    expectOneSentence(line + "--out " + quoted(folder.path("a.csv")), "replace a folder");
    expectOneSentence(line + "--profile " + quoted(folder.path("missing/a.svg")), "does not exist");
    ASSERT_EQ(run(line + "--out " + quoted(folder.path("b.csv"))).status, 0);
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"a.csv", "b.csv", "roof.osgb"}));
}

// Heights of 20 to 335 m, less than their own range above the 0 m of places without data.
TEST_F(MeasureCommand, LeavesOutPlacesWithoutDataOnLowGround)
{
    RasterPlan plan = rasterAt(32613, 5e5, 4e6, 10.0, 64);
    plan.noData = -9999.0;
    const std::string dem = "--dem " + quoted(writeRaster(folder.path("dem.tif"), plan,
                                                          [](int x, int y)
                                                          {
                                                              const bool isHole =
                                                                  x >= 20 && x < 40 && y >= 20 && y < 40;
                                                              return isHole ? -9999.0 : 20.0 + 5.0 * x;
                                                          }));
    const Json line = runForJson("drape " + dem + " --line \"500010,3999700 500630,3999700\"")["lines"][0];
    EXPECT_NEAR(line["leftOut"].get<double>(), 200.0, 25.0);
    EXPECT_GT(line["lowest"].get<double>(), 19.0);

    const std::string clip = "clip " + dem +
                             " --finest --polygon \"500150,3999550 500450,3999550 500450,3999850 "
                             "500150,3999850\"";
    const Json surface = runForJson(clip);
    EXPECT_NEAR(surface["leftOut"].get<double>(), 40000.0, 5000.0);
    EXPECT_NEAR(surface["areaPlan"].get<double>() + surface["leftOut"].get<double>(), 90000.0, 1.0);
    EXPECT_NE(run(clip).err.find("where the DEM has no data"), std::string::npos);

    const std::string pick = "pick " + dem + " 50 50 --size 100x100 ";
    EXPECT_TRUE(runForJson(pick + "--eye 500300,3999700,2000 --target 500300,3999700,0")["hit"].is_null());
    EXPECT_NE(run(pick + "--eye 500300,3999700,2000 --target 500300,3999700,0").err.find("the DEM has no data"),
              std::string::npos);
    const Json beside = runForJson(pick + "--eye 500502,3999500,2000 --target 500502,3999500,0");
    ASSERT_TRUE(beside["hit"].is_array());
    EXPECT_NEAR(beside["hit"][2].get<double>(), 20.0 + 0.5 * (beside["hit"][0].get<double>() - 5e5), 5.0);
}

TEST_F(MeasureCommand, WarnsWherePlacesWithoutDataCannotBeTold)
{
    RasterPlan plan = rasterAt(32613, 5e5, 4e6, 10.0, 64);
    const auto shore = [](int x, int) { return x - 32.0; };
    const std::string whole = writeRaster(folder.path("whole.tif"), plan, shore);
    plan.noData = -9999.0;
    const std::string holes = writeRaster(folder.path("holes.tif"), plan, shore);
    const std::string line = " --line \"500010,3999700 500630,3999700\"";
    EXPECT_NE(run("drape --dem " + quoted(holes) + line).err.find("they count as 0 m"), std::string::npos);
    EXPECT_EQ(run("drape --dem " + quoted(whole) + line).err, "");
}

// Heights rise 0.1 m a metre eastwards; its north-west quarter has no data.
TEST_F(MeasureCommand, DrapesOverATerrainInItsOwnCoordinates)
{
    RasterPlan plan = rasterAt(32613, 5e5, 4e6, 10.0, 64);
    plan.noData = -9999.0;
    const std::string dem =
        writeRaster(folder.path("dem.tif"), plan,
                    [](int x, int y) { return x < 32 && y < 32 ? -9999.0 : 1000.0 + (x + 0.5) * 1.0; });
    const std::string drape = "drape --dem " + quoted(dem) + " --line ";
    const Json report = runForJson(drape + "\"500100,3999500 500500,3999500\"");
    EXPECT_EQ(report["coordinateSystem"]["name"], "WGS 84 / UTM zone 13N (EPSG:32613)");
    EXPECT_TRUE(report["coordinateSystem"]["origin"].is_null());
    const Json& line = report["lines"][0];
    EXPECT_NEAR(line["covered"].get<double>(), 400.0, 1e-3);
    EXPECT_NEAR(line["lowest"].get<double>(), 1010.0, 1.0);
    EXPECT_NEAR(line["highest"].get<double>(), 1050.0, 1.0);
    const Json across = runForJson(drape + "\"500100,3999900 500500,3999900\"")["lines"][0];
    EXPECT_GT(across["lowest"].get<double>(), 900.0);
    EXPECT_NEAR(across["leftOut"].get<double>(), 220.0, 25.0);
    EXPECT_NEAR(across["covered"].get<double>(), 180.0, 25.0);
}
