/**
 * @file
 * Camera image control: starts and stops the image-signal-processing engine of each camera, turns user levels
 * into engine attributes, restores stored settings, and lets cameras follow each other.
 *
 * What holds for every function, unless its comment says otherwise:
 *
 * - Camera id: 0 to 7. Any other id is refused before anything is read or written: -1 (or no effect, where
 *   there is no result) and, while tracing is on, one trace line naming the id.
 * - Levels: a level above the store's maximum or above the setting's table is lowered to it, a negative level
 *   becomes 0; the level so bounded is what is stored and applied.
 * - The level is stored before the engine is touched, so the store holds the user's choice even when the
 *   engine refuses it.
 * - A camera without an engine (never started, or released): the level is stored, the trace "aiq ctx error" is
 *   written, result 0. A stopped engine still takes settings.
 * - Threads: "any thread" means from any thread, without a lock of the caller's. Engines may be started and released
 *   while other threads change settings and while the library's own threads run: a release stops the engine, waits for
 *   the engine calls under way, and calls that come later find no engine. Do not call rk_isp_* while you hold the
 * engine lock, rkipc_get_ctx_mtx(); every other function is safe.
 * - Settings that share a block of the engine: each setter reads the block, changes its own fields and writes it back.
 *   Two threads that do so at once with one camera lose one of the changes: the store holds it, the engine does not.
 *   The host orders such calls for each camera (or group). The column `block` of isp_settings.h tells which settings
 *   they are; KIV_Set_style() and KIV_load_isp_para() belong to every block, and two calls of one setter need an order
 *   too. Exposure following writes the feature camera's exposure with the engine lock held: in SMART_EXPOSURE hold that
 *   lock around a setter of the block exposure. White-balance following takes no lock: while it runs, leave the white
 *   balance of cameras 0 and 2 to it. Awb_Calibration() writes that of cameras 0, 2 and 3.
 * - The host's functions are called on the caller's thread or on a thread of the library's. They must not call back
 *   into the library. para_set_isp_exposure_mode_cur(), Uvc_Query_Zoom_Position() and the log functions are called with
 *   a lock of the library's held and must not wait for a call of the library on another thread either: a lock that
 *   para_set_isp_exposure_mode_cur() takes must not be held, recursive or not, by a thread that calls
 *   KIV_Set_exposure_mode(), KIV_Set_style(), KIV_load_isp_para() or cam_ae_follow_pano_thread().
 * - No exception may leave a host's function: the process ends.
 * - A thread within a call must not be cancelled or leave it by longjmp(). After fork() a child may only exec or exit.
 *   All signals are blocked in the library's own threads.
 */
#ifndef ISP_CTRL_H
#define ISP_CTRL_H

#include <pthread.h>
#include <stddef.h>
#include <stdint.h>

#include "aiq/rk_aiq.h"

/**@{*/
/** Version of the library that this header belongs to. */
#define ISP_CTRL_VERSION_MAJOR 1
#define ISP_CTRL_VERSION_MINOR 0
#define ISP_CTRL_VERSION_PATCH 0
#define ISP_CTRL_VERSION "1.0.0"
/**@}*/

/** Setting enums have the underlying type int where the language has it, so that any integer a host passes
 * is a value of the type; in C11 they are plain and of the same size. */
#if defined(__cplusplus) || (defined(__STDC_VERSION__) && __STDC_VERSION__ >= 202311L)
#define ISP_ENUM_INT : int
#else
#define ISP_ENUM_INT
#endif

/** Exported from the library. */
#if defined(__GNUC__)
#define ISP_API __attribute__((visibility("default")))
#else
#define ISP_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Results and lens types -------------------------------------------------------------------------------------- */

/** Results beside -1, which means that an engine call failed or that the request was refused. */
enum {
    ISP_SUCCESS = 0,
    ISP_FAILURE = 1,      /**< never returned */
    ISP_UNFIT = 2,        /**< the setting does not apply in the camera's present mode */
    ISP_EXCUTE_BYARM = 3, /**< the host applies image styles itself */
};

/** Lens types. */
enum {
    KIV_LEN_IR0147 = 0,
    KIV_LEN_SR1053 = 1,
    KIV_LEN_MAX = 2, /**< the count; never returned */
};

/* ---- Values of the settings -------------------------------------------------------------------------------------- */

/** Exposure mode: who decides time, gain and iris. */
typedef enum Exposure_Mode_E ISP_ENUM_INT {
    AUTO_EXPOSURE = 0,
    MANUAL_EXPOSURE = 3,
    SHUTTER_PRIORITY = 10,
    IRIS_PRIORITY = 11,
    BRIGHT_PRIORITY = 13,
    WIDE_DYNAMIC_RANGE = 33,
    LOW_LIGHT = 34,      /**< declared, refused like any unknown mode */
    SMART_EXPOSURE = 35, /**< the camera follows the panorama camera */
} Exposure_Mode_E;

/** Shutter level, named after the denominator of its exposure time in seconds. */
typedef enum Shutter_Level_E ISP_ENUM_INT {
    VISCA_SHUTTER_30 = 0,
    VISCA_SHUTTER_60 = 1,
    VISCA_SHUTTER_90 = 2,
    VISCA_SHUTTER_100 = 3,
    VISCA_SHUTTER_125 = 4,
    VISCA_SHUTTER_180 = 5, /**< exposes for 1/200 s */
    VISCA_SHUTTER_250 = 6,
    VISCA_SHUTTER_350 = 7,
    VISCA_SHUTTER_500 = 8,
    VISCA_SHUTTER_725 = 9,
    VISCA_SHUTTER_1000 = 10,
    VISCA_SHUTTER_1500 = 11,
    VISCA_SHUTTER_2000 = 12,
    VISCA_SHUTTER_3000 = 13,
    VISCA_SHUTTER_4000 = 14,
    VISCA_SHUTTER_6000 = 15,
    VISCA_SHUTTER_10000 = 16,
} Shutter_Level_E;

