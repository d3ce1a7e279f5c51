// The program while it serves pages.
#pragma once

#include <string>
#include <vector>

namespace live
{

/// Opens the session, serves pages at [HOST:]PORT, runs the scripts in paced time, and then a prompt or, without a
/// terminal, until SIGTERM or SIGINT. Returns the exit status. Throws BadInput.
int serve(const std::string& address, const std::string& folder, bool read_only,
          const std::vector<std::string>& scripts);

} // namespace live
