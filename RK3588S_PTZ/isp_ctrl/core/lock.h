// Locks that are held for a scope:
//
//     isp::Mutex follow_mtx;
//     bool wanted ISP_GUARDED_BY(follow_mtx) = false;
//     { const isp::MutexLock lock(follow_mtx); wanted = true; }
//     { const isp::EngineLock lock; release(); } // void release() ISP_REQUIRES(isp::engine_mutex)
//
// Clang checks that what a lock guards is reached with the lock held (-Wthread-safety). Not std::mutex and
// std::lock_guard: they need the C++ library, and the engine lock is a plain one for C hosts.
#pragma once

#include "isp_ctrl/isp_ctrl.h"

#if defined(__clang__)
#define ISP_THREAD_SAFETY(attribute) __attribute__((attribute))
#else
#define ISP_THREAD_SAFETY(attribute)
#endif
#define ISP_GUARDED_BY(lock) ISP_THREAD_SAFETY(guarded_by(lock))
#define ISP_REQUIRES(lock) ISP_THREAD_SAFETY(requires_capability(lock))

namespace isp
{

/// A lock of the library's own.
struct ISP_THREAD_SAFETY(capability("mutex")) Mutex {
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
};

class ISP_THREAD_SAFETY(scoped_lockable) MutexLock
{
public:
    explicit MutexLock(Mutex& mutex) ISP_THREAD_SAFETY(acquire_capability(mutex)) : mutex_(mutex.mutex)
    {
        pthread_mutex_lock(&mutex_);
    }
    ~MutexLock() ISP_THREAD_SAFETY(release_capability())
    {
        pthread_mutex_unlock(&mutex_);
    }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

private:
    pthread_mutex_t& mutex_;
};

/// Stands for the engine lock g_aiq_mtx where clang checks; never defined.
struct ISP_THREAD_SAFETY(capability("engine lock")) EngineMutex;
extern EngineMutex engine_mutex;

class ISP_THREAD_SAFETY(scoped_lockable) EngineLock
{
public:
    EngineLock() ISP_THREAD_SAFETY(acquire_capability(engine_mutex))
    {
        pthread_mutex_lock(&g_aiq_mtx);
    }
    ~EngineLock() ISP_THREAD_SAFETY(release_capability())
    {
        pthread_mutex_unlock(&g_aiq_mtx);
    }
    EngineLock(const EngineLock&) = delete;
    EngineLock& operator=(const EngineLock&) = delete;
};

} // namespace isp
