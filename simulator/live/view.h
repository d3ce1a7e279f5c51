// What pages see of the cameras: a view, taken after each frame and each change, that any number of threads read
// without asking library or simulator.
#pragma once

#include "picture/picture.h"
#include "prompt/camera_line.h"
#include "session/cameras.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace live
{

using session::kCameras;

using Clock = std::chrono::steady_clock;

struct Camera : prompt::CameraFacts {
    std::optional<int> csc_mode;                    ///< which no store keeps; none before it is set
    std::string busy;                               ///< what holds it; empty while it is free
    std::shared_ptr<const sim::picture::Look> look; ///< null without an engine; the same object while nothing changes
                                                    ///< but noise, which is renewed a few times a second
    std::uint64_t picture = 0;                      ///< the look's number, which no other look has; 0 without one
    Clock::time_point look_taken;
};

struct View {
    double seconds = 0.0; ///< simulated
    double pace = 1.0;    ///< of simulated time
    std::string busy;     ///< the command that runs
    std::string undo;     ///< the change that undo would take back
    bool auto_iris = false;
    std::array<Camera, kCameras> cameras;
};

/// The latest view, null before the first.
std::shared_ptr<const View> latest_view();

/// From here on calls that after each view; nothing for an end.
void on_view(std::function<void()> callback);

/// Takes a view. Any thread.
void take_view();

/// Takes a view unless one was taken less than this before: for frames, which follow each other fast at a high pace.
void take_view_of_frame();

} // namespace live
