#include "TempFolder.h"

#include <common/HostError.h>
#include <measure/PointTable.h>
#include <measure/ShapeInput.h>

#include <gmock/gmock.h>

#include <functional>

using namespace mvgeo::host;
using testing::ElementsAre;
using testing::HasSubstr;

namespace
{
/** Points as pairs of plain numbers, which tests can write down. */
std::vector<std::pair<double, double>> plan(const Points& points)
{
    std::vector<std::pair<double, double>> pairs;
    for (const osg::Vec3d& point : points)
        pairs.emplace_back(point.x(), point.y());
    return pairs;
}

/** The sentence that ends the command; empty if there is none. */
std::string sentenceOf(const std::function<void()>& work)
{
    try
    {
        work();
    }
    catch (const HostError& error)
    {
        return error.what();
    }
    return {};
}

std::pair<double, double> at(double x, double y)
{
    return {x, y};
}

class ShapeInput : public testing::Test
{
protected:
    [[nodiscard]] std::vector<Points> lines(const std::string& name, const std::string& content) const
    {
        return readLines("", folder.write(name, content));
    }
    [[nodiscard]] Points boundary(const std::string& name, const std::string& content) const
    {
        return readBoundary("", folder.write(name, content));
    }
    [[nodiscard]] std::string lineFault(const std::string& name, const std::string& content) const
    {
        return sentenceOf([&] { (void)lines(name, content); });
    }
    [[nodiscard]] std::string boundaryFault(const std::string& name, const std::string& content) const
    {
        return sentenceOf([&] { (void)boundary(name, content); });
    }

    TempFolder folder;
};

std::string feature(const std::string& geometry)
{
    return R"({"type":"Feature","properties":{"name":"a"},"geometry":)" + geometry + "}";
}
} // namespace

TEST_F(ShapeInput, TakesPointsFromAnOption)
{
    EXPECT_THAT(plan(readLines("1,2 -3.5,4e2", "").front()), ElementsAre(at(1, 2), at(-3.5, 400)));
    EXPECT_THAT(plan(readLines(" 1,2,99\t3,4 \n", "").front()), ElementsAre(at(1, 2), at(3, 4)));
}

TEST_F(ShapeInput, RefusesWhatIsNoPoint)
{
    for (const char* text : {"1,2 3", "1,2 a,b", "1,2 3,4,5,6", "1,2 3;4", "1,2 nan,4", "1,2 inf,4", "1,2 ,4"})
    {
        SCOPED_TRACE(text);
        EXPECT_THAT(sentenceOf([text] { (void)readLines(text, ""); }), HasSubstr("is not a point x,y."));
    }
}

TEST_F(ShapeInput, WantsTwoPlacesForALine)
{
    EXPECT_THAT(sentenceOf([] { (void)readLines("1,2", ""); }), HasSubstr("at least two points, one has 1"));
    EXPECT_THAT(sentenceOf([] { (void)readLines("1,2 1,2,5", ""); }), HasSubstr("are one place"));
    EXPECT_THAT(lineFault("a.csv", "line,x,y\n1,0,0\n1,1,1\n2,5,5\n"), HasSubstr("one has 1"));
}

TEST_F(ShapeInput, WantsThreePlacesForAPolygon)
{
    EXPECT_THAT(sentenceOf([] { (void)readBoundary("1,2", ""); }), HasSubstr("one has 1"));
    EXPECT_THAT(sentenceOf([] { (void)readBoundary("1,2 3,4 1,2 3,4", ""); }), HasSubstr("one has 2"));
    EXPECT_THAT(sentenceOf([] { (void)readBoundary("1,1 2,2 3,3", ""); }), HasSubstr("lie on one line"));
    EXPECT_EQ(readBoundary("0,0 1,0 0,1", "").size(), 4U); // closed
    EXPECT_EQ(readBoundary("0,0 1,0 0,1 0,0", "").size(), 4U);
}

TEST_F(ShapeInput, WantsOneSource)
{
    EXPECT_THAT(sentenceOf([] { (void)readLines("", ""); }), HasSubstr("--line or --from"));
    EXPECT_THAT(sentenceOf([] { (void)readLines("1,2 3,4", "a"); }), HasSubstr("two ways"));
    EXPECT_THAT(sentenceOf([] { (void)readBoundary("", ""); }), HasSubstr("--polygon or --from"));
}

