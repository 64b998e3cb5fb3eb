#include "GridPyramid.h"

#include <osg/Geode>
#include <osg/Geometry>
#include <osg/PagedLOD>
#include <osgDB/WriteFile>

#include <stdexcept>

namespace mvgeo::bench
{

namespace
{

constexpr float kStep = 10.0F;

osg::ref_ptr<osg::Geode> square(float x, float y)
{
    const osg::ref_ptr<osg::Geometry> geometry = new osg::Geometry;
    const osg::Vec3 corners[] = {{x, y, 0}, {x + kStep, y, 0}, {x + kStep, y + kStep, 0}, {x, y + kStep, 0}};
    geometry->setVertexArray(new osg::Vec3Array(4, corners));
    const unsigned int indices[] = {0, 1, 2, 0, 2, 3};
    geometry->addPrimitiveSet(new osg::DrawElementsUInt(GL_TRIANGLES, 6, indices));

    const osg::ref_ptr<osg::Geode> geode = new osg::Geode;
    geode->addDrawable(geometry);
    return geode;
}

osg::ref_ptr<osg::PagedLOD> tile(float x, float y)
{
    const osg::ref_ptr<osg::PagedLOD> paged = new osg::PagedLOD;
    paged->setRangeMode(osg::LOD::PIXEL_SIZE_ON_SCREEN);
    paged->setCenter(osg::Vec3(x + kStep / 2, y + kStep / 2, 0));
    paged->setRadius(kStep * 0.71F);
    paged->addChild(square(x, y), 0.0F, 1e30F);
    return paged;
}

} // namespace

std::string writeGrid(int side)
{
    const osg::ref_ptr<osg::Group> group = new osg::Group;
    for (int row = 0; row < side; ++row)
        for (int column = 0; column < side; ++column)
            group->addChild(tile(static_cast<float>(column) * kStep, static_cast<float>(row) * kStep));

    const std::string path = std::string(MVGEO_BENCH_FOLDER) + "/grid_" + std::to_string(side) + ".osgb";
    if (!osgDB::writeNodeFile(*group, path)) throw std::runtime_error("cannot write " + path);
    return path;
}

} // namespace mvgeo::bench
