// From a setting of the list to the library's setter.
#pragma once

#include "host/settings.h"

namespace app
{

/// Calls the setter of a setting or command; the result is the setter's, 0 where it has none. Settings without a
/// setter are not for this.
int apply(int camera, const sim::host::Setting& setting, int value);

} // namespace app
