#include "app/look.h"

#include "app/scenes.h"
#include "app/session.h"
#include "engine/engine.h"
#include "host/shading_file.h"

#include <algorithm>

namespace app
{

sim::picture::Look look_of(int camera)
{
    const void* engine = engine_of(camera);
    const sim::engine::Live live = sim::engine::live(camera);
    sim::picture::Look look = sim::picture::neutral_look();
    look.scene = scene_of(camera);
    look.magnification = magnification_of(camera);
    look.acp = sim::engine::peek<acp_attrib_t>(engine);
    look.gamma = sim::engine::peek<rk_aiq_gamma_attrib_V2_t>(engine);
    look.drc = sim::engine::peek<drc_attrib_t>(engine);
    look.sharp = sim::engine::peek<rk_aiq_sharp_attrib_v4_t>(engine);
    look.lsc = sim::engine::peek<rk_aiq_lsc_attrib_t>(engine);
    look.nr2d = sim::engine::peek<rk_aiq_bayer2dnr_attrib_v2_t>(engine);
    look.nr3d = sim::engine::peek<rk_aiq_bayertnr_attrib_v2_t>(engine);
    look.csm = sim::engine::peek<rk_aiq_uapi_acsm_attrib_t>(engine);
    look.wb_gain = live.wb_gain;
    look.neutral_red = live.neutral_gain.rgain;
    look.neutral_blue = live.neutral_gain.bgain;
    look.exposure = live.exposure / sim::engine::kReferenceLuma;
    look.sensor_gain = std::max(1.0, live.analog_gain * live.isp_dgain);
    const auto& grids = sim::host::kShadingGrids; // the lens that the shading file was made for
    look.fall_off = {static_cast<float>(grids[0].k), static_cast<float>(grids[1].k), static_cast<float>(grids[3].k)};
    return look;
}

sim::picture::Image picture_of(int camera, int width, int height)
{
    return sim::picture::render(look_of(camera), width, height);
}

} // namespace app
