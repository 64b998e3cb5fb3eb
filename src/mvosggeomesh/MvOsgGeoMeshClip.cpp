#include "mvclipregions/ClipIntersector.h"
#include "mvdrapelines/DatabaseCacheReadCallback.h"
#include "mvdrapelines/IntersectionVisitor.h"
#include "mvosggeomesh/GuardedQuery.h"
#include "mvosggeomesh/MvOsgGeoMesh.h"
#include "support/LogLine.h"
#include "support/UserValues.h"

#include <osgUtil/IntersectionVisitor>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace
{

constexpr std::uint32_t kCachedFiles = 1; // a clip comes by each tile once

/** Says in the log why there is no clip. */
bool refuse(const std::string& reason)
{
    MVGEO_LOG(WARN) << "cannot clip: " << reason;
    return false;
}

/** Either order. Nothing if a height is no number. */
std::optional<mvgeo::HeightRange> heightsFrom(const double* heightRange)
{
    if (!heightRange) return mvgeo::HeightRange{};
    if (std::isnan(heightRange[0]) || std::isnan(heightRange[1])) return std::nullopt;
    const auto [lowest, highest] = std::minmax(heightRange[0], heightRange[1]);
    return mvgeo::HeightRange{lowest, highest};
}

/** The model files under the root that have this id. */
std::vector<osg::Node*> modelFiles(osg::Group& root, unsigned int rootNodeId)
{
    std::vector<osg::Node*> files;
    for (unsigned int i = 0; i < root.getNumChildren(); ++i)
    {
        const auto* id = mvgeo::userValue<unsigned int>(*root.getChild(i), mvgeo::keys::rootNodeId);
        if (rootNodeId == MvGeoMesh::kAllModelFiles || (id && *id == rootNodeId)) files.push_back(root.getChild(i));
    }
    return files;
}

} // namespace

bool MvOsgGeoMesh::clip(int mode, unsigned int rootNodeId, const KdGeMatrix3d* placement,
                        const std::vector<KdGePoint3d>* boundary, const double* heightRange, int options,
                        std::vector<KdGePoint3d>* triangles)
{
    if (!placement || !boundary || !triangles) return refuse("an argument is missing");
    const std::size_t countBefore = triangles->size();
    const auto query = [&]
    {
        if (mode != kClipInside && mode != kClipOutside) return refuse("there is no mode " + std::to_string(mode));
        const auto placed = mvgeo::Placement::make(placement);
        if (!placed) return refuse("the placement has no inverse");
        const auto heights = heightsFrom(heightRange);
        if (!heights) return refuse("a height is no number");
        const std::vector<osg::Node*> files = modelFiles(*_root, rootNodeId);
        if (files.empty() && rootNodeId != kAllModelFiles)
            return refuse("there is no model file " + std::to_string(rootNodeId));
        std::string refusal;
        const auto region = mvgeo::ClipRegion::make(*boundary, refusal);
        if (!region) return refuse(refusal);

        const mvgeo::Side wanted = mode == kClipInside ? mvgeo::Side::inside : mvgeo::Side::outside;
        mvgeo::TriangleClip clip(*region, wanted, *heights, *triangles);
        const osg::ref_ptr<mvgeo::ClipIntersector> intersector =
            new mvgeo::ClipIntersector(clip, _root->getMatrix() * placed->modelToHost(), _hasSkirts);
        // OSG's visitor goes down to the finest tiles in memory, the library's own reads finer ones.
        osgUtil::IntersectionVisitor inMemory(intersector);
        IntersectionVisitor finest(intersector, new DatabaseCacheReadCallback(kCachedFiles));
        osgUtil::IntersectionVisitor& visitor = (options & kFinestTiles) != 0 ? finest : inMemory;
        for (osg::Node* file : files)
            file->accept(visitor);
        return true;
    };
    if (mvgeo::guardedQuery(query)) return true;
    triangles->resize(countBefore);
    return false;
}
