// The lens: its model, zoom, iris and shading file, and the video input that feeds the engine.
#include "host/lens.h"
#include "host/shading_file.h"
#include "host/vin.h"
#include "isp_ctrl.h"
#include "prompt/command.h"
#include "prompt/commands/groups.h"
#include "session/files.h"
#include "session/session.h"

#include <ostream>

namespace prompt
{

namespace
{

void lens(const Words& words)
{
    session::fit_lens(words[0]);
    out() << "lens type " << KIV_Get_Len_Types() << '\n';
}

void zoom(const Words& words)
{
    sim::host::move_zoom_to(number<int>(words[0], 0, sim::host::kZoomLongest, "a zoom position"));
}

void iris(const Words& words)
{
    if (words[0] == "auto") {
        session::set_auto_iris_on(on_or_off(words[1]));
    } else if (words[0] == "to") {
        sim::host::move_iris_to(number<int>(words[1], 0, sim::host::kIrisWidest, "an iris position"));
    } else {
        refuse_usage();
    }
}

void fps(const Words& words)
{
    sim::host::set_vin_fps(camera_id(words[0]), number<int>(words[1], 1, 240, "a frame rate"));
}

void shading(const Words& words)
{
    const std::string path = words.size() > 1 ? file_argument(words[1]) : session::shading_path();
    std::string failed;
    if (words[0] == "write") {
        failed = sim::host::write_shading_file(path);
    } else if (words[0] == "check") {
        failed = sim::host::check_shading_file(path);
    } else {
        refuse_usage();
    }
    if (!failed.empty()) {
        throw BadInput(failed);
    }
    out() << "shading file " << (words[0] == "write" ? "written\n" : "in order\n");
}

constexpr Command kCommands[] = {
    {"lens", "MODEL|none", "lens model in vendor storage", 1, 1, lens},
    {"zoom", "POSITION", "move the zoom", 1, 1, zoom},
    {"iris", "auto on|off | to POSITION", "automatic iris, or move it", 2, 2, iris},
    {"fps", "CAM RATE", "frame rate of the video input", 2, 2, fps},
    {"shading", "write|check [FILE]", "write or validate a lens-shading file", 1, 2, shading},
};

} // namespace

std::span<const Command> lens_commands()
{
    return kCommands;
}

} // namespace prompt
