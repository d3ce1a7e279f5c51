/**
 * @file
 * Every setting of a camera, once, as lists for the preprocessor: what a host needs to keep settings, to check values
 * that come from outside, to order calls, and to show settings to people. The header adds no symbol to a program.
 *
 *     #define ROW(name, type, kind, access, form, setter, lowest, highest, initial, ...) {#name, lowest, highest},
 *     static const struct {const char* name; int lowest, highest;} settings[] = {ISP_SETTINGS(ROW)};
 *
 * The columns:
 *
 * - name: of the field in kiv_isp_param_s and in para_get_isp_NAME_cur()
 * - type: the setting's enum in isp_ctrl.h, or int
 * - kind: what values there are
 *   - level: every number from lowest to highest
 *   - choice: those of ISP_VALUES alone. The library stores any other number, or lowers it: check before the call
 *   - action: none
 * - access: accessors that the library needs of the store: all (current level, maximum, storing), cur (current level
 * and storing; the library stores the value as passed), bound (maximum and storing), set (storing), none
 * - form: of the setter
 *   - level: int setter(int id, type value)
 *   - silent: void setter(int id, type value)
 *   - action: int setter(int id)
 *   - none: there is none
 * - setter: the function
 * - lowest, highest, initial: the highest is also what para_get_isp_NAME_max() is expected to return
 * - group: where a menu has it: exposure, white_balance, image, system
 * - unit, number: what a value means, where it means a quantity: an expression of the value, level, and of the number
 * that ISP_VALUES has for it, named. The unit is "" where there is none. "x" is a factor; "EV bias" is the engine's
 * unit of the exposure bias.
 * - block: what must not be set by two threads at once for one camera: settings of the same block, any setting and one
 *   of the block all, and a setting and itself. Settings of the block own share none with another setting.
 * - effective, accepted, stored: the modes in which a value takes effect, in which the setter returns 0 and not
 *   ISP_UNFIT, and in which the value is stored. Of a mode setting: with that value. ISP_HOLDS() tells whether a set
 *   holds the modes that a camera is in, which are those of isp_modes().
 * - effect: in words
 */
#ifndef ISP_SETTINGS_H
#define ISP_SETTINGS_H

#include "isp_ctrl.h"
#include "platformpara/para_isp.h"

/**@{*/
/** A set of modes has a bit for every value of the settings that others depend on. */
#define ISP_IN_AUTO_EXPOSURE 0x1U
#define ISP_IN_MANUAL_EXPOSURE 0x2U
#define ISP_IN_SHUTTER_PRIORITY 0x4U
#define ISP_IN_IRIS_PRIORITY 0x8U
#define ISP_IN_BRIGHT_PRIORITY 0x10U
#define ISP_IN_WIDE_DYNAMIC_RANGE 0x20U
#define ISP_IN_LOW_LIGHT 0x40U
#define ISP_IN_SMART_EXPOSURE 0x80U
#define ISP_IN_OTHER_EXPOSURE 0x100U /**< a value of exposure_mode without a name */
#define ISP_IN_ANY_EXPOSURE 0x1ffU
#define ISP_IN_AUTO_BALANCE 0x200U
#define ISP_IN_INDOOR 0x400U
#define ISP_IN_OUTDOOR 0x800U
#define ISP_IN_ONEPUSH 0x1000U
#define ISP_IN_MANUAL_BALANCE 0x2000U
#define ISP_IN_TEMPERATURE 0x4000U
#define ISP_IN_OTHER_BALANCE 0x8000U /**< a value of wb_mode without a name */
#define ISP_IN_ANY_BALANCE 0xfe00U
#define ISP_IN_COLOUR 0x10000U /**< every value of blackwhite_mode but on */
#define ISP_IN_BLACK_WHITE 0x20000U
#define ISP_IN_ANY_COLOUR 0x30000U
#define ISP_IN_COMPENSATION 0x40000U /**< every value of expcomp_mode but off */
#define ISP_IN_NO_COMPENSATION 0x80000U
#define ISP_IN_ANY_COMPENSATION 0xc0000U
#define ISP_IN_ALL 0xfffffU
#define ISP_IN_NONE 0U
/**@}*/

