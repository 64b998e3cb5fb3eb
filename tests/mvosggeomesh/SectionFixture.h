#pragma once

#include "mvosggeomesh/TiledModelFixture.h"

#include <osg/Geometry>

#include <cmath>
#include <string>
#include <vector>

MATCHER_P2(IsNear, points, tolerance, "")
{
    for (const KdGePoint3d& point : arg)
        *result_listener << '(' << point.x << ' ' << point.y << ' ' << point.z << ") ";
    if (arg.size() != points.size()) return false;
    for (std::size_t i = 0; i < points.size(); ++i)
        if (std::abs(arg[i].x - points[i].x) > tolerance || std::abs(arg[i].y - points[i].y) > tolerance ||
            std::abs(arg[i].z - points[i].z) > tolerance)
            return false;
    return true;
}

/** Lines draped over models. */
struct Section : public TiledModelFixture
{
    using Line = std::vector<KdGePoint3d>;
    using Lines = std::vector<Line>;

    [[nodiscard]] static auto isLine(const Line& points) { return IsNear(points, 1e-6); }
    [[nodiscard]] static osg::ref_ptr<osg::Geometry> triangles(const std::vector<osg::Vec3>& corners,
                                                               const std::vector<unsigned int>& indices)
    {
        const osg::ref_ptr<osg::Vec3Array> vertices = new osg::Vec3Array(corners.begin(), corners.end());
        osg::ref_ptr<osg::Geometry> geometry = new osg::Geometry;
        geometry->setVertexArray(vertices);
        geometry->addPrimitiveSet(new osg::DrawElementsUInt(GL_TRIANGLES, indices.begin(), indices.end()));
        return geometry;
    }
    Lines drape(const Line& line, const KdGeMatrix3d& placement = {})
    {
        Lines result;
        EXPECT_TRUE(model().section(&placement, &line, &result));
        return result;
    }
    /** A model file with just this in it. */
    void addMesh(const osg::ref_ptr<osg::Node>& mesh)
    {
        const std::string path = folder / ("mesh" + std::to_string(_meshes++) + ".osgb");
        writeTile(*mesh, path);
        ASSERT_GE(driver.add(path), 0);
    }
    void addPyramid(const TilePyramidOptions& options = {})
    {
        const TilePyramid files = pyramid(options);
        for (int i = 0; i < options.rootTiles; ++i)
            ASSERT_EQ(driver.add(files.rootFile(i)), i);
    }

private:
    int _meshes = 0;
};
