// The simulated engine for a host in C.
#include "engine/simulated_engine.h"

#include "base/clock.h"
#include "engine/engine.h"

int sim_engine_run(int fps)
{
    if (fps < 1 || fps > 1000) {
        return -1;
    }
    sim::use_paced_time(1.0);
    sim::every(sim::Microseconds{1'000'000} / fps, [fps] { sim::engine::run_frame(1.0 / fps); });
    return 0;
}

void sim_engine_set_luminance(int sensor, double luminance, double seconds)
{
    sim::engine::set_luminance(sensor, luminance, seconds);
}

void sim_engine_set_aperture(int sensor, double transmission)
{
    sim::engine::set_aperture(sensor, transmission);
}

int sim_engine_misuses(void (*report)(const char* line))
{
    const std::vector<std::string> lines = sim::engine::misuses();
    for (const std::string& line : lines) {
        if (report != nullptr) {
            report(line.c_str());
        }
    }
    return static_cast<int>(lines.size());
}
