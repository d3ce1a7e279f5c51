// The session's folder and the camera's files in it: one program at a time uses it, others may look at a copy.
#pragma once

#include <string>

namespace session
{

/// Enters a folder, which is made if it is not there, takes it for this program until the process ends, removes what
/// killed programs left, points the library's fixed paths into it and writes what is written at start. Where nothing is
/// to be written there, or cannot be, it works in a copy, and says so on standard error. Throws BadInput with the
/// reason when the folder cannot be used, and with the other program's number while that uses it.
void enter_files(const std::string& folder, bool look_only);

/// Removes the copy, if there is one.
void leave_folder();

/// Where the files are; while the session lasts, since the library keeps pointers into these.
struct FilePaths {
    std::string folder;
    std::string store;
    std::string calibration;
    std::string shading;
    std::string iris; ///< the device from which the lens service learns of the iris
};
const FilePaths& paths();

/// Whether a path names one of the files that the program itself keeps in the session's folder.
bool is_own_file(const std::string& path);

/// The folder, within the session's, of files that are named over the network; made if it is not there. Throws
/// BadInput.
std::string named_files_folder();

/// Chooses the lens that vendor storage names; "none" for no entry.
void fit_lens(const std::string& model);

/// Loads the settings from the folder. Throws BadInput when the store's file is damaged.
void load_settings();

/// Whether settings changed that are in a copy alone, although they were to be kept.
bool settings_are_lost();

/// Writes the settings if they changed since they were loaded or saved. Any thread. Throws BadInput when that fails.
void save_settings();

} // namespace session
