// The history of changes of settings, whoever made them, and their return.
#pragma once

#include "host/settings.h"

#include <optional>
#include <string>

namespace session
{

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
