/* The host's program.
 *
 *     host [-v] [-s SOCKET] SETTINGS-FILE      -v: the library's trace lines; -s: requests as protocol.c has them
 *
 * The signal USR1 switches camera 0 between colour and black and white; INT and TERM end the host. */
#include "host.h"

#include <base/lib_dbgout.h>
#include <isp_ctrl.h>
#include <platformpara/para_isp.h>
#include <signal.h>
#include <stdio.h>
#include <time.h>
#include <unistd.h>

/* The user's wish, like one of the protocol: one call. The library stores it and tells the engine. */
static void switch_colour(void)
{
    char reply[256];
    const int coloured = para_get_isp_blackwhite_mode_cur(FEATURE) == BlackWhite_Mode_OFF;
    protocol_answer(coloured ? "set 0 blackwhite_mode on" : "set 0 blackwhite_mode off", reply, sizeof reply);
    printf("camera %d: %s (%s)\n", FEATURE, coloured ? "black and white" : "colour", reply);
}

static void report(void)
{
    float gain = 0, digital_gain = 0, seconds = 0, luma = 0, highest_gain = 0, target = 0;
    if (kiv_rkisp_cl_getAeinfo(&gain, &digital_gain, &seconds, &luma, &highest_gain, &target) == 0) {
        printf("camera %d: %.1f ms, gain %.1f, luma %.0f\n", FEATURE, 1000.0 * seconds, gain * digital_gain, luma);
    }
}

int main(int count, char** words)
{
    const char* socket = NULL;
    for (int option; (option = getopt(count, words, "vs:")) != -1;) {
        if (option == 'v') {
            dbgout_profile.module_level = 6;
        } else if (option == 's') {
            socket = optarg;
        } else {
            count = 0;
        }
    }
    if (count - optind != 1) {
        fprintf(stderr, "usage: %s [-v] [-s SOCKET] SETTINGS-FILE\n", words[0]);
        return 2;
    }
    const char* path = words[optind];
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
    if (cameras_start(!loaded) != 0 || (socket != NULL && protocol_start(socket) != 0)) {
        cameras_shut_down();
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
            cameras_each_second();
            report();
        }
        store_save(path);
    }
    protocol_end();
    int result = store_save(path) == 0 ? 0 : 1;
    cameras_shut_down();
#ifdef WORKSTATION
    result |= workstation_faults() != 0;
#endif
    return result;
}
