// Starting, stopping and listing cameras.
#include "session/cameras.h"
#include "engine/engine.h"
#include "isp_ctrl.h"
#include "prompt/camera_line.h"
#include "prompt/commands.h"
#include "prompt/json.h"
#include "session/lanes.h"

#include <algorithm>
#include <ostream>

namespace prompt
{

namespace
{

void start(const Words& words)
{
    Json started = Json::array();
    for (const std::string& word : words) {
        if (!session::start_camera(camera_id(word))) {
            throw BadInput("camera " + word + " does not start");
        }
        out() << "camera " << word << " runs, its settings are restored\n";
        started.push_back(camera_id(word));
    }
    answer({{"cameras", started}});
}

template <int (*Function)(int)>
void for_cameras(const Words& words)
{
    for (const std::string& word : words) {
        check(Function(camera_with_engine(word)), "camera " + word + ": the call");
    }
}

std::vector<int> group_members(const Words& words)
{
    std::vector<int> sensors;
    for (std::size_t i = 2; i < words.size(); ++i) {
        const int sensor = number<int>(words[i], 0, sim::engine::kSensors - 1, "a sensor");
        if (std::ranges::find(sensors, sensor) != sensors.end()) {
            throw BadInput("sensor " + words[i] + " appears twice");
        }
        if (g_aiq_ctx[sensor] != nullptr) {
            throw BadInput("sensor " + words[i] + " runs as a camera: release " + words[i] + " first");
        }
        sensors.push_back(sensor);
    }
    if (sensors.size() >= RK_AIQ_CAM_GROUP_MAX_CAMS) {
        throw BadInput("a group has 1 to " + std::to_string(RK_AIQ_CAM_GROUP_MAX_CAMS - 1) + " sensors");
    }
    return sensors;
}

void group(const Words& words)
{
    const int id = number<int>(words[1], 0, session::kCameras - 1, "a group");
    const session::Lanes lanes({0, 1, 2, 3, 4, 5, 6, 7}, "group " + words[0]);
    if (words[0] == "start" && words.size() > 2) {
        std::vector<int> sensors = group_members(words);
        check(rk_isp_init_group(id, sensors.data(), sensors.size(), nullptr), "group start");
        out() << "group " << id << " runs with " << sensors.size()
              << " sensors; camera ids now name groups until a camera is started\n";
        answer({{"group", id}, {"sensors", sensors}});
        return;
    }
    const bool resumes = words[0] == "resume";
    const bool stops = words[0] == "stop";
    if ((!resumes && !stops && words[0] != "release") || words.size() > 2) {
        refuse_usage();
    }
    if (g_camera_group_ctx[id] == nullptr) {
        throw BadInput("there is no group " + words[1]);
    }
    const int result = resumes ? rk_isp_init_group_start(id)
                       : stops ? rk_isp_init_group_stop(id)
                               : rk_isp_deinit_group(id);
    check(result, "group " + words[0]);
}

void list(const Words& /*words*/)
{
    Json cameras = Json::array();
    for (const int camera : session::cameras_with_engine()) {
        out() << camera_line(camera) << '\n';
        cameras.push_back(camera_json(camera));
    }
    answer({{"cameras", cameras}});
}

constexpr Command kLifecycle[] = {
    {"start", "CAM...", "start engines and restore their settings", 1, kMany, start},
    {"stop", "CAM...", "stop engines", 1, kMany, for_cameras<session::stop_camera>},
    {"reload", "CAM...", "reload the engines' tuning", 1, kMany, for_cameras<session::reload_camera>},
    {"release", "CAM...", "stop and release engines", 1, kMany, for_cameras<session::release_camera>},
    {"group", "start ID SENSOR... | stop|resume|release ID", "run sensors as one group", 2, kMany, group},
    {"list", "", "one line per camera that has an engine", 0, 0, list, Kind::looks},
};

} // namespace

const Group kCameraCommands = {"Cameras", kLifecycle};

} // namespace prompt
