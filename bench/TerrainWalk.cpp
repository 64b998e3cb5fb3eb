#include "TerrainWalk.h"

#include "RatioTimer.h"

#include "mvgdaldatasetmanager/MvGdalDataSetManager.h"
#include "readerwriterthreedimg/TerrainTileInfo.h"
#include "support/UserValues.h"

#include <osg/NodeVisitor>
#include <osg/PagedLOD>
#include <osgDB/FileNameUtils>
#include <osgDB/ReadFile>

#include <cstdlib>
#include <numeric>
#include <stdexcept>

namespace mvgeo::bench
{

namespace
{

struct Request
{
    std::string name;
    osg::ref_ptr<osgDB::Options> options;
};

/** Collects what the paged nodes of a tile's file ask for, in their order. */
class RequestCollector : public osg::NodeVisitor
{
public:
    RequestCollector() : osg::NodeVisitor(TRAVERSE_ALL_CHILDREN) {}

    void apply(osg::PagedLOD& node) override
    {
        requests.push_back({node.getFileName(1), dynamic_cast<osgDB::Options*>(node.getDatabaseOptions())});
    }

    std::vector<Request> requests;
};

Request rootRequest(const osg::ref_ptr<osgDB::Options>& options)
{
    const std::string* directory = userValue<std::string>(*options, keys::cachePathDir);
    return {directory ? *directory + "/terrain.osgb.3dimg" : "terrain.osgb.3dimg", options};
}

osg::ref_ptr<osg::Node> read(const Request& request)
{
    osg::ref_ptr<osg::Node> node = osgDB::readRefNodeFile(request.name, request.options);
    if (!node) throw std::runtime_error("cannot read " + request.name);
    return node;
}

std::vector<Request> requestsIn(osg::Node& node)
{
    RequestCollector collector;
    node.accept(collector);
    return collector.requests;
}

void walk(const Request& request, int depth, int deepest, DepthSeconds& seconds)
{
    double& sum = seconds[static_cast<std::size_t>(depth)];
    osg::ref_ptr<osg::Node> node;
    std::vector<Request> children;
    sum += RatioTimer::secondsOfCpu(
        [&]
        {
            node = read(request);
            children = requestsIn(*node);
        });
    if (depth < deepest)
        for (const Request& child : children)
            walk(child, depth + 1, deepest, seconds);
    sum += RatioTimer::secondsOfCpu(
        [&]
        {
            children.clear();
            node = nullptr;
        });
}

} // namespace

double sumOf(const DepthSeconds& seconds, int first, int last)
{
    return std::accumulate(seconds.begin() + first, seconds.begin() + last + 1, 0.0);
}

osg::ref_ptr<osgDB::Options> rootOptions(const TerrainFiles& files, const std::string& cacheDirectory)
{
    osg::ref_ptr<osgDB::Options> options = new osgDB::Options;
    options->setUserValue(keys::domPath, files.dom);
    options->setUserValue(keys::demPath, files.dem);
    if (!cacheDirectory.empty()) options->setUserValue(keys::cachePathDir, cacheDirectory);
    return options;
}

DepthSeconds walkTerrain(const osg::ref_ptr<osgDB::Options>& options, int deepest)
{
    DepthSeconds seconds{};
    walk(rootRequest(options), 0, deepest, seconds);
    return seconds;
}

std::vector<osg::ref_ptr<osg::Node>> terrainBranch(const TerrainFiles& files, unsigned int quadrant, int deepest)
{
    std::vector<osg::ref_ptr<osg::Node>> nodes = {read(rootRequest(rootOptions(files, "")))};
    for (int depth = 1; depth <= deepest; ++depth)
    {
        const std::vector<Request> requests = requestsIn(*nodes.back());
        nodes.push_back(read(requests.at(depth == 1 ? 0 : quadrant)));
    }
    return nodes;
}

void closeTerrains()
{
    MvGdalDataSetManager::instance()->purgeUnused();
}

} // namespace mvgeo::bench
