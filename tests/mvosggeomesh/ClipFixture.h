#pragma once

#include "mvclipregions/ClipGeometry.h"
#include "mvosggeomesh/TiledModelFixture.h"

#include <osg/Geometry>

#include <string>
#include <utility>
#include <vector>

/** One clip after another on what is below the root. */
struct Clip : public TiledModelFixture
{
    using Points = clipgeometry::Points;

    static constexpr int kInside = MvGeoMesh::kClipInside;
    static constexpr int kOutside = MvGeoMesh::kClipOutside;
    static constexpr int kInMemory = 0;
    static constexpr int kFinest = MvGeoMesh::kFinestTiles;
    static constexpr unsigned int kAll = MvGeoMesh::kAllModelFiles;

    [[nodiscard]] static Points rectangle(double west, double south, double east, double north)
    {
        return {{west, south, 0}, {east, south, 0}, {east, north, 0}, {west, north, 0}};
    }
    [[nodiscard]] static osg::ref_ptr<osg::Geometry> geometryOf(const std::vector<osg::Vec3>& vertices,
                                                                osg::PrimitiveSet* set)
    {
        const osg::ref_ptr<osg::Geometry> geometry = new osg::Geometry;
        geometry->setVertexArray(new osg::Vec3Array(vertices.begin(), vertices.end()));
        geometry->addPrimitiveSet(set);
        return geometry;
    }
    /** Triangles that share nothing. */
    [[nodiscard]] static osg::ref_ptr<osg::Geometry> soupOf(const std::vector<osg::Vec3>& vertices)
    {
        return geometryOf(vertices, new osg::DrawArrays(GL_TRIANGLES, 0, static_cast<GLsizei>(vertices.size())));
    }
    /** A grid of cells from (0, 0) to (100, 100), at the heights z(x, y). */
    template <typename Height>
    [[nodiscard]] static osg::ref_ptr<osg::Geometry> grid(int cells, Height z)
    {
        std::vector<osg::Vec3> vertices;
        const auto vertex = [&](int column, int row)
        {
            const double x = 100.0 * column / cells;
            const double y = 100.0 * row / cells;
            vertices.push_back(osg::Vec3(osg::Vec3d(x, y, z(x, y))));
        };
        for (int row = 0; row < cells; ++row)
            for (int column = 0; column < cells; ++column)
                for (const auto& [right, up] : {std::pair{0, 0}, {1, 0}, {1, 1}, {0, 0}, {1, 1}, {0, 1}})
                    vertex(column + right, row + up);
        return soupOf(vertices);
    }

    Points found;
    KdGeMatrix3d placement;
    const double* heights = nullptr;
    int options = kInMemory;
    unsigned int file = kAll;

    /** A model file of its own, by its id. */
    void addFile(const osg::ref_ptr<osg::Node>& node)
    {
        node->setUserValue("root_nodeid", model().root().getNumChildren());
        model().root().addChild(node);
    }
    bool clip(int mode, const Points& boundary)
    {
        return model().clip(mode, file, &placement, &boundary, heights, options, &found);
    }
    Points clipped(int mode, const Points& boundary)
    {
        found.clear();
        EXPECT_TRUE(clip(mode, boundary));
        EXPECT_EQ(clipgeometry::badTriangles(found), 0);
        return found;
    }
    double planInside(const Points& boundary) { return clipgeometry::planArea(clipped(kInside, boundary)); }
    double planOutside(const Points& boundary) { return clipgeometry::planArea(clipped(kOutside, boundary)); }
    double surfaceInside(const Points& boundary) { return clipgeometry::surfaceArea(clipped(kInside, boundary)); }
    double surfaceOutside(const Points& boundary) { return clipgeometry::surfaceArea(clipped(kOutside, boundary)); }

    void expectRefused(const std::string& reason, int mode, const Points& boundary)
    {
        log.clear();
        found = {{1, 2, 3}};
        EXPECT_FALSE(clip(mode, boundary));
        EXPECT_EQ(found.size(), 1U);
        EXPECT_EQ(log.count(osg::WARN, "cannot clip: " + reason), 1) << reason;
        EXPECT_EQ(log.lines().size(), 1U);
    }
};