TEST_F(ShapeInput, ReadsTablesWhateverSeparatesTheirColumns)
{
    for (const char* content :
         {"1,2\n3,4\n", "1;2\n3;4", "1\t2\r\n3\t4\r\n", "1 2\n\n 3  4 \n", "x,y\n1,2\n3,4\n", "X;Y;Z\n1;2;7\n3;4;8\n",
          "\"y\",\"x\"\n2,1\n4,3\n", "id,X,Y\n9,1,2\n8,3,4\n", "\xEF\xBB\xBFx,y\n1,2\n3,4\n", "east,north\n1,2\n3,4\n"})
    {
        SCOPED_TRACE(content);
        const std::vector<Points> read = lines("points.csv", content);
        ASSERT_EQ(read.size(), 1U);
        EXPECT_THAT(plan(read.front()), ElementsAre(at(1, 2), at(3, 4)));
    }
}

// A semicolon parts columns wherever there is one; a tab does so before a comma.
TEST_F(ShapeInput, LeavesCommasInsideColumnsAlone)
{
    for (const char* content :
         {"name;x;y\nbench, old;1;2\ntree, tall;3;4\n", "x;y;note\n1;2;a, b, c\n3;4;\n", "1;2;a,b\n3;4;c,d\n",
          "name\tx\ty\nbench, old\t1\t2\ntree, tall\t3\t4\n", "note;x;y\na\tb, c;1;2\n\"d, e\";3;4\n"})
    {
        SCOPED_TRACE(content);
        const std::vector<Points> read = lines("points.csv", content);
        ASSERT_EQ(read.size(), 1U);
        EXPECT_THAT(plan(read.front()), ElementsAre(at(1, 2), at(3, 4)));
    }
    EXPECT_THAT(lineFault("a.csv", "1,5;2,5\n3,5;4,5\n"), HasSubstr("Row 1 of '")); // decimal commas
}

TEST_F(ShapeInput, TellsTheLinesOfATableApart)
{
    const std::vector<Points> read = lines("a.csv", "line,piece,distance,x,y,z\n"
                                                    "1,1,0,0,0,5\n1,1,1,1,0,5\n1,2,8,8,0,5\n1,2,9,9,0,5\n"
                                                    "2,2,0,3,3,5\n2,2,1,4,4,5\n");
    ASSERT_EQ(read.size(), 3U);
    EXPECT_THAT(plan(read[1]), ElementsAre(at(8, 0), at(9, 0)));
    EXPECT_THAT(plan(read[2]), ElementsAre(at(3, 3), at(4, 4)));
}

TEST_F(ShapeInput, NamesTheRowThatHoldsNoPoint)
{
    EXPECT_THAT(lineFault("a.csv", "x,y\n1,2\n\n3,oops\n"), HasSubstr("Row 4 of '"));
    EXPECT_THAT(lineFault("a.csv", "1,2\n3\n"), HasSubstr("holds no point: '3'."));
    EXPECT_THAT(lineFault("a.csv", "1,2\n3,4,\n,5\n"), HasSubstr("Row 3"));
    EXPECT_THAT(lineFault("a.csv", std::string("1,2\n") + std::string(5000, 'x')), HasSubstr("xxx...'"));
    EXPECT_THAT(lineFault("a.csv", "x,y\n"), HasSubstr("holds no line"));
}

TEST_F(ShapeInput, KnowsTheNamesOfPlaces)
{
    for (const char* content :
         {"id,east,north\n9,1,2\n8,3,4\n", "id,Easting,Northing\n9,1,2\n8,3,4\n", "lat;lon\n2;1\n4;3\n",
          "n,latitude,longitude\n9,2,1\n8,4,3\n", "first,second\n1,2\n3,4\n"})
    {
        SCOPED_TRACE(content);
        EXPECT_THAT(plan(lines("points.csv", content).front()), ElementsAre(at(1, 2), at(3, 4)));
    }
}

TEST_F(ShapeInput, RefusesAHeadingThatDoesNotSayWhereThePlacesAre)
{
    for (const char* content : {"id,rechts,hoch\n9,1,2\n8,3,4\n", "id,x\n9,1\n8,3\n", "a,x,north\n9,1,2\n8,3,4\n"})
    {
        SCOPED_TRACE(content);
        EXPECT_THAT(lineFault("a.csv", content), HasSubstr("Row 1 of '"));
        EXPECT_THAT(lineFault("a.csv", content), HasSubstr("x and y, east and north"));
    }
}

