#include "prompt/camera_line.h"

#include "host/lens.h"
#include "host/store.h"
#include "prompt/commands.h"
#include "session/cameras.h"
#include "session/look.h"
#include "session/text.h"

namespace prompt
{

namespace
{

constexpr std::size_t kWide = 120; // from which the columns of cameras in different modes are below each other

constexpr const char* kLives[] = {"none", "initialised", "prepared", "running", "stopped", "none"}; // by Life

} // namespace

std::string camera_line(int camera, std::size_t width)
{
    const sim::engine::Readings live = session::readings_of(camera);
    const sim::host::LensState lens = sim::host::lens_state();
    const std::string state = session::state_of(camera);
    // In the order in which they are left out last to first.
    const std::string fields[] = {
        session::format("%8.2f s  %s %d", session::seconds_now(), state == "running" ? "camera" : state.c_str(),
                        camera),
        session::format("  %-*s%7.2f ms", width < kWide ? 4 : 18, session::mode_name(camera).c_str(), live.time * 1e3),
        session::format("  gain %5.2f", live.analog_gain * live.isp_dgain),
        session::format("  luma %6.2f of %6.2f", live.mean_luma, live.target_luma),
        session::format("  wb %.2f/%.2f", double{live.wb_gain.rgain}, double{live.wb_gain.bgain}),
        session::format("  iris %.0f  zoom %.0f", lens.iris, lens.zoom),
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

Differences differences(const kiv_isp_param_s& record, const kiv_isp_param_s& other, const std::string& title,
                        const char* key)
{
    Differences found;
    for (const sim::host::Setting& setting : sim::host::kSettings) {
        const int now = record.*setting.member;
        const int then = other.*setting.member;
        if (now != then) {
            found.text += session::format("%-24s%-20s(%s %s)\n", std::string(setting.name).c_str(),
                                          sim::host::name_of(setting, now).c_str(), title.c_str(),
                                          sim::host::name_of(setting, then).c_str());
            found.json[std::string(setting.name)] = {{"now", json_of(setting, now)}, {key, json_of(setting, then)}};
        }
    }
    return found;
}

void tell_changes(int camera, const kiv_isp_param_s& before)
{
    const Differences changes = differences(sim::host::stored_record(camera), before, "before");
    out() << "camera " << camera << '\n' << changes.text;
    answer({{"camera", camera}, {"changes", changes.json}});
}

} // namespace prompt