/** Iris level, named after the F-number in hundredths (F1100 is F11, F180 is F1.8). */
typedef enum Iris_Level_E ISP_ENUM_INT {
    VISCA_IRIS_CLOSE = 0,
    VISCA_IRIS_F1100 = 6,
    VISCA_IRIS_F960 = 7,
    VISCA_IRIS_F800 = 8,
    VISCA_IRIS_F680 = 9,
    VISCA_IRIS_F560 = 10,
    VISCA_IRIS_F480 = 11,
    VISCA_IRIS_F400 = 12,
    VISCA_IRIS_F340 = 13,
    VISCA_IRIS_F280 = 14,
    VISCA_IRIS_F240 = 15,
    VISCA_IRIS_F200 = 16,
    VISCA_IRIS_F180 = 17,
} Iris_Level_E;

/** Brightness level: exposure target from -100 (0) to 360 (23) in steps of 20. */
typedef enum Bright_E ISP_ENUM_INT {
    Bright_MIN = 0,
    Bright_MAX = 23,
} Bright_E;

/** Exposure compensation on or off. */
typedef enum Expcomp_Mode_E ISP_ENUM_INT {
    Expcomp_Mode_ON = 2,
    Expcomp_Mode_OFF = 3,
} Expcomp_Mode_E;

/** Exposure compensation level: -140 (0) to 140 (14) in steps of 20. */
typedef enum Expcomp_Level_E ISP_ENUM_INT {
    Expcomp_Level_MIN = 0,
    Expcomp_Level_0 = 7,
    Expcomp_Level_MAX = 14,
} Expcomp_Level_E;

/** Backlight compensation on or off. */
typedef enum Backlight_Mode_E ISP_ENUM_INT {
    Backlight_Mode_ON = 2,
    Backlight_Mode_OFF = 3,
} Backlight_Mode_E;

/** Gain limit level. */
typedef enum Gain_Limit_E ISP_ENUM_INT {
    Gain_Limit_MIN = 0,
    Gain_Limit_MAX = 15,
} Gain_Limit_E;

/** Manual gain level. */
typedef enum Manual_Gain_E ISP_ENUM_INT {
    Manual_Limit_MIN = 0,
    Manual_Limit_MAX = 15,
} Manual_Gain_E;

/** Mains frequency of the lighting. */
typedef enum Flicker_E ISP_ENUM_INT {
    FLICKER_OFF = 0,
    FLICKER_50HZ = 1,
    FLICKER_60HZ = 2,
} Flicker_E;

/** Metering mode. */
typedef enum Meter_Mode_E ISP_ENUM_INT {
    Meter_Mode_Average = 0,
    Meter_Mode_Centor = 1,
    Meter_Mode_Smart = 2, /**< bottom centre */
    Meter_Mode_Top = 3,   /**< top centre */
} Meter_Mode_E;

/** Wide-dynamic-range strength. */
typedef enum WDR_Strength_E ISP_ENUM_INT {
    WDR_Strength_MIN = 0,
    WDR_Strength_MAX = 15,
} WDR_Strength_E;

/** White-balance mode. */
typedef enum WB_Mode_E ISP_ENUM_INT {
    AUTO_WHITE_BALANCE = 0,
    IN_DOOR = 1,                /**< red 2.0, green 1.0, blue 3.0 */
    OUT_DOOR = 2,               /**< red 2.23, green 1.0, blue 2.0 */
    ONE_PUSH_WHITE_BALANCE = 3, /**< the gains of the last KIV_Set_wb_mode_onepush() */
    MANUAL_WHITE_BALANCE = 5,   /**< the gains of KIV_Set_rgain() and KIV_Set_bgain() */
    TEMPERATURE = 32,           /**< the gains of KIV_Set_temperature() */
} WB_Mode_E;

/** Sensitivity of the automatic white balance. */
typedef enum AWB_SENS_E ISP_ENUM_INT {
    AWB_SENS_HIGH = 0,
    AWB_SENS_MID = 1,
    AWB_SENS_LOW = 2,
} AWB_SENS_E;

/** Manual red gain level. */
typedef enum RGain_E ISP_ENUM_INT {
    RGain_MIN = 0,
    RGain_MAX = 255,
} RGain_E;

/** Manual blue gain level. */
typedef enum BGain_E ISP_ENUM_INT {
    BGain_MIN = 0,
    BGain_MAX = 255,
} BGain_E;

/** Red gain tuning level, 10 being neutral. */
typedef enum RGain_Tuning_E ISP_ENUM_INT {
    RGain_Tuning_MIN = 0,
    RGain_Tuning_MAX = 20,
} RGain_Tuning_E;

/** Blue gain tuning level, 10 being neutral. */
typedef enum BGain_Tuning_E ISP_ENUM_INT {
    BGain_Tuning_MIN = 0,
    BGain_Tuning_MAX = 20,
} BGain_Tuning_E;

/** Green gain tuning level, 10 being neutral. */
typedef enum GGain_Tuning_E ISP_ENUM_INT {
    GGain_Tuning_MIN = 0,
    GGain_Tuning_MAX = 20,
} GGain_Tuning_E;

/** Colour temperature level: 2500 K (0) to 8000 K (55) in steps of 100 K. */
typedef enum Temperature_E ISP_ENUM_INT {
    Temperature_MIN = 0,
    Temperature_MAX = 55,
} Temperature_E;

/** Saturation level, 7 being neutral. */
typedef enum Saturation_E ISP_ENUM_INT {
    Saturation_MIN = 0,
    Saturation_MAX = 14,
} Saturation_E;

/** Hue level, 7 being neutral. */
typedef enum HUE_E ISP_ENUM_INT {
    HUE_MIN = 0,
    HUE_MAX = 14,
} HUE_E;

/** Luminance level, 7 being neutral. */
typedef enum Luminance_E ISP_ENUM_INT {
    Luminance_MIN = 0,
    Luminance_MAX = 14,
} Luminance_E;

/** Contrast level, 7 being neutral. */
typedef enum Contrast_E ISP_ENUM_INT {
    Contrast_MIN = 0,
    Contrast_MAX = 14,
} Contrast_E;

/** Black-and-white picture. */
typedef enum BlackWhite_Mode_E ISP_ENUM_INT {
    BlackWhite_Mode_OFF = 0,
    BlackWhite_Mode_ON = 1,
} BlackWhite_Mode_E;

