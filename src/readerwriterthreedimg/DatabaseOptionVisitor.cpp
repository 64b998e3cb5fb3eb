#include "readerwriterthreedimg/DatabaseOptionVisitor.h"

#include "readerwriterthreedimg/TerrainPyramid.h"
#include "readerwriterthreedimg/TerrainTileInfo.h"

#include <osg/PagedLOD>

namespace THREEDIMG
{

DatabaseOptionVisitor::DatabaseOptionVisitor() : osg::NodeVisitor(TRAVERSE_ALL_CHILDREN) {}

void DatabaseOptionVisitor::apply(osg::PagedLOD& node)
{
    node.setDatabasePath("");
    TerrainTileInfo info;
    mvgeo::readTileInfo(node, info);
    mvgeo::setTileOptions(node, info);
    mvgeo::handOverGeometry(node, info);
    traverse(node);
}

} // namespace THREEDIMG
