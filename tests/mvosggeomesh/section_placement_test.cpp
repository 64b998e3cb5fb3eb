#include "mvosggeomesh/SectionFixture.h"

#include <osg/MatrixTransform>

#include <cmath>
#include <tuple>

namespace
{

using testing::IsEmpty;
using testing::SizeIs;

/** Sees what its base class hands to the two operations that other models may change. */
class WatchedMesh : public MvOsgGeoMesh
{
public:
    WatchedMesh() : MvOsgGeoMesh([] { return true; }) {}
    bool checkBoundary(Section::Line& points) override
    {
        checked.push_back(points);
        return keeps;
    }
    void joinDrapedPieces(Section::Lines& pieces) override
    {
        ++joins;
        joined = pieces;
        pieces = result;
    }

    bool keeps = true;
    Section::Lines checked;
    Section::Lines joined;
    Section::Lines result;
    int joins = 0;
};

struct SectionSlots : public Section
{
    void SetUp() override
    {
        const std::string path = folder / "square.osgb";
        writeTile(*makeSquare(0, 0, 7, 100), path);
        ASSERT_EQ(watched.addModel(KdString(path.c_str())), 0);
    }
    Lines drapeWatched(const Line& line)
    {
        const KdGeMatrix3d placement = hostMatrix(osg::Matrixd::translate(1000, 0, 0));
        Lines lines;
        EXPECT_TRUE(watched.section(&placement, &line, &lines));
        return lines;
    }

    WatchedMesh watched;
};

} // namespace

TEST_F(Section, GoesThroughTheTransformsOfTheScene)
{
    TilePyramidOptions options;
    options.hasTransform = true;
    options.transformAbovePaging = true;
    addPyramid(options);
    const Lines lines = drape({{0, 5, 0}, {20, 5, 0}});
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_THAT(lines[0], isLine({{0, 5, 202}, {5, 5, 202}, {20, 5, 202}})); // lifted twice by 100
}

TEST_F(Section, TheHostTransformCountsAndThePlacementComesOnTop)
{
    addMesh(makeSquare(0, 0, 7, 100));
    model().setTransform(hostMatrix(osg::Matrixd::translate(1000, 0, 0)));
    const KdGeMatrix3d placement = hostMatrix(osg::Matrixd::rotate(osg::PI_2, 0, 0, 1)); // x to y, y to -x
    const Lines lines = drape({{-50, 1010, 0}, {-50, 1090, 0}}, placement);
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_THAT(lines[0], isLine({{-50, 1010, 7}, {-50, 1050, 7}, {-50, 1090, 7}}));
}

TEST_F(Section, AMirroredOrScaledModelIsCutToo)
{
    addMesh(makeSquare(0, 0, 7, 100));
    model().setTransform(hostMatrix(osg::Matrixd::scale(-2.0, 1.0, 3.0)));
    const Lines lines = drape({{-20, 50, 0}, {-180, 50, 0}});
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_THAT(lines[0], isLine({{-20, 50, 21}, {-100, 50, 21}, {-180, 50, 21}}));
}

TEST_F(Section, ATiltedModelIsCutUprightInTheHostsFrame)
{
    addMesh(makeSquare(0, 0, 0, 100));
    model().setTransform(hostMatrix(osg::Matrixd::rotate(osg::PI_4, 1, 0, 0))); // y rises
    const Lines lines = drape({{10, -10, 0}, {10, 200, 0}});
    ASSERT_THAT(lines, SizeIs(1));
    const double far = 100.0 * std::sqrt(0.5);
    const double edge = 10.0 * std::sqrt(0.5); // the diagonal at (10, 10) of the square
    EXPECT_THAT(lines[0], isLine({{10, 0, 0}, {10, edge, edge}, {10, far, far}}));
}

TEST_F(Section, KeepsItsHeightsFarFromTheOrigin)
{
    addMesh(triangles({{0, 0, 0}, {100, 0, 0}, {100, 100, 0}, {0, 100, 0}, {50, 50, 50}},
                      {0, 1, 4, 1, 2, 4, 2, 3, 4, 3, 0, 4}));
    const osg::Matrixd toMap = osg::Matrixd::rotate(0.3, 0, 0, 1) * osg::Matrixd::translate(5e5, 4e6, 120);
    for (const bool isPlacement : {false, true})
    {
        SCOPED_TRACE(isPlacement);
        model().setTransform(isPlacement ? KdGeMatrix3d() : hostMatrix(toMap));
        const KdGeMatrix3d placement = isPlacement ? hostMatrix(toMap) : KdGeMatrix3d();
        const auto onMap = [&](double x, double y, double z)
        {
            const osg::Vec3d point = osg::Vec3d(x, y, z) * toMap;
            return KdGePoint3d{point.x(), point.y(), point.z()};
        };
        const Lines lines = drape({onMap(-10, 25, 0), onMap(110, 25, 0)}, placement);
        ASSERT_THAT(lines, SizeIs(1));
        const Line expected{onMap(0, 25, 0), onMap(25, 25, 25), onMap(75, 25, 25), onMap(100, 25, 0)};
        EXPECT_THAT(lines[0], IsNear(expected, 1e-6));

        const Lines alongEdges = drape({onMap(-10, -10, 0), onMap(110, 110, 0)}, placement);
        ASSERT_THAT(alongEdges, SizeIs(1));
        const Line edges{onMap(0, 0, 0), onMap(50, 50, 50), onMap(100, 100, 0)};
        EXPECT_THAT(alongEdges[0], IsNear(edges, 1e-6));
    }
}

