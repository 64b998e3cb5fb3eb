#include "mvdrapelines/DatabaseCacheReadCallback.h"
#include "mvdrapelines/IntersectionVisitor.h"
#include "mvdrapelines/PieceJoining.h"
#include "mvdrapelines/SurfaceCutter.h"
#include "mvosggeomesh/GuardedQuery.h"
#include "mvosggeomesh/MvOsgGeoMesh.h"
#include "support/HostConversions.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <iterator>

namespace
{

using Piece = std::vector<KdGePoint3d>;
using Found = osgUtil::PlaneIntersector::Intersection;

constexpr std::uint32_t kMostTilesHeld = 2000;
constexpr double kCoincident = 1e-6; // two points nearer than this are no line

std::vector<osg::Vec3d> transformed(const Piece& points, const osg::Matrixd& matrix)
{
    std::vector<osg::Vec3d> result;
    result.reserve(points.size());
    for (const KdGePoint3d& point : points)
        result.push_back(mvgeo::toOsg(point) * matrix);
    return result;
}

/** The cut between two points, upright; null if they lie above each other or are no numbers. */
osg::ref_ptr<mvgeo::SurfaceCutter> cutterBetween(const osg::Vec3d& start, const osg::Vec3d& end, bool leavesOutSkirts)
{
    osg::Vec3d normal(end.y() - start.y(), start.x() - end.x(), 0.0);
    const double length = normal.normalize();
    if (!(length > 0.0) || !std::isfinite(length)) return nullptr;
    const osg::Vec3d along(-normal.y(), normal.x(), 0.0);
    osg::Polytope ends;
    ends.add(osg::Plane(along, start));
    ends.add(osg::Plane(-along, end));
    osg::ref_ptr<mvgeo::SurfaceCutter> cutter =
        new mvgeo::SurfaceCutter(osg::Plane(normal, start), ends, leavesOutSkirts);
    cutter->setIntersectionLimit(osgUtil::Intersector::LIMIT_NEAREST);
    return cutter;
}

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
    return piece.size() != 2 || (mvgeo::toOsg(piece[1]) - mvgeo::toOsg(piece[0])).length() >= kCoincident;
}

} // namespace

bool MvOsgGeoMesh::section(const KdGeMatrix3d* placement, const std::vector<KdGePoint3d>* polyline,
                           std::vector<std::vector<KdGePoint3d>>* drapedLines)
{
    if (!placement || !polyline || !drapedLines || placement->isSingular()) return false;
    return mvgeo::guarded(
        [&]
        {
            const osg::Matrixd toHostFrame = mvgeo::toOsg(*placement);
            std::vector<Piece> pieces = cutAlong(transformed(*polyline, osg::Matrixd::inverse(toHostFrame)));
            joinDrapedPieces(pieces);
            pieces.erase(std::remove_if(pieces.begin(), pieces.end(), std::not_fn(isLine)), pieces.end());
            for (Piece& piece : pieces)
                for (KdGePoint3d& point : piece)
                    point = mvgeo::toHost(mvgeo::toOsg(point) * toHostFrame);
            drapedLines->insert(drapedLines->end(), std::make_move_iterator(pieces.begin()),
                                std::make_move_iterator(pieces.end()));
            return true;
        });
}

std::vector<std::vector<KdGePoint3d>> MvOsgGeoMesh::cutAlong(const std::vector<osg::Vec3d>& points)
{
    IntersectionVisitor visitor;
    visitor.setReadCallback(new DatabaseCacheReadCallback(kMostTilesHeld));
    std::vector<Piece> pieces;
    for (std::size_t i = 1; i < points.size(); ++i)
    {
        const osg::ref_ptr<mvgeo::SurfaceCutter> cutter = cutterBetween(points[i - 1], points[i], _hasSkirts);
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
