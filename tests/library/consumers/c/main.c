/* A host in C: starts a camera, sets its saturation, and asks the engine what it got. */
#include <isp_auto_iris.h>
#include <isp_ctrl.h>
#include <stdio.h>

int main(void)
{
    acp_attrib_t colour = {0};
    set_iris_manu(1);
    if (rk_isp_init(0, NULL) != 0 || KIV_Set_saturation(0, 14) != 0) {
        return 1;
    }
    if (rk_aiq_user_api2_acp_GetAttrib(g_aiq_ctx[0], &colour) != XCAM_RETURN_NO_ERROR) {
        return 1;
    }
    printf("saturation %d, manual iris %d\n", colour.saturation, get_iris_manu());
    if (rk_isp_deinit(0) != 0) {
        return 1;
    }
    return colour.saturation == 223 && get_iris_manu() == 1 ? 0 : 1;
}