// Rounding puts such a line a hair beside the model on one side or the other.
TEST_F(Section, AlongTheModelsOwnBorderIsFoundFarFromTheOriginToo)
{
    addMesh(makeSquare(0, 0, 7, 100));
    for (const double angle : {0.3, 1.1, 2.0, 4.4})
    {
        const osg::Matrixd toMap = osg::Matrixd::rotate(angle, 0, 0, 1) * osg::Matrixd::translate(5e5, 4e6, 120);
        model().setTransform(hostMatrix(toMap));
        const std::vector<osg::Vec3d> corners{{0, 0, 7}, {100, 0, 7}, {100, 100, 7}, {0, 100, 7}, {0, 0, 7}};
        for (std::size_t i = 1; i < corners.size(); ++i)
        {
            SCOPED_TRACE(testing::Message() << angle << ", side " << i);
            const osg::Vec3d a = corners[i - 1] * toMap;
            const osg::Vec3d b = corners[i] * toMap;
            const Line side{{a.x(), a.y(), a.z()}, {b.x(), b.y(), b.z()}};
            const Lines lines = drape(side);
            ASSERT_THAT(lines, SizeIs(1));
            EXPECT_THAT(lines[0], isLine(side));
        }
    }
}

// OSG's bounds are of single precision: at four million metres they are off by a quarter.
TEST_F(Section, FindsTheCornersOfTilesThatLieFarFromTheOrigin)
{
    for (const double offset : {0.0, 0.13, 0.24, 0.37})
    {
        SCOPED_TRACE(offset);
        model().clear();
        const double west = 5e5 + offset;
        const double south = 4e6 + offset;
        const osg::ref_ptr<osg::MatrixTransform> placed =
            new osg::MatrixTransform(osg::Matrixd::translate(west, south, 0.0));
        placed->addChild(makeSquare(0, 0, 7, 30));
        addMesh(placed);
        for (const auto& [x, y, slope] :
             {std::tuple{0.01, 0.01, -1.0}, {29.99, 29.99, -1.0}, {29.99, 0.01, 1.0}, {0.01, 29.99, 1.0}})
        {
            SCOPED_TRACE(testing::Message() << x << ' ' << y);
            const Lines lines = drape({{west + x - 1, south + y - slope, 0}, {west + x + 1, south + y + slope, 0}});
            ASSERT_THAT(lines, SizeIs(1));
            EXPECT_NEAR(lines[0].back().x - lines[0].front().x, 0.02, 1e-6);
        }
    }
}

TEST_F(SectionSlots, EveryPieceIsCheckedAndAllThatAreKeptAreJoinedAtOnce)
{
    drapeWatched({{1090, 50, 0}, {1010, 50, 0}, {1010, 60, 0}});
    ASSERT_THAT(watched.checked, SizeIs(2)); // in the model's frame, along the line
    EXPECT_THAT(watched.checked[0], isLine({{90, 50, 7}, {50, 50, 7}, {10, 50, 7}}));
    EXPECT_THAT(watched.checked[1], isLine({{10, 50, 7}, {10, 60, 7}}));
    EXPECT_EQ(watched.joins, 1);
    EXPECT_THAT(watched.joined, SizeIs(2));
}

TEST_F(SectionSlots, APieceThatIsNotKeptIsNotJoined)
{
    watched.keeps = false;
    drapeWatched({{1090, 50, 0}, {1010, 50, 0}});
    EXPECT_THAT(watched.checked, SizeIs(1));
    EXPECT_EQ(watched.joins, 1);
    EXPECT_THAT(watched.joined, IsEmpty());
}

TEST_F(SectionSlots, WhatJoiningLeavesIsTheResultAlsoForOnePoint)
{
    watched.result = {{{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}, {{1, 1, 1}, {1, 1, 1.0000005}}, {{1, 1, 1}, {1, 1, 1.000002}}};
    const Lines lines = drapeWatched({{1050, 50, 0}});
    EXPECT_EQ(watched.joins, 1);
    ASSERT_THAT(lines, SizeIs(2)); // the second one is too short
    EXPECT_THAT(lines[0], isLine({{1001, 2, 3}, {1004, 5, 6}, {1007, 8, 9}}));
    EXPECT_THAT(lines[1], isLine({{1001, 1, 1}, {1001, 1, 1.000002}}));
}

TEST_F(SectionSlots, TwoPointsExactlyAMillionthApartAreALine)
{
    watched.result = {{{0, 0, 0}, {0, 0, 1e-6}}, {{0, 0, 0}, {0, 0, std::nextafter(1e-6, 0.0)}}};
    EXPECT_THAT(drapeWatched({{1050, 50, 0}}), SizeIs(1));
}
