#include "support/ModelDriver.h"

#include <chrono>

namespace
{

using Clock = std::chrono::steady_clock;
constexpr std::chrono::seconds kPatience{30};
// A read that fails calls nobody, so the state is looked at in these intervals too.
constexpr std::chrono::milliseconds kPollInterval{2};

} // namespace

ModelDriver::ModelDriver(ModelType type)
    : _model(dynamic_cast<MvOsgGeoMesh*>(createTiledModel(
          [this]
          {
              _refresh.notify_one();
              return true;
          },
          type)))
{
}

ModelDriver::~ModelDriver() = default;

GeoMeshStatistics ModelDriver::statistics() const
{
    GeoMeshStatistics result{};
    result.version = kGeoMeshStatisticsVersion;
    getGeoMeshStatistics(_model.get(), &result);
    return result;
}

bool ModelDriver::update()
{
    ++frameNumber;
    const bool done = _model->update(frameNumber, &view.model, &view.view, &view.projection, view.width, view.height,
                                     extract, nullptr, &receiver);
    receiver.finishUpdate();
    return done;
}

template <typename Condition>
bool ModelDriver::waitFor(Condition condition)
{
    const auto deadline = Clock::now() + kPatience;
    std::unique_lock<std::mutex> guard(_lock);
    while (!condition())
    {
        if (Clock::now() > deadline) return false;
        _refresh.wait_for(guard, kPollInterval);
    }
    return true;
}

bool ModelDriver::converge()
{
    const auto deadline = Clock::now() + kPatience;
    while (Clock::now() < deadline)
    {
        if (!update()) return false;
        const auto hasNews = [this] { return statistics().mergesWaiting > 0; };
        const bool ended = waitFor([&] { return hasNews() || statistics().idle == 1; });
        if (!ended) return false;
        if (!hasNews()) return true;
    }
    return false;
}

bool ModelDriver::waitUntilLoaded()
{
    return waitFor(
        [this]
        {
            // In this order: the thread is marked active before it takes a request.
            const DatabasePagerBridge& pager = _model->pager();
            return pager.getFileRequestListSize() == 0 && !pager.getDatabaseThread(0)->getActive();
        });
}
