// Changing a camera's settings.
#pragma once

#include "host/settings.h"

namespace session
{

/// Calls the setter of a setting or operation; the result is the setter's, 0 where it has none.
int apply(int camera, const sim::host::Setting& setting, int value);

} // namespace session