/** Sharpness level. */
typedef enum Sharpness_E ISP_ENUM_INT {
    Sharpness_MIN = 0,
    Sharpness_MAX = 15,
    Sharpness_Auto = 16, /**< by the sensor's sensitivity */
} Sharpness_E;

/** Gamma level, named after the exponent of its curve. */
typedef enum Gamma_Level_E ISP_ENUM_INT {
    ISP_GAMMA_0_48 = 0,
    ISP_GAMMA_0_45 = 1,
    ISP_GAMMA_0_50 = 2,
    ISP_GAMMA_0_56 = 3,
    ISP_GAMMA_0_63 = 4,
    ISP_GAMMA_0_42 = 5,
} Gamma_Level_E;

/** Dynamic range compression level. */
typedef enum DRC_E ISP_ENUM_INT {
    DRC_MIN = 0,
    DRC_MAX = 8,
} DRC_E;

/** Image style: a named preset of all settings, held by the host. */
typedef enum Imgstyle_Mode_E ISP_ENUM_INT {
    style_default = 0,
    style_norm = 1,
    style_clarity_led = 2,
    style_clarity = 3,
    style_bright = 4,
    style_soft = 5,
    style_5S = 6,
    style_QS = 7,
    style_face = 8,
    style_pc = 9,
    style_jewelry = 10,
    style_clothing = 11,
    style_sears = 12,
    style_food = 13,
} Imgstyle_Mode_E;

/** 2D noise reduction level. */
typedef enum NR2D_E ISP_ENUM_INT {
    NR2D_Close = 0, /**< strength 0; the filter stays enabled */
    NR2D_1 = 1,
    NR2D_2 = 2,
    NR2D_3 = 3,
    NR2D_4 = 4,
    NR2D_5 = 5,
    NR2D_AUTO = 6, /**< by the sensor's sensitivity */
} NR2D_E;

/** 3D (temporal) noise reduction level. */
typedef enum NR3D_E ISP_ENUM_INT {
    NR3D_Close = 0, /**< strength 0; the filter's enable flag stays */
    NR3D_1 = 1,
    NR3D_2 = 2,
    NR3D_3 = 3,
    NR3D_4 = 4,
    NR3D_5 = 5,
    NR3D_6 = 6,
    NR3D_7 = 7,
    NR3D_8 = 8,
    NR3D_AUTO = 9, /**< by the sensor's sensitivity */
} NR3D_E;

/** RGB to YCbCr conversion. */
typedef enum CSC_Mode_E ISP_ENUM_INT {
    CSC_BT601_full_range = 1,
    CSC_BT601_limit_range = 2,
    CSC_BT709_full_range = 3,
    CSC_BT709_limit_range = 4,
} CSC_Mode_E;

/** White-balance calibration of the follower cameras against the panorama camera. The image of this record is
 * the calibration file. Gains are the engine's white-balance gains. */
typedef struct awb_calibration_s {
    float d65_pano_rgain, d65_pano_bgain; /**< measured under D65 */
    float d65_close_rgain, d65_close_bgain;
    float d65_3rd_rgain, d65_3rd_bgain;
    float a_pano_rgain, a_pano_bgain; /**< measured under A */
    float a_close_rgain, a_close_bgain;
    float a_3rd_rgain, a_3rd_bgain;
    float rgain_k, rgain_b;   /**< close red = rgain_k x panorama red + rgain_b */
    float bgain_k, bgain_b;   /**< close blue */
    float rgain_k2, rgain_b2; /**< third red */
    float bgain_k2, bgain_b2; /**< third blue */
} awb_calibration_s;

#ifdef __cplusplus
static_assert(sizeof(awb_calibration_s) == 80, "20 fields of 4 bytes");
#else
__extension__ _Static_assert(sizeof(awb_calibration_s) == 80, "20 fields of 4 bytes");
#endif

/* ---- Shared state ------------------------------------------------------------------------------------------------ */

/** Engine context of each camera, null while it has none. Written under g_aiq_mtx; hold that lock while you use one, so
 * that it is not released. */
extern ISP_API rk_aiq_sys_ctx_t* g_aiq_ctx[8];
/** Engine context of each camera group, null while there is none. Written under g_aiq_mtx. */
extern ISP_API rk_aiq_camgroup_ctx_t* g_camera_group_ctx[8];
/** Non-zero: settings go to the group contexts and camera ids serve as group ids. */
extern ISP_API int rkipc_aiq_use_group;
/** The engine lock, not recursive: held around engine start and stop and around each cycle of exposure following. */
extern ISP_API pthread_mutex_t g_aiq_mtx;
/** Working mode chosen for each camera at its last start. */
extern ISP_API rk_aiq_working_mode_t g_WDRMode[8];
/** Directory of the engine's tuning files, as the last camera start set it; "/etc/iqfiles" at load. Engines are handed
 * this array itself and may read it at any later time. Written under g_aiq_mtx. */
extern ISP_API char g_iq_file_dir_[256];

/**@{*/
/** Metering weights, 15 rows of 15 cells from the top of the picture; 0 leaves a cell out. */
extern ISP_API const uint8_t AE_average_Weight_GridWeights[225];
extern ISP_API const uint8_t AE_center_Weight_GridWeights[225];
extern ISP_API const uint8_t AE_bottom_Weight_GridWeights[225]; /**< no metering mode loads it */
/**@}*/

/** The four values that set_sensor_vpss_group() keeps; nothing in the library reads them. */
extern ISP_API int sensor_vpss_group[4];

/**@{*/
/** Tone curves: 49 points, output 0 to 4095. No level selects gamma_1_1 and gamma_1_3. A host may change points while
 * no other thread calls KIV_Set_gamma(); the next call sends them. */
extern ISP_API uint16_t gamma_1_1[49];
extern ISP_API uint16_t gamma_1_2[49];
extern ISP_API uint16_t gamma_1_3[49];
extern ISP_API uint16_t gamma_1_4[49];
extern ISP_API uint16_t gamma_1_5[49];
extern ISP_API uint16_t gamma_1_6[49];
extern ISP_API uint16_t gamma_ext[49];
extern ISP_API uint16_t gamma_haisi[49];
/**@}*/

/** A set of white-balance gains kept for the host, at load red 2.0839, green 1.0 and blue 2.0185; the library neither
 * reads nor writes it. */
