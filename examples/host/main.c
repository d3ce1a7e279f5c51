/* A host with two cameras: camera 1 shows the panorama, camera 0 a part of it, and follows its exposure.
 *
 *     host SETTINGS-FILE [-v]      -v: the library's trace lines
 *
 * The signal USR1 switches camera 0 between colour and black and white; INT and TERM end the host. */
#include "host.h"

#include <base/lib_dbgout.h>
#include <isp_ctrl.h>
#include <platformpara/para_isp.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <time.h>

enum { FEATURE = 0, PANORAMA = 1, CAMERAS = 2 };

/* Engines first, then their settings; threads last. */
static int start(int first_time)
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

/* The user's wish: one call. The library stores it and tells the engine. */
static void switch_colour(void)
{
    const int black_and_white = para_get_isp_blackwhite_mode_cur(FEATURE) == BlackWhite_Mode_ON;
    const int result = KIV_Set_blackwhite_mode(FEATURE, black_and_white ? BlackWhite_Mode_OFF : BlackWhite_Mode_ON);
    printf("camera %d: %s (%d)\n", FEATURE, black_and_white ? "colour" : "black and white", result);
}

static void report(void)
{
    float gain = 0, digital_gain = 0, seconds = 0, luma = 0, highest_gain = 0, target = 0;
    if (kiv_rkisp_cl_getAeinfo(&gain, &digital_gain, &seconds, &luma, &highest_gain, &target) == 0) {
        printf("camera %d: %.1f ms, gain %.1f, luma %.0f\n", FEATURE, 1000.0 * seconds, gain * digital_gain, luma);
    }
}

/* Everything that calls the engine ends before the engine does. Leaving smart exposure is stored like every wish: the
 * settings were saved before. */
static void shut_down(void)
{
    if (para_get_isp_exposure_mode_cur(FEATURE) == SMART_EXPOSURE) {
        KIV_Set_exposure_mode(FEATURE, AUTO_EXPOSURE);
    }
    set_awb_follow_pano(0); /* also right where it never began */
    lens_end_automatic();
    nanosleep(&(struct timespec){.tv_nsec = 200000000}, NULL); /* cycles under way end */
    for (int camera = 0; camera < CAMERAS; ++camera) {
        rk_isp_deinit(camera);
    }
}

int main(int count, char** words)
{
    if (count < 2 || count > 3 || (count == 3 && strcmp(words[2], "-v") != 0)) {
        fprintf(stderr, "usage: %s SETTINGS-FILE [-v]\n", words[0]);
        return 2;
    }
    const char* path = words[1];
    dbgout_profile.module_level = count == 3 ? 6 : 0;
    setvbuf(stdout, NULL, _IOLBF, 0);

    /* Blocked before any thread exists, so that all threads leave the signals to this one. */
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGUSR1);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    sigprocmask(SIG_BLOCK, &signals, NULL);

    const int loaded = store_load(path);
    if (loaded < 0) {
        return 1;
    }
#ifdef WORKSTATION
    workstation_start();
#endif
    if (start(!loaded) != 0) {
        shut_down();
        return 1;
    }
    for (;;) {
        const struct timespec second = {.tv_sec = 1};
        const int signal = sigtimedwait(&signals, NULL, &second);
        if (signal == SIGUSR1) {
            switch_colour();
        } else if (signal == SIGINT || signal == SIGTERM) {
            break;
        } else {
            report();
        }
        store_save(path);
    }
    int result = store_save(path) == 0 ? 0 : 1;
    shut_down();
#ifdef WORKSTATION
    result |= workstation_faults() != 0;
#endif
    return result;
}
