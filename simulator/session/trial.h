// Values that a command tries on a camera: viewers see the camera as it was before, and afterwards all is put back that
// the trial varied and nobody else has changed meanwhile.
//
//     session::Trial trial(camera);
//     trial.set(gamma, 3);                        // let time pass, look at the picture
//     trial.set(gamma, 5);                        // ... as if gamma had never been 3
#pragma once

#include "host/settings.h"

namespace session
{

class Trial
{
public:
    /// Throws Busy while another trial is under way on the camera.
    explicit Trial(int camera);
    ~Trial();
    Trial& operator=(Trial&&) = delete;

    /// Sets one more value, in the camera's lane; the library's result.
    int set(const sim::host::Setting& setting, int value);

private:
    int camera_;
};

/// Whether values are being tried on a camera. Any thread.
bool on_trial(int camera);

/// What viewers are to see: the stored settings, without values that are only tried. Any thread.
kiv_isp_param_s shown_settings(int camera);

} // namespace session