/** These modes, and every value of the mode settings that have no value among them. */
#define ISP_ONLY(modes)                                                                                                \
    ((modes) | (((modes) & ISP_IN_ANY_EXPOSURE) != 0 ? 0U : ISP_IN_ANY_EXPOSURE) |                                     \
     (((modes) & ISP_IN_ANY_BALANCE) != 0 ? 0U : ISP_IN_ANY_BALANCE) |                                                 \
     (((modes) & ISP_IN_ANY_COLOUR) != 0 ? 0U : ISP_IN_ANY_COLOUR) |                                                   \
     (((modes) & ISP_IN_ANY_COMPENSATION) != 0 ? 0U : ISP_IN_ANY_COMPENSATION))
/** All modes but these. */
#define ISP_ALL_BUT(modes) (ISP_IN_ALL & ~(modes))
/** Whether a set holds the modes that a camera is in. */
#define ISP_HOLDS(set, modes) (((set) & (modes)) == (modes))

/** The modes that a camera with these values is in, one bit of each of the four settings. */
static inline unsigned isp_modes(int exposure_mode, int wb_mode, int blackwhite_mode, int expcomp_mode)
{
    unsigned modes = blackwhite_mode == BlackWhite_Mode_ON ? ISP_IN_BLACK_WHITE : ISP_IN_COLOUR;
    modes |= expcomp_mode == Expcomp_Mode_OFF ? ISP_IN_NO_COMPENSATION : ISP_IN_COMPENSATION;
    modes |= exposure_mode == AUTO_EXPOSURE        ? ISP_IN_AUTO_EXPOSURE
             : exposure_mode == MANUAL_EXPOSURE    ? ISP_IN_MANUAL_EXPOSURE
             : exposure_mode == SHUTTER_PRIORITY   ? ISP_IN_SHUTTER_PRIORITY
             : exposure_mode == IRIS_PRIORITY      ? ISP_IN_IRIS_PRIORITY
             : exposure_mode == BRIGHT_PRIORITY    ? ISP_IN_BRIGHT_PRIORITY
             : exposure_mode == WIDE_DYNAMIC_RANGE ? ISP_IN_WIDE_DYNAMIC_RANGE
             : exposure_mode == LOW_LIGHT          ? ISP_IN_LOW_LIGHT
             : exposure_mode == SMART_EXPOSURE     ? ISP_IN_SMART_EXPOSURE
                                                   : ISP_IN_OTHER_EXPOSURE;
    modes |= wb_mode == AUTO_WHITE_BALANCE       ? ISP_IN_AUTO_BALANCE
             : wb_mode == IN_DOOR                ? ISP_IN_INDOOR
             : wb_mode == OUT_DOOR               ? ISP_IN_OUTDOOR
             : wb_mode == ONE_PUSH_WHITE_BALANCE ? ISP_IN_ONEPUSH
             : wb_mode == MANUAL_WHITE_BALANCE   ? ISP_IN_MANUAL_BALANCE
             : wb_mode == TEMPERATURE            ? ISP_IN_TEMPERATURE
                                                 : ISP_IN_OTHER_BALANCE;
    return modes;
}

/* clang-format off */
/**
 * A row for each field of kiv_isp_param_s, in the record's order:
 * SETTING(name, type, kind, access, form, setter, lowest, highest, initial, group, unit, number, block, effective,
 * accepted, stored, effect).
 */
#define ISP_SETTINGS(SETTING) \
SETTING(struct_ver, int, level, none, none, none, 1, 1, 1, system, "", level, own, \
    ISP_IN_NONE, ISP_IN_NONE, ISP_IN_NONE, "version of the record") \
SETTING(style, Imgstyle_Mode_E, choice, set, level, KIV_Set_style, style_default, style_food, style_default, \
    image, "", level, all, ISP_IN_ALL, ISP_IN_ALL, ISP_IN_ALL, \
    "preset of most other settings; result 3 where the host applies styles itself, -1 for no such preset") \
SETTING(exposure_mode_priority, int, level, none, level, KIV_Set_exposure_mode_priority, 0, 1, 0, \
    exposure, "", level, own, ISP_IN_NONE, ISP_IN_ALL, ISP_IN_NONE, "accepted, without effect") \
SETTING(exposure_mode, Exposure_Mode_E, choice, cur, level, KIV_Set_exposure_mode, \
    AUTO_EXPOSURE, SMART_EXPOSURE, AUTO_EXPOSURE, exposure, "", level, exposure, \
    ISP_ALL_BUT(ISP_IN_LOW_LIGHT | ISP_IN_OTHER_EXPOSURE), ISP_ALL_BUT(ISP_IN_LOW_LIGHT | ISP_IN_OTHER_EXPOSURE), \
    ISP_IN_ALL, "who decides exposure time, gain and iris") \
