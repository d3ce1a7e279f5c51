#include "session/undo.h"

#include "host/store.h"
#include "isp_ctrl.h"
#include "session/cameras.h"
#include "session/lanes.h"

#include <cstring>
#include <deque>
#include <mutex>
#include <utility>

namespace session
{

namespace
{

using Clock = std::chrono::steady_clock;

constexpr std::size_t kMost = 1000; // changes that are kept
constexpr std::chrono::seconds kGoesOn{1};

std::mutex mutex;
std::deque<Change> history;
Clock::time_point last_change;

bool same(const kiv_isp_param_s& one, const kiv_isp_param_s& other)
{
    return std::memcmp(&one, &other, sizeof one) == 0;
}

std::optional<Change> last()
{
    const std::lock_guard lock(mutex);
    return history.empty() ? std::nullopt : std::optional(history.back());
}

/// Adds a change to the history unless nothing differs.
void note_change(const Change& change, bool goes_on)
{
    const std::lock_guard lock(mutex);
    const Clock::time_point now = Clock::now();
    const bool same_slider = goes_on && !history.empty() && history.back().camera == change.camera &&
                             history.back().what == change.what && now - last_change < kGoesOn;
    if (same_slider) {
        history.back().after = change.after;
    } else if (!same(change.before, change.after)) {
        history.push_back(change);
    }
    if (!history.empty() && same(history.back().before, history.back().after)) {
        history.pop_back();
    }
    if (history.size() > kMost) {
        history.pop_front();
    }
    last_change = now;
}

} // namespace

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
    std::unique_lock lock(mutex);
    if (history.empty() || history.back().camera != seen->camera) { // no longer the one that was seen
        throw Busy("others change settings; undo again");
    }
    const Change change = history.back();
    history.pop_back();
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
