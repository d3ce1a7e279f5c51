// The one way in which prompt, scripts, pages, programs and the control protocol change a setting.
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

/// Calls the setter of a setting or operation; the result is the setter's, 0 where it has none. For trials; no history.
int apply(int camera, const sim::host::Setting& setting, int value);

/// Notes what the engine of a camera holds, or what all hold: `changes` compares with it. Any thread.
void remember_engine(int camera);
void remember_engines();

/// What a camera's engine held then; empty where it had none.
sim::engine::Snapshot remembered(int camera);

} // namespace session