SETTING(shutter, Shutter_Level_E, choice, all, level, KIV_Set_shutter, \
    VISCA_SHUTTER_30, VISCA_SHUTTER_10000, VISCA_SHUTTER_60, exposure, "s", named, exposure, \
    ISP_ONLY(ISP_IN_MANUAL_EXPOSURE | ISP_IN_SHUTTER_PRIORITY), \
    ISP_ONLY(ISP_IN_MANUAL_EXPOSURE | ISP_IN_SHUTTER_PRIORITY), \
    ISP_ONLY(ISP_IN_MANUAL_EXPOSURE | ISP_IN_SHUTTER_PRIORITY), "exposure time, 1/30 s to 1/10000 s") \
SETTING(iris, Iris_Level_E, choice, all, level, KIV_Set_iris, VISCA_IRIS_CLOSE, VISCA_IRIS_F180, VISCA_IRIS_F180, \
    exposure, "F", named, own, \
    ISP_ONLY(ISP_IN_MANUAL_EXPOSURE | ISP_IN_IRIS_PRIORITY | ISP_IN_SMART_EXPOSURE), \
    ISP_ONLY(ISP_IN_MANUAL_EXPOSURE | ISP_IN_IRIS_PRIORITY | ISP_IN_SMART_EXPOSURE), \
    ISP_ONLY(ISP_IN_MANUAL_EXPOSURE | ISP_IN_IRIS_PRIORITY), \
    "aperture, closed or F11 (6) to F1.8 (17); result 2 for levels 1 to 5") \
SETTING(bright, Bright_E, level, all, level, KIV_Set_bright, Bright_MIN, Bright_MAX, 5, \
    exposure, "EV bias", 20 * level - 100, exposure, ISP_ONLY(ISP_IN_BRIGHT_PRIORITY), \
    ISP_ONLY(ISP_IN_BRIGHT_PRIORITY), ISP_ONLY(ISP_IN_BRIGHT_PRIORITY), "exposure bias of its own mode") \
SETTING(expcomp_mode, Expcomp_Mode_E, choice, cur, level, KIV_Set_expcomp_mode, \
    Expcomp_Mode_ON, Expcomp_Mode_OFF, Expcomp_Mode_OFF, exposure, "", level, exposure, \
    ISP_ALL_BUT(ISP_IN_MANUAL_EXPOSURE | ISP_IN_BRIGHT_PRIORITY), \
    ISP_ALL_BUT(ISP_IN_MANUAL_EXPOSURE | ISP_IN_BRIGHT_PRIORITY), \
    ISP_ALL_BUT(ISP_IN_MANUAL_EXPOSURE | ISP_IN_BRIGHT_PRIORITY), "exposure compensation; off means level 7") \
SETTING(expcomp_level, Expcomp_Level_E, level, all, level, KIV_Set_expcomp_level, \
    Expcomp_Level_MIN, Expcomp_Level_MAX, Expcomp_Level_0, exposure, "EV bias", 20 * level - 140, exposure, \
    ISP_ALL_BUT(ISP_IN_MANUAL_EXPOSURE | ISP_IN_BRIGHT_PRIORITY | ISP_IN_NO_COMPENSATION), \
    ISP_ALL_BUT(ISP_IN_MANUAL_EXPOSURE | ISP_IN_BRIGHT_PRIORITY), ISP_IN_ALL, "exposure bias of the compensation") \
SETTING(backlight, Backlight_Mode_E, choice, cur, level, KIV_Set_backlight, \
    Backlight_Mode_ON, Backlight_Mode_OFF, Backlight_Mode_OFF, exposure, "", level, exposure, \
    ISP_ONLY(ISP_IN_AUTO_EXPOSURE | ISP_IN_WIDE_DYNAMIC_RANGE), \
    ISP_ONLY(ISP_IN_AUTO_EXPOSURE | ISP_IN_WIDE_DYNAMIC_RANGE), \
    ISP_ONLY(ISP_IN_AUTO_EXPOSURE | ISP_IN_WIDE_DYNAMIC_RANGE), "raises the exposure bias by 80") \
