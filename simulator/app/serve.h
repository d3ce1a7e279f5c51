// The program while it serves pages or controllers.
#pragma once

#include <string>
#include <vector>

/// Opens the session, serves pages and controllers at [HOST:]PORT, each where that is not empty, runs the scripts in
/// paced time, and then a prompt or, without a terminal, until SIGTERM or SIGINT. Returns the exit status. Throws
/// BadInput.
int serve(const std::string& pages, const std::string& controllers, const std::string& folder, bool read_only,
          const std::vector<std::string>& scripts);
