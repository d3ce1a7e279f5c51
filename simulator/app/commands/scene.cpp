// What is in front of the cameras.
#include "app/command.h"
#include "app/commands/groups.h"
#include "app/session.h"
#include "engine/engine.h"

namespace app
{

namespace
{

void scene(const Words& words)
{
    const double seconds = words.size() > 2 ? static_cast<double>(duration(words[2])) / 1e6 : 0.0;
    sim::engine::set_scene(camera_id(words[0]), number<double>(words[1], 0.0, 200000.0, "a luminance in cd/m2"),
                           seconds);
}

void light(const Words& words)
{
    set_light(camera_id(words[0]), words[1]);
}

void sensor(const Words& words)
{
    sim::engine::set_response(camera_id(words[0]), number<double>(words[1], 0.2, 5.0, "a red response"),
                              number<double>(words[2], 0.2, 5.0, "a blue response"));
}

constexpr Command kCommands[] = {
    {"scene", "CAM CD/M2 [TIME]", "luminance of the scene, reached over a time", 2, 3, scene},
    {"light", "CAM KELVIN|A|TL84|D50|D65", "illuminant of the scene", 2, 2, light},
    {"sensor", "CAM RED BLUE", "response of a sensor", 3, 3, sensor},
};

} // namespace

std::span<const Command> scene_commands()
{
    return kCommands;
}

} // namespace app
