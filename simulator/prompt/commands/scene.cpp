// What is in front of the cameras; the lens: its model, zoom, iris and shading file; and the video input.
#include "base/number.h"
#include "engine/engine.h"
#include "host/lens.h"
#include "host/shading_file.h"
#include "host/vin.h"
#include "isp_ctrl.h"
#include "prompt/commands.h"
#include "session/cameras.h"
#include "session/files.h"
#include "session/look.h"
#include "session/session.h"

#include <ostream>
#include <utility>

namespace prompt
{

namespace
{

/// A number is a luminance, the name of a drawn scene that scene, any other name with a dot a photograph.
void scene(const Words& words)
{
    const int camera = camera_id(words[0]);
    const std::string& what = words[1];
    if (sim::number_in<double>(what)) {
        const double seconds = words.size() > 2 ? static_cast<double>(duration(words[2])) / 1e6 : 0.0;
        sim::engine::set_luminance(camera, number<double>(what, 0.0, 200000.0, "a luminance in cd/m2"), seconds);
        return;
    }
    const bool moving = words.size() > 2 && words[2] == "moving";
    if (words.size() > 2 && !moving) {
        throw BadInput("only a luminance is reached over a time; a scene may be moving");
    }
    sim::picture::SceneRef wanted = sim::picture::find_scene(what);
    if (wanted == nullptr && what.find('.') == std::string::npos) {
        throw BadInput("there is no scene " + what + "; the scenes are" + listed(sim::picture::scene_names()) +
                       " and any PNG or JPEG file");
    }
    if (wanted == nullptr) {
        std::string failed;
        wanted = sim::picture::load_photo(file_argument(what), failed);
        if (wanted == nullptr) {
            throw BadInput(failed);
        }
    }
    if (moving && wanted->mover == nullptr) {
        throw BadInput("nothing moves in " + what + "; in chart and stage something can");
    }
    session::put_scene(camera, std::move(wanted), moving);
}

void illuminant(const Words& words)
{
    session::set_illuminant(camera_id(words[0]), words[1]);
}

void mains(const Words& words)
{
    const int camera = camera_id(words[0]);
    if (words[1] != "50" && words[1] != "60" && words[1] != "off") {
        throw BadInput("the mains have 50 or 60 Hz or are off, not " + words[1]);
    }
    sim::engine::set_mains(camera, words[1] == "off" ? 0.0 : std::stod(words[1]));
}

void sensor(const Words& words)
{
    sim::engine::set_response(camera_id(words[0]), number<double>(words[1], 0.2, 5.0, "a red response"),
                              number<double>(words[2], 0.2, 5.0, "a blue response"));
}

constexpr Command kScene[] = {
    {"scene", "CAM NAME|FILE [moving] | CD/M2 [TIME]",
     "what a camera looks at: chart, window, stage, night, gradient or a photograph, at rest or (chart, stage) moving; "
     "or its mean luminance, reached over a time",
     2, 3, scene},
    {"illuminant", "CAM KELVIN|A|TL84|D50|D65", "illuminant of the scene", 2, 2, illuminant},
    {"mains", "CAM 50|60|off", "mains of the lamps A and TL84, which flicker; 50 Hz at first", 2, 2, mains},
    {"sensor", "CAM RED BLUE", "response of a sensor", 3, 3, sensor},
};

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
    const std::string path = words.size() > 1 ? file_argument(words[1]) : session::paths().shading;
    std::string failed;
    if (words[0] == "write") {
        failed = sim::host::write_shading_file(path);
    } else if (words[0] == "check") {
        failed = sim::host::check_shading_file(path);
    } else {
        refuse_usage();
    }
    throw_if(failed);
    out() << "shading file " << (words[0] == "write" ? "written\n" : "in order\n");
}

constexpr Command kLens[] = {
    {"lens", "MODEL|none", "lens model in vendor storage", 1, 1, lens},
    {"zoom", "POSITION", "move the zoom", 1, 1, zoom},
    {"iris", "auto on|off | to POSITION", "automatic iris, or move it", 2, 2, iris},
    {"fps", "CAM RATE", "frame rate of the video input", 2, 2, fps},
    {"shading", "write|check [FILE]", "write or validate a lens-shading file", 1, 2, shading},
};

} // namespace

const Group kSceneCommands = {"Scene", kScene};
const Group kLensCommands = {"Lens", kLens};

} // namespace prompt
