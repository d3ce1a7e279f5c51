// The folder of the camera's files: one program at a time uses it, others may look at a copy.
#pragma once

#include <string>

namespace session
{

struct StateFolder {
    std::string path; ///< absolute
    bool copied;      ///< a copy, which leave_folder() removes
    std::string note; ///< for the user, where the copy was not asked for
};

/// Makes the folder if it is not there, takes it for this program until the process ends and removes what killed
/// programs left. Where nothing can be written, returns a copy. Throws BadInput with the reason when the folder cannot
/// be used, and with the other program's number while that uses it.
StateFolder enter_folder(const std::string& path);

/// A temporary folder with copies of settings, shading and calibration. `reason` says why nothing can be written to the
/// original; empty where that is the user's wish.
StateFolder copy_of_folder(const std::string& path, const std::string& reason);

/// Removes the copy, if there is one.
void leave_folder();

} // namespace session
