#include "session/trial.h"

#include "host/setters.h"
#include "host/store.h"
#include "isp_ctrl.h"
#include "session/cameras.h"
#include "session/change.h"
#include "session/lanes.h"

#include <array>
#include <iostream>
#include <mutex>
#include <optional>

namespace session
{

namespace
{

/// What a trial has varied so far, and a value that no store keeps.
struct Tried {
    Change change;
    std::optional<int> csc_mode;
    bool varied = false;
};

struct Trials {
    std::mutex mutex;
    std::array<std::optional<Tried>, kCameras> of_cameras;
} trials;

std::optional<Tried>& trial_of(int camera)
{
    return trials.of_cameras[static_cast<std::size_t>(camera)];
}

} // namespace

Trial::Trial(int camera) : camera_(camera)
{
    const std::lock_guard lock(trials.mutex);
    if (trial_of(camera)) {
        throw Busy("camera " + std::to_string(camera) + " is busy with trying values");
    }
    const kiv_isp_param_s record = sim::host::stored_record(camera);
    trial_of(camera) = Tried{.change = {.camera = camera, .what = "", .before = record, .after = record},
                             .csc_mode = csc_mode_of(camera)};
}

Trial::~Trial()
{
    try {
        const Lanes lane({camera_}, "putting settings back");
        const std::lock_guard lock(trials.mutex);
        const Tried& tried = *trial_of(camera_);
        if (tried.varied) {
            kiv_isp_param_s record = sim::host::stored_record(camera_);
            take_back(tried.change, record);
            put_settings(camera_, record);
            if (tried.csc_mode && tried.csc_mode != csc_mode_of(camera_)) {
                KIV_Set_csc_mode(camera_, CSC_Mode_E{*tried.csc_mode});
            }
        }
    } catch (const Busy& busy) {
        std::cerr << "isp-sim: settings that were tried stay: " << busy.what() << '\n';
    }
    const std::lock_guard lock(trials.mutex);
    trial_of(camera_).reset();
}

int Trial::set(const sim::host::Setting& setting, int value)
{
    const Lanes lane({camera_}, "trying " + std::string(setting.name));
    const kiv_isp_param_s before = sim::host::stored_record(camera_);
    const std::lock_guard lock(trials.mutex); // nobody is shown a value before it is known to be tried
    const int result = sim::host::set(camera_, setting.name, value);
    const kiv_isp_param_s after = sim::host::stored_record(camera_);
    trial_of(camera_)->varied = true;
    Change& change = trial_of(camera_)->change;
    for (const sim::host::Setting& each : sim::host::kSettings) {
        if (before.*each.member != after.*each.member) {
            if (change.before.*each.member == change.after.*each.member ||
                before.*each.member != change.after.*each.member) { // new, or somebody's since
                change.before.*each.member = before.*each.member;
            }
            change.after.*each.member = after.*each.member;
        }
    }
    return result;
}

bool on_trial(int camera)
{
    const std::lock_guard lock(trials.mutex);
    return trial_of(camera).has_value();
}

kiv_isp_param_s shown_settings(int camera)
{
    const std::lock_guard lock(trials.mutex);
    kiv_isp_param_s record = sim::host::stored_record(camera);
    if (trial_of(camera)) {
        take_back(trial_of(camera)->change, record);
    }
    return record;
}

} // namespace session
