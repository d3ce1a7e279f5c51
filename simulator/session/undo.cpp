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

Undoable::Undoable(int camera, const std::string& what)
    : change_{.camera = camera, .what = what, .before = sim::host::stored_record(camera), .after = {}}
{
}

Undoable::~Undoable()
{
    change_.after = sim::host::stored_record(change_.camera);
    note_change(change_);
}

void put_settings(int camera, const kiv_isp_param_s& record)
{
    const Lanes lane({camera}, "a change of its settings");
    sim::host::store_record(camera, record);
    if (has_engine(camera)) {
        KIV_load_isp_para(camera);
    }
}

std::optional<Change> undo_change()
{
    const std::optional<Change> seen = last();
    if (!seen) {
        return std::nullopt;
    }
    const Lanes lane({seen->camera}, "undo");
    std::unique_lock lock(mutex);
    if (history.empty()) {
        return std::nullopt;
    }
    const Change change = history.back(); // no longer the one that was seen, perhaps
    if (change.camera != seen->camera) {
        throw Busy("others change settings; undo again");
    }
    history.pop_back();
    lock.unlock();
    Change undone = change;
    undone.before = sim::host::stored_record(change.camera);
    kiv_isp_param_s record = undone.before;
    take_back(change, record);
    put_settings(change.camera, record);
    undone.after = sim::host::stored_record(change.camera);
    return undone;
}

std::string next_undo()
{
    const std::optional<Change> change = last();
    return change ? "camera " + std::to_string(change->camera) + ": " + change->what : "";
}

} // namespace session