// Decimal commas are no numbers here, and no names either.
TEST_F(ShapeInput, TakesNoRowOfDigitsForAHeading)
{
    for (const char* row : {"10,5;1250,5", "10,5;-1250,5", "1.5e,.5e", "3"})
    {
        SCOPED_TRACE(row);
        EXPECT_THAT(lineFault("a.csv", std::string(row) + "\n1,2\n3,4\n"), HasSubstr("Row 1 of '"));
    }
}

TEST_F(ShapeInput, RepeatsNoControlCharacters)
{
    EXPECT_THAT(lineFault("a.csv", "x,y\n\x1B[31m,2\n"), HasSubstr("holds no point: '?[31m,2'."));
    EXPECT_THAT(lineFault("a.json", R"({"type":"\u001b[31m"})"), HasSubstr("a GeoJSON ?[31m where"));
}

TEST_F(ShapeInput, RefusesUtf16)
{
    EXPECT_THAT(lineFault("a.csv", std::string("\xFF\xFE"
                                               "1\0,\0",
                                               6)),
                HasSubstr("is UTF-16 text"));
    EXPECT_THAT(lineFault("a.csv", std::string("\xFE\xFF"
                                               "\0"
                                               "1",
                                               4)),
                HasSubstr("is UTF-16 text"));
}

TEST_F(ShapeInput, RefusesWhatCannotBeMeasured)
{
    EXPECT_THAT(sentenceOf([] { (void)readLines("0,0 1e13,0", ""); }), HasSubstr("larger than 1e12"));
    EXPECT_THAT(sentenceOf([] { (void)readBoundary("0,0 1e13,0 5,5", ""); }), HasSubstr("larger than 1e12"));
    EXPECT_THAT(sentenceOf([] { (void)readLines("0,0 1e-7,0", ""); }), HasSubstr("shorter than 1e-6"));
}

TEST_F(ShapeInput, TakesWhatIsExactlyAtItsLimits)
{
    EXPECT_EQ(readLines("0,0 1e12,0", "").front().size(), 2U);
    EXPECT_EQ(readLines("0,0 1e-6,0", "").front().size(), 2U);
    EXPECT_EQ(readLines("0,0 0,6e-7 0,0", "").front().size(), 3U); // its length, not how far it gets
    EXPECT_THAT(sentenceOf([] { (void)readLines("0,0 0,-1.1e12", ""); }), HasSubstr("larger than 1e12"));
    EXPECT_THAT(sentenceOf([] { (void)readLines("0,0 9e-7,0", ""); }), HasSubstr("shorter than 1e-6"));
    EXPECT_EQ(readLines("1,2 1,2 3,4 3,4", "").front().size(), 4U) << "repeated points stay";
}

// In binary the three are not exactly on one line.
TEST_F(ShapeInput, AllowsForRoundingInAFlatPolygon)
{
    EXPECT_THAT(sentenceOf([] { (void)readBoundary("0.1,0.1 0.2,0.2 0.3,0.3", ""); }), HasSubstr("lie on one line"));
    EXPECT_THAT(sentenceOf([] { (void)readBoundary("500000.1,1.1 500000.2,1.2 500000.4,1.4", ""); }),
                HasSubstr("lie on one line"));
    EXPECT_EQ(readBoundary("500000,4000000 500000.01,4000000 500000,4000000.01", "").size(), 4U);
}

TEST_F(ShapeInput, ReadsLinesOfGeoJson)
{
    const std::string line = R"({"type":"LineString","coordinates":[[1,2],[3,4,5]]})";
    const std::string several = R"({"type":"MultiLineString","coordinates":[[[5,5],[6,6]],[[7,7],[8,8]]]})";
    for (const std::string& content :
         {line, feature(line), "\n " + line, R"({"type":"FeatureCollection","features":[)" + feature(line) + "]}"})
    {
        SCOPED_TRACE(content);
        const std::vector<Points> read = lines("no ending", content);
        ASSERT_EQ(read.size(), 1U);
        EXPECT_THAT(plan(read.front()), ElementsAre(at(1, 2), at(3, 4)));
    }
    const std::string all = R"({"type":"FeatureCollection","features":[)" + feature(several) + "," + feature("null") +
                            "," + feature(line) + "]}";
    EXPECT_EQ(lines("a.geojson", all).size(), 3U);
}

TEST_F(ShapeInput, RefusesGeoJsonOfAnotherKind)
{
    EXPECT_THAT(lineFault("a.json", R"({"type":"Point","coordinates":[1,2]})"),
                HasSubstr("holds a GeoJSON Point where a LineString is expected."));
    EXPECT_THAT(boundaryFault("a.json", R"({"type":"LineString","coordinates":[[1,2],[3,4]]})"),
                HasSubstr("where a Polygon is expected."));
    EXPECT_THAT(lineFault("a.json", R"({"type":"FeatureCollection","features":[]})"), HasSubstr("holds no line"));
}

TEST_F(ShapeInput, RefusesWhatIsNoGeoJson)
{
    EXPECT_THAT(lineFault("a.geojson", "1,2\n3,4\n"), HasSubstr("is not valid JSON"));
    EXPECT_THAT(lineFault("a.txt", "{\"type\":"), HasSubstr("is not valid JSON"));
    EXPECT_THAT(lineFault("a.json", std::string(200000, '[')), HasSubstr("is not valid JSON"));
    for (const char* content :
         {"[1,2]", "7", "{}", R"({"type":5})", R"({"type":"Feature"})", R"({"type":"FeatureCollection"})",
          R"({"type":"LineString"})", R"({"type":"LineString","coordinates":7})",
          R"({"type":"LineString","coordinates":[[1],[2]]})", R"({"type":"LineString","coordinates":[["1",2],[2,3]]})",
          R"({"type":"MultiLineString","coordinates":{"a":1}})", R"({"type":"FeatureCollection","features":[5]})"})
    {
        SCOPED_TRACE(content);
        EXPECT_THAT(lineFault("a.json", content), HasSubstr("is not GeoJSON"));
    }
    EXPECT_THAT(lineFault("a.json", R"({"type":"LineString","coordinates":[[1e999,0],[2,3]]})"), HasSubstr("JSON"));
}

TEST_F(ShapeInput, RefusesFilesThatHoldNothing)
{
    EXPECT_THAT(lineFault("a.csv", ""), HasSubstr("is empty"));
    EXPECT_THAT(lineFault("a.csv", "\xEF\xBB\xBF \n"), HasSubstr("is empty"));
    EXPECT_THAT(sentenceOf([&] { (void)readLines("", folder.path("none")); }), HasSubstr("There is no file"));
    EXPECT_THAT(sentenceOf([&] { (void)readLines("", folder.path()); }), HasSubstr("is not a file"));
}

TEST_F(ShapeInput, RefusesFilesThatAreTooLarge)
{
    const std::string file = folder.write("huge.csv", "1,2\n");
    std::filesystem::resize_file(file, (64U << 20U) + 1);
    EXPECT_THAT(sentenceOf([&] { (void)readLines("", file); }), HasSubstr("larger than 64 MB"));
}

// Out along the outer ring, over the bridge, round the hole, and back by the same bridge.
TEST_F(ShapeInput, JoinsTheHolesOfAPolygonByBridges)
{
    const Points points = boundary("a.geojson", R"({"type":"Polygon","coordinates":
        [[[0,0],[9,0],[9,9],[0,0]],[[5,2],[6,2],[6,3],[5,2]]]})");
    EXPECT_THAT(plan(points), ElementsAre(at(0, 0), at(9, 0), at(9, 9), at(0, 0), at(0, 0), at(5, 2), at(6, 2),
                                          at(6, 3), at(5, 2), at(0, 0)));
}

