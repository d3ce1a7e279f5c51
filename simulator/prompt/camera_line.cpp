#include "prompt/camera_line.h"

#include "host/lens.h"
#include "session/cameras.h"
#include "session/readings.h"

#include <iomanip>
#include <sstream>

namespace prompt
{

namespace
{

constexpr std::size_t kWide = 120; // from which the columns of cameras in different modes are below each other

template <typename... Values>
std::string field(const Values&... values)
{
    std::ostringstream text;
    text << std::fixed << std::setprecision(2);
    (text << ... << values);
    return text.str();
}

} // namespace

std::string camera_line(int camera, std::size_t width)
{
    const sim::engine::Readings live = session::readings_of(camera);
    const sim::host::LensState lens = sim::host::lens_state();
    const auto w = [](int columns) { return std::setw(columns); };
    // In the order in which they are left out last to first.
    const std::string fields[] = {
        field(w(8), session::seconds_now(), " s  ",
              session::state_of(camera) == "running" ? "camera " : session::state_of(camera) + " ", camera),
        field("  ", std::left, w(width < kWide ? 4 : 18), session::mode_name(camera), std::right, w(7), live.time * 1e3,
              " ms"),
        field("  gain ", w(5), live.analog_gain * live.isp_dgain),
        field("  luma ", w(6), live.mean_luma, " of ", w(6), live.target_luma),
        field("  wb ", live.wb_gain.rgain, "/", live.wb_gain.bgain),
        field(std::setprecision(0), "  iris ", lens.iris, "  zoom ", lens.zoom),
    };
    std::string line;
    for (const std::string& next : fields) {
        if (!line.empty() && line.size() + next.size() > width) {
            break;
        }
        line += next;
    }
    return line;
}

Json camera_json(int camera)
{
    const sim::engine::Readings live = session::readings_of(camera);
    const sim::host::LensState lens = sim::host::lens_state();
    return {
        {"camera", camera},
        {"state", session::state_of(camera)},
        {"seconds", session::seconds_now()},
        {"exposure_mode", session::mode_name(camera)},
        {"time", live.time},
        {"gain", live.analog_gain * live.isp_dgain},
        {"luma", live.mean_luma},
        {"target", live.target_luma},
        {"converged", live.converged},
        {"red_gain", live.wb_gain.rgain},
        {"blue_gain", live.wb_gain.bgain},
        {"wb_converged", live.wb_converged},
        {"iris", lens.iris},
        {"zoom", lens.zoom},
    };
}

} // namespace prompt
