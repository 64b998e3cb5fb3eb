#include "HillTiles.h"

#include <osg/Geode>
#include <osg/Geometry>
#include <osg/PagedLOD>
#include <osgDB/WriteFile>

#include <cmath>
#include <stdexcept>

namespace mvgeo::bench
{

namespace
{

constexpr double kExtent = 1000.0;

osg::Vec3 hill(double x, double y)
{
    return osg::Vec3d(x, y, 10.0 * std::sin(x / 37.0) + 10.0 * std::cos(y / 53.0));
}

osg::ref_ptr<osg::Geometry> surface(double west, double south, double size, int cells)
{
    const osg::ref_ptr<osg::Vec3Array> vertices = new osg::Vec3Array;
    const osg::ref_ptr<osg::DrawElementsUInt> indices = new osg::DrawElementsUInt(GL_TRIANGLES);
    const double step = size / cells;
    for (int row = 0; row <= cells; ++row)
        for (int column = 0; column <= cells; ++column)
        {
            vertices->push_back(hill(west + column * step, south + row * step));
            if (row == cells || column == cells) continue;
            const auto corner = static_cast<unsigned int>(row * (cells + 1) + column);
            const unsigned int above = corner + static_cast<unsigned int>(cells) + 1;
            for (const unsigned int index : {corner, corner + 1, above + 1, corner, above + 1, above})
                indices->push_back(index);
        }
    const osg::ref_ptr<osg::Geometry> geometry = new osg::Geometry;
    geometry->setVertexArray(vertices);
    geometry->addPrimitiveSet(indices);
    return geometry;
}

osg::ref_ptr<osg::PagedLOD> tile(double west, double south, double size, int cells)
{
    const osg::ref_ptr<osg::Geode> geode = new osg::Geode;
    geode->addDrawable(surface(west, south, size, cells));
    const osg::BoundingSphere sphere = geode->getBound();
    const osg::ref_ptr<osg::PagedLOD> paged = new osg::PagedLOD;
    paged->setRangeMode(osg::LOD::PIXEL_SIZE_ON_SCREEN);
    paged->setCenter(sphere.center());
    paged->setRadius(sphere.radius());
    paged->addChild(geode, 0.0F, 1e30F);
    return paged;
}

/** As pyramids are built: four quarters to a group, down to the tiles. */
osg::ref_ptr<osg::Node> quarters(double west, double south, double size, int side, int cells)
{
    if (side <= 1) return tile(west, south, size, cells);
    const osg::ref_ptr<osg::Group> group = new osg::Group;
    const double half = size / 2.0;
    for (const double y : {south, south + half})
        for (const double x : {west, west + half})
            group->addChild(quarters(x, y, half, side / 2, cells));
    return group;
}

} // namespace

std::string writeHills(int side, int cells)
{
    const osg::ref_ptr<osg::Node> root = quarters(0.0, 0.0, kExtent, side, cells);
    const std::string path =
        std::string(MVGEO_BENCH_FOLDER) + "/hills_" + std::to_string(side) + "_" + std::to_string(cells) + ".osgb";
    if (!osgDB::writeNodeFile(*root, path)) throw std::runtime_error("cannot write " + path);
    return path;
}

} // namespace mvgeo::bench
