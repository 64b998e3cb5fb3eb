#include "HostModel.h"

#include "HostError.h"
#include "MatrixConversion.h"

#include <mvgeothirdparty/ModelFactory.h>

namespace mvgeo::host
{
namespace
{
// A read that fails wakes nobody, so the statistics are looked at this often in any case.
constexpr std::chrono::milliseconds kLookInterval(2);
constexpr std::chrono::milliseconds kProgressInterval(100);

std::vector<KdGePoint3d> toHostPoints(const std::vector<osg::Vec3d>& points)
{
    std::vector<KdGePoint3d> result;
    result.reserve(points.size());
    for (const osg::Vec3d& point : points)
        result.push_back(toHostPoint(point));
    return result;
}

std::vector<osg::Vec3d> toScenePoints(const std::vector<KdGePoint3d>& points)
{
    std::vector<osg::Vec3d> result;
    result.reserve(points.size());
    for (const KdGePoint3d& point : points)
        result.push_back(toScenePoint(point));
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
    return toSceneBox(_model->extents());
}

void HostModel::updateOnce(const ViewFrame& frame)
{
    const KdGeMatrix3d& placement = KdGeMatrix3d::kIdentity; // the model's own transform() says it all
    const KdGeMatrix3d view = toHostMatrix(frame.view);
    const KdGeMatrix3d projection = toHostMatrix(frame.projection);
    const bool takes = _taking != Taking::Nothing;
    const unsigned char textures =
        _taking == Taking::Textured ? MvGeoMesh::kExtractTextures : MvGeoMesh::kExtractGeometry;
    NoTiles none;
    GeoMeshUpdateReceiver* receiver = &none;
    if (takes) receiver = &_tiles;
    if (takes) _tiles.beginUpdate();
    if (!_model->update(_frameNumber++, &placement, &view, &projection, frame.width, frame.height, textures, nullptr,
                        receiver))
        throw HostError("The library refused to update the model.");
    if (takes) _tiles.endUpdate();
}

bool HostModel::converge(const ViewFrame& frame, Clock::time_point deadline, const ProgressCallback& progress)
{
    for (;;)
    {
        updateOnce(frame);
        GeoMeshStatistics now{};
        if (!waitForTiles(deadline, progress, now)) return false;
        tellProgress(progress, now);
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
        tellProgress(progress, statistics);
        const Lock lock(_wakeLock);
        if (!_tilesArrived) _wake.wait_for(_wakeLock, kLookInterval);
    }
}

void HostModel::tellProgress(const ProgressCallback& progress, const GeoMeshStatistics& statistics)
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
    return toScenePoint(hit);
}

std::vector<osg::Vec3d> HostModel::pickTriangle(const osg::Vec3d& point)
{
    const KdGePoint3d through = toHostPoint(point);
    std::vector<KdGePoint3d> corners;
    if (!_model->pickTriangle(&KdGeMatrix3d::kIdentity, &through, &corners)) return {};
    return toScenePoints(corners);
}

std::vector<std::vector<osg::Vec3d>> HostModel::drape(const std::vector<osg::Vec3d>& line)
{
    const std::vector<KdGePoint3d> polyline = toHostPoints(line);
    std::vector<std::vector<KdGePoint3d>> draped;
    if (!_model->section(&KdGeMatrix3d::kIdentity, &polyline, &draped))
        throw HostError("The library refused to drape the line; its log, which --log-dir asks for, tells why.");
    std::vector<std::vector<osg::Vec3d>> pieces;
    pieces.reserve(draped.size());
    for (const std::vector<KdGePoint3d>& piece : draped)
        pieces.push_back(toScenePoints(piece));
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
    return toScenePoints(triangles);
}

std::vector<std::string> addRootFiles(HostModel& model, const ModelInput& input)
{
    std::vector<std::string> unreadable;
    for (const std::string& file : input.rootFiles)
        if (!model.addFile(file)) unreadable.push_back(file);
    if (unreadable.size() < input.rootFiles.size()) return unreadable;
    if (unreadable.size() == 1) throw HostError("Cannot read the tile '" + unreadable.front() + "'.");
    throw HostError("Cannot read any of the " + std::to_string(unreadable.size()) + " root tiles of '" + input.given +
                    "'.");
}
} // namespace mvgeo::host
