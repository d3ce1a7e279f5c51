#include "session/change.h"

#include "host/setters.h"
#include "isp_ctrl.h"

namespace session
{

int apply(int camera, const sim::host::Setting& setting, int value)
{
    if (setting.setter == sim::host::Setter::gain) {
        setting.name == "rgain_onepush" ? set_onepush_rgain(camera, value) : set_onepush_bgain(camera, value);
        return 0;
    }
    return sim::host::set(camera, setting.name, value);
}

} // namespace session
