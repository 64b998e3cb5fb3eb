#include "support/GeosSession.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace
{

using namespace mvgeo;

GeosSession::Geometry fromText(const GeosSession& geos, const char* text)
{
    GEOSWKTReader* reader = GEOSWKTReader_create_r(geos.handle());
    GeosSession::Geometry geometry = geos.own(GEOSWKTReader_read_r(geos.handle(), reader, text));
    GEOSWKTReader_destroy_r(geos.handle(), reader);
    return geometry;
}

double areaOf(const GeosSession& geos, const GeosSession::Geometry& geometry)
{
    double area = -1.0;
    GEOSArea_r(geos.handle(), geometry.get(), &area);
    return area;
}

TEST(GeosSession, AnswersAndHasNoErrorThen)
{
    const GeosSession geos;
    ASSERT_NE(geos.handle(), nullptr);
    EXPECT_DOUBLE_EQ(areaOf(geos, fromText(geos, "POLYGON((0 0, 4 0, 0 3, 0 0))")), 6.0);
    EXPECT_EQ(geos.lastError(), "");
}

TEST(GeosSession, KeepsWhatGeosSaidLast)
{
    const GeosSession geos;
    EXPECT_EQ(fromText(geos, "TRIANGULAR((0 0))"), nullptr);
    EXPECT_NE(geos.lastError().find("ParseException"), std::string::npos) << geos.lastError();
    EXPECT_NE(geos.lastError().find("TRIANGULAR"), std::string::npos) << geos.lastError();
    EXPECT_EQ(fromText(geos, "POLYGON((0 0, 1 0, 2"), nullptr);
    EXPECT_EQ(geos.lastError().find("TRIANGULAR"), std::string::npos) << geos.lastError();
}

TEST(GeosSession, EachHasItsOwnError)
{
    const GeosSession quiet;
    const GeosSession wrong;
    EXPECT_EQ(fromText(wrong, "?"), nullptr);
    EXPECT_NE(wrong.lastError(), "");
    EXPECT_EQ(quiet.lastError(), "");
}

// Owning nothing is what a failed call leaves behind; that must not reach GEOS.
TEST(GeosSession, OwnersOfNothingAreHarmless)
{
    const GeosSession geos;
    EXPECT_EQ(geos.own(static_cast<GEOSGeometry*>(nullptr)), nullptr);
    EXPECT_EQ(geos.own(static_cast<const GEOSPreparedGeometry*>(nullptr)), nullptr);
    EXPECT_EQ(geos.own(static_cast<GEOSSTRtree*>(nullptr)), nullptr);
}

TEST(GeosSession, OwnersHandOn)
{
    const GeosSession geos;
    GeosSession::Geometry first = fromText(geos, "POLYGON((0 0, 4 0, 0 3, 0 0))");
    GeosSession::Geometry second;
    second = std::move(first);
    EXPECT_EQ(first, nullptr);
    EXPECT_DOUBLE_EQ(areaOf(geos, second), 6.0);
}

TEST(GeosSession, PreparedGeometryEndsBeforeWhatWasPrepared)
{
    const GeosSession geos;
    const auto square = fromText(geos, "POLYGON((0 0, 10 0, 10 10, 0 10, 0 0))");
    const auto prepared = geos.own(GEOSPrepare_r(geos.handle(), square.get()));
    EXPECT_EQ(GEOSPreparedContains_r(geos.handle(), prepared.get(), fromText(geos, "POINT(5 5)").get()), 1);
    EXPECT_EQ(GEOSPreparedContains_r(geos.handle(), prepared.get(), fromText(geos, "POINT(5 15)").get()), 0);
}

TEST(GeosSession, TreeKeepsItsBoxesWhenTheGeometryIsGone)
{
    const GeosSession geos;
    const auto tree = geos.own(GEOSSTRtree_create_r(geos.handle(), 10));
    int names[] = {7, 8};
    for (int i = 0; i < 2; ++i)
    {
        const auto box = geos.own(GEOSGeom_createRectangle_r(geos.handle(), 10.0 * i, 0.0, 10.0 * i + 1.0, 1.0));
        GEOSSTRtree_insert_r(geos.handle(), tree.get(), box.get(), &names[i]);
    }
    std::vector<int> found;
    GEOSSTRtree_query_r(
        geos.handle(), tree.get(), fromText(geos, "POINT(10.5 0.5)").get(),
        [](void* name, void* list) { static_cast<std::vector<int>*>(list)->push_back(*static_cast<int*>(name)); },
        &found);
    EXPECT_EQ(found, std::vector<int>{8});
}

TEST(GeosSession, ManyAtOnceDoNotDisturbEachOther)
{
    std::vector<std::thread> threads;
    std::vector<std::string> errors(4);
    for (std::size_t i = 0; i < errors.size(); ++i)
        threads.emplace_back(
            [&errors, i]
            {
                const GeosSession geos;
                const std::string wrong = "WRONG" + std::to_string(i);
                for (int round = 0; round < 100; ++round)
                    fromText(geos, wrong.c_str());
                errors[i] = geos.lastError();
            });
    for (std::thread& thread : threads)
        thread.join();
    for (std::size_t i = 0; i < errors.size(); ++i)
        EXPECT_NE(errors[i].find("WRONG" + std::to_string(i)), std::string::npos) << errors[i];
}

} // namespace