extern ISP_API rk_aiq_wb_gain_t gs_wb_gain;

/* ---- Engine lifecycle -------------------------------------------------------------------------------------------- */

/**
 * Starts a camera's engine and makes single-camera contexts the ones that settings reach. An engine that the
 * camera already has is stopped and released first.
 * @param cam_id camera, 0 to 7. Other ids are refused, but only after the group mode has been left and the
 *   directory replaced.
 * @param iqfile_path directory of the tuning files, at most 255 characters; null means "/etc/iqfiles". A longer
 *   path is refused before anything changes. The string is neither written nor kept.
 * @retval 0 the engine runs
 * @retval -1 refused, or the engine failed to initialise, prepare or start. After a failed start the camera keeps
 *   the prepared engine, so that rk_isp_deinit() can release it; after a failed initialisation or prepare it has
 *   none. A refused call leaves its engine as it was.
 *
 * Any thread; takes the engine lock, but not around the engine's own initialisation: two starts of the same camera, or
 * of cameras with different directories, are the caller's to order. Sets the process's environment variable HDR_MODE
 * with setenv(), which must not run beside another thread's use of the environment.
 */
ISP_API int rk_isp_init(int cam_id, char* iqfile_path);

/**
 * Reloads a camera's tuning from the directory of the last rk_isp_init().
 * @param cam_id camera, 0 to 7
 * @retval 0 handed to the engine, whatever it returned
 * @retval -1 bad id, or the camera has no engine (traced as "aiq ctx error")
 *
 * Any thread; takes the engine lock.
 */
ISP_API int rk_isp_update(int cam_id);

/**
 * Stops a camera's engine and keeps it, so that it can still be released. rk_isp_init() starts the camera again, with a
 * new engine that KIV_load_isp_para() brings in line with the store.
 * @param cam_id camera, 0 to 7
 * @retval 0 stopped, or there was no engine
 * @retval -1 bad id
 *
 * Any thread; takes the engine lock.
 */
ISP_API int rk_isp_stop(int cam_id);

/** Does exactly what rk_isp_stop() does: the engine is stopped, not started, and settings still reach it. */
ISP_API int rk_isp_resume(int cam_id);

/**
 * Stops a camera's engine and releases it once the engine calls of other threads that use it have returned.
 * @param cam_id camera, 0 to 7
 * @retval 0 released, or there was no engine
 * @retval -1 bad id
 *
 * Any thread; takes the engine lock.
 */
ISP_API int rk_isp_deinit(int cam_id);

/**
 * Reads the flag of the board's one-time-programmable memory from "/proc/otp_eeprom-7-50".
 * @retval 1 plan A: the flag is 1, or the file cannot be opened
 * @retval 0 plan B: the flag has another value or is missing
 *
 * Any thread.
 */
ISP_API int getreadotp(void);

/**
 * Builds, prepares and starts a group of sensors that one engine tunes together; from then on settings reach
 * groups, the camera id serving as the group id. A group that already has the id is stopped and destroyed first, once
 * id, list and number have been found good; it is gone also when the new one then fails. A failed call does not change
 * whether settings reach cameras or groups.
 * @param group_id group, 0 to 7
 * @param sns_id engine indices of the sensors
 * @param n_sns number of sensors, 1 to 7
 * @param iqfile_path directory of the tuning files; null means "/etc/iqfiles"
 * @retval 0 the group runs
 * @retval -1 bad id, no list, no sensor or more than 7, a sensor that the engine does not find, or the engine
 *   failed to create, prepare or start; nothing of the new group is left then
 *
 * Any thread; takes the engine lock.
 */
ISP_API int rk_isp_init_group(int group_id, int* sns_id, size_t n_sns, char* iqfile_path);

/**
 * Starts a stopped group again.
 * @param group_id group, 0 to 7
 * @retval 0 started
 * @retval -1 bad id, no such group, or the engine refused
 *
 * Any thread; takes the engine lock.
 */
ISP_API int rk_isp_init_group_start(int group_id);

/** Stops a group and keeps it; otherwise as rk_isp_init_group_start(). */
ISP_API int rk_isp_init_group_stop(int group_id);

/**
 * Stops a group and destroys it once the engine calls of other threads that use it have returned. Settings are still
 * addressed to groups until the next rk_isp_init().
 * @param group_id group, 0 to 7
 * @retval 0 destroyed, whatever the engine returned
 * @retval -1 bad id or no such group
 *
 * Any thread; takes the engine lock.
 */
ISP_API int rk_isp_deinit_group(int group_id);

/** The engine lock. A host holds it around engine calls of its own: no context is started or released while it
 * does. Any thread. */
ISP_API pthread_mutex_t* rkipc_get_ctx_mtx(void);

/**
 * Names the panorama camera (the one that leads exposure following).
 * @param isp_id camera, 0 to 7
 * @retval 0 stored
 * @retval -1 bad id, the old one stays
 *
 * Any thread.
 */
ISP_API int set_PanoramaIspId(int isp_id);
/** The panorama camera's id, 1 until set. Any thread. */
ISP_API int get_PanoramaIspId(void);
/** Names the feature camera (the one that follows); otherwise as set_PanoramaIspId(). */
ISP_API int set_FeaturesIspId(int isp_id);
/** The feature camera's id, 0 until set. Any thread. */
ISP_API int get_FeaturesIspId(void);

/** The store record of a camera: isp_id itself, whatever it is. Any thread. */
ISP_API int get_isp_switch(int isp_id);

/* ---- Exposure ---------------------------------------------------------------------------------------------------- */

/**
 * Selects the exposure mode, then re-applies from the store the settings that the mode uses. Every accepted mode also
 * tells the lens whether the iris is automatic, and MANUAL_EXPOSURE and IRIS_PRIORITY move it to the stored level.
 * SMART_EXPOSURE starts exposure following, which lasts only while it is camera 0's stored mode; every other mode,
 * set on camera 0, ends it.
 * @param isp_id camera, 0 to 7
 * @param value a mode; it is stored before it is examined
 * @retval 0 the mode was accepted, whatever the re-applied settings reported
 * @retval ISP_UNFIT LOW_LIGHT or a mode without a name (stored all the same)
 * @retval -1 bad id
 *
 * Any thread, but none that holds a lock which the store takes: the mode is stored under the lock of exposure
 * following. The first call of the process also applies the stored DRC level.
 */
