#pragma once

#include "support/Mutex.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <unordered_map>

namespace mvgeo
{

/** Remembers the tiles that could not be read, so that a missing file costs one read and one line in the log instead of
 * one of each a frame: the pager asks for it again in every frame in which the view wants it.
 *
 * After a failure a file is paused for 1 s, after each further one twice as long, up to 60 s.
 * Thread: any.
 */
class FailedReads
{
public:
    using Clock = std::chrono::steady_clock;

    /** @param now where the time is taken from */
    explicit FailedReads(std::function<Clock::time_point()> now = &Clock::now);

    /** True while the file must not be read. */
    [[nodiscard]] bool isPaused(const std::string& fileName) const;

    /** True for the file's first failure since it was last read well (or ever). */
    bool recordFailure(const std::string& fileName);
    void recordSuccess(const std::string& fileName);

    void clear();

    /** Number of files whose last read failed. */
    [[nodiscard]] std::size_t count() const;

private:
    struct Pause
    {
        Clock::time_point until;
        std::chrono::seconds length;
    };

    std::function<Clock::time_point()> _now;
    mutable Mutex _lock;
    std::unordered_map<std::string, Pause> _pauses MVGEO_GUARDED_BY(_lock);
};

} // namespace mvgeo
