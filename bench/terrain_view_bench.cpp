#include "BenchModel.h"
#include "RatioTimer.h"
#include "SamplePyramidFolder.h"
#include "TerrainFiles.h"
#include "TerrainWalk.h"

#include "view/ViewCamera.h"

#include "mvgeothirdparty/GeoMeshStatistics.h"
#include "mvgeothirdparty/ModelFactory.h"
#include "support/HostConversions.h"

#include <benchmark/benchmark.h>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <stdexcept>

namespace
{

using namespace mvgeo::bench;

/** A host that shows one terrain as the reference host does at first: from the south, 40 degrees down, 1280 x 720. */
class TerrainHost
{
public:
    explicit TerrainHost(const TerrainFiles& files)
        : _model(createTiledModel(
              [this]
              {
                  {
                      const std::lock_guard<std::mutex> guard(_lock);
                      _hasNews = true;
                  }
                  _news.notify_one();
                  return true;
              },
              kTerrainModel))
    {
        if (_model->addModel(KdString((files.dom + '?' + files.dem).c_str())) < 0)
            throw std::runtime_error("cannot open " + files.dem);
        const KdDbExtents box = _model->extents();
        const osg::BoundingBoxd extents(mvgeo::toOsg(box.minPoint()), mvgeo::toOsg(box.maxPoint()));
        fitCameraToBox(_camera, extents);
        _view = mvgeo::toHost(_camera.viewMatrix());
        _projection = mvgeo::toHost(_camera.projectionMatrix(extents));
    }

    /** Updates until nothing is missing. @return the state of the paging then */
    GeoMeshStatistics converge()
    {
        for (;;)
        {
            _model->update(++_frame, &KdGeMatrix3d::kIdentity, &_view, &_projection, _camera.width, _camera.height, 1,
                           nullptr, &_receiver);
            const GeoMeshStatistics now = waitForNews();
            if (now.idle != 0 && now.mergesWaiting == 0) return now;
        }
    }

    [[nodiscard]] std::size_t visibleCount() const { return _receiver.visibleCount; }

private:
    GeoMeshStatistics waitForNews()
    {
        constexpr std::chrono::milliseconds kLookAgain{1}; // the last read's end wakes nobody
        for (;;)
        {
            GeoMeshStatistics now{};
            now.version = kGeoMeshStatisticsVersion;
            getGeoMeshStatistics(_model.get(), &now);
            if (now.idle != 0 || now.mergesWaiting > 0) return now;
            std::unique_lock<std::mutex> guard(_lock);
            _news.wait_for(guard, kLookAgain, [this] { return _hasNews; });
            _hasNews = false;
        }
    }

    std::mutex _lock;
    std::condition_variable _news;
    bool _hasNews = false; // guarded by _lock
    mvgeo::host::ViewCamera _camera;
    KdGeMatrix3d _view;
    KdGeMatrix3d _projection;
    CopyingReceiver _receiver;
    unsigned int _frame = 0;
    std::unique_ptr<MvGeoMesh> _model; // after what its callback uses
};

// How long until the first picture of a terrain that nobody has looked at yet is complete, from making the model on? In
// wall time, beside the same once its tiles are cached. The target is half a second with overviews in the rasters.
void BM_FirstTerrainPicture(benchmark::State& state)
{
    const TerrainFiles& files = terrainFiles(state.range(0) == 1);
    RatioTimer timer;
    GeoMeshStatistics statistics{};
    std::size_t visible = 0;
    const auto show = [&]
    {
        TerrainHost host(files);
        statistics = host.converge();
        visible = host.visibleCount();
    };
    for (auto _ : state)
    {
        useTextureCache(true);
        closeTerrains();
        timer.pair(state, show, show);
    }
    timer.report(state);
    state.counters["tiles_read"] = static_cast<double>(statistics.tilesLoaded);
    state.counters["visible"] = static_cast<double>(visible);
}
BENCHMARK(BM_FirstTerrainPicture)
    ->ArgName("overviews")
    ->Arg(0)
    ->Arg(1)
    ->UseManualTime()
    ->Iterations(5)
    ->Unit(benchmark::kMillisecond);

} // namespace
