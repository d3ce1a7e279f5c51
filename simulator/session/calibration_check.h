// What is wrong with a file of calibration lines, which the library follows as it is.
#pragma once

#include <string>

namespace session
{

/// Empty where the file is in order or not there.
std::string calibration_problem(const std::string& path);

/// Says on standard error what is wrong with the session's calibration, if the file changed since the last time.
void report_changed_calibration();

} // namespace session
