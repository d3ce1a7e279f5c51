#include "app/live_values.h"

#include "app/session.h"
#include "host/lens.h"
#include "host/settings.h"
#include "host/store.h"
#include "isp_ctrl.h"

#include <iomanip>
#include <sstream>
#include <vector>

namespace app
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

std::string state_of(int camera)
{
    const bool runs = sim::engine::life(engine_of(camera)) == sim::engine::Life::running;
    return std::string(rkipc_aiq_use_group != 0 ? runs ? "group" : "group, " : "") +
           (runs ? rkipc_aiq_use_group != 0 ? "" : "running" : "stopped");
}

int sensor_of(int camera)
{
    const std::vector<int> sensors = sim::engine::configuration(engine_of(camera)).sensors;
    return sensors.empty() ? camera : sensors.front();
}

sim::engine::Readings live_of(int camera)
{
    return sim::engine::readings(sensor_of(camera));
}

std::string mode_name(int camera)
{
    const sim::host::Setting& mode = *sim::host::find_setting("exposure_mode");
    return sim::host::name_of(mode, sim::host::stored(camera, mode));
}

std::string live_line(int camera, std::size_t width)
{
    const sim::engine::Readings live = live_of(camera);
    const sim::host::LensState lens = sim::host::lens_state();
    const auto w = [](int columns) { return std::setw(columns); };
    // In the order in which they are left out last to first.
    const std::string fields[] = {
        field(w(8), seconds_now(), " s  ", state_of(camera) == "running" ? "camera " : state_of(camera) + " ", camera),
        field("  ", std::left, w(width < kWide ? 4 : 18), mode_name(camera), std::right, w(7), live.time * 1e3, " ms"),
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

Json live_json(int camera)
{
    const sim::engine::Readings live = live_of(camera);
    const sim::host::LensState lens = sim::host::lens_state();
    return {
        {"camera", camera},
        {"state", state_of(camera)},
        {"seconds", seconds_now()},
        {"exposure_mode", mode_name(camera)},
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

} // namespace app