ISP_API int KIV_Set_exposure_mode(int isp_id, Exposure_Mode_E value);

/** Accepts an exposure-mode priority and does nothing. @retval 0 always. Any thread, any id. */
ISP_API int KIV_Set_exposure_mode_priority(int isp_id, int value);

/**
 * Sets the exposure time: the fixed time in MANUAL_EXPOSURE, the pinned time in SHUTTER_PRIORITY.
 * @param isp_id camera, 0 to 7
 * @param value level 0 to 16: 1/30 s to 1/10000 s
 * @retval 0 applied, or stored without an engine
 * @retval ISP_UNFIT another exposure mode; nothing is stored
 * @retval -1 bad id, or the engine failed (the level is stored)
 *
 * Any thread.
 */
ISP_API int KIV_Set_shutter(int isp_id, Shutter_Level_E value);

/**
 * Moves the iris to a level, in MANUAL_EXPOSURE, IRIS_PRIORITY and SMART_EXPOSURE (where the level is not stored).
 * @param isp_id camera, 0 to 7
 * @param value VISCA_IRIS_CLOSE or 6 (F11) to 17 (F1.8); above the store's maximum, and negative, means the maximum.
 *   The lens position is the store's maximum (17 is expected) less the level, for VISCA_IRIS_CLOSE less 5, not below 0;
 *   0 is the widest aperture.
 * @retval 0 moved
 * @retval ISP_UNFIT level 1 to 5, or another exposure mode; nothing is stored
 * @retval -1 bad id
 *
 * Any thread. Needs no engine.
 */
ISP_API int KIV_Set_iris(int isp_id, Iris_Level_E value);

/**
 * Sets the exposure target in BRIGHT_PRIORITY, and holds the frame rate.
 * @param isp_id camera, 0 to 7
 * @param value level 0 to 23: EV bias -100 to 360, in the engine's unit (percent)
 * @retval 0 applied, or stored without an engine
 * @retval ISP_UNFIT another exposure mode; nothing is stored
 * @retval -1 bad id, or the engine failed (the level is stored)
 *
 * Any thread.
 */
ISP_API int KIV_Set_bright(int isp_id, Bright_E value);

/**
 * Switches exposure compensation, and holds the frame rate. Off means level 7, whatever level is stored: an EV bias of
 * 0, or of 80 while backlight compensation is stored as on.
 * @param isp_id camera, 0 to 7
 * @param value Expcomp_Mode_ON or Expcomp_Mode_OFF; any other value is stored and means on
 * @retval 0 applied, or stored without an engine
 * @retval ISP_UNFIT MANUAL_EXPOSURE or BRIGHT_PRIORITY; nothing is stored
 * @retval -1 bad id, or the engine failed (the mode is stored)
 *
 * Any thread.
 */
ISP_API int KIV_Set_expcomp_mode(int isp_id, Expcomp_Mode_E value);

/**
 * Sets the exposure compensation level, and holds the frame rate. It has an effect while compensation is stored as on.
 * @param isp_id camera, 0 to 7
 * @param value level 0 to 14: EV bias -140 to 140, 80 more while backlight compensation is stored as on; above the
 *   store's maximum, and negative, means the maximum
 * @retval 0 applied, or stored without an engine
 * @retval ISP_UNFIT MANUAL_EXPOSURE or BRIGHT_PRIORITY; the level is stored all the same
 * @retval -1 bad id, or the engine failed (the level is stored)
 *
 * Any thread.
 */
ISP_API int KIV_Set_expcomp_level(int isp_id, Expcomp_Level_E value);

/**
 * Switches backlight compensation, which raises the EV bias by 80, and holds the frame rate.
 * @param isp_id camera, 0 to 7
 * @param value Backlight_Mode_ON or Backlight_Mode_OFF; any other value is stored and means on
 * @retval 0 applied, or stored without an engine
 * @retval ISP_UNFIT any mode but AUTO_EXPOSURE and WIDE_DYNAMIC_RANGE; nothing is stored
 * @retval -1 bad id, or the engine failed (the mode is stored)
 *
 * Any thread.
 */
ISP_API int KIV_Set_backlight(int isp_id, Backlight_Mode_E value);

/**
 * Sets the ceiling of the gain that automatic exposure may use.
 * @param isp_id camera, 0 to 7
 * @param value level 0 to 15: gain 1.0, then 2.0 per level, at most 22.0; no bound but the store's maximum
 * @retval 0 applied, or stored without an engine
 * @retval ISP_UNFIT MANUAL_EXPOSURE, WIDE_DYNAMIC_RANGE, LOW_LIGHT, SMART_EXPOSURE or a mode without a name; nothing is
 *   stored
 * @retval -1 bad id, or the engine failed (the level is stored)
 *
 * Any thread.
 */
ISP_API int KIV_Set_gain_limit(int isp_id, Gain_Limit_E value);

/**
 * Sets the fixed gain of manual exposure. In SHUTTER_PRIORITY the engine only keeps it.
 * @param isp_id camera, 0 to 7
 * @param value level 0 to 15: gain 1.0 to 16.0; above the store's maximum, and negative, means the maximum
 * @retval 0 applied, or stored without an engine
 * @retval ISP_UNFIT any mode but MANUAL_EXPOSURE and SHUTTER_PRIORITY; nothing is stored
 * @retval -1 bad id, or the engine failed (the level is stored)
 *
 * Any thread.
 */
ISP_API int KIV_Set_manual_gain(int isp_id, Manual_Gain_E value);

/**
 * Sets the mains frequency that exposure keeps in step with. In SHUTTER_PRIORITY it is applied as off.
 * @param isp_id camera, 0 to 7
 * @param value a Flicker_E; any other value is stored and leaves the engine's frequency
 * @retval 0 applied, or stored without an engine
 * @retval ISP_UNFIT MANUAL_EXPOSURE, WIDE_DYNAMIC_RANGE, LOW_LIGHT or a mode without a name; stored all the same
 * @retval -1 bad id, or the engine failed (the value is stored)
 *
 * Any thread.
 */
