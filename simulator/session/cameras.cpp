#include "session/cameras.h"

#include "base/number.h"
#include "engine/engine.h"
#include "host/settings.h"
#include "host/store.h"
#include "isp_ctrl.h"
#include "isp_ctrl/core/context.h"
#include "session/bad_input.h"
#include "session/files.h"
#include "session/lanes.h"

#include <numeric>
#include <vector>

namespace session
{

bool start_camera(int camera)
{
    const Lanes lane({camera}, "start");
    if (rk_isp_init(camera, std::string(paths().folder).data()) != 0) {
        return false;
    }
    KIV_load_isp_para(camera);
    if (const std::optional<int> mode = csc_mode_of(camera)) {
        KIV_Set_csc_mode(camera, CSC_Mode_E{*mode});
    }
    return true;
}

int stop_camera(int camera)
{
    const Lanes lane({camera}, "stop");
    return rk_isp_stop(camera);
}

int reload_camera(int camera)
{
    const Lanes lane({camera}, "reload");
    return rk_isp_update(camera);
}

int release_camera(int camera)
{
    const Lanes lane({camera}, "release");
    return rk_isp_deinit(camera);
}

std::optional<int> csc_mode_of(int camera)
{
    const int mode = KIV_Get_csc_mode(camera);
    return mode != 0 ? std::optional(mode) : std::nullopt;
}

const void* engine_of(int camera)
{
    return rkipc_aiq_get_ctx(camera);
}

bool has_engine(int camera)
{
    return engine_of(camera) != nullptr;
}

std::vector<int> cameras_with_engine()
{
    std::vector<int> cameras(kCameras);
    std::iota(cameras.begin(), cameras.end(), 0);
    std::erase_if(cameras, [](int camera) { return !has_engine(camera); });
    return cameras;
}

void set_illuminant(int camera, const std::string& name)
{
    if (const auto kelvin = sim::number_in<double>(name)) {
        const bool usual = *kelvin >= 1500.0 && *kelvin <= 12000.0; // false for nan
        if (!usual) {
            throw BadInput("an illuminant has 1500 to 12000 K or a name: A, TL84, D50, D65");
        }
        sim::engine::set_illuminant(camera, *kelvin);
    } else if (!sim::engine::set_illuminant(camera, name)) {
        throw BadInput("unknown illuminant " + name + "; give kelvin or A, TL84, D50, D65");
    }
}

double seconds_now()
{
    return static_cast<double>(sim::now()) / 1e6;
}

std::string state_of(int camera)
{
    const bool runs = sim::engine::life(engine_of(camera)) == sim::engine::Life::running;
    return rkipc_aiq_use_group != 0 ? runs ? "group" : "group, stopped" : runs ? "running" : "stopped";
}

sim::engine::Readings readings_of(int camera)
{
    const std::vector<int> sensors = sim::engine::configuration(engine_of(camera)).sensors;
    return sim::engine::readings(sensors.empty() ? camera : sensors.front());
}

std::string mode_name(int camera)
{
    const sim::host::Setting& mode = *sim::host::find_setting("exposure_mode");
    return sim::host::name_of(mode, sim::host::stored(camera, mode));
}

} // namespace session
