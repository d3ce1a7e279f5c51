#include "session/look.h"

#include "engine/engine.h"
#include "host/lens.h"
#include "host/settings.h"
#include "host/shading_file.h"
#include "host/store.h"
#include "session/cameras.h"
#include "session/text.h"

#include <algorithm>
#include <array>
#include <mutex>
#include <utility>

namespace session
{

namespace
{

struct InFront {
    sim::picture::SceneRef scene;
    bool moving;
};

/// What the samples in force were made from.
struct Metered {
    sim::picture::SceneRef scene;
    float magnification = 0.0F;        // none were made yet
    sim::picture::EngineBlocks blocks; // shading and white balance alone

    bool operator==(const Metered&) const = default;
};

struct Scenes {
    std::mutex mutex;
    std::array<InFront, kCameras> in_front;
    std::array<Metered, kCameras> metered; // of the thread that runs the frames
} scenes;

InFront in_front_of(int camera)
{
    const std::lock_guard lock(scenes.mutex);
    return scenes.in_front[static_cast<std::size_t>(camera)];
}

} // namespace

void reset_scenes()
{
    const std::lock_guard lock(scenes.mutex);
    scenes.in_front.fill({sim::picture::find_scene("chart"), false});
    scenes.metered = {};
}

void put_scene(int camera, sim::picture::SceneRef scene, bool moving)
{
    const std::lock_guard lock(scenes.mutex);
    scenes.in_front[static_cast<std::size_t>(camera)] = {std::move(scene), moving};
}

sim::picture::SceneRef scene_of(int camera)
{
    return in_front_of(camera).scene;
}

sim::picture::Look look_of(int camera)
{
    const void* engine = engine_of(camera);
    const sim::engine::Readings live = sim::engine::readings(camera);
    sim::picture::Look look = sim::picture::neutral_look();
    const InFront in_front = in_front_of(camera);
    look.scene = in_front.scene;
    look.magnification = magnification_of(camera);
    const auto fill = [&](auto&... blocks) {
        ((blocks = sim::engine::peek<std::remove_cvref_t<decltype(blocks)>>(engine)), ...);
    };
    fill(look.acp, look.gamma, look.drc, look.sharp, look.lsc, look.nr2d, look.nr3d, look.csm);
    look.wb_gain = live.wb_gain;
    look.neutral_red = live.neutral_gain.rgain;
    look.neutral_blue = live.neutral_gain.bgain;
    look.exposure = live.exposure / sim::engine::kReferenceLuma;
    look.sensor_gain = std::max(1.0, live.analog_gain * live.isp_dgain);
    const auto& grids = sim::host::kShadingGrids; // the lens that the shading file was made for
    look.vignetting = {static_cast<float>(grids[0].k), static_cast<float>(grids[1].k), static_cast<float>(grids[3].k)};
    look.exposure_time = live.time;
    look.lamp = {live.flicker, live.mains};
    look.moving = in_front.moving;
    look.camera = camera;
    look.frame = sim::engine::life(engine) == sim::engine::Life::running ? sim::now() / kFramePeriod : 0;
    return look;
}

sim::picture::Image picture_of(int camera, int frames)
{
    return sim::picture::render_mean(look_of(camera), frames, kPictureWidth, kPictureHeight);
}

std::vector<std::string> caption_of(int camera)
{
    const sim::engine::Readings live = sim::engine::readings(camera);
    std::string state = "camera " + std::to_string(camera) + "  \u00b7  " + scene_of(camera)->name + " ";
    state += format("%.4g cd/m\u00b2 %.0f K  \u00b7  ", live.luminance, live.kelvin);
    state += live.time > 0.0 ? format("1/%.0f s  ", 1.0 / live.time) : "";
    state += format("gain %.3g  ", live.analog_gain * live.isp_dgain);
    if (camera == kZoomCamera) {
        const sim::host::LensState lens = sim::host::lens_state();
        const double opening = std::min(lens.iris, sim::host::widest_iris(lens.zoom));
        state += opening > 0.0 ? format("F%.2g  ", 1.8 * sim::host::kIrisWidest / opening) : "iris closed  ";
        state += lens.zoom > 0.0 ? format("zoom %.1fx  ", sim::host::magnification(lens.zoom)) : "";
    }
    state += format("luma %.0f  \u00b7  wb %.2f/%.2f", live.mean_luma, double{live.wb_gain.rgain},
                    double{live.wb_gain.bgain});

    std::string changed;
    const kiv_isp_param_s record = sim::host::stored_record(camera);
    for (const sim::host::Setting& setting : sim::host::kSettings) {
        if (record.*setting.member != setting.initial) {
            changed += (changed.empty() ? "" : ", ") + std::string(setting.name) + " " +
                       sim::host::name_of(setting, record.*setting.member);
        }
    }
    return {state, changed.empty() ? "all settings at their initial values" : changed};
}

sim::picture::Panel panel_of(int camera, const std::string& title, int frames)
{
    return {title, picture_of(camera, frames), caption_of(camera)};
}

float magnification_of(int camera)
{
    return camera == kZoomCamera ? static_cast<float>(sim::host::magnification(sim::host::lens_state().zoom)) : 1.0F;
}

void meter_scenes()
{
    for (const int camera : cameras_with_engine()) {
        Metered& last = scenes.metered[static_cast<std::size_t>(camera)];
        Metered now{scene_of(camera), magnification_of(camera), {}};
        now.blocks.lsc = sim::engine::peek<rk_aiq_lsc_attrib_t>(engine_of(camera));
        now.blocks.wb_gain = sim::engine::readings(camera).wb_gain;
        if (now == last) {
            continue;
        }
        const sim::picture::Metering samples = sim::picture::metering(look_of(camera));
        sim::engine::set_metering(camera, {samples.begin(), samples.end()});
        last = std::move(now);
    }
}

} // namespace session
