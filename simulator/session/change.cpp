#include "session/change.h"

#include "host/setters.h"
#include "host/store.h"
#include "isp_ctrl.h"
#include "session/cameras.h"
#include "session/lanes.h"

#include <array>
#include <chrono>
#include <cstring>
#include <deque>
#include <mutex>
#include <utility>

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

using Clock = std::chrono::steady_clock;

constexpr std::size_t kMost = 1000; // changes that are kept
constexpr std::chrono::seconds kGoesOn{1};

struct History {
    std::mutex mutex;
    std::deque<Change> changes;
    Clock::time_point last; // change
    std::array<sim::engine::Snapshot, kCameras> engines_before;
} history;

bool same(const kiv_isp_param_s& one, const kiv_isp_param_s& other)
{
    return std::memcmp(&one, &other, sizeof one) == 0;
}

std::optional<Change> last()
{
    const std::lock_guard lock(history.mutex);
    return history.changes.empty() ? std::nullopt : std::optional(history.changes.back());
}

/// Adds a change to the history unless nothing differs.
void note_change(const Change& change, bool goes_on)
{
    const std::lock_guard lock(history.mutex);
    const Clock::time_point now = Clock::now();
    const bool same_slider = goes_on && !history.changes.empty() && history.changes.back().camera == change.camera &&
                             history.changes.back().what == change.what && now - history.last < kGoesOn;
    if (same_slider) {
        history.changes.back().after = change.after;
    } else if (!same(change.before, change.after)) {
        history.changes.push_back(change);
    }
    if (!history.changes.empty() && same(history.changes.back().before, history.changes.back().after)) {
        history.changes.pop_back();
    }
    if (history.changes.size() > kMost) {
        history.changes.pop_front();
    }
    history.last = now;
}

} // namespace

Outcome change_setting(int camera, const sim::host::Setting& setting, int value, Origin origin)
{
    const std::string name(setting.name);
    const Lanes lane({camera}, name);
    remember_engine(camera);
    const Undoable undoable(camera, name, origin != Origin::prompt);
    Outcome outcome;
    outcome.result = sim::host::set(camera, setting.name, value);
    if (setting.member != nullptr) {
        outcome.stored = sim::host::stored(camera, setting);
    }
    outcome.text = outcome_text(camera, setting, value, outcome.result);
    return outcome;
}

void remember_engine(int camera)
{
    sim::engine::Snapshot now = has_engine(camera) ? sim::engine::snapshot(engine_of(camera)) : sim::engine::Snapshot();
    const std::lock_guard lock(history.mutex);
    history.engines_before[static_cast<std::size_t>(camera)] = std::move(now);
}

void remember_engines()
{
    for (int camera = 0; camera < kCameras; ++camera) {
        remember_engine(camera);
    }
}

sim::engine::Snapshot remembered(int camera)
{
    const std::lock_guard lock(history.mutex);
    return history.engines_before[static_cast<std::size_t>(camera)];
}

void take_back(const Change& change, kiv_isp_param_s& record)
{
    for (const sim::host::Setting& setting : sim::host::kSettings) {
        const int before = change.before.*setting.member;
        const int after = change.after.*setting.member;
        if (before != after && record.*setting.member == after) {
            record.*setting.member = before;
        }
    }
}

Undoable::Undoable(int camera, const std::string& what, bool goes_on)
    : change_{.camera = camera, .what = what, .before = sim::host::stored_record(camera), .after = {}},
      goes_on_(goes_on)
{
}

Undoable::~Undoable()
{
    change_.after = sim::host::stored_record(change_.camera);
    note_change(change_, goes_on_);
}

void put_settings(int camera, const kiv_isp_param_s& record)
{
    const Lanes lane({camera}, "a change of its settings");
    sim::host::store_record(camera, record);
    if (has_engine(camera)) {
        KIV_load_isp_para(camera);
    }
}

std::optional<Undone> undo_change()
{
    const std::optional<Change> seen = last();
    if (!seen) {
        return std::nullopt;
    }
    const Lanes lane({seen->camera}, "undo");
    std::unique_lock lock(history.mutex);
    if (history.changes.empty() || history.changes.back().camera != seen->camera) { // no longer the one that was seen
        throw Busy("others change settings; undo again");
    }
    const Change change = history.changes.back();
    history.changes.pop_back();
    lock.unlock();
    const kiv_isp_param_s before = sim::host::stored_record(change.camera);
    kiv_isp_param_s record = before;
    take_back(change, record);
    put_settings(change.camera, record);
    return Undone{change.camera, before};
}

std::string next_undo()
{
    const std::optional<Change> change = last();
    return change ? "camera " + std::to_string(change->camera) + ": " + change->what : "";
}

} // namespace session
