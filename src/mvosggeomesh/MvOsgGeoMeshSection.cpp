#include "mvdrapelines/DatabaseCacheReadCallback.h"
#include "mvdrapelines/IntersectionVisitor.h"
#include "mvdrapelines/PieceJoining.h"
#include "mvdrapelines/SurfaceCutter.h"
#include "mvosggeomesh/GuardedQuery.h"
#include "mvosggeomesh/MvOsgGeoMesh.h"
#include "support/HostConversions.h"

#include <algorithm>
#include <functional>
#include <iterator>

namespace
{

using Piece = std::vector<KdGePoint3d>;
using Found = osgUtil::PlaneIntersector::Intersection;

constexpr std::uint32_t kMaxTilesHeld = 2000;
constexpr double kCoincident = 1e-6; // two points nearer than this are no line

Piece pieceOf(const Found& found)
{
    const osg::Matrixd toModel = found.matrix ? osg::Matrixd(*found.matrix) : osg::Matrixd();
    Piece piece;
    piece.reserve(found.polyline.size());
    for (const osg::Vec3d& point : found.polyline)
        piece.push_back(mvgeo::toHost(point * toModel));
    return piece;
}

bool isLine(const Piece& piece)
{
    return piece.size() != 2 || piece[0].distanceTo(piece[1]) >= kCoincident;
}

} // namespace

bool MvOsgGeoMesh::section(const KdGeMatrix3d* placement, const std::vector<KdGePoint3d>* polyline,
                           std::vector<std::vector<KdGePoint3d>>* drapedLines)
{
    const auto placed = mvgeo::Placement::make(placement);
    if (!placed || !polyline || !drapedLines) return false;
    return mvgeo::guardedQuery(
        [&]
        {
            std::vector<osg::Vec3d> points;
            for (const KdGePoint3d& point : *polyline)
                points.push_back(placed->toModel(mvgeo::toOsg(point)));
            std::vector<Piece> pieces = cutAlong(points);
            joinDrapedPieces(pieces);
            pieces.erase(std::remove_if(pieces.begin(), pieces.end(), std::not_fn(isLine)), pieces.end());
            for (Piece& piece : pieces)
                for (KdGePoint3d& point : piece)
                    point = placed->toHost(mvgeo::toOsg(point));
            drapedLines->insert(drapedLines->end(), std::make_move_iterator(pieces.begin()),
                                std::make_move_iterator(pieces.end()));
            return true;
        });
}

std::vector<std::vector<KdGePoint3d>> MvOsgGeoMesh::cutAlong(const std::vector<osg::Vec3d>& points)
{
    IntersectionVisitor visitor;
    visitor.setReadCallback(new DatabaseCacheReadCallback(kMaxTilesHeld));
    std::vector<Piece> pieces;
    for (std::size_t i = 1; i < points.size(); ++i)
    {
        const auto cutter = mvgeo::SurfaceCutter::between(points[i - 1], points[i], _hasSkirts);
        if (!cutter) continue;
        visitor.reset();
        visitor.setIntersector(cutter);
        _root->accept(visitor);
        for (const Found& found : cutter->getIntersections())
        {
            Piece piece = pieceOf(found);
            if (piece.size() > 1 && checkBoundary(piece)) pieces.push_back(std::move(piece));
        }
    }
    return pieces;
}

bool MvOsgGeoMesh::checkBoundary(std::vector<KdGePoint3d>&)
{
    return true;
}

void MvOsgGeoMesh::joinDrapedPieces(std::vector<std::vector<KdGePoint3d>>& pieces)
{
    mvgeo::joinPieces(pieces);
}
