/* The life of two cameras: camera 1 shows the panorama, camera 0 a part of it, and follows its exposure. */
#include "host.h"

#include <isp_ctrl.h>
#include <platformpara/para_isp.h>
#include <stdio.h>
#include <time.h>

/* Engines first, then their settings; threads last. */
int cameras_start(int first_time)
{
    for (int camera = 0; camera < CAMERAS; ++camera) {
        if (rk_isp_init(camera, NULL) != 0) {
            fprintf(stderr, "camera %d does not start\n", camera);
            return -1;
        }
    }
    for (int camera = 0; camera < CAMERAS; ++camera) {
        KIV_load_isp_para(camera); /* smart exposure, if stored, begins to follow */
    }
    if (first_time) {
        KIV_Set_exposure_mode(FEATURE, SMART_EXPOSURE);
    }
    return init_auto_iris_control(lens_move_iris);
}

/* A failed engine query ends exposure following without a word. The call brings it back, and does nothing while it
 * runs. */
void cameras_each_second(void)
{
    if (para_get_isp_exposure_mode_cur(FEATURE) == SMART_EXPOSURE) {
        cam_ae_follow_pano_thread();
    }
}

/* Everything that calls the engine ends before the engine does; the user's exposure mode stays as it is. */
void cameras_shut_down(void)
{
    set_awb_follow_pano(0); /* also right where it never began */
    store_end_manual();
    lens_end_automatic();
    nanosleep(&(struct timespec){.tv_nsec = 200000000}, NULL); /* cycles under way end */
    for (int camera = 0; camera < CAMERAS; ++camera) {
        rk_isp_deinit(camera);
    }
}