ISP_API int KIV_Set_antiflicker(int isp_id, Flicker_E value);

/**
 * Chooses which parts of the picture automatic exposure measures.
 * @param isp_id camera, 0 to 7
 * @param index a Meter_Mode_E; any other value is stored and leaves the engine's weights
 * @retval 0 applied, or stored without an engine
 * @retval -1 bad id, or the engine failed (the mode is stored)
 *
 * Any thread.
 */
ISP_API int KIV_Set_meter(int isp_id, Meter_Mode_E index);

/**
 * Stores the wide-dynamic-range strength; nothing reaches the engine.
 * @param isp_id camera, 0 to 7
 * @param value 0 to 15; stored as passed
 * @retval 0 the mode is WIDE_DYNAMIC_RANGE
 * @retval ISP_UNFIT any other mode; stored all the same
 * @retval -1 bad id
 *
 * Any thread.
 */
ISP_API int KIV_Set_wdr_strength(int isp_id, WDR_Strength_E value);

/** Hook of the WIDE_DYNAMIC_RANGE mode: traces and changes nothing. @retval 0 always. Any thread, any id. */
ISP_API int isp_wdr_config(int isp_id);

/**
 * Keeps four values in sensor_vpss_group.
 * @param isp_id not used
 * @param value four values
 * @retval 0 kept
 * @retval -1 value is null
 *
 * Any thread.
 */
ISP_API int set_sensor_vpss_group(int isp_id, int* value);

/* ---- White balance ----------------------------------------------------------------------------------------------- */

/**
 * Selects the white-balance mode and applies what the store and the remembered gains hold for it.
 * @param isp_id camera, 0 to 7
 * @param value a mode; one without a name is stored, leaves the engine's mode and gains as they are, and sets its gain
 *   offset to 0
 * @retval 0 applied, or stored without an engine; always for TEMPERATURE once the engine's blocks could be read.
 *   Failures with the gain offset are not reported.
 * @retval -1 bad id, or the engine failed (the mode is stored)
 *
 * Any thread. AUTO_WHITE_BALANCE asks for the lens type, which starts a process; TEMPERATURE waits for a millisecond.
 */
ISP_API int KIV_Set_wb_mode(int isp_id, WB_Mode_E value);

/**
 * Measures once and holds the gains found: automatic balance runs for three seconds, its gains are remembered
 * and applied by hand with the user's tuning. Only in ONE_PUSH_WHITE_BALANCE.
 * @param isp_id camera, 0 to 7
 * @retval 0 done; or another mode (nothing happens); or no engine (the waits still happen, nothing is remembered)
 * @retval -1 bad id, or the engine failed. It may be left in automatic balance until the mode or a tuning is set again,
 *   and the measurement may be remembered already.
 *
 * Any thread; blocks it for about four seconds.
 */
ISP_API int KIV_Set_wb_mode_onepush(int isp_id);

/**
 * Sets the colour temperature, applied in TEMPERATURE mode and stored in every other.
 * @param isp_id camera, 0 to 7
 * @param value level 0 to 55: 2500 K to 8000 K. Stored as passed; the gains follow the curve's outer
 *   segments down to level -29 and up to level 120
 * @retval 0 applied, or stored in another mode or without an engine
 * @retval -1 bad id, or the engine failed (the level is stored)
 *
 * Any thread; waits for a millisecond.
 */
ISP_API int KIV_Set_temperature(int isp_id, Temperature_E value);

/**
 * Stores the sensitivity of the automatic balance; nothing reaches the engine.
 * @param isp_id camera, 0 to 7
 * @param value an AWB_SENS_E; no bound above but the store's maximum
 * @retval 0 stored
 * @retval -1 bad id
 *
 * Any thread.
 */
ISP_API int KIV_Set_awb_sens(int isp_id, AWB_SENS_E value);

/**
 * Sets the manual red gain, in MANUAL_WHITE_BALANCE.
 * @param isp_id camera, 0 to 7
 * @param value level 0 to 255: gain level / 64 + 0.0035; no bound above but the store's maximum
 * @retval 0 applied, or stored without an engine
 * @retval ISP_UNFIT another mode; nothing is stored
 * @retval -1 bad id, or the engine failed (the level is stored)
 *
 * Any thread.
 */
ISP_API int KIV_Set_rgain(int isp_id, RGain_E value);
/** Sets the manual blue gain; otherwise as KIV_Set_rgain(). */
ISP_API int KIV_Set_bgain(int isp_id, BGain_E value);

/**
 * Tilts the balance towards or away from red, in AUTO_WHITE_BALANCE, ONE_PUSH_WHITE_BALANCE and TEMPERATURE.
 * @param isp_id camera, 0 to 7
 * @param value level 0 to 20, 10 being neutral; no bound above but the store's maximum. A level is 0.03 of the gain
 * offset in AUTO_WHITE_BALANCE, 3/254 of gain otherwise.
 * @retval 0 applied, or stored without an engine; another mode (nothing is stored). Failures with the gain offset are
 * not reported.
 * @retval -1 bad id, or the engine failed (the level is stored)
 *
 * Any thread. AUTO_WHITE_BALANCE asks for the lens type, which starts a process.
 */
ISP_API int KIV_Set_rgain_tuning(int isp_id, RGain_Tuning_E value);
/** Tilts the balance towards or away from blue; otherwise as KIV_Set_rgain_tuning(), but that a gain offset that could
 * not be written is reported with -1. */
ISP_API int KIV_Set_bgain_tuning(int isp_id, BGain_Tuning_E value);
/** Stores the green tuning level in the modes of KIV_Set_rgain_tuning(); nothing reaches the engine.
 * @retval 0 stored, or another mode (nothing is stored)
 * @retval -1 bad id
 *
 * Any thread. */
ISP_API int KIV_Set_ggain_tuning(int isp_id, GGain_Tuning_E value);

/**@{*/
/** The remembered one-push gains in thousandths: red and blue per camera in the store (-1 for a bad id), green in
 * memory for all cameras (1 before the first measurement; the id is not used). Any thread. */
ISP_API int get_onepush_rgain(int isp_id);
ISP_API int get_onepush_ggain(int isp_id);
ISP_API int get_onepush_bgain(int isp_id);
/**@}*/

