#pragma once

#include <mutex>
#include <shared_mutex>

// What a lock guards, in words that Clang checks (-Wthread-safety). Other compilers do not see them.
#if defined(__clang__)
#define MVGEO_LOCKING(...) __attribute__((__VA_ARGS__))
#else
#define MVGEO_LOCKING(...)
#endif
/** Behind a member: it is touched only while this lock is held. */
#define MVGEO_GUARDED_BY(mutex) MVGEO_LOCKING(guarded_by(mutex))
/** Behind a function: whoever calls it holds this lock. */
#define MVGEO_REQUIRES(mutex) MVGEO_LOCKING(requires_capability(mutex))

namespace mvgeo
{

/** A mutex of the standard library that the check knows as one. */
template <typename Native>
class MVGEO_LOCKING(capability("mutex")) CheckedMutex
{
public:
    void lock() MVGEO_LOCKING(acquire_capability()) { _native.lock(); }
    void unlock() MVGEO_LOCKING(release_capability()) { _native.unlock(); }
    [[nodiscard]] bool try_lock() MVGEO_LOCKING(try_acquire_capability(true)) { return _native.try_lock(); }
    void lock_shared() MVGEO_LOCKING(acquire_shared_capability()) { _native.lock_shared(); }
    void unlock_shared() MVGEO_LOCKING(release_shared_capability()) { _native.unlock_shared(); }

private:
    Native _native;
};

using Mutex = CheckedMutex<std::mutex>;
using SharedMutex = CheckedMutex<std::shared_mutex>;

/** Holds a mutex for itself as long as it lives. */
template <typename AnyMutex>
class MVGEO_LOCKING(scoped_lockable) Lock
{
public:
    explicit Lock(AnyMutex& mutex) MVGEO_LOCKING(acquire_capability(mutex)) : _mutex(mutex) { _mutex.lock(); }
    ~Lock() MVGEO_LOCKING(release_capability()) { _mutex.unlock(); }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

private:
    AnyMutex& _mutex;
};

/** Holds a mutex together with other readers as long as it lives. */
class MVGEO_LOCKING(scoped_lockable) SharedLock
{
public:
    explicit SharedLock(SharedMutex& mutex) MVGEO_LOCKING(acquire_shared_capability(mutex)) : _mutex(mutex)
    {
        _mutex.lock_shared();
    }
    ~SharedLock() MVGEO_LOCKING(release_capability()) { _mutex.unlock_shared(); }
    SharedLock(const SharedLock&) = delete;
    SharedLock& operator=(const SharedLock&) = delete;

private:
    SharedMutex& _mutex;
};

} // namespace mvgeo
