/** @file
 * Parameter store of the host application: every camera's image settings. */
#ifndef PLATFORMPARA_PARA_ISP_H
#define PLATFORMPARA_PARA_ISP_H

#ifdef __cplusplus
extern "C" {
#endif

/** One camera's complete set of image settings. The library meets whole records as image-style presets
 * only; single settings go through the accessors below. */
typedef struct kiv_isp_param_s {
    int struct_ver;             /**< version of the record */
    int style;                  /**< image style */
    int exposure_mode_priority; /**< exposure-mode priority */
    int exposure_mode;          /**< exposure mode */
    int shutter;                /**< shutter step */
    int iris;                   /**< iris step */
    int bright;                 /**< brightness step */
    int expcomp_mode;           /**< exposure compensation on or off */
    int expcomp_level;          /**< exposure compensation level */
    int backlight;              /**< backlight compensation on or off */
    int gain_limit;             /**< gain limit */
    int manual_gain;            /**< manual gain */
    int antiflicker;            /**< anti-flicker */
    int meter;                  /**< metering mode */
    int wdr_strength;           /**< WDR strength */
    int wb_mode;                /**< white-balance mode */
    int awb_sens;               /**< white-balance sensitivity */
    int rgain;                  /**< manual red gain */
    int bgain;                  /**< manual blue gain */
    int rgain_tuning;           /**< red gain tuning */
    int bgain_tuning;           /**< blue gain tuning */
    int ggain_tuning;           /**< green gain tuning */
    int rgain_onepush;          /**< one-push red gain, thousandths */
    int bgain_onepush;          /**< one-push blue gain, thousandths */
    int saturation;             /**< saturation level */
    int hue;                    /**< hue level */
    int temperature;            /**< colour temperature step */
    int len_type;               /**< lens type */
    int luminance;              /**< luminance level */
    int contrast;               /**< contrast level */
    int sharpness;              /**< sharpness level */
    int blackwhite_mode;        /**< black-and-white mode */
    int gamma;                  /**< gamma level */
    int drc;                    /**< dynamic range compression level */
    int ccm_style;              /**< colour-matrix style */
    int nr2d;                   /**< 2D noise reduction level */
    int nr3d;                   /**< 3D noise reduction level */
    int hotpixel;               /**< hot-pixel correction */
    int skin_saturation;        /**< skin saturation */
} kiv_isp_param_s;

#ifdef __cplusplus
static_assert(sizeof(kiv_isp_param_s) == 156, "39 settings of 4 bytes");
#else
__extension__ _Static_assert(sizeof(kiv_isp_param_s) == 156, "39 settings of 4 bytes");
#endif

/**@{*/
/** Of each setting: _cur reads the stored level of record id, _max the highest level allowed for it, and
 * para_set_..._cur stores a level (its return value is ignored). Called from any of the host's threads
 * that call a setter, and from the library's own threads.
 * When: the stored level at restore, when a mode is set, and by setters that depend on it; the highest level at
 * every change; storing at every change, before the engine is told. The iris loop reads exposure_mode and
 * antiflicker of record 0 in each cycle, exposure following exposure_mode. Threads: the caller's, iris loop,
 * exposure following. */
int para_get_isp_exposure_mode_cur(int id);
int para_set_isp_exposure_mode_cur(int id, int value);

int para_get_isp_shutter_cur(int id);
int para_get_isp_shutter_max(int id);
int para_set_isp_shutter_cur(int id, int value);

int para_get_isp_iris_cur(int id);
int para_get_isp_iris_max(int id);
int para_set_isp_iris_cur(int id, int value);

int para_get_isp_bright_cur(int id);
int para_get_isp_bright_max(int id);
int para_set_isp_bright_cur(int id, int value);

int para_get_isp_expcomp_mode_cur(int id);
int para_set_isp_expcomp_mode_cur(int id, int value);

int para_get_isp_expcomp_level_cur(int id);
int para_get_isp_expcomp_level_max(int id);
int para_set_isp_expcomp_level_cur(int id, int value);

int para_get_isp_backlight_cur(int id);
int para_set_isp_backlight_cur(int id, int value);

int para_get_isp_gain_limit_cur(int id);
int para_get_isp_gain_limit_max(int id);
int para_set_isp_gain_limit_cur(int id, int value);

int para_get_isp_manual_gain_cur(int id);
int para_get_isp_manual_gain_max(int id);
int para_set_isp_manual_gain_cur(int id, int value);

int para_get_isp_antiflicker_cur(int id);
int para_set_isp_antiflicker_cur(int id, int value);

int para_get_isp_meter_cur(int id);
int para_set_isp_meter_cur(int id, int value);

int para_get_isp_wdr_strength_cur(int id);
int para_set_isp_wdr_strength_cur(int id, int value);

int para_get_isp_wb_mode_cur(int id);
int para_set_isp_wb_mode_cur(int id, int value);

int para_get_isp_awb_sens_cur(int id);
int para_get_isp_awb_sens_max(int id);
int para_set_isp_awb_sens_cur(int id, int value);

int para_get_isp_rgain_cur(int id);
int para_get_isp_rgain_max(int id);
int para_set_isp_rgain_cur(int id, int value);

int para_get_isp_bgain_cur(int id);
int para_get_isp_bgain_max(int id);
int para_set_isp_bgain_cur(int id, int value);

int para_get_isp_rgain_tuning_cur(int id);
int para_get_isp_rgain_tuning_max(int id);
int para_set_isp_rgain_tuning_cur(int id, int value);

int para_get_isp_bgain_tuning_cur(int id);
int para_get_isp_bgain_tuning_max(int id);
int para_set_isp_bgain_tuning_cur(int id, int value);

int para_get_isp_ggain_tuning_max(int id);
int para_set_isp_ggain_tuning_cur(int id, int value);

int para_get_isp_rgain_onepush_cur(int id);
int para_set_isp_rgain_onepush_cur(int id, int value);

int para_get_isp_bgain_onepush_cur(int id);
int para_set_isp_bgain_onepush_cur(int id, int value);

int para_get_isp_saturation_cur(int id);
int para_get_isp_saturation_max(int id);
int para_set_isp_saturation_cur(int id, int value);

int para_get_isp_hue_cur(int id);
int para_get_isp_hue_max(int id);
int para_set_isp_hue_cur(int id, int value);

int para_get_isp_temperature_cur(int id);
int para_set_isp_temperature_cur(int id, int value);

int para_get_isp_luminance_cur(int id);
int para_get_isp_luminance_max(int id);
int para_set_isp_luminance_cur(int id, int value);

int para_get_isp_contrast_cur(int id);
int para_get_isp_contrast_max(int id);
int para_set_isp_contrast_cur(int id, int value);

int para_get_isp_sharpness_cur(int id);
int para_get_isp_sharpness_max(int id);
int para_set_isp_sharpness_cur(int id, int value);

int para_get_isp_blackwhite_mode_cur(int id);
int para_set_isp_blackwhite_mode_cur(int id, int value);

int para_get_isp_gamma_cur(int id);
int para_get_isp_gamma_max(int id);
int para_set_isp_gamma_cur(int id, int value);

int para_get_isp_drc_cur(int id);
int para_get_isp_drc_max(int id);
int para_set_isp_drc_cur(int id, int value);

int para_get_isp_nr2d_cur(int id);
int para_get_isp_nr2d_max(int id);
int para_set_isp_nr2d_cur(int id, int value);

int para_get_isp_nr3d_cur(int id);
int para_get_isp_nr3d_max(int id);
int para_set_isp_nr3d_cur(int id, int value);

int para_set_isp_style_cur(int id, int value);
/**@}*/

/** The preset of an image style, or null when there is none. It belongs to the host and is read during the
 * call only.
 * When: KIV_Set_style(). Threads: the caller's. */
kiv_isp_param_s* para_get_isp_style_param(int id, int style);

/** 1: the host applies image styles itself.
 * When: KIV_Set_style(). Threads: the caller's. */
int para_isp_style_excute_by_arm(void);

#ifdef __cplusplus
}
#endif

#endif
