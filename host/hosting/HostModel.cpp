#include "hosting/HostModel.h"

#include "common/HostError.h"
#include "hosting/MatrixConversion.h"

#include <mvgeothirdparty/ModelFactory.h>

#include <algorithm>

namespace mvgeo::host
{
namespace
{
// A read that fails wakes nobody, so the statistics are looked at this often in any case.
constexpr std::chrono::milliseconds kLookInterval(2);
constexpr std::chrono::milliseconds kProgressInterval(100);

std::vector<KdGePoint3d> toHostPoints(const std::vector<osg::Vec3d>& points)
{
    std::vector<KdGePoint3d> result(points.size());
    std::transform(points.begin(), points.end(), result.begin(), toHostPoint);
    return result;
}

std::vector<osg::Vec3d> toOsgPoints(const std::vector<KdGePoint3d>& points)
{
    std::vector<osg::Vec3d> result(points.size());
    std::transform(points.begin(), points.end(), result.begin(), toOsgPoint);
    return result;
}

/** Has tiles already, wants none, and draws none. */
class NoTiles : public GeoMeshUpdateReceiver
{
public:
    bool hasTiles() override { return true; }
    GeoMeshTileContainer* beginTile(const std::string&) override { return nullptr; }
    void removeTiles(const std::vector<std::string>&) override {}
    void visibleTiles(const std::vector<std::string>&) override {}
};
} // namespace

HostModel::HostModel(ModelType type)
    : HostModel(
          type, [type](std::function<bool()> wake) { return createTiledModel(std::move(wake), type); },
          getGeoMeshStatistics)
{
}

HostModel::HostModel(const Factory& factory, StatisticsReader statistics)
    : HostModel(kTiledModel, factory, std::move(statistics))
{
}

HostModel::HostModel(ModelType type, const Factory& factory, StatisticsReader statistics)
    : _type(type), _readStatistics(std::move(statistics))
{
    _model.reset(factory(
        [this]
        {
            {
                const Lock lock(_wakeLock);
                _tilesArrived = true;
            }
            _wake.notify_one();
            return true;
        }));
    if (!_model)
        throw HostError(std::string("The library made no ") + (type == kTerrainModel ? "terrain." : "tiled model."));
}

HostModel::~HostModel() = default;

bool HostModel::addFile(const std::string& path)
{
    return _model->addModel(KdString(path.c_str())) >= 0;
}

osg::BoundingBoxd HostModel::extents() const
{
    return toOsgBox(_model->extents());
}

void HostModel::updateOnce(const ViewFrame& frame)
{
    const KdGeMatrix3d& placement = KdGeMatrix3d::kIdentity; // the model's own transform() says it all
    const KdGeMatrix3d view = toHostMatrix(frame.view);
    const KdGeMatrix3d projection = toHostMatrix(frame.projection);
    const bool takesTiles = _accepted != AcceptedTiles::none;
    const unsigned char textures =
        _accepted == AcceptedTiles::textured ? MvGeoMesh::kExtractTextures : MvGeoMesh::kExtractGeometry;
    NoTiles none;
    GeoMeshUpdateReceiver* receiver = takesTiles ? static_cast<GeoMeshUpdateReceiver*>(&_tiles) : &none;
    if (takesTiles) _tiles.beginUpdate();
    if (!_model->update(_frameNumber++, &placement, &view, &projection, frame.width, frame.height, textures, nullptr,
                        receiver))
        throw HostError("The library refused to update the model.");
    if (takesTiles) _tiles.endUpdate();
}

bool HostModel::converge(const ViewFrame& frame, Clock::time_point deadline, const ProgressCallback& progress)
{
    for (;;)
    {
        updateOnce(frame);
        GeoMeshStatistics now{};
        if (!waitForTiles(deadline, progress, now)) return false;
        reportProgress(progress, now);
        // Nothing came of this update's requests: the next update would ask for the same and show the same.
        if (now.idle != 0 && now.mergesWaiting == 0) return true;
        if (Clock::now() >= deadline) return false;
    }
}

bool HostModel::waitForTiles(Clock::time_point deadline, const ProgressCallback& progress,
                             GeoMeshStatistics& statistics)
{
    for (;;)
    {
        {
            const Lock lock(_wakeLock);
            _tilesArrived = false; // before the look: whatever arrives after it ends the wait below
        }
        statistics = this->statistics();
        if (statistics.idle != 0 || statistics.mergesWaiting > 0) return true;
        if (Clock::now() >= deadline) return false;
        reportProgress(progress, statistics);
        const Lock lock(_wakeLock);
        if (!_tilesArrived) _wake.wait_for(_wakeLock, kLookInterval);
    }
}

void HostModel::reportProgress(const ProgressCallback& progress, const GeoMeshStatistics& statistics)
{
    const Clock::time_point now = Clock::now();
    if (!progress || now - _lastProgress < kProgressInterval) return;
    _lastProgress = now;
    progress(statistics);
}

GeoMeshStatistics HostModel::statistics() const
{
    GeoMeshStatistics statistics{};
    statistics.version = kGeoMeshStatisticsVersion;
    if (!_readStatistics(_model.get(), &statistics)) throw HostError("The library does not tell its statistics.");
    return statistics;
}

std::optional<osg::Vec3d> HostModel::pickPoint(const osg::Vec3d& point)
{
    const KdGePoint3d through = toHostPoint(point);
    KdGePoint3d hit;
    if (!_model->pickPoint(&KdGeMatrix3d::kIdentity, &through, &hit)) return std::nullopt;
    return toOsgPoint(hit);
}

std::vector<osg::Vec3d> HostModel::pickTriangle(const osg::Vec3d& point)
{
    const KdGePoint3d through = toHostPoint(point);
    std::vector<KdGePoint3d> corners;
    if (!_model->pickTriangle(&KdGeMatrix3d::kIdentity, &through, &corners)) return {};
    return toOsgPoints(corners);
}

std::vector<std::vector<osg::Vec3d>> HostModel::drape(const std::vector<osg::Vec3d>& line)
{
    const std::vector<KdGePoint3d> polyline = toHostPoints(line);
    std::vector<std::vector<KdGePoint3d>> draped;
    if (!_model->section(&KdGeMatrix3d::kIdentity, &polyline, &draped))
        throw HostError("The library refused to drape the line; its log, which --log-dir asks for, tells why.");
    std::vector<std::vector<osg::Vec3d>> pieces(draped.size());
    std::transform(draped.begin(), draped.end(), pieces.begin(), toOsgPoints);
    return pieces;
}

std::vector<osg::Vec3d> HostModel::clip(const std::vector<osg::Vec3d>& boundary, const Clipping& how)
{
    const std::vector<KdGePoint3d> ring = toHostPoints(boundary);
    const double heights[2] = {how.heights ? how.heights->first : 0.0, how.heights ? how.heights->second : 0.0};
    std::vector<KdGePoint3d> triangles;
    if (!_model->clip(how.outside ? MvGeoMesh::kClipOutside : MvGeoMesh::kClipInside,
                      how.rootFile.value_or(MvGeoMesh::kAllModelFiles), &KdGeMatrix3d::kIdentity, &ring,
                      how.heights ? heights : nullptr, how.finest ? MvGeoMesh::kFinestTiles : 0, &triangles))
        throw HostError("The library refused to clip the model: the boundary may enclose no area. Its log, which "
                        "--log-dir asks for, tells why.");
    return toOsgPoints(triangles);
}
} // namespace mvgeo::host
