// The simulated camera at work: its files, the frame clock that drives engine and lens, and the lens service.
#pragma once

#include <string>

namespace session
{

/// Enters a folder (session/files.h), loads the parameter store from it and sets everything up. Throws BadInput when
/// the folder cannot be used or the store is damaged.
void open_session(const std::string& folder, bool look_only = false);

/// Ends a recording and leaves the folder. Throws BadInput when rows of the recording were lost.
void close_session();

/// Starts automatic iris (once per program): the lens service and the library's loop; or switches it off and on.
void set_auto_iris_on(bool on);
bool auto_iris_on();

/// From here on time follows the real clock: people watch.
void keep_time_paced();
bool time_stays_paced();

} // namespace session
