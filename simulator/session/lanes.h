// Calls for one camera keep their order: whoever acts on cameras holds their lanes, in the order of arrival. Other
// cameras are not held up. No lane is needed to read.
//
//     const Lanes lanes({camera}, "one-push");    // waits, or throws Busy
//     set_onepush_rgain(camera, 1500);            // log lines written meanwhile by this thread are the camera's
#pragma once

#include <array>
#include <chrono>
#include <initializer_list>
#include <span>
#include <stdexcept>
#include <string>

namespace session
{

/// A camera was not free in time; the text says what it is busy with.
struct Busy : std::runtime_error {
    using std::runtime_error::runtime_error;
};

class Lanes
{
public:
    /// `what` tells others what the cameras are busy with. A camera that this thread holds already is not waited for.
    /// While it waits, a turn of this thread is given up. Throws Busy when patience ends.
    Lanes(std::span<const int> cameras, const std::string& what);
    Lanes(std::initializer_list<int> cameras, const std::string& what);
    ~Lanes();
    Lanes(const Lanes&) = delete;
    Lanes& operator=(const Lanes&) = delete;

private:
    unsigned held_ = 0; ///< a bit per camera
    int acting_before_;
};

inline constexpr std::chrono::seconds kPatience{30}; ///< for which lanes and turns are waited for

/// What a camera is busy with; empty while it is free. Any thread.
std::string busy_with(int camera);

/// The camera for which this thread acts; -1 for none or several.
int acting_camera();

/// Names one of several cameras, while it lives, as the one for which this thread acts.
class ActingFor
{
public:
    explicit ActingFor(int camera);
    ~ActingFor();
    ActingFor(const ActingFor&) = delete;
    ActingFor& operator=(const ActingFor&) = delete;

private:
    int before_;
};

} // namespace session
