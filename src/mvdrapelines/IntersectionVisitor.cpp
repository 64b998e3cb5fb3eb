#include "mvdrapelines/IntersectionVisitor.h"

#include "mvdrapelines/DatabaseCacheReadCallback.h"
#include "support/TerrainTileFacts.h"
#include "support/UserValues.h"

#include <osgDB/Options>

#include <algorithm>

namespace
{

/** The range minimum that the finest level has. */
float finestMinimum(const osg::LOD& node)
{
    constexpr float kFarthest = 1e6F;
    const bool byDistance = node.getRangeMode() == osg::LOD::DISTANCE_FROM_EYE_POINT;
    float finest = byDistance ? kFarthest : 0.0F;
    for (const auto& [minimum, maximum] : node.getRangeList())
        finest = byDistance ? std::min(finest, minimum) : std::max(finest, minimum);
    return finest;
}

/** A copy of options has its own list of user values, but shares what the list holds: a value that is there must be
 * exchanged, not written to. */
void setOwnValue(osgDB::Options& copy, const std::string& key, bool value)
{
    osg::UserDataContainer& values = *copy.getOrCreateUserDataContainer();
    const osg::ref_ptr<osg::Object> object = new osg::BoolValueObject(key, value);
    const unsigned int index = values.getUserObjectIndex(key);
    if (index < values.getNumUserObjects())
        values.setUserObject(index, object);
    else
        values.addUserObject(object);
}

/** What a tile below this node is read with; null if the node has no read options. */
osg::ref_ptr<osgDB::Options> measuringOptions(const osg::PagedLOD& node)
{
    const auto* shared = dynamic_cast<const osgDB::Options*>(node.getDatabaseOptions());
    if (!shared) return nullptr;
    osg::ref_ptr<osgDB::Options> own =
        static_cast<osgDB::Options*>(shared->clone(osg::CopyOp(osg::CopyOp::DEEP_COPY_USERDATA)));
    setOwnValue(*own, mvgeo::keys::isCaching, false);
    setOwnValue(*own, mvgeo::keys::geometryOnly, true);
    return own;
}

} // namespace

void IntersectionVisitor::apply(osg::PagedLOD& node)
{
    if (!enter(node)) return;
    if (node.getNumChildren() > 0 && node.getChild(0) && mvgeo::isDenserThanDem(node))
    {
        node.getChild(0)->accept(*this);
        return; // without leave(): an intersector that counts sees these nodes so
    }
    if (node.getNumFileNames() > 0) cutFinestLevel(node);
    leave();
}

void IntersectionVisitor::cutFinestLevel(osg::PagedLOD& node)
{
    const osg::LOD::RangeList ranges = node.getRangeList();
    const float finest = finestMinimum(node);
    for (unsigned int i = 0; i < ranges.size(); ++i)
    {
        if (ranges[i].first != finest) continue;
        osg::ref_ptr<osg::Node> child = i < node.getNumChildren() ? node.getChild(i) : nullptr;
        if (!child) child = readChild(node, i);
        if (!child && node.getNumChildren() > 0) child = node.getChild(node.getNumChildren() - 1);
        if (child) child->accept(*this);
    }
}

osg::ref_ptr<osg::Node> IntersectionVisitor::readChild(osg::PagedLOD& node, unsigned int index)
{
    osgUtil::IntersectionVisitor::ReadCallback* callback = getReadCallback();
    if (!callback) return nullptr;
    const std::string& name = node.getFileName(std::min(index, node.getNumFileNames() - 1));
    if (name.empty()) return nullptr;
    const std::string path = node.getDatabasePath() + name;

    auto* cache = dynamic_cast<DatabaseCacheReadCallback*>(callback);
    if (!cache) return callback->readNodeFile(path);
    if (osg::ref_ptr<osg::Node> stored = cache->find(path)) return stored;
    return cache->readNodeFile(path, measuringOptions(node));
}
