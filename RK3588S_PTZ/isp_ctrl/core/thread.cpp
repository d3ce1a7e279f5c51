#include "isp_ctrl/core/thread.h"

#include <csignal>

bool isp::create_thread(pthread_t& thread, void* (*body)(void*))
{
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before); // a thread begins with its creator's mask
    pthread_t created;
    const bool done = pthread_create(&created, nullptr, body, nullptr) == 0;
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (done) {
        thread = created;
    }
    return done;
}