/**@{*/
/** Replace a remembered one-push gain, in thousandths. A bad id has no effect (the green one uses none). Any
 * thread. */
ISP_API void set_onepush_rgain(int isp_id, int val);
ISP_API void set_onepush_ggain(int isp_id, int val);
ISP_API void set_onepush_bgain(int isp_id, int val);
/**@}*/

/**@{*/
/** The remembered gains of the colour temperature, without tuning, per camera (0.0 for a bad id). In memory:
 * 1.9576, 1.0 and 1.9956 until TEMPERATURE mode has set them. Any thread. */
ISP_API float get_colortemp_rgain(int isp_id);
ISP_API float get_colortemp_ggain(int isp_id);
ISP_API float get_colortemp_bgain(int isp_id);
/**@}*/

/**@{*/
/** Replace a remembered gain of the colour temperature. A bad id has no effect. Any thread. */
ISP_API void set_colortemp_rgain(int isp_id, float val);
ISP_API void set_colortemp_ggain(int isp_id, float val);
ISP_API void set_colortemp_bgain(int isp_id, float val);
/**@}*/

/* ---- Image ------------------------------------------------------------------------------------------------------- */

/**
 * Sets the saturation. While the stored black-and-white mode is on, the engine shows no colour and the level is
 * stored for later.
 * @param isp_id camera, 0 to 7
 * @param value level 0 to 14: engine value 83 to 223; -1 shows no colour and stores nothing
 * @retval 0 applied (engine failures are not reported), or stored without an engine
 * @retval -1 bad id
 *
 * Any thread.
 */
ISP_API int KIV_Set_saturation(int isp_id, Saturation_E value);

/** Sets the hue: level 0 to 14, engine value 100 to 156 (to 17 and 168 if the store's maximum allows it). Any thread.
 * @retval 0 applied (engine failures are not reported), or stored without an engine
 * @retval -1 bad id */
ISP_API int KIV_Set_hue(int isp_id, HUE_E value);

/** Sets the luminance: level 0 to 14, engine value 86 to 170; otherwise as KIV_Set_hue().
 * @retval 0 applied (engine failures are not reported), or stored without an engine
 * @retval -1 bad id */
ISP_API int KIV_Set_luminance(int isp_id, Luminance_E value);

/** Sets the contrast: level 0 to 14, engine value 86 to 170. Any thread.
 * @retval 0 applied (a failed write is not reported), or stored without an engine
 * @retval -1 bad id, or the engine's block could not be read (the level is stored) */
ISP_API int KIV_Set_contrast(int isp_id, Contrast_E value);

/** Switches the black-and-white picture, then re-applies the stored saturation. Any thread.
 * @param isp_id camera, 0 to 7
 * @param value BlackWhite_Mode_ON means on; any other value is stored and means off
 * @retval 0 applied (engine failures are not reported), or stored without an engine
 * @retval -1 bad id */
ISP_API int KIV_Set_blackwhite_mode(int isp_id, BlackWhite_Mode_E value);

/** Accepts a lens type and does nothing. @retval 0 always. Any thread, any id. */
ISP_API int KIV_Set_len_type(int isp_id, int value);

/**
 * Sets the sharpness.
 * @param isp_id camera, 0 to 7
 * @param value level 0 to 15: strength 0.0 to 16.0; Sharpness_Auto: by sensitivity
 * @retval 0 applied, or stored without an engine
 * @retval -1 bad id, or the engine failed (the level is stored)
 *
 * Any thread.
 */
ISP_API int KIV_Set_sharpness(int isp_id, Sharpness_E value);

/** Loads a tone curve: a Gamma_Level_E; otherwise as KIV_Set_sharpness().
 * @retval 0 applied, or stored without an engine
 * @retval -1 bad id, a level above 5 that the store's maximum allows (neither is stored), or the engine failed (the
 *   level is stored) */
ISP_API int KIV_Set_gamma(int isp_id, Gamma_Level_E value);

/** Sets the dynamic range compression: level 0 to 8, gain 1.0 to 2.2; above the store's maximum, and negative,
 * means the maximum. Otherwise as KIV_Set_sharpness().
 * @retval 0 applied, or stored without an engine
 * @retval -1 bad id, or the engine failed (the level is stored) */
ISP_API int KIV_Set_drc(int isp_id, DRC_E value);

/**
 * Applies an image style: records it, writes its values to the store and calls the setters in a fixed order.
 * @param isp_id camera, 0 to 7
 * @param value a style that the host has a preset for
 * @retval 0 applied, whatever the setters reported
 * @retval ISP_EXCUTE_BYARM recorded; the host applies styles itself
 * @retval -1 bad id, or no such preset; nothing changes
 *
 * Any thread; starts processes to learn the lens type. A preset in SMART_EXPOSURE starts exposure following. The preset
 * must stay valid during the call. Without an engine everything is stored, with 0.
 */
ISP_API int KIV_Set_style(int isp_id, Imgstyle_Mode_E value);

/** Accepts a colour-matrix style and does nothing. @retval 0 always. Any thread, any id. */
ISP_API int KIV_Set_ccm_style(int isp_id, int value);

/**
 * Rebuilds the engine's automatic lens shading from the grids of "/nvdata/shading.data" for the fitted lens. The file
 * is validated first, also for a camera without an engine.
 * @param isp_id camera, 0 to 7
 * @retval 0 applied, or the camera has no engine (no trace)
 * @retval -1 bad id, the file is missing, unreadable or short, or the engine failed
 *
 * Any thread; starts a process to learn the lens type.
 */
ISP_API int KIV_Set_shading(int isp_id);

/**
 * Reads the lens-shading file: 6936 bytes, twelve grids of 17 x 17 16-bit values, red, green in red rows, green in blue
 * rows and blue for each of D65, CWF and A.
 * @param buf where to put the bytes; bytes beyond the file's end stay as they are
 * @param buf_size how many to read at the most, not negative; buf must have room for them
 * @retval 0 read, also when the file is shorter
 * @retval -1 buf is null, buf_size negative, or the file cannot be opened or read
 *
 * Any thread.
 */
ISP_API int user_load_shading_file(char* buf, int buf_size);

