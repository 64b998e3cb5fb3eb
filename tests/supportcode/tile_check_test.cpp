#include "support/TileCheck.h"

#include <osg/Geode>
#include <osg/Geometry>
#include <osg/MatrixTransform>

#include <gtest/gtest.h>

namespace
{

/** Four vertices and the one primitive set, below a transform. */
osg::ref_ptr<osg::Node> tileWith(osg::PrimitiveSet* set)
{
    const osg::ref_ptr<osg::Geometry> geometry = new osg::Geometry;
    geometry->setVertexArray(new osg::Vec3Array(4));
    geometry->addPrimitiveSet(set);
    const osg::ref_ptr<osg::Geode> geode = new osg::Geode;
    geode->addDrawable(geometry);
    const osg::ref_ptr<osg::MatrixTransform> transform = new osg::MatrixTransform;
    transform->addChild(geode);
    return transform;
}

template <typename Elements>
osg::ref_ptr<Elements> elements(std::initializer_list<unsigned int> indices)
{
    const osg::ref_ptr<Elements> result = new Elements(GL_TRIANGLES);
    for (const unsigned int index : indices)
        result->addElement(index);
    return result;
}

TEST(TileCheck, TheLastVertexMayBeUsed)
{
    EXPECT_EQ(mvgeo::faultIn(*tileWith(elements<osg::DrawElementsUInt>({0, 1, 3}))), "");
    EXPECT_EQ(mvgeo::faultIn(*tileWith(new osg::DrawArrays(GL_TRIANGLES, 1, 3))), "");
}

TEST(TileCheck, AnIndexBehindTheLastVertexIsAFaultInEveryWidth)
{
    const std::string fault = "its indices lead beyond its 4 vertices";
    EXPECT_EQ(mvgeo::faultIn(*tileWith(elements<osg::DrawElementsUByte>({0, 4, 1}))), fault);
    EXPECT_EQ(mvgeo::faultIn(*tileWith(elements<osg::DrawElementsUShort>({0, 1, 4}))), fault);
    EXPECT_EQ(mvgeo::faultIn(*tileWith(elements<osg::DrawElementsUInt>({0xFFFFFFFFU, 1, 2}))), fault);
}

TEST(TileCheck, ARangeThatEndsBehindTheLastVertexIsAFault)
{
    EXPECT_NE(mvgeo::faultIn(*tileWith(new osg::DrawArrays(GL_TRIANGLES, 2, 3))), "");
    EXPECT_NE(mvgeo::faultIn(*tileWith(new osg::DrawArrays(GL_TRIANGLES, -1, 3))), "");
    const osg::ref_ptr<osg::DrawArrayLengths> lengths = new osg::DrawArrayLengths(GL_TRIANGLE_STRIP, 1);
    lengths->push_back(3);
    EXPECT_EQ(mvgeo::faultIn(*tileWith(lengths)), "");
    lengths->push_back(1);
    EXPECT_NE(mvgeo::faultIn(*tileWith(lengths)), "");
}

TEST(TileCheck, EmptySetsAndGeometriesWithoutVerticesAreFine)
{
    EXPECT_EQ(mvgeo::faultIn(*tileWith(new osg::DrawElementsUInt(GL_TRIANGLES))), "");
    const osg::ref_ptr<osg::Geometry> bare = new osg::Geometry;
    bare->addPrimitiveSet(new osg::DrawArrays(GL_TRIANGLES, 0, 3));
    EXPECT_EQ(mvgeo::faultIn(*bare), "");
}

// OSG would read the corners that the last triangle lacks from behind the list.
TEST(TileCheck, AListOfTrianglesLosesAnEndThatIsNone)
{
    for (unsigned int surplus = 0; surplus < 3; ++surplus)
    {
        SCOPED_TRACE(surplus);
        const auto bytes = elements<osg::DrawElementsUByte>({0, 1, 2, 0, 2, 3});
        const auto shorts = elements<osg::DrawElementsUShort>({0, 1, 2, 0, 2, 3});
        const auto ints = elements<osg::DrawElementsUInt>({0, 1, 2, 0, 2, 3});
        for (osg::DrawElements* list : std::initializer_list<osg::DrawElements*>{bytes, shorts, ints})
        {
            for (unsigned int i = 0; i < surplus; ++i)
                list->addElement(99); // which is no vertex, and goes too
            const osg::ref_ptr<osg::Node> tile = tileWith(list);
            mvgeo::trimTriangles(*tile);
            EXPECT_EQ(list->getNumIndices(), 6U);
            EXPECT_EQ(mvgeo::faultIn(*tile), "");
        }
        const osg::ref_ptr<osg::DrawArrays> range = new osg::DrawArrays(GL_TRIANGLES, 0, 3 + static_cast<int>(surplus));
        mvgeo::trimTriangles(*tileWith(range));
        EXPECT_EQ(range->getCount(), 3);
    }
}

TEST(TileCheck, OnlyListsOfTrianglesAreTrimmed)
{
    for (const GLenum mode : {GL_TRIANGLE_STRIP, GL_TRIANGLE_FAN, GL_QUADS, GL_LINES})
    {
        const osg::ref_ptr<osg::DrawElementsUInt> list = new osg::DrawElementsUInt(mode, 4U);
        mvgeo::trimTriangles(*tileWith(list));
        EXPECT_EQ(list->size(), 4U);
        const osg::ref_ptr<osg::DrawArrays> range = new osg::DrawArrays(mode, 0, 4);
        mvgeo::trimTriangles(*tileWith(range));
        EXPECT_EQ(range->getCount(), 4);
    }
    const osg::ref_ptr<osg::DrawArrays> senseless = new osg::DrawArrays(GL_TRIANGLES, 0, -4);
    mvgeo::trimTriangles(*tileWith(senseless));
    EXPECT_NE(mvgeo::faultIn(*tileWith(senseless)), "");
}

TEST(TileCheck, RunsOfTrianglesThatAreNotWholeAreAFault)
{
    const osg::ref_ptr<osg::DrawArrayLengths> lengths = new osg::DrawArrayLengths(GL_TRIANGLES, 0);
    lengths->push_back(3);
    EXPECT_EQ(mvgeo::faultIn(*tileWith(lengths)), "");
    lengths->push_back(1);
    EXPECT_EQ(mvgeo::faultIn(*tileWith(lengths)), "one of its runs of vertices ends within a triangle");
}

TEST(TileCheck, VerticesOfDoublePrecisionBecomeSingle)
{
    const osg::ref_ptr<osg::Geometry> geometry = new osg::Geometry;
    const osg::ref_ptr<osg::Vec3dArray> vertices = new osg::Vec3dArray;
    vertices->push_back(osg::Vec3d(1.5, -2.25, 1e3));
    geometry->setVertexArray(vertices);

    mvgeo::useSinglePrecisionVertices(*geometry);

    const auto* single = dynamic_cast<const osg::Vec3Array*>(geometry->getVertexArray());
    ASSERT_NE(single, nullptr);
    ASSERT_EQ(single->size(), 1U);
    EXPECT_EQ(single->at(0), osg::Vec3(1.5F, -2.25F, 1000.0F));
}

TEST(TileCheck, VerticesOfSinglePrecisionStayTheSameArray)
{
    const osg::ref_ptr<osg::Geometry> geometry = new osg::Geometry;
    const osg::ref_ptr<osg::Vec3Array> vertices = new osg::Vec3Array(2);
    geometry->setVertexArray(vertices);
    mvgeo::useSinglePrecisionVertices(*geometry);
    EXPECT_EQ(geometry->getVertexArray(), vertices);
}

} // namespace
