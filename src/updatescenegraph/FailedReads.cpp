#include "updatescenegraph/FailedReads.h"

#include <algorithm>
#include <utility>

namespace mvgeo
{

namespace
{

constexpr std::chrono::seconds kFirstRest{1};
constexpr std::chrono::seconds kLongestRest{60};

} // namespace

FailedReads::FailedReads(std::function<Clock::time_point()> now) : _now(std::move(now)) {}

bool FailedReads::isResting(const std::string& fileName) const
{
    const Lock lock(_lock);
    if (_rests.empty()) return false;
    const auto found = _rests.find(fileName);
    return found != _rests.end() && _now() < found->second.until;
}

bool FailedReads::noteFailure(const std::string& fileName)
{
    const Lock lock(_lock);
    const auto [entry, isFirst] = _rests.try_emplace(fileName, Rest{{}, kFirstRest});
    Rest& rest = entry->second;
    if (!isFirst) rest.length = std::min(rest.length * 2, kLongestRest);
    rest.until = _now() + rest.length;
    return isFirst;
}

void FailedReads::noteSuccess(const std::string& fileName)
{
    const Lock lock(_lock);
    _rests.erase(fileName);
}

void FailedReads::clear()
{
    const Lock lock(_lock);
    _rests.clear();
}

std::size_t FailedReads::count() const
{
    const Lock lock(_lock);
    return _rests.size();
}

} // namespace mvgeo
