#pragma once

#include <mutex>

// What a lock guards, in words that Clang checks (-Wthread-safety). Other compilers do not see them.
#if defined(__clang__)
#define MVGEO_LOCKING(...) __attribute__((__VA_ARGS__))
#else
#define MVGEO_LOCKING(...)
#endif
#define MVGEO_GUARDED_BY(mutex) MVGEO_LOCKING(guarded_by(mutex))

namespace mvgeo::host
{
/** A mutex that the check knows as one. */
class MVGEO_LOCKING(capability("mutex")) Mutex
{
public:
    void lock() MVGEO_LOCKING(acquire_capability()) { _native.lock(); }
    void unlock() MVGEO_LOCKING(release_capability()) { _native.unlock(); }

private:
    std::mutex _native;
};

class MVGEO_LOCKING(scoped_lockable) Lock
{
public:
    explicit Lock(Mutex& mutex) MVGEO_LOCKING(acquire_capability(mutex)) : _lock(mutex) {}
    ~Lock() MVGEO_LOCKING(release_capability()) = default;

private:
    std::lock_guard<Mutex> _lock;
};
} // namespace mvgeo::host
