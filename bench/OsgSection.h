#pragma once

#include <osg/Vec3d>
#include <osgDB/Options>
#include <osgSim/LineOfSight>

#include <string>
#include <unordered_map>
#include <vector>

namespace mvgeo::bench
{

/** Reads and keeps tiles for OSG's own sections. OSG asks by name alone, which finds no terrain tile: this remembers
 * the read options of every paged node that it has seen and hands them on. What is kept goes with the object. */
class TileKeeper : public osgSim::DatabaseCacheReadCallback
{
public:
    explicit TileKeeper(osg::Node& root);

    osg::ref_ptr<osg::Node> readNodeFile(const std::string& name) override;

    [[nodiscard]] int readCount() const { return _readCount; }

private:
    void noteOptions(osg::Node& tile);

    std::unordered_map<std::string, osg::ref_ptr<const osgDB::Options>> _options; // by the name that they belong to
    int _readCount = 0;
};

using SurfaceLines = std::vector<std::vector<osg::Vec3d>>;

/** The surface on the upright plane between two points, in the root's frame. */
using OsgSection = SurfaceLines (*)(osg::Node& root, const osg::Vec3d& start, const osg::Vec3d& end, TileKeeper& tiles);

/** OSG's elevation slice: one line along the highest surface. */
[[nodiscard]] SurfaceLines elevationSlice(osg::Node& root, const osg::Vec3d& start, const osg::Vec3d& end,
                                          TileKeeper& tiles);

/** OSG's plain intersection visitor with its plane intersector: as many lines as there are tiles, in no order, skirts
 * included. */
[[nodiscard]] SurfaceLines planeCut(osg::Node& root, const osg::Vec3d& start, const osg::Vec3d& end, TileKeeper& tiles);

} // namespace mvgeo::bench