SETTING(gain_limit, Gain_Limit_E, level, all, level, KIV_Set_gain_limit, \
    Gain_Limit_MIN, Gain_Limit_MAX, Gain_Limit_MAX, exposure, "x", level == 0 ? 1 : level < 11 ? 2 * level : 22, \
    exposure, \
    ISP_ONLY(ISP_IN_AUTO_EXPOSURE | ISP_IN_SHUTTER_PRIORITY | ISP_IN_IRIS_PRIORITY | ISP_IN_BRIGHT_PRIORITY), \
    ISP_ONLY(ISP_IN_AUTO_EXPOSURE | ISP_IN_SHUTTER_PRIORITY | ISP_IN_IRIS_PRIORITY | ISP_IN_BRIGHT_PRIORITY), \
    ISP_ONLY(ISP_IN_AUTO_EXPOSURE | ISP_IN_SHUTTER_PRIORITY | ISP_IN_IRIS_PRIORITY | ISP_IN_BRIGHT_PRIORITY), \
    "highest automatic gain") \
SETTING(manual_gain, Manual_Gain_E, level, all, level, KIV_Set_manual_gain, \
    Manual_Limit_MIN, Manual_Limit_MAX, Manual_Limit_MIN, exposure, "x", level + 1, exposure, \
    ISP_ONLY(ISP_IN_MANUAL_EXPOSURE), ISP_ONLY(ISP_IN_MANUAL_EXPOSURE | ISP_IN_SHUTTER_PRIORITY), \
    ISP_ONLY(ISP_IN_MANUAL_EXPOSURE | ISP_IN_SHUTTER_PRIORITY), "fixed gain") \
SETTING(antiflicker, Flicker_E, choice, cur, level, KIV_Set_antiflicker, FLICKER_OFF, FLICKER_60HZ, FLICKER_50HZ, \
    exposure, "Hz", named, exposure, \
    ISP_ONLY(ISP_IN_AUTO_EXPOSURE | ISP_IN_IRIS_PRIORITY | ISP_IN_BRIGHT_PRIORITY | ISP_IN_SMART_EXPOSURE), \
    ISP_ONLY(ISP_IN_AUTO_EXPOSURE | ISP_IN_SHUTTER_PRIORITY | ISP_IN_IRIS_PRIORITY | ISP_IN_BRIGHT_PRIORITY | \
        ISP_IN_SMART_EXPOSURE), \
    ISP_IN_ALL, "mains frequency that exposure keeps in step with; off in shutter_priority") \
SETTING(meter, Meter_Mode_E, choice, cur, level, KIV_Set_meter, \
    Meter_Mode_Average, Meter_Mode_Top, Meter_Mode_Average, exposure, "", level, exposure, \
    ISP_IN_ALL, ISP_IN_ALL, ISP_IN_ALL, "part of the picture that exposure measures") \
SETTING(wdr_strength, WDR_Strength_E, level, cur, level, KIV_Set_wdr_strength, \
    WDR_Strength_MIN, WDR_Strength_MAX, WDR_Strength_MIN, exposure, "", level, own, \
    ISP_IN_NONE, ISP_ONLY(ISP_IN_WIDE_DYNAMIC_RANGE), ISP_IN_ALL, "kept, without effect on the picture") \
SETTING(wb_mode, WB_Mode_E, choice, cur, level, KIV_Set_wb_mode, \
    AUTO_WHITE_BALANCE, TEMPERATURE, AUTO_WHITE_BALANCE, white_balance, "", level, balance, \
    ISP_IN_ALL, ISP_IN_ALL, ISP_IN_ALL, "who decides the white-balance gains") \
SETTING(awb_sens, AWB_SENS_E, choice, all, level, KIV_Set_awb_sens, AWB_SENS_HIGH, AWB_SENS_LOW, AWB_SENS_MID, \
    white_balance, "", level, own, ISP_IN_NONE, ISP_IN_ALL, ISP_IN_ALL, "kept, without effect on the picture") \
SETTING(rgain, RGain_E, level, all, level, KIV_Set_rgain, RGain_MIN, RGain_MAX, 128, \
    white_balance, "x", level / 64.0 + 0.0035, balance, \
    ISP_ONLY(ISP_IN_MANUAL_BALANCE), ISP_ONLY(ISP_IN_MANUAL_BALANCE), ISP_ONLY(ISP_IN_MANUAL_BALANCE), "red gain") \
