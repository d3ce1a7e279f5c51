#include "app/scenes.h"

#include "app/look.h"
#include "app/session.h"
#include "engine/engine.h"
#include "host/lens.h"

#include <array>
#include <mutex>
#include <string_view>
#include <utility>

namespace app
{

namespace
{

/// What the samples in force were made from.
struct Metered {
    sim::picture::SceneRef scene;
    float magnification = 0.0F; // none were made yet
    rk_aiq_lsc_attrib_t lsc{};
    rk_aiq_wb_gain_t wb_gain{};
};

std::mutex mutex;
std::array<sim::picture::SceneRef, kCameras> scenes;
std::array<Metered, kCameras> metered; // by the thread that runs the frames

template <typename T>
std::string_view bytes_of(const T& block)
{
    return {reinterpret_cast<const char*>(&block), sizeof block};
}

} // namespace

void reset_scenes()
{
    const std::lock_guard lock(mutex);
    scenes.fill(sim::picture::find_scene("chart"));
    for (Metered& each : metered) {
        each = {};
    }
}

void put_scene(int camera, sim::picture::SceneRef scene)
{
    const std::lock_guard lock(mutex);
    scenes[static_cast<std::size_t>(camera)] = std::move(scene);
}

sim::picture::SceneRef scene_of(int camera)
{
    const std::lock_guard lock(mutex);
    return scenes[static_cast<std::size_t>(camera)];
}

float magnification_of(int camera)
{
    return camera == kZoomCamera ? static_cast<float>(sim::host::magnification(sim::host::lens_state().zoom)) : 1.0F;
}

void meter_scenes()
{
    for (const int camera : cameras_with_engine()) {
        Metered& last = metered[static_cast<std::size_t>(camera)];
        const void* engine = engine_of(camera);
        Metered now{scene_of(camera), magnification_of(camera), sim::engine::peek<rk_aiq_lsc_attrib_t>(engine),
                    sim::engine::readings(camera).wb_gain};
        if (now.scene == last.scene && now.magnification == last.magnification &&
            bytes_of(now.lsc) == bytes_of(last.lsc) && bytes_of(now.wb_gain) == bytes_of(last.wb_gain)) {
            continue;
        }
        const sim::picture::Metering samples = sim::picture::metering(look_of(camera));
        sim::engine::set_metering(camera, {samples.begin(), samples.end()});
        last = std::move(now);
    }
}

} // namespace app
