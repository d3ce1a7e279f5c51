#include "isp_ctrl/core/thread.h"

#include "isp_ctrl/core/seam.h"

#include <csignal>
#include <dlfcn.h>

namespace
{

/// Keeps the library mapped when the host closes it. What it is linked into otherwise, a program or a library of the
/// host's, is found under its own name and stays mapped too, if it is not mapped for good anyway.
void stay_mapped()
{
    Dl_info here;
    if (dladdr(&isp::seam, &here) != 0) { // LCOV_EXCL_BR_LINE: some file holds it
        dlopen(here.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE);
    }
}

} // namespace

bool isp::create_thread(pthread_t& thread, void* (*body)(void*))
{
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before); // a thread begins with its creator's mask
    pthread_t created;
    const bool done = seam.create_thread(&created, nullptr, body, nullptr) == 0;
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (done) {
        stay_mapped();
        thread = created;
    }
    return done;
}
