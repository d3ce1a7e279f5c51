// Holds a lock, the engine lock in particular, for a scope.
#pragma once

#include "isp_ctrl.h"

namespace isp
{

class MutexLock
{
public:
    explicit MutexLock(pthread_mutex_t& mutex) : mutex_(mutex)
    {
        pthread_mutex_lock(&mutex_);
    }
    ~MutexLock()
    {
        pthread_mutex_unlock(&mutex_);
    }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

private:
    pthread_mutex_t& mutex_;
};

struct EngineLock : MutexLock {
    EngineLock() : MutexLock(g_aiq_mtx) {}
};

} // namespace isp
