#include "prompt/camera_line.h"

#include "host/lens.h"
#include "host/store.h"
#include "prompt/commands.h"
#include "session/cameras.h"
#include "session/look.h"

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

constexpr const char* kLives[] = {"none", "initialised", "prepared", "running", "stopped", "none"}; // by Life

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

Json camera_json(const CameraFacts& camera)
{
    const sim::engine::Readings& live = camera.live;
    const bool has_motors = camera.id == session::kZoomCamera;
    return {
        {"id", camera.id},
        {"state", kLives[static_cast<std::size_t>(camera.life)]},
        {"exposure_mode", camera.settings.exposure_mode},
        {"automatic", live.automatic},
        {"time", live.time},
        {"gain", live.analog_gain * live.isp_dgain},
        {"luma", live.mean_luma},
        {"target", live.target_luma},
        {"converged", live.converged && live.wb_converged},
        {"at_limit", live.at_limit},
        {"red_gain", live.wb_gain.rgain},
        {"blue_gain", live.wb_gain.bgain},
        {"scene", camera.scene},
        {"luminance", live.luminance},
        {"illuminant", live.kelvin},
        {"mains", live.mains},
        {"iris", has_motors ? Json(camera.lens.iris) : Json()},
        {"zoom", has_motors ? Json(camera.lens.zoom) : Json()},
    };
}

Json camera_json(int camera)
{
    Json json = camera_json({.id = camera,
                             .life = sim::engine::life(session::engine_of(camera)),
                             .settings = sim::host::stored_record(camera),
                             .live = session::readings_of(camera),
                             .scene = session::scene_of(camera)->name,
                             .lens = sim::host::lens_state()});
    json["seconds"] = session::seconds_now();
    return json;
}

Json json_of(const sim::host::Setting& setting, int value)
{
    const std::string name = sim::host::name_of(setting, value);
    return name == std::to_string(value) ? Json(value) : Json(name);
}

Json json_of(const kiv_isp_param_s& record)
{
    Json settings = Json::object();
    for (const sim::host::Setting& setting : sim::host::kSettings) {
        settings[std::string(setting.name)] = json_of(setting, record.*setting.member);
    }
    return settings;
}

std::string differences(const kiv_isp_param_s& record, const kiv_isp_param_s& other, const std::string& title)
{
    std::ostringstream text;
    for (const sim::host::Setting& setting : sim::host::kSettings) {
        if (record.*setting.member != other.*setting.member) {
            text << std::left << std::setw(24) << setting.name << std::setw(20)
                 << sim::host::name_of(setting, record.*setting.member) << "(" << title << " "
                 << sim::host::name_of(setting, other.*setting.member) << ")\n";
        }
    }
    return text.str();
}

Json json_of_differences(const kiv_isp_param_s& record, const kiv_isp_param_s& other, const char* title)
{
    Json differing = Json::object();
    for (const sim::host::Setting& setting : sim::host::kSettings) {
        if (record.*setting.member != other.*setting.member) {
            differing[std::string(setting.name)] = {{"now", json_of(setting, record.*setting.member)},
                                                    {title, json_of(setting, other.*setting.member)}};
        }
    }
    return differing;
}

void tell_changes(int camera, const kiv_isp_param_s& before)
{
    const kiv_isp_param_s record = sim::host::stored_record(camera);
    out() << "camera " << camera << '\n' << differences(record, before, "before");
    answer({{"camera", camera}, {"changes", json_of_differences(record, before)}});
}

} // namespace prompt
