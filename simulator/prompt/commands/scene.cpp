// What is in front of the cameras.
#include "engine/engine.h"
#include "prompt/command.h"
#include "prompt/commands/groups.h"
#include "session/cameras.h"
#include "session/scenes.h"

#include <utility>

namespace prompt
{

namespace
{

bool is_number(const std::string& word)
{
    double value = 0.0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    return error != std::errc::invalid_argument && end == word.data() + word.size();
}

/// A number is a luminance, the name of a drawn scene that scene, any other name with a dot a photograph.
void scene(const Words& words)
{
    const int camera = camera_id(words[0]);
    const std::string& what = words[1];
    if (is_number(what)) {
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
        std::string names;
        for (const std::string_view name : sim::picture::scene_names()) {
            names += " " + std::string(name);
        }
        throw BadInput("there is no scene " + what + "; the scenes are" + names + " and any PNG or JPEG file");
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

constexpr Command kCommands[] = {
    {"scene", "CAM NAME|FILE [moving] | CD/M2 [TIME]",
     "what a camera looks at: chart, window, stage, night, gradient or a photograph, at rest or (chart, stage) moving; "
     "or its mean luminance, reached over a time",
     2, 3, scene},
    {"illuminant", "CAM KELVIN|A|TL84|D50|D65", "illuminant of the scene", 2, 2, illuminant},
    {"mains", "CAM 50|60|off", "mains of the lamps A and TL84, which flicker; 50 Hz at first", 2, 2, mains},
    {"sensor", "CAM RED BLUE", "response of a sensor", 3, 3, sensor},
};

} // namespace

std::span<const Command> scene_commands()
{
    return kCommands;
}

} // namespace prompt
