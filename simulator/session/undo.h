// The settings before each change of this session, and their return.
#pragma once

#include "host/settings.h"

#include <string>

namespace session
{

/// While it lives, a camera's settings may change; what they were can then be had back.
class Undoable
{
public:
    explicit Undoable(int camera);
    ~Undoable();
    Undoable(const Undoable&) = delete;
    Undoable& operator=(const Undoable&) = delete;

private:
    int camera_;
    kiv_isp_param_s before_;
};

/// Puts a camera's settings into store and engine.
void put_settings(int camera, const kiv_isp_param_s& record);

/// Takes back the last change that was not taken back yet. Returns its camera, or -1 when there is none.
int undo_change();

/// A line per setting in which two records differ, "hue                     3  (TITLE 7)".
std::string differences(const kiv_isp_param_s& record, const kiv_isp_param_s& other, const std::string& title);

} // namespace session
