// Iris: a level moves the lens iris through the host's lens control. No engine is involved.
#include "af/lens_ctrl.h"
#include "isp_ctrl/exposure/ae_block.h"

namespace
{

constexpr int kExpectedMaximum = 17; // VISCA_IRIS_F180
constexpr int kLastUnused = 5; // levels 1 to 5 are not used; VISCA_IRIS_CLOSE has the position that level 5 would have

/// Position of a level: the store's maximum minus the level, 0 being the widest aperture.
unsigned short iris_position(int maximum, int level)
{
    const long position = static_cast<long>(maximum) - std::max(level, kLastUnused);
    return static_cast<unsigned short>(std::max(position, 0L));
}

} // namespace

int KIV_Set_iris(int isp_id, Iris_Level_E value)
{
    const isp::Call call{__func__, isp_id};
    if (!isp::valid_camera(call)) {
        return -1;
    }
    const int mode = isp::stored_exposure_mode(call);
    const int maximum = isp::read_setting(call, para_get_isp_iris_max);
    if (maximum != kExpectedMaximum) {
        ISP_TRACE(__func__, "iris_max error\n");
    }
    if (value >= 1 && value <= kLastUnused) {
        ISP_TRACE(__func__, "iris error %d\n", static_cast<int>(value));
        return ISP_UNFIT;
    }
    if (mode != MANUAL_EXPOSURE && mode != IRIS_PRIORITY && mode != SMART_EXPOSURE) {
        return isp::unfit(call);
    }
    const int level = isp::clamp_level_unsigned(call, value, para_get_isp_iris_max, INT_MAX);
    if (mode != SMART_EXPOSURE) {
        isp::write_setting(call, para_set_isp_iris_cur, level);
    }
    iris_to(iris_position(maximum, level));
    ISP_TRACE(__func__, "Leave\n\n");
    return 0;
}
