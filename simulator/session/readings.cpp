#include "session/readings.h"

#include "host/settings.h"
#include "host/store.h"
#include "isp_ctrl.h"
#include "session/cameras.h"

#include <vector>

namespace session
{

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

sim::engine::Readings readings_of(int camera)
{
    return sim::engine::readings(sensor_of(camera));
}

std::string mode_name(int camera)
{
    const sim::host::Setting& mode = *sim::host::find_setting("exposure_mode");
    return sim::host::name_of(mode, sim::host::stored(camera, mode));
}

} // namespace session
