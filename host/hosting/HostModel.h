#pragma once

#include "common/Mutex.h"
#include "hosting/HostTileStore.h"
#include "view/ViewCamera.h"

#include <mvgeothirdparty/GeoMeshStatistics.h>
#include <mvgeothirdparty/ModelType.h>
#include <mvgeothirdparty/MvGeoMesh.h>

#include <osg/BoundingBox>
#include <osg/Vec3d>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace mvgeo::host
{
/** Drives one streamed model the way a CAD host does: once a frame, and again when loaded tiles wait.
 *
 * Order of use: the constructor, addFile() for each root file, then updateOnce() or converge() a frame. The tiles that
 * came lie in tiles(). Thread: one; only the wake-up comes from the model's loading thread.
 */
class HostModel
{
public:
    using Factory = std::function<MvGeoMesh*(std::function<bool()>)>;
    using StatisticsReader = std::function<bool(const MvGeoMesh*, GeoMeshStatistics*)>;
    using Clock = std::chrono::steady_clock;
    using ProgressCallback = std::function<void(const GeoMeshStatistics&)>;

    /** What the host takes over of the tiles that the library loads. */
    enum class AcceptedTiles
    {
        textured,
        untextured,
        none ///< they are loaded all the same, which fills the library's caches
    };

    /** The library's model of this type; throws HostError if there is none. */
    explicit HostModel(ModelType type = kTiledModel);
    /** For tests: a model from elsewhere, with its statistics. */
    HostModel(const Factory& factory, StatisticsReader statistics);
    ~HostModel();
    HostModel(const HostModel&) = delete;
    HostModel& operator=(const HostModel&) = delete;

    /** False if the file cannot be read as a model. */
    [[nodiscard]] bool addFile(const std::string& path);
    /** Before the first update. */
    void setAcceptedTiles(AcceptedTiles accepted) { _accepted = accepted; }
    /** Draws nothing of tiles that lies below this height. Before the first update. */
    void leaveOutBelow(float height) { _tiles.leaveOutBelow(height); }
    [[nodiscard]] ModelType type() const { return _type; }
    void setGenerateNormals(bool on) { _model->setGenerateNormals(on); }
    [[nodiscard]] osg::BoundingBoxd extents() const;

    /** One frame. Throws HostError if the library refuses it. */
    void updateOnce(const ViewFrame& frame);

    /** Updates until another update with the same view would change nothing. False if `deadline` came first.
     * @param progress  may be empty; called at most about ten times a second; what it throws comes out here */
    [[nodiscard]] bool converge(const ViewFrame& frame, Clock::time_point deadline, const ProgressCallback& progress);

    [[nodiscard]] GeoMeshStatistics statistics() const;
    [[nodiscard]] const HostTileStore& tiles() const { return _tiles; }
    /** Updates so far. */
    [[nodiscard]] unsigned int frameCount() const { return _frameNumber; }

    /** In the view of the last update; empty if nothing is hit. */
    [[nodiscard]] std::optional<osg::Vec3d> pickPoint(const osg::Vec3d& point);
    [[nodiscard]] std::vector<osg::Vec3d> pickTriangle(const osg::Vec3d& point);

    /** What lies below and above a line, of the finest tiles; needs no update before. Throws HostError if the library
     * refuses. */
    [[nodiscard]] std::vector<std::vector<osg::Vec3d>> drape(const std::vector<osg::Vec3d>& line);

    /** What to keep of the surface, beside the boundary. */
    struct Clipping
    {
        bool outside = false;
        std::optional<unsigned int> rootFile; ///< by its place among those that were added; empty: all
        std::optional<std::pair<double, double>> heights;
        bool finest = false; ///< else the tiles that are loaded
    };
    /** Three points a triangle. Throws HostError if the library refuses. */
    [[nodiscard]] std::vector<osg::Vec3d> clip(const std::vector<osg::Vec3d>& boundary, const Clipping& how);

private:
    HostModel(ModelType type, const Factory& factory, StatisticsReader statistics);

    void reportProgress(const ProgressCallback& progress, const GeoMeshStatistics& statistics);

    /** Waits until loaded tiles can be merged or nothing is under way. False if `deadline` came first. */
    bool waitForTiles(Clock::time_point deadline, const ProgressCallback& progress, GeoMeshStatistics& statistics);

    Mutex _wakeLock;
    std::condition_variable_any _wake;
    bool _tilesArrived MVGEO_GUARDED_BY(_wakeLock) = false;

    ModelType _type;
    AcceptedTiles _accepted = AcceptedTiles::textured;
    HostTileStore _tiles;
    StatisticsReader _readStatistics;
    unsigned int _frameNumber = 0;
    Clock::time_point _lastProgress{};
    std::unique_ptr<MvGeoMesh> _model; // last, so that it goes first: its loading thread wakes us until it is gone
};
} // namespace mvgeo::host
