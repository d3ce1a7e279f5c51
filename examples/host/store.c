/* The parameter store: the settings of eight cameras, from one list, and the file that keeps them. */
#include "host.h"

#include <errno.h>
#include <isp_ctrl.h>
#include <platformpara/para_isp.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

enum { CAMERAS = 8, VERSION = 1, VALUES = CAMERAS * (int)sizeof(kiv_isp_param_s) / (int)sizeof(int) };

/* LEVEL(name, initial value, highest level) or CHOICE(name, initial value), of which the library asks no highest. */
#define SETTINGS(LEVEL, CHOICE)                                                                                        \
    CHOICE(style, style_default)                                                                                       \
    CHOICE(exposure_mode, AUTO_EXPOSURE)                                                                               \
    LEVEL(shutter, VISCA_SHUTTER_60, VISCA_SHUTTER_10000)                                                              \
    LEVEL(iris, VISCA_IRIS_F180, VISCA_IRIS_F180)                                                                      \
    LEVEL(bright, 5, Bright_MAX)                                                                                       \
    CHOICE(expcomp_mode, Expcomp_Mode_OFF)                                                                             \
    LEVEL(expcomp_level, Expcomp_Level_0, Expcomp_Level_MAX)                                                           \
    CHOICE(backlight, Backlight_Mode_OFF)                                                                              \
    LEVEL(gain_limit, Gain_Limit_MAX, Gain_Limit_MAX)                                                                  \
    LEVEL(manual_gain, Manual_Limit_MIN, Manual_Limit_MAX)                                                             \
    CHOICE(antiflicker, FLICKER_50HZ)                                                                                  \
    CHOICE(meter, Meter_Mode_Average)                                                                                  \
    CHOICE(wdr_strength, WDR_Strength_MIN)                                                                             \
    CHOICE(wb_mode, AUTO_WHITE_BALANCE)                                                                                \
    LEVEL(awb_sens, AWB_SENS_MID, AWB_SENS_LOW)                                                                        \
    LEVEL(rgain, 128, RGain_MAX)                                                                                       \
    LEVEL(bgain, 128, BGain_MAX)                                                                                       \
    LEVEL(rgain_tuning, 10, RGain_Tuning_MAX)                                                                          \
    LEVEL(bgain_tuning, 10, BGain_Tuning_MAX)                                                                          \
    LEVEL(ggain_tuning, 10, GGain_Tuning_MAX)                                                                          \
    CHOICE(rgain_onepush, 1957)                                                                                        \
    CHOICE(bgain_onepush, 1995)                                                                                        \
    LEVEL(saturation, 7, Saturation_MAX)                                                                               \
    LEVEL(hue, 7, HUE_MAX)                                                                                             \
    CHOICE(temperature, 30)                                                                                            \
    LEVEL(luminance, 7, Luminance_MAX)                                                                                 \
    LEVEL(contrast, 7, Contrast_MAX)                                                                                   \
    LEVEL(sharpness, Sharpness_Auto, Sharpness_Auto)                                                                   \
    CHOICE(blackwhite_mode, BlackWhite_Mode_OFF)                                                                       \
    LEVEL(gamma, ISP_GAMMA_0_45, ISP_GAMMA_0_42)                                                                       \
    LEVEL(drc, DRC_MIN, DRC_MAX)                                                                                       \
    LEVEL(nr2d, NR2D_AUTO, NR2D_AUTO)                                                                                  \
    LEVEL(nr3d, NR3D_AUTO, NR3D_AUTO)

#define INITIAL_LEVEL(name, initial, highest) .name = (initial),
#define INITIAL_CHOICE(name, initial) .name = (initial),
static const kiv_isp_param_s initial_record = {.struct_ver = VERSION, SETTINGS(INITIAL_LEVEL, INITIAL_CHOICE)};
static kiv_isp_param_s neutral_style = {.struct_ver = VERSION, SETTINGS(INITIAL_LEVEL, INITIAL_CHOICE)};

static kiv_isp_param_s records[CAMERAS];
static int changed; /* since the file was written */

/* Called from any thread that changes a setting and from the library's own: each value is read and written whole. */
static int get(const int* value)
{
    return __atomic_load_n(value, __ATOMIC_RELAXED);
}

static int set(int* value, int level)
{
    __atomic_store_n(value, level, __ATOMIC_RELAXED);
    __atomic_store_n(&changed, 1, __ATOMIC_RELEASE);
    return 0;
}

/* The accessors of every setting. (The library does not read style and ggain_tuning back.) */
#define DEFINE_CHOICE(name, initial)                                                                                   \
    int para_get_isp_##name##_cur(int id)                                                                              \
    {                                                                                                                  \
        return get(&records[id].name);                                                                                 \
    }                                                                                                                  \
    int para_set_isp_##name##_cur(int id, int value)                                                                   \
    {                                                                                                                  \
        return set(&records[id].name, value);                                                                          \
    }
#define DEFINE_LEVEL(name, initial, highest)                                                                           \
    DEFINE_CHOICE(name, initial)                                                                                       \
    int para_get_isp_##name##_max(int id)                                                                              \
    {                                                                                                                  \
        (void)id;                                                                                                      \
        return (highest);                                                                                              \
    }
SETTINGS(DEFINE_LEVEL, DEFINE_CHOICE)

/* Image styles are whole records. This host has one: everything as at the first start. */
kiv_isp_param_s* para_get_isp_style_param(int id, int style)
{
    (void)id;
    return style == style_default ? &neutral_style : NULL;
}

int para_isp_style_excute_by_arm(void)
{
    return 0; /* the library applies styles */
}

int store_load(const char* path)
{
    char aside[4096];
    kiv_isp_param_s read[CAMERAS + 1]; /* one more, to notice a file that is too long */
    for (int camera = 0; camera < CAMERAS; ++camera) {
        records[camera] = initial_record;
    }
    FILE* file = fopen(path, "rb");
    if (file == NULL && errno == ENOENT) {
        return 0; /* the first start */
    }
    if (file == NULL) {
        perror(path);
        return -1;
    }
    const size_t size = fread(read, 1, sizeof read, file);
    fclose(file);
    if (size == sizeof records && read[0].struct_ver == VERSION) {
        memcpy(records, read, sizeof records);
        return 1;
    }
    snprintf(aside, sizeof aside, "%s.damaged", path);
    fprintf(stderr, "%s holds no settings: kept as %s, starting with initial values\n", path, aside);
    return rename(path, aside) == 0 ? 0 : -1;
}

/* A new file takes the old one's place at once, so that a power failure leaves one of the two. */
int store_save(const char* path)
{
    char new_path[4096];
    int values[VALUES];
    if (!__atomic_exchange_n(&changed, 0, __ATOMIC_ACQUIRE)) {
        return 0;
    }
    for (int i = 0; i < VALUES; ++i) {
        values[i] = get(&records[0].struct_ver + i);
    }
    snprintf(new_path, sizeof new_path, "%s.new", path);
    FILE* file = fopen(new_path, "wb");
    int done =
        file != NULL && fwrite(values, sizeof values, 1, file) == 1 && fflush(file) == 0 && fsync(fileno(file)) == 0;
    if (file != NULL) {
        done = fclose(file) == 0 && done;
    }
    if (!done || rename(new_path, path) != 0) {
        perror(path);
        __atomic_store_n(&changed, 1, __ATOMIC_RELAXED); /* tried again with the next second */
        return -1;
    }
    return 0;
}
