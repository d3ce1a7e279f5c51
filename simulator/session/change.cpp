#include "session/change.h"

#include "host/setters.h"
#include "host/store.h"
#include "isp_ctrl.h"
#include "session/cameras.h"
#include "session/lanes.h"
#include "session/undo.h"

#include <array>
#include <mutex>

namespace session
{

namespace
{

std::string outcome_text(int camera, const sim::host::Setting& setting, int value, int result)
{
    const kiv_isp_param_s record = sim::host::stored_record(camera);
    const bool stored = setting.member != nullptr && sim::host::contains(setting.stored, record);
    if (result == ISP_EXCUTE_BYARM) {
        return "result 3: the host applies styles itself";
    }
    if (result != ISP_SUCCESS && result != ISP_UNFIT) {
        return "result " + std::to_string(result) + ": refused, or the engine failed";
    }
    if (result == ISP_UNFIT && !setting.is_mode() && sim::host::contains(setting.accepted, record)) {
        return "result 2: refused";
    }
    if (setting.setter != sim::host::Setter::action && !setting.in_range(value)) {
        return "shown, not stored";
    }
    if (setting.effective == sim::host::kNoMode) {
        return stored ? "kept, without effect" : "accepted, without effect";
    }
    const std::string unused = sim::host::unused_mode(setting.effective, record);
    if (unused.empty()) {
        if (setting.name == "exposure_mode" && value == SMART_EXPOSURE && camera != kZoomCamera) {
            return "exposure stays where it is: the feature camera follows when camera 0 is in smart";
        }
        if (setting.is_mode() && !sim::host::shows(setting, value)) {
            return std::string(sim::host::kNotShown);
        }
        return !has_engine(camera) ? stored ? "no engine: stored" : "no engine"
               : stored || setting.member == nullptr
                   ? ""
                   : "not stored in " + sim::host::unused_mode(setting.stored, record);
    }
    if (setting.is_mode()) {
        return "kept, without effect";
    }
    return stored ? "kept: takes effect only while " + sim::host::modes_text(setting.effective, &record)
                  : "not stored: " + unused + " does not use it";
}

std::mutex mutex;
std::array<sim::engine::Snapshot, kCameras> engines_before;

} // namespace

int apply(int camera, const sim::host::Setting& setting, int value)
{
    if (setting.name == "csc_mode") {
        note_csc_mode(camera, value);
    }
    return sim::host::set(camera, setting.name, value);
}

Outcome change_setting(int camera, const sim::host::Setting& setting, int value, Origin origin)
{
    const std::string name(setting.name);
    const Lanes lane({camera}, name);
    remember_engine(camera);
    const Undoable undoable(camera, name, origin != Origin::prompt);
    Outcome outcome;
    outcome.result = apply(camera, setting, value);
    if (setting.member != nullptr) {
        outcome.stored = sim::host::stored(camera, setting);
    }
    outcome.text = outcome_text(camera, setting, value, outcome.result);
    return outcome;
}

void remember_engine(int camera)
{
    sim::engine::Snapshot now = has_engine(camera) ? sim::engine::snapshot(engine_of(camera)) : sim::engine::Snapshot();
    const std::lock_guard lock(mutex);
    engines_before[static_cast<std::size_t>(camera)] = std::move(now);
}

void remember_engines()
{
    for (int camera = 0; camera < kCameras; ++camera) {
        remember_engine(camera);
    }
}

sim::engine::Snapshot remembered(int camera)
{
    const std::lock_guard lock(mutex);
    return engines_before[static_cast<std::size_t>(camera)];
}

} // namespace session
