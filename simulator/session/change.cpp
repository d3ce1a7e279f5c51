#include "session/change.h"

#include "host/setters.h"

namespace session
{

int apply(int camera, const sim::host::Setting& setting, int value)
{
    return sim::host::set(camera, setting.name, value);
}

} // namespace session
