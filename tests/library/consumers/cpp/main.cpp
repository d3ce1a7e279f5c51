// A host in C++: starts a camera, sets its contrast, and asks the engine what it got.
#include <cstdio>
#include <isp_auto_iris.h>
#include <isp_ctrl.h>

int main()
{
    acp_attrib_t colour{};
    if (rk_isp_init(1, nullptr) != 0 || KIV_Set_contrast(1, static_cast<Contrast_E>(14)) != 0) {
        return 1;
    }
    if (rk_aiq_user_api2_acp_GetAttrib(g_aiq_ctx[1], &colour) != XCAM_RETURN_NO_ERROR) {
        return 1;
    }
    std::printf("contrast %d, zoom level %d\n", colour.contrast, get_cur_zoom_array(0));
    return colour.contrast == 170 && rk_isp_deinit(1) == 0 ? 0 : 1;
}
