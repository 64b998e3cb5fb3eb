#include "OsgSection.h"

#include <osg/NodeVisitor>
#include <osg/PagedLOD>
#include <osgDB/ReadFile>
#include <osgSim/ElevationSlice>
#include <osgUtil/PlaneIntersector>

#include <functional>
#include <utility>

namespace mvgeo::bench
{

namespace
{

class PagedNodes : public osg::NodeVisitor
{
public:
    explicit PagedNodes(std::function<void(osg::PagedLOD&)> visit)
        : osg::NodeVisitor(TRAVERSE_ALL_CHILDREN), _visit(std::move(visit))
    {
    }
    void apply(osg::PagedLOD& node) override
    {
        _visit(node);
        traverse(node);
    }

private:
    std::function<void(osg::PagedLOD&)> _visit;
};

} // namespace

TileKeeper::TileKeeper(osg::Node& root)
{
    noteOptions(root);
}

osg::ref_ptr<osg::Node> TileKeeper::readNodeFile(const std::string& name)
{
    osg::ref_ptr<osg::Node>& kept = _filenameSceneMap[name];
    if (kept) return kept;
    const auto options = _options.find(name);
    kept = osgDB::readRefNodeFile(name, options == _options.end() ? nullptr : options->second.get());
    if (!kept) return nullptr;
    ++_readCount;
    noteOptions(*kept);
    return kept;
}

void TileKeeper::noteOptions(osg::Node& tile)
{
    PagedNodes visitor(
        [this](osg::PagedLOD& node)
        {
            const auto* options = dynamic_cast<const osgDB::Options*>(node.getDatabaseOptions());
            for (unsigned int i = 0; i < node.getNumFileNames(); ++i)
                if (!node.getFileName(i).empty()) _options[node.getDatabasePath() + node.getFileName(i)] = options;
        });
    tile.accept(visitor);
}

SurfaceLines elevationSlice(osg::Node& root, const osg::Vec3d& start, const osg::Vec3d& end, TileKeeper& tiles)
{
    osgSim::ElevationSlice slice;
    slice.setDatabaseCacheReadCallback(&tiles);
    slice.setStartPoint(start);
    slice.setEndPoint(end);
    slice.computeIntersections(&root);
    return {slice.getIntersections()};
}

SurfaceLines planeCut(osg::Node& root, const osg::Vec3d& start, const osg::Vec3d& end, TileKeeper& tiles)
{
    osg::Vec3d normal(end.y() - start.y(), start.x() - end.x(), 0.0);
    normal.normalize();
    const osg::Vec3d along(-normal.y(), normal.x(), 0.0);
    osg::Polytope ends;
    ends.add(osg::Plane(along, start));
    ends.add(osg::Plane(-along, end));
    const osg::ref_ptr<osgUtil::PlaneIntersector> cutter =
        new osgUtil::PlaneIntersector(osg::Plane(normal, start), ends);
    osgUtil::IntersectionVisitor visitor(cutter, &tiles);
    root.accept(visitor);

    SurfaceLines lines;
    for (const auto& found : cutter->getIntersections())
    {
        lines.push_back(found.polyline);
        if (!found.matrix) continue;
        for (osg::Vec3d& point : lines.back())
            point = point * *found.matrix;
    }
    return lines;
}

} // namespace mvgeo::bench
