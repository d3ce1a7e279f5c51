// A camera's settings as files of their own.
#include "host/store.h"
#include "prompt/command.h"
#include "prompt/commands/groups.h"
#include "prompt/records.h"
#include "session/lanes.h"
#include "session/undo.h"

#include <ostream>

namespace prompt
{

namespace
{

void save(const Words& words)
{
    const int camera = camera_id(words[0]);
    const std::string failed =
        sim::host::write_settings(file_argument(words[1]), camera, sim::host::stored_record(camera));
    if (!failed.empty()) {
        throw BadInput(failed);
    }
    wrote(words[1]);
}

kiv_isp_param_s settings_in(const std::string& word, int camera)
{
    kiv_isp_param_s record{};
    const std::string failed = sim::host::read_settings(file_argument(word), camera, record);
    if (!failed.empty()) {
        throw BadInput(failed);
    }
    return record;
}

void load(const Words& words)
{
    const int camera = camera_id(words[0]);
    const kiv_isp_param_s record = settings_in(words[1], camera);
    const session::Lanes lane({camera}, "load");
    const session::Undoable undoable(camera, words[1]);
    const kiv_isp_param_s before = sim::host::stored_record(camera);
    session::put_settings(camera, record);
    tell_changes(camera, before);
}

void diff(const Words& words)
{
    const int camera = camera_id(words[0]);
    const bool other_camera = words[1].size() == 1 && words[1][0] >= '0' && words[1][0] <= '9';
    const kiv_isp_param_s other =
        other_camera ? sim::host::stored_record(camera_id(words[1])) : settings_in(words[1], camera);
    const std::string title = (other_camera ? "camera " : "") + words[1] + ":";
    const std::string differing = differences(sim::host::stored_record(camera), other, title);
    answer(
        {{"camera", camera}, {"differences", json_of_differences(sim::host::stored_record(camera), other, "other")}});
    out() << (differing.empty() ? "no setting differs\n" : differing);
}

constexpr Command kCommands[] = {
    {"save", "CAM FILE.ini", "write a camera's settings", 2, 2, save, Kind::looks},
    {"load", "CAM FILE.ini", "take a camera's settings from a file", 2, 2, load},
    {"diff", "CAM FILE.ini|CAM", "in which settings a camera differs", 2, 2, diff, Kind::looks},
};

} // namespace

std::span<const Command> setting_file_commands()
{
    return kCommands;
}

} // namespace prompt