TEST_F(ShapeInput, TakesOnePolygonOfSeveralParts)
{
    const std::string parts = R"({"type":"MultiPolygon","coordinates":
        [[[[0,0],[1,0],[1,1],[0,0]]],[[[5,0],[6,0],[6,1],[5,0]]]]})";
    EXPECT_EQ(boundary("a.geojson", parts).size(), 2U * (4U + 1U));
    const std::string two =
        R"({"type":"FeatureCollection","features":[)" + feature(parts) + "," + feature(parts) + "]}";
    EXPECT_THAT(boundaryFault("a.geojson", two), HasSubstr("holds 2 polygons"));
    EXPECT_THAT(boundaryFault("a.csv", "line,x,y\n1,0,0\n2,1,0\n"), HasSubstr("holds 2 rings"));
}

TEST_F(ShapeInput, ReadsPixels)
{
    EXPECT_THAT(plan(readPixels(folder.write("a.csv", "row,column\n1,2\n3,4\n"))), ElementsAre(at(2, 1), at(4, 3)));
    EXPECT_THAT(sentenceOf([&] { (void)readPixels(folder.write("a.json", "{}")); }), HasSubstr("CSV"));
    EXPECT_THAT(sentenceOf([&] { (void)readPixels(folder.write("b.csv", "column,row\n")); }), HasSubstr("no pixel"));
}
