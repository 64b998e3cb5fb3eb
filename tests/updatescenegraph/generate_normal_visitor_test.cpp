#include "updatescenegraph/GenerateNormalVisitor.h"

#include "support/TilePyramid.h"

#include <osg/Geode>
#include <osg/Geometry>

#include <gtest/gtest.h>

#include <cmath>

namespace
{

const osg::Vec3Array* normalsOf(const osg::Geometry& geometry)
{
    return dynamic_cast<const osg::Vec3Array*>(geometry.getNormalArray());
}

TEST(GenerateNormalVisitor, FlatSquareGetsNormalsUpwards)
{
    const osg::ref_ptr<osg::Geode> tile = new osg::Geode;
    const osg::ref_ptr<osg::Geometry> square = makeSquare(0, 0, 0, 1);
    tile->addDrawable(square);
    GenerateNormalVisitor visitor;
    tile->accept(visitor);
    ASSERT_TRUE(normalsOf(*square));
    ASSERT_EQ(normalsOf(*square)->size(), 4U);
    for (const osg::Vec3& normal : *normalsOf(*square))
        EXPECT_EQ(normal, osg::Vec3(0, 0, 1));
}

// Two triangles at a right angle share an edge. At a crease angle of 180 degrees the shared vertices get the mean of
// both normals instead of being split.
TEST(GenerateNormalVisitor, SharedVerticesAreSmoothedOverASharpEdge)
{
    const osg::ref_ptr<osg::Geometry> roof = new osg::Geometry;
    const osg::ref_ptr<osg::Vec3Array> vertices = new osg::Vec3Array;
    for (const osg::Vec3& vertex : {osg::Vec3(0, 0, 0), osg::Vec3(0, 1, 0), osg::Vec3(-1, 0, 0), osg::Vec3(0, 0, -1)})
        vertices->push_back(vertex);
    roof->setVertexArray(vertices);
    const osg::ref_ptr<osg::DrawElementsUInt> indices = new osg::DrawElementsUInt(GL_TRIANGLES);
    for (const unsigned int index : {0U, 1U, 2U, 0U, 3U, 1U})
        indices->push_back(index); // normals +z and +x
    roof->addPrimitiveSet(indices);

    GenerateNormalVisitor visitor;
    roof->accept(visitor);
    ASSERT_TRUE(normalsOf(*roof));
    ASSERT_EQ(normalsOf(*roof)->size(), 4U) << "no vertex is split";
    const float half = std::sqrt(0.5F);
    EXPECT_NEAR((normalsOf(*roof)->at(0) - osg::Vec3(half, 0, half)).length(), 0.0F, 1e-6F);
    EXPECT_NEAR((normalsOf(*roof)->at(2) - osg::Vec3(0, 0, 1)).length(), 0.0F, 1e-6F);
}

TEST(GenerateNormalVisitor, ExistingNormalsAreKept)
{
    const osg::ref_ptr<osg::Geometry> square = makeSquare(0, 0, 0, 1);
    const osg::ref_ptr<osg::Vec3Array> normals = new osg::Vec3Array;
    normals->assign(4, osg::Vec3(1, 0, 0));
    square->setNormalArray(normals, osg::Array::BIND_PER_VERTEX);
    GenerateNormalVisitor visitor;
    square->accept(visitor);
    EXPECT_EQ(square->getNormalArray(), normals);
    EXPECT_EQ(normals->at(0), osg::Vec3(1, 0, 0));
}

TEST(GenerateNormalVisitor, NormalsOfAnotherArrayTypeAreMadeAnew)
{
    const osg::ref_ptr<osg::Geometry> square = makeSquare(0, 0, 0, 1);
    const osg::ref_ptr<osg::Vec3dArray> normals = new osg::Vec3dArray;
    normals->assign(4, osg::Vec3d(1, 0, 0));
    square->setNormalArray(normals, osg::Array::BIND_PER_VERTEX);
    GenerateNormalVisitor visitor;
    square->accept(visitor);
    ASSERT_TRUE(normalsOf(*square));
    EXPECT_EQ(normalsOf(*square)->at(0), osg::Vec3(0, 0, 1));
}

TEST(GenerateNormalVisitor, EmptyGeometryIsLeftAlone)
{
    const osg::ref_ptr<osg::Geometry> geometry = new osg::Geometry;
    GenerateNormalVisitor visitor;
    geometry->accept(visitor);
    EXPECT_FALSE(geometry->getNormalArray());
}

} // namespace