/**
 * Sets the 2D noise reduction. Re-applies the lens shading first, whose result is not reported.
 * @param isp_id camera, 0 to 7
 * @param value an NR2D_E; levels 7 to 9, beyond it, are stronger and used only if the store's maximum allows them
 * @retval 0 applied, or stored without an engine
 * @retval -1 bad id, or the engine failed (the level is stored)
 *
 * Any thread; starts a process to learn the lens type.
 */
ISP_API int KIV_Set_nr2d(int isp_id, NR2D_E value);

/** Sets the 3D (temporal) noise reduction: an NR3D_E; levels 10 and 11, beyond it, are stronger
 * and used only if the store's maximum allows them. Any thread.
 * @retval 0 applied, or stored without an engine
 * @retval -1 bad id, or the engine failed (the level is stored) */
ISP_API int KIV_Set_nr3d(int isp_id, NR3D_E value);

/** Selects the RGB to YCbCr matrix and remembers the mode in memory, also when the engine refuses it. A mode
 * without a name is remembered and leaves the engine's matrix; a bad id has no effect. Any thread. */
ISP_API void KIV_Set_csc_mode(int isp_id, CSC_Mode_E value);
/** The remembered matrix mode: 0 while never set, -1 for a bad id (without a trace). Any thread. */
ISP_API int KIV_Get_csc_mode(int isp_id);

/** Accepts hot-pixel correction and does nothing. @retval 0 always. Any thread, any id. */
ISP_API int KIV_Set_hotpixel(int isp_id);

/* ---- Start-up ---------------------------------------------------------------------------------------------------- */

/** Brings a camera's engine in line with the store: reads 22 settings and applies them in a fixed order; what the
 * setters report is not passed on. Not restored is the colour-space matrix: call KIV_Set_csc_mode() again. A bad id has
 * no effect; without an engine only the store changes, where a level had to be bounded. A stored SMART_EXPOSURE starts
 * exposure following. Any thread; call it once the engine runs. Starts processes to learn the lens type. */
ISP_API void KIV_load_isp_para(int isp_id);

/**
 * Which lens is fitted, read from the board's vendor storage at every call.
 * @retval KIV_LEN_SR1053 exactly its model name, up to the first blank, is stored
 * @retval KIV_LEN_IR0147 any other name, or none
 *
 * Any thread; starts a process and waits for its end. If it cannot be started, the name that was read last counts.
 */
ISP_API int KIV_Get_Len_Types(void);

/* ---- Following --------------------------------------------------------------------------------------------------- */

/**
 * The feature camera's live exposure: analogue gain, digital gain, exposure time (s), mean luma (0 to 255), gain
 * ceiling and first target luma.
 * @retval 0 filled; the target luma is untouched when the engine keeps none
 * @retval -1 an output is null or the camera has no engine; the outputs are untouched
 * @retval other the code of the engine call that failed (it may be -1 too); the outputs of earlier calls are filled
 *
 * Any thread.
 */
ISP_API int kiv_rkisp_cl_getAeinfo(float* again, float* ispdgain, float* time, float* meanluma, float* gain_max,
                                   float* ret_dysetpoint);

/**
 * Starts the thread with which the feature camera follows the panorama camera's exposure. The thread ends when camera
 * 0's stored mode is not SMART_EXPOSURE, when KIV_Set_exposure_mode() has not selected that mode in this process, on
 * lens calibration flag 4, and when an engine call fails. Nothing starts it again after a failure: call
 * this function once a second while camera 0's stored mode is SMART_EXPOSURE.
 * @retval 0 started, or one already runs
 * @retval -1 the thread could not be created
 *
 * Any thread.
 */
ISP_API int cam_ae_follow_pano_thread(void);
/** The thread's body, for the library's own use: detaches the calling thread and ends it, or, after an engine failure,
 * returns. */
ISP_API void cam_ae_follow_pano_function(void);

/**
 * Measures the cameras' white-balance gains under a reference light and, after the second light, derives how the
 * followers' gains depend on the panorama camera's. Cameras: panorama 3, close 0, third 2; they are left in
 * automatic balance without offsets. Ends white-balance following permanently.
 * @param val 1: D65, starts a new calibration; 2: A, completes it
 * @retval 0 measured and written; or, with 2, no usable calibration was found and the file was deleted. With 2, a file
 *   that could not be written or deleted is traced only.
 * @retval -1 another val (one trace, nothing else happens), a camera without an engine, an engine failure, a file that
 *   could not be written (1) or does not hold the first measurement (2). With 1 the old file is gone all the same, and
 *   cameras may already be in automatic balance.
 *
 * Any thread; blocks it for at least nine seconds. One calibration at a time.
 */
ISP_API int Awb_Calibration(int val);

/**
 * Writes the calibration file "/data/wb.dat" whole, with one call.
 * @param buf what to write
 * @param buf_size how many bytes, not negative; sizeof(awb_calibration_s), which is what buf must hold at least
 * @retval 0 written; a disk that takes only a part is not noticed
 * @retval -1 buf is null, buf_size negative, or the file could not be opened or written
 *
 * Any thread.
 */
ISP_API int user_save_wb_calibration_file(awb_calibration_s* buf, int buf_size);

/**
 * Reads the calibration file.
 * @param buf where to put it; bytes beyond the file's end stay as they are
 * @param buf_size how many bytes to read at the most, not negative; buf must have room for them
 * @retval 0 read, also when the file is shorter
 * @retval -1 buf is null, buf_size negative, or the file cannot be opened or read
 *
 * Any thread.
 */
ISP_API int user_load_wb_calibration_file(awb_calibration_s* buf, int buf_size);

/**
 * Starts the thread with which cameras 0 and 2 follow camera 3's white balance, once per process. It ends at
 * once unless set_awb_follow_pano(1) was called before.
 * @retval 0 started, or started before
 * @retval -1 the thread could not be created
 *
 * Any thread.
 */
ISP_API int cam_awb_follow_pano_thread(void);

/**
 * Allows (non-zero) or ends (0) white-balance following. Call it before the thread is started: a thread that has ended,
 * and one that a calibration ended, does not come back.
 * @retval 0 always
 *
 * Any thread.
 */
ISP_API int set_awb_follow_pano(int enable);

#ifdef __cplusplus
}
#endif

#endif
