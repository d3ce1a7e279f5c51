// Leads the library's waits into simulated time. Apart from the clock itself, so that a program without the static
// library can use the clock too.
#include "base/clock.h"

#include "core/seam.h"

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>

namespace sim
{

void install_clock()
{
    // The calls of a program that is linked with both reach the shared library, whose waits stay real ones.
    if (dlopen("libisp_ctrl.so.1", RTLD_LAZY | RTLD_NOLOAD) != nullptr) {
        std::fputs("simulated time needs the static library alone: libisp_ctrl.so.1 is loaded too\n", stderr);
        std::abort();
    }
    isp::seam.sleep = [](unsigned seconds) {
        wait(Microseconds{seconds} * 1'000'000);
        return 0U;
    };
    isp::seam.create_thread = create_thread;
    isp::seam.usleep = [](useconds_t microseconds) {
        wait(Microseconds{microseconds});
        return 0;
    };
}

} // namespace sim