SETTING(bgain, BGain_E, level, all, level, KIV_Set_bgain, BGain_MIN, BGain_MAX, 128, \
    white_balance, "x", level / 64.0 + 0.0035, balance, \
    ISP_ONLY(ISP_IN_MANUAL_BALANCE), ISP_ONLY(ISP_IN_MANUAL_BALANCE), ISP_ONLY(ISP_IN_MANUAL_BALANCE), "blue gain") \
SETTING(rgain_tuning, RGain_Tuning_E, level, all, level, KIV_Set_rgain_tuning, RGain_Tuning_MIN, RGain_Tuning_MAX, 10, \
    white_balance, "", level - 10, balance, \
    ISP_ONLY(ISP_IN_AUTO_BALANCE | ISP_IN_ONEPUSH | ISP_IN_TEMPERATURE), ISP_IN_ALL, \
    ISP_ONLY(ISP_IN_AUTO_BALANCE | ISP_IN_ONEPUSH | ISP_IN_TEMPERATURE), "more or less red, 10 being neutral") \
SETTING(bgain_tuning, BGain_Tuning_E, level, all, level, KIV_Set_bgain_tuning, BGain_Tuning_MIN, BGain_Tuning_MAX, 10, \
    white_balance, "", level - 10, balance, \
    ISP_ONLY(ISP_IN_AUTO_BALANCE | ISP_IN_ONEPUSH | ISP_IN_TEMPERATURE), ISP_IN_ALL, \
    ISP_ONLY(ISP_IN_AUTO_BALANCE | ISP_IN_ONEPUSH | ISP_IN_TEMPERATURE), "more or less blue, 10 being neutral") \
SETTING(ggain_tuning, GGain_Tuning_E, level, bound, level, KIV_Set_ggain_tuning, \
    GGain_Tuning_MIN, GGain_Tuning_MAX, 10, white_balance, "", level - 10, own, ISP_IN_NONE, ISP_IN_ALL, \
    ISP_ONLY(ISP_IN_AUTO_BALANCE | ISP_IN_ONEPUSH | ISP_IN_TEMPERATURE), "kept, without effect on the picture") \
SETTING(rgain_onepush, int, level, cur, silent, set_onepush_rgain, 0, 65535, 1957, \
    white_balance, "x", level / 1000.0, own, ISP_ONLY(ISP_IN_ONEPUSH), ISP_IN_ALL, ISP_IN_ALL, \
    "remembered one-push red gain; used when the mode is selected again") \
SETTING(bgain_onepush, int, level, cur, silent, set_onepush_bgain, 0, 65535, 1995, \
    white_balance, "x", level / 1000.0, own, ISP_ONLY(ISP_IN_ONEPUSH), ISP_IN_ALL, ISP_IN_ALL, \
    "remembered one-push blue gain; used when the mode is selected again") \
SETTING(saturation, Saturation_E, level, all, level, KIV_Set_saturation, Saturation_MIN, Saturation_MAX, 7, \
    image, "", level, colour, ISP_ONLY(ISP_IN_COLOUR), ISP_IN_ALL, ISP_IN_ALL, \
    "saturation, 7 being neutral; no_colour is shown, but not stored") \
SETTING(hue, HUE_E, level, all, level, KIV_Set_hue, HUE_MIN, HUE_MAX, 7, \
    image, "", level, colour, ISP_IN_ALL, ISP_IN_ALL, ISP_IN_ALL, "hue, 7 being neutral") \
SETTING(temperature, Temperature_E, level, cur, level, KIV_Set_temperature, Temperature_MIN, Temperature_MAX, 30, \
    white_balance, "K", 2500 + 100 * level, balance, ISP_ONLY(ISP_IN_TEMPERATURE), ISP_IN_ALL, ISP_IN_ALL, \
    "colour temperature") \
SETTING(len_type, int, choice, none, level, KIV_Set_len_type, KIV_LEN_IR0147, KIV_LEN_SR1053, KIV_LEN_IR0147, \
    system, "", level, own, ISP_IN_NONE, ISP_IN_ALL, ISP_IN_NONE, "accepted, without effect") \
SETTING(luminance, Luminance_E, level, all, level, KIV_Set_luminance, Luminance_MIN, Luminance_MAX, 7, \
    image, "", level, colour, ISP_IN_ALL, ISP_IN_ALL, ISP_IN_ALL, "brightness, 7 being neutral") \
