#include "session/scenes.h"

#include "host/lens.h"
#include "session/cameras.h"

#include <array>
#include <mutex>
#include <utility>

namespace session
{

namespace
{

std::mutex mutex;
std::array<sim::picture::SceneRef, kCameras> scenes;
std::array<bool, kCameras> moving_scenes{};

} // namespace

void reset_scenes()
{
    const std::lock_guard lock(mutex);
    scenes.fill(sim::picture::find_scene("chart"));
    moving_scenes = {};
}

void put_scene(int camera, sim::picture::SceneRef scene, bool moving)
{
    const std::lock_guard lock(mutex);
    scenes[static_cast<std::size_t>(camera)] = std::move(scene);
    moving_scenes[static_cast<std::size_t>(camera)] = moving;
}

sim::picture::SceneRef scene_of(int camera)
{
    const std::lock_guard lock(mutex);
    return scenes[static_cast<std::size_t>(camera)];
}

bool moves(int camera)
{
    const std::lock_guard lock(mutex);
    return moving_scenes[static_cast<std::size_t>(camera)];
}

float magnification_of(int camera)
{
    return camera == kZoomCamera ? static_cast<float>(sim::host::magnification(sim::host::lens_state().zoom)) : 1.0F;
}

} // namespace session
