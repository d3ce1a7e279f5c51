// The one way in which prompt, scripts, pages, programs and the control protocol change settings; the history of these
// changes, and their return.
#pragma once

#include "engine/engine.h"
#include "host/settings.h"

#include <optional>
#include <string>

namespace session
{

/// Who changes a setting. Changes that follow each other from a page or a controller are one step of undo.
enum class Origin { prompt, page, control };

struct Outcome {
    int result = 0;            ///< the library's own: 0, -1, 2 or 3
    std::optional<int> stored; ///< what the store holds now; none where the setting is no part of the record
    std::string text;          ///< what became of the value; empty where it is simply stored and in force
};

/// Changes a setting of a camera or has an action done, in the camera's lane; undo, `changes` and the log know of it.
/// The value is the caller's to check. Any thread. Throws Busy when the camera is not free in time.
Outcome change_setting(int camera, const sim::host::Setting& setting, int value, Origin origin);

/// Notes what the engine of a camera holds, or what all hold: `changes` compares with it. Any thread.
void remember_engine(int camera);
void remember_engines();

/// What a camera's engine held then; empty where it had none.
sim::engine::Snapshot remembered(int camera);

/// A camera's settings before and after a change. What the change did can be taken back without what others did since.
struct Change {
    int camera = 0;
    std::string what; ///< the setting, or what else changed the record
    kiv_isp_param_s before{};
    kiv_isp_param_s after{};
};

/// Puts into `record` the settings that a change varied and nobody has changed since, as they were before it.
void take_back(const Change& change, kiv_isp_param_s& record);

/// While it lives, a camera's settings may change: one change of the history. With `goes_on` it continues the last one
/// if that was of the same camera and setting, less than a second ago: a slider that is dragged.
class Undoable
{
public:
    Undoable(int camera, const std::string& what, bool goes_on = false);
    ~Undoable();
    Undoable& operator=(Undoable&&) = delete;

private:
    Change change_;
    bool goes_on_;
};

/// Puts a camera's settings into store and engine, in the camera's lane.
void put_settings(int camera, const kiv_isp_param_s& record);

/// Takes back the last change that was not taken back yet: the camera and its settings before this; nothing where there
/// is none. Throws Busy.
struct Undone {
    int camera;
    kiv_isp_param_s before;
};
std::optional<Undone> undo_change();

/// What undo_change() would take back, "camera 0: hue"; empty where there is nothing. Any thread.
std::string next_undo();

} // namespace session