SETTING(contrast, Contrast_E, level, all, level, KIV_Set_contrast, Contrast_MIN, Contrast_MAX, 7, \
    image, "", level, colour, ISP_IN_ALL, ISP_IN_ALL, ISP_IN_ALL, "contrast, 7 being neutral") \
SETTING(sharpness, Sharpness_E, level, all, level, KIV_Set_sharpness, Sharpness_MIN, Sharpness_Auto, Sharpness_Auto, \
    image, "", level, own, ISP_IN_ALL, ISP_IN_ALL, ISP_IN_ALL, "sharpening, 0 to 15 or by the sensitivity") \
SETTING(blackwhite_mode, BlackWhite_Mode_E, choice, cur, level, KIV_Set_blackwhite_mode, \
    BlackWhite_Mode_OFF, BlackWhite_Mode_ON, BlackWhite_Mode_OFF, image, "", level, colour, \
    ISP_IN_ALL, ISP_IN_ALL, ISP_IN_ALL, "picture without colour") \
SETTING(gamma, Gamma_Level_E, choice, all, level, KIV_Set_gamma, ISP_GAMMA_0_48, ISP_GAMMA_0_42, ISP_GAMMA_0_45, \
    image, "", named, own, ISP_IN_ALL, ISP_IN_ALL, ISP_IN_ALL, "tone curve, by its exponent") \
SETTING(drc, DRC_E, level, all, level, KIV_Set_drc, DRC_MIN, DRC_MAX, DRC_MIN, \
    image, "x", 1 + 0.15 * level, exposure, ISP_IN_ALL, ISP_IN_ALL, ISP_IN_ALL, "dynamic range compression (DRC)") \
SETTING(ccm_style, int, level, none, level, KIV_Set_ccm_style, 0, 1, 0, \
    image, "", level, own, ISP_IN_NONE, ISP_IN_ALL, ISP_IN_NONE, "accepted, without effect") \
SETTING(nr2d, NR2D_E, level, all, level, KIV_Set_nr2d, NR2D_Close, NR2D_AUTO, NR2D_AUTO, \
    image, "", level, shading, ISP_IN_ALL, ISP_IN_ALL, ISP_IN_ALL, \
    "spatial (2D) noise reduction, 0 to 5 or by the sensitivity") \
SETTING(nr3d, NR3D_E, level, all, level, KIV_Set_nr3d, NR3D_Close, NR3D_AUTO, NR3D_AUTO, \
    image, "", level, own, ISP_IN_ALL, ISP_IN_ALL, ISP_IN_ALL, \
    "temporal (3D) noise reduction, 0 to 8 or by the sensitivity") \
SETTING(hotpixel, int, action, none, action, KIV_Set_hotpixel, 0, 1, 0, \
    image, "", level, own, ISP_IN_NONE, ISP_IN_ALL, ISP_IN_NONE, "accepted, without effect") \
SETTING(skin_saturation, int, level, none, none, none, 0, 14, 7, \
    image, "", level, own, ISP_IN_NONE, ISP_IN_NONE, ISP_IN_NONE, "kept, without effect")

/** What a camera can be told besides the record's settings, in the same columns; access is none. */
#define ISP_COMMANDS(COMMAND) \
COMMAND(wb_mode_onepush, int, action, none, action, KIV_Set_wb_mode_onepush, 0, 0, 0, \
    white_balance, "", level, balance, ISP_ONLY(ISP_IN_ONEPUSH), ISP_IN_ALL, ISP_IN_NONE, \
    "measures the white balance once and holds it; takes 4 s") \
COMMAND(shading, int, action, none, action, KIV_Set_shading, 0, 0, 0, \
    image, "", level, shading, ISP_IN_ALL, ISP_IN_ALL, ISP_IN_NONE, \
    "applies the lens-shading file again; result -1 without a usable file") \
COMMAND(csc_mode, CSC_Mode_E, choice, none, silent, KIV_Set_csc_mode, \
    CSC_BT601_full_range, CSC_BT709_limit_range, CSC_BT709_full_range, \
    image, "", level, own, ISP_IN_ALL, ISP_IN_ALL, ISP_IN_NONE, "conversion to luminance and colour difference")

/**
 * A row for each value that users write by name, grouped by setting: VALUE(setting, name, value, number). The number is
 * what the value means: seconds, F-number (0 for closed), hertz (0 for off), exponent; elsewhere the value itself.
 * The value may lie outside the setting's range: it can be set, and is not stored.
 */
