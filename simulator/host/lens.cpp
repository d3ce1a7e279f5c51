// The lens model and the lens functions of the host.
#include "host/lens.h"

#include "af/lens_ctrl.h"
#include "base/calls.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <iterator>
#include <mutex>
#include <utility>

namespace sim::host
{

namespace
{

std::mutex g_mutex;
LensState g_lens;
std::atomic<int> g_calibration_flag{0};

double approach(double from, double to, double most)
{
    return from < to ? std::min(from + most, to) : std::max(from - most, to);
}

double between_stops(double position, int farthest)
{
    return std::clamp(position, 0.0, static_cast<double>(farthest));
}

} // namespace

LensState lens_state()
{
    const std::lock_guard lock(g_mutex);
    return g_lens;
}

void reset_lens()
{
    const std::lock_guard lock(g_mutex);
    g_lens = {};
    g_calibration_flag.store(0, std::memory_order_relaxed);
}

void move_iris_to(int position)
{
    const std::lock_guard lock(g_mutex);
    g_lens.iris_target = between_stops(position, kIrisWidest);
}

void move_iris_by(int steps)
{
    const std::lock_guard lock(g_mutex);
    g_lens.iris_target = between_stops(g_lens.iris + steps, kIrisWidest);
}

void move_zoom_to(int position)
{
    const std::lock_guard lock(g_mutex);
    g_lens.zoom_target = between_stops(position, kZoomLongest);
}

void set_lens_calibration_flag(int flag)
{
    g_calibration_flag.store(flag, std::memory_order_relaxed);
}

void step_lens(double seconds)
{
    const std::lock_guard lock(g_mutex);
    g_lens.iris = approach(g_lens.iris, g_lens.iris_target, kIrisSpeed * seconds);
    g_lens.zoom = approach(g_lens.zoom, g_lens.zoom_target, kZoomSpeed * seconds);
}

double widest_iris(double zoom)
{
    constexpr struct {
        double zoom;
        double widest;
    } kPoints[] = {{0.0, 800.0}, {2556.0, 723.0}, {3746.0, 638.0}};
    for (std::size_t i = 1; i < std::size(kPoints); ++i) {
        const auto& [from, to] = std::pair(kPoints[i - 1], kPoints[i]);
        if (zoom < to.zoom) {
            return from.widest + (to.widest - from.widest) * (zoom - from.zoom) / (to.zoom - from.zoom);
        }
    }
    return std::end(kPoints)[-1].widest;
}

double lens_transmission()
{
    const LensState lens = lens_state();
    const double opening = std::min(lens.iris, widest_iris(lens.zoom)) / kIrisWidest;
    return opening * opening;
}

double magnification(double zoom)
{
    return std::exp2(3.0 * zoom / kZoomLongest);
}

} // namespace sim::host

uint16_t Uvc_Query_Zoom_Position(void)
{
    const auto position = static_cast<uint16_t>(std::lround(sim::host::lens_state().zoom));
    const int fault = sim::note_call("Uvc_Query_Zoom_Position", -1, position);
    return fault != 0 ? static_cast<uint16_t>(fault) : position;
}

int get_lens_calibration_flag(void)
{
    const int flag = sim::host::g_calibration_flag.load(std::memory_order_relaxed);
    const int fault = sim::note_call("get_lens_calibration_flag", -1, flag);
    return fault != 0 ? fault : flag;
}

void iris_mode(unsigned char mode)
{
    sim::note_call("iris_mode", -1, mode);
    const std::lock_guard lock(sim::host::g_mutex);
    sim::host::g_lens.iris_automatic = mode != 0;
}

void iris_to(unsigned short position)
{
    sim::note_call("iris_to", -1, position);
    const std::size_t closed = std::size(sim::host::kIrisCalibration) - 1;
    sim::host::move_iris_to(sim::host::kIrisCalibration[std::min<std::size_t>(position, closed)]);
}
