// White-balance tests: one camera, its engine holding a balance that no setter writes, so that what is left alone
// shows.
#pragma once

#include "support/awb_calls.h"
#include "support/bench.h"

namespace bench
{

inline constexpr int kCamera = 1;
inline constexpr Balance kBefore = {
    RK_AIQ_WB_MODE_AUTO, RK_AIQ_MWB_MODE_CCT, {1.1F, 1.2F, 1.3F, 1.4F}, false, {0.11F, 0.12F, 0.13F, 0.14F}};
inline const char* const kOtherLens = "echo IR0147-50IRC-8M";
inline const char* const kSr1053 = "echo SR1053-50IRC-8M-F20";

/// kBefore with manual gains held, as the manual modes leave it.
inline Balance holding(float red, float green, float blue)
{
    Balance b = kBefore;
    b.mode = RK_AIQ_WB_MODE_MANUAL;
    b.manual_mode = RK_AIQ_MWB_MODE_WBGAIN;
    b.gains = {red, green, green, blue};
    return b;
}

inline Balance with_offset(Balance b, float red, float blue)
{
    b.offset_on = true;
    b.offset[0] = red;
    b.offset[3] = blue;
    return b;
}

/// A gain with tuning steps of 3/254 added, rounded once from a wider sum.
inline float tuned(long double gain, int level)
{
    return static_cast<float>(gain + 3.0L * (level - 10) / 254.0L);
}

class WhiteBalance : public Bench
{
protected:
    void SetUp() override
    {
        note_waits();
        start_camera(kCamera);
        put_balance(kCamera, kBefore);
    }

    static void tuning(int red, int blue)
    {
        store(kCamera, "rgain_tuning", red);
        store(kCamera, "bgain_tuning", blue);
    }

    template <typename Action>
    static std::string line_of(Action action)
    {
        return awb_line(calls_of(action));
    }
};

} // namespace bench
