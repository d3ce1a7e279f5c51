// Frame rates of the video inputs.
#include "host/vin.h"

#include "base/calls.h"
#include "host/store.h"
#include "vin/vin.h"

#include <atomic>

namespace sim::host
{

namespace
{
std::atomic<int> g_fps[kCameras] = {kDefaultFps, kDefaultFps, kDefaultFps, kDefaultFps,
                                    kDefaultFps, kDefaultFps, kDefaultFps, kDefaultFps};
}

void set_vin_fps(int camera, int fps)
{
    g_fps[camera].store(fps, std::memory_order_relaxed);
}

void reset_vin()
{
    for (int camera = 0; camera < kCameras; ++camera) {
        set_vin_fps(camera, kDefaultFps);
    }
}

} // namespace sim::host

int get_vin_fps(int cam_id)
{
    int fps = 0;
    if (0 <= cam_id && cam_id < sim::host::kCameras) {
        fps = sim::host::g_fps[cam_id].load(std::memory_order_relaxed);
    } else {
        sim::host::note_misuse("get_vin_fps: no camera " + std::to_string(cam_id));
    }
    const int fault = sim::note_call("get_vin_fps", cam_id, fps);
    return fault != 0 ? fault : fps;
}
