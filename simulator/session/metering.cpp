#include "session/metering.h"

#include "engine/engine.h"
#include "session/cameras.h"
#include "session/look.h"
#include "session/scenes.h"

#include <array>
#include <string_view>
#include <utility>

namespace session
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

std::array<Metered, kCameras> metered; // by the thread that runs the frames

template <typename T>
std::string_view bytes_of(const T& block)
{
    return {reinterpret_cast<const char*>(&block), sizeof block};
}

} // namespace

void reset_metering()
{
    metered = {};
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

} // namespace session
