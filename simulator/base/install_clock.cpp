// Leads the library's waits into simulated time. Apart from the clock itself, so that a program without the static
// library can use the clock too.
#include "base/clock.h"

#include "core/seam.h"

namespace sim
{

void install_clock()
{
    isp::seam.sleep = [](unsigned seconds) {
        wait(Microseconds{seconds} * 1'000'000);
        return 0U;
    };
    isp::seam.usleep = [](useconds_t microseconds) {
        wait(Microseconds{microseconds});
        return 0;
    };
}

} // namespace sim
