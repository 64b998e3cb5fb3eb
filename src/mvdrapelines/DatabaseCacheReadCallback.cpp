#include "mvdrapelines/DatabaseCacheReadCallback.h"

#include "support/LogLine.h"

#include <osg/NodeVisitor>
#include <osgDB/ReadFile>

#include <algorithm>
#include <exception>

namespace
{

/** A damaged tile can make OSG throw; whoever measures goes on without it. */
osg::ref_ptr<osg::Node> readGuarded(const std::string& fileName, const osgDB::Options* options)
{
    try
    {
        return osgDB::readRefNodeFile(fileName, options);
    }
    catch (const std::exception& error)
    {
        MVGEO_LOG(WARN) << "cannot read " << fileName << ": " << error.what();
    }
    catch (...)
    {
        MVGEO_LOG(WARN) << "cannot read " << fileName << ": unknown exception";
    }
    return nullptr;
}

/** Drops what is for drawing only: the decoded textures of two thousand tiles take gigabytes. */
class GeometryOnly : public osg::NodeVisitor
{
public:
    GeometryOnly() : osg::NodeVisitor(TRAVERSE_ALL_CHILDREN) {}

    void apply(osg::Node& node) override
    {
        node.setStateSet(nullptr);
        traverse(node);
    }
};

} // namespace

DatabaseCacheReadCallback::DatabaseCacheReadCallback(std::uint32_t maximumFiles) : _maximumFiles(maximumFiles) {}

DatabaseCacheReadCallback::~DatabaseCacheReadCallback() = default;

osg::ref_ptr<osg::Node> DatabaseCacheReadCallback::readNodeFile(const std::string& fileName)
{
    return readNodeFile(fileName, nullptr);
}

osg::ref_ptr<osg::Node> DatabaseCacheReadCallback::readNodeFile(const std::string& fileName,
                                                                const osgDB::Options* options)
{
    if (osg::ref_ptr<osg::Node> stored = find(fileName)) return stored;
    const osg::ref_ptr<osg::Node> node = readGuarded(fileName, options);
    if (!node) return nullptr;
    if (node->referenceCount() == 1) // OSG's own cache may hold it for others
    {
        GeometryOnly geometryOnly;
        node->accept(geometryOnly);
    }
    store(fileName, node);
    return node;
}

osg::ref_ptr<osg::Node> DatabaseCacheReadCallback::find(const std::string& fileName)
{
    const mvgeo::Lock lock(_lock);
    const auto found = _nodes.find(fileName);
    if (found == _nodes.end()) return nullptr;
    MVGEO_LOG(INFO) << "Getting from cache " << fileName;
    return found->second;
}

void DatabaseCacheReadCallback::store(const std::string& fileName, const osg::ref_ptr<osg::Node>& node)
{
    const mvgeo::Lock lock(_lock);
    if (_nodes.size() < _maximumFiles)
        MVGEO_LOG(INFO) << "Inserting into cache " << fileName;
    else
    {
        eraseFirstUnheld();
        MVGEO_LOG(INFO) << "And the replacing with " << fileName;
    }
    _nodes[fileName] = node;
}

void DatabaseCacheReadCallback::eraseFirstUnheld()
{
    const auto isUnheld = [](const auto& entry) { return entry.second->referenceCount() == 1; };
    const auto victim = std::find_if(_nodes.begin(), _nodes.end(), isUnheld);
    if (victim == _nodes.end()) return;
    MVGEO_LOG(INFO) << "Erasing " << victim->first;
    _nodes.erase(victim);
}