#define ISP_VALUES(VALUE) \
VALUE(style, "default", style_default, style_default) \
VALUE(style, "norm", style_norm, style_norm) \
VALUE(style, "clarity_led", style_clarity_led, style_clarity_led) \
VALUE(style, "clarity", style_clarity, style_clarity) \
VALUE(style, "bright", style_bright, style_bright) \
VALUE(style, "soft", style_soft, style_soft) \
VALUE(style, "5S", style_5S, style_5S) \
VALUE(style, "QS", style_QS, style_QS) \
VALUE(style, "face", style_face, style_face) \
VALUE(style, "pc", style_pc, style_pc) \
VALUE(style, "jewelry", style_jewelry, style_jewelry) \
VALUE(style, "clothing", style_clothing, style_clothing) \
VALUE(style, "sears", style_sears, style_sears) \
VALUE(style, "food", style_food, style_food) \
VALUE(exposure_mode, "auto", AUTO_EXPOSURE, AUTO_EXPOSURE) \
VALUE(exposure_mode, "manual", MANUAL_EXPOSURE, MANUAL_EXPOSURE) \
VALUE(exposure_mode, "shutter_priority", SHUTTER_PRIORITY, SHUTTER_PRIORITY) \
VALUE(exposure_mode, "iris_priority", IRIS_PRIORITY, IRIS_PRIORITY) \
VALUE(exposure_mode, "bright_priority", BRIGHT_PRIORITY, BRIGHT_PRIORITY) \
VALUE(exposure_mode, "wide_dynamic_range", WIDE_DYNAMIC_RANGE, WIDE_DYNAMIC_RANGE) \
VALUE(exposure_mode, "low_light", LOW_LIGHT, LOW_LIGHT) \
VALUE(exposure_mode, "smart", SMART_EXPOSURE, SMART_EXPOSURE) \
VALUE(shutter, "1/30", VISCA_SHUTTER_30, 1.0 / 30) \
VALUE(shutter, "1/60", VISCA_SHUTTER_60, 1.0 / 60) \
VALUE(shutter, "1/90", VISCA_SHUTTER_90, 1.0 / 90) \
VALUE(shutter, "1/100", VISCA_SHUTTER_100, 1.0 / 100) \
VALUE(shutter, "1/125", VISCA_SHUTTER_125, 1.0 / 125) \
VALUE(shutter, "1/200", VISCA_SHUTTER_180, 1.0 / 200) /* its enumerator says 180; it exposes for 1/200 s */ \
VALUE(shutter, "1/250", VISCA_SHUTTER_250, 1.0 / 250) \
VALUE(shutter, "1/350", VISCA_SHUTTER_350, 1.0 / 350) \
VALUE(shutter, "1/500", VISCA_SHUTTER_500, 1.0 / 500) \
VALUE(shutter, "1/725", VISCA_SHUTTER_725, 1.0 / 725) \
VALUE(shutter, "1/1000", VISCA_SHUTTER_1000, 1.0 / 1000) \
VALUE(shutter, "1/1500", VISCA_SHUTTER_1500, 1.0 / 1500) \
VALUE(shutter, "1/2000", VISCA_SHUTTER_2000, 1.0 / 2000) \
VALUE(shutter, "1/3000", VISCA_SHUTTER_3000, 1.0 / 3000) \
VALUE(shutter, "1/4000", VISCA_SHUTTER_4000, 1.0 / 4000) \
VALUE(shutter, "1/6000", VISCA_SHUTTER_6000, 1.0 / 6000) \
VALUE(shutter, "1/10000", VISCA_SHUTTER_10000, 1.0 / 10000) \
VALUE(iris, "close", VISCA_IRIS_CLOSE, 0) \
VALUE(iris, "f11", VISCA_IRIS_F1100, 11) \
VALUE(iris, "f9.6", VISCA_IRIS_F960, 9.6) \
VALUE(iris, "f8", VISCA_IRIS_F800, 8) \
VALUE(iris, "f6.8", VISCA_IRIS_F680, 6.8) \
VALUE(iris, "f5.6", VISCA_IRIS_F560, 5.6) \
VALUE(iris, "f4.8", VISCA_IRIS_F480, 4.8) \
VALUE(iris, "f4", VISCA_IRIS_F400, 4) \
VALUE(iris, "f3.4", VISCA_IRIS_F340, 3.4) \
VALUE(iris, "f2.8", VISCA_IRIS_F280, 2.8) \
VALUE(iris, "f2.4", VISCA_IRIS_F240, 2.4) \
VALUE(iris, "f2", VISCA_IRIS_F200, 2) \
VALUE(iris, "f1.8", VISCA_IRIS_F180, 1.8) \
VALUE(expcomp_mode, "on", Expcomp_Mode_ON, Expcomp_Mode_ON) \
VALUE(expcomp_mode, "off", Expcomp_Mode_OFF, Expcomp_Mode_OFF) \
VALUE(backlight, "on", Backlight_Mode_ON, Backlight_Mode_ON) \
VALUE(backlight, "off", Backlight_Mode_OFF, Backlight_Mode_OFF) \
VALUE(antiflicker, "off", FLICKER_OFF, 0) \
VALUE(antiflicker, "50hz", FLICKER_50HZ, 50) \
VALUE(antiflicker, "60hz", FLICKER_60HZ, 60) \
VALUE(meter, "average", Meter_Mode_Average, Meter_Mode_Average) \
VALUE(meter, "center", Meter_Mode_Centor, Meter_Mode_Centor) \
VALUE(meter, "smart", Meter_Mode_Smart, Meter_Mode_Smart) \
VALUE(meter, "top", Meter_Mode_Top, Meter_Mode_Top) \
VALUE(wb_mode, "auto", AUTO_WHITE_BALANCE, AUTO_WHITE_BALANCE) \
VALUE(wb_mode, "indoor", IN_DOOR, IN_DOOR) \
VALUE(wb_mode, "outdoor", OUT_DOOR, OUT_DOOR) \
VALUE(wb_mode, "onepush", ONE_PUSH_WHITE_BALANCE, ONE_PUSH_WHITE_BALANCE) \
VALUE(wb_mode, "manual", MANUAL_WHITE_BALANCE, MANUAL_WHITE_BALANCE) \
VALUE(wb_mode, "temperature", TEMPERATURE, TEMPERATURE) \
VALUE(awb_sens, "high", AWB_SENS_HIGH, AWB_SENS_HIGH) \
VALUE(awb_sens, "mid", AWB_SENS_MID, AWB_SENS_MID) \
VALUE(awb_sens, "low", AWB_SENS_LOW, AWB_SENS_LOW) \
VALUE(len_type, "ir0147", KIV_LEN_IR0147, KIV_LEN_IR0147) \
VALUE(len_type, "sr1053", KIV_LEN_SR1053, KIV_LEN_SR1053) \
VALUE(saturation, "no_colour", -1, -1) \
VALUE(sharpness, "auto", Sharpness_Auto, Sharpness_Auto) \
VALUE(blackwhite_mode, "off", BlackWhite_Mode_OFF, BlackWhite_Mode_OFF) \
VALUE(blackwhite_mode, "on", BlackWhite_Mode_ON, BlackWhite_Mode_ON) \
VALUE(gamma, "0.48", ISP_GAMMA_0_48, 0.48) \
VALUE(gamma, "0.45", ISP_GAMMA_0_45, 0.45) \
VALUE(gamma, "0.50", ISP_GAMMA_0_50, 0.50) \
VALUE(gamma, "0.56", ISP_GAMMA_0_56, 0.56) \
VALUE(gamma, "0.63", ISP_GAMMA_0_63, 0.63) \
VALUE(gamma, "0.42", ISP_GAMMA_0_42, 0.42) \
VALUE(nr2d, "off", NR2D_Close, NR2D_Close) \
VALUE(nr2d, "auto", NR2D_AUTO, NR2D_AUTO) \
VALUE(nr3d, "off", NR3D_Close, NR3D_Close) \
VALUE(nr3d, "auto", NR3D_AUTO, NR3D_AUTO) \
VALUE(hotpixel, "off", 0, 0) \
VALUE(hotpixel, "on", 1, 1) \
VALUE(csc_mode, "bt601_full", CSC_BT601_full_range, CSC_BT601_full_range) \
VALUE(csc_mode, "bt601_limited", CSC_BT601_limit_range, CSC_BT601_limit_range) \
VALUE(csc_mode, "bt709_full", CSC_BT709_full_range, CSC_BT709_full_range) \
VALUE(csc_mode, "bt709_limited", CSC_BT709_limit_range, CSC_BT709_limit_range)
/* clang-format on */

#endif
