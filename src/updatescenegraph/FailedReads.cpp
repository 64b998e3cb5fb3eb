#include "updatescenegraph/FailedReads.h"

#include <algorithm>
#include <utility>

namespace mvgeo
{

namespace
{

constexpr std::chrono::seconds kFirstPause{1};
constexpr std::chrono::seconds kLongestPause{60};

} // namespace

FailedReads::FailedReads(std::function<Clock::time_point()> now) : _now(std::move(now)) {}

bool FailedReads::isPaused(const std::string& fileName) const
{
    const Lock lock(_lock);
    if (_pauses.empty()) return false;
    const auto found = _pauses.find(fileName);
    return found != _pauses.end() && _now() < found->second.until;
}

bool FailedReads::recordFailure(const std::string& fileName)
{
    const Lock lock(_lock);
    const auto [entry, isFirst] = _pauses.try_emplace(fileName, Pause{{}, kFirstPause});
    Pause& pause = entry->second;
    if (!isFirst) pause.length = std::min(pause.length * 2, kLongestPause);
    pause.until = _now() + pause.length;
    return isFirst;
}

void FailedReads::recordSuccess(const std::string& fileName)
{
    const Lock lock(_lock);
    _pauses.erase(fileName);
}

void FailedReads::clear()
{
    const Lock lock(_lock);
    _pauses.clear();
}

std::size_t FailedReads::count() const
{
    const Lock lock(_lock);
    return _pauses.size();
}

} // namespace mvgeo
