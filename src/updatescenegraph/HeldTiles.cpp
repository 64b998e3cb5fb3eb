#include "updatescenegraph/HeldTiles.h"

#include "support/VisitorGeometry.h"

#include <vector>

namespace mvgeo
{

namespace
{

std::uint64_t arrayBytes(osg::Node& tile)
{
    VisitorGeometry collector;
    tile.accept(collector);

    std::uint64_t bytes = 0;
    for (const osg::ref_ptr<osg::Geometry>& geometry : collector.geometries())
    {
        osg::Geometry::ArrayList arrays;
        geometry->getArrayList(arrays);
        for (const osg::ref_ptr<osg::Array>& array : arrays)
            bytes += array->getTotalDataSize();
        for (const osg::ref_ptr<osg::PrimitiveSet>& set : geometry->getPrimitiveSetList())
            bytes += set->getTotalDataSize();
    }
    return bytes;
}

/** Collects every node, drawables too: a file may hold nothing but a geometry, which then is the tile's root. */
class NodeLister : public osg::NodeVisitor
{
public:
    NodeLister() : osg::NodeVisitor(TRAVERSE_ALL_CHILDREN) {}
    using osg::NodeVisitor::apply;
    void apply(osg::Node& node) override
    {
        nodes.push_back(&node);
        traverse(node);
    }

    std::vector<const osg::Node*> nodes;
};

} // namespace

void HeldTiles::add(osg::Node& tile)
{
    const std::uint64_t bytes = arrayBytes(tile);
    if (_bytesOfTile.try_emplace(&tile, bytes).second) _bytes += bytes;
}

std::size_t HeldTiles::removeBelow(osg::Node& subgraph)
{
    NodeLister lister;
    subgraph.accept(lister);

    std::size_t removed = 0;
    for (const osg::Node* node : lister.nodes)
    {
        const auto found = _bytesOfTile.find(node);
        if (found == _bytesOfTile.end()) continue;
        _bytes -= found->second;
        _bytesOfTile.erase(found);
        ++removed;
    }
    return removed;
}

void HeldTiles::clear()
{
    _bytesOfTile.clear();
    _bytes = 0;
}

} // namespace mvgeo
