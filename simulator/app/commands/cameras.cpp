// Starting, stopping and listing cameras.
#include "app/command.h"
#include "app/commands/groups.h"
#include "app/run_record.h"
#include "app/session.h"
#include "engine/engine.h"
#include "isp_ctrl.h"

#include <ostream>

namespace app
{

namespace
{

void start(const Words& words)
{
    for (const std::string& word : words) {
        if (!start_camera(camera_id(word))) {
            throw BadInput("camera " + word + " does not start");
        }
        out() << "camera " << word << " runs, its settings are restored\n";
    }
}

template <int (*Function)(int)>
void for_cameras(const Words& words)
{
    for (const std::string& word : words) {
        check(Function(camera_id(word)), "camera " + word + ": the call");
    }
}

void group(const Words& words)
{
    const int id = number<int>(words[1], 0, kCameras - 1, "a group");
    if (words[0] == "start" && words.size() > 2) {
        std::vector<int> sensors;
        for (std::size_t i = 2; i < words.size(); ++i) {
            sensors.push_back(number<int>(words[i], 0, sim::engine::kSensors - 1, "a sensor"));
        }
        check(rk_isp_init_group(id, sensors.data(), sensors.size(), nullptr), "group start");
        out() << "group " << id << " runs with " << sensors.size()
              << " sensors; camera ids now name groups until a camera is started\n";
    } else if (words[0] == "resume") {
        check(rk_isp_init_group_start(id), "group start");
    } else if (words[0] == "stop") {
        check(rk_isp_init_group_stop(id), "group stop");
    } else if (words[0] == "release") {
        check(rk_isp_deinit_group(id), "group release");
    } else {
        throw BadInput("group start ID SENSOR..., or group stop, resume or release ID");
    }
}

void list(const Words& /*words*/)
{
    for (const int camera : cameras_with_engine()) {
        out() << live_line(camera) << '\n';
    }
}

constexpr Command kCommands[] = {
    {"start", "CAM...", "start engines and restore their settings", 1, kMany, start},
    {"stop", "CAM...", "stop engines", 1, kMany, for_cameras<rk_isp_stop>},
    {"reload", "CAM...", "reload the engines' tuning", 1, kMany, for_cameras<rk_isp_update>},
    {"release", "CAM...", "stop and release engines", 1, kMany, for_cameras<rk_isp_deinit>},
    {"group", "start ID SENSOR... | stop|resume|release ID", "run sensors as one group", 2, kMany, group},
    {"list", "", "one line per camera that has an engine", 0, 0, list, Kind::looks},
};

} // namespace

std::span<const Command> camera_commands()
{
    return kCommands;
}

} // namespace app
