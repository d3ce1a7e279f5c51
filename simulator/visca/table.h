// What controllers ask a camera for in VISCA, a row per command. Decoder, inquiries, steps, blocks and the list in
// docs/visca.md are made from it.
#pragma once

#include <string_view>

namespace visca
{

enum class Use { all, skipped, answered, last }; ///< by steps, nowhere else, or for the last level not automatic

/// Bytes that a row takes, and the setting's value that the first of them stands for.
struct Range {
    int low = 1;
    int high = 0;
    int value = 0;
    Use use = Use::all;
};

/// Where block inquiries `09 7E 7E 0n` tell the same; byte 0 is the 90 of the answer.
struct Place {
    int block = -1;
    int byte = 0;
    int bits = 0; ///< so many low bits; 0: one that is set for byte 02; -N: a byte for each of N digits
    int shift = 0;
};

struct Row {
    int command; ///< the three bytes behind the address; 0: none
    int digits;  ///< of the value, a byte for each; -1: it is a whole byte
    int step;    ///< before 02 for up, 03 for down, 00 for the initial value; 0: none
    int inquiry; ///< answered with the digits; 0: none
    std::string_view setting;
    Range ranges[4] = {}; ///< a value outside is answered as the first byte
    int initial = 0;      ///< with Use::last: the last level at first
    Place place = {};
};

inline constexpr int kBlocks = 6;
inline constexpr int kClear = 0x010001;
inline constexpr Row kRows[] = {
    {0x010439, 1, 0, 0x090439, "exposure_mode", {{0, 0, 0}, {3, 3, 3}, {10, 11, 10}, {13, 13, 13}}, 0, {1, 8, 4}},
    {0x01043D, 1, 0, 0x09043D, "exposure_mode", {{3, 3, 0}, {2, 2, 33}}, 0, {1, 9, 0, 4}},
    {0x01044A, 4, 0x01040A, 0x09044A, "shutter", {{0x01, 0x11, 0}}, 1, {1, 10, 8}},
    {0x01044B, 4, 0x01040B, 0x09044B, "iris", {{0, 0, 0}, {6, 0x11, 6}, {1, 5, 1, Use::skipped}}, 17, {1, 11, 8}},
    {0x01044C, 4, 0x01040C, 0x09044C, "manual_gain", {{0, 0x0F, 0}}, 0, {1, 12, 8}},
    {0x01042C, 1, 0, 0x09042C, "gain_limit", {{0, 0x0F, 0}}, 0, {3, 14, 4}},
    {0x01044D, 4, 0x01040D, 0x09044D, "bright", {{0, 0x17, 0}}, 5, {1, 13, 8}},
    {0x01040D, 4, 0, 0, "bright", {{0, 0x17, 0}}},
    {0x01043E, 1, 0, 0x09043E, "expcomp_mode", {{3, 3, 3}, {2, 2, 2}}, 0, {1, 9, 0, 1}},
    {0x01044E, 4, 0x01040E, 0x09044E, "expcomp_level", {{0, 0x0E, 0}}, 7, {1, 14, 8}},
    {0x010433, 1, 0, 0x090433, "backlight", {{3, 3, 3}, {2, 2, 2}}, 0, {1, 9, 0, 2}},
    {0x010423, 1, 0, 0x090455, "antiflicker", {{0, 2, 0}}},
    {0x010435, -1, 0, 0x090435, "wb_mode", {{0, 3, 0}, {5, 5, 5}, {0x20, 0x20, 32}}, 0, {1, 6, 4}},
    {0x010410, -1, 0, 0, "wb_mode_onepush", {{5, 5, 0}}},
    {0x010443, 4, 0x010403, 0x090443, "rgain", {{0, 0xFF, 0}}, 128, {1, 2, -2}},
    {0x010444, 4, 0x010404, 0x090444, "bgain", {{0, 0xFF, 0}}, 128, {1, 4, -2}},
    {0x010420, 2, 0x010420, 0x090420, "temperature", {{0, 0x37, 0}}, 30},
    {0x0A0112, -1, 0, 0x090112, "rgain_tuning", {{0, 0x14, 0}}},
    {0x0A0113, -1, 0, 0x090113, "bgain_tuning", {{0, 0x14, 0}}},
    {0x0104A9, 1, 0, 0x0904A9, "awb_sens", {{0, 2, 0}}},
    {0x010449, 4, 0x010409, 0x090449, "saturation", {{0, 0x0E, 0}}, 7, {3, 11, 4, 3}},
    {0x01044F, 4, 0x01040F, 0x09044F, "hue", {{0, 0x0E, 0}}, 7, {5, 2, 8}},
    {0x0104A1, 4, 0, 0x0904A1, "luminance", {{0, 0x0E, 0}}},
    {0x0104A2, 4, 0, 0x0904A2, "contrast", {{0, 0x0E, 0}}},
    {0x010405, 1, 0, 0x090405, "sharpness", {{2, 2, 16}, {3, 3, 0, Use::last}}, 7},
    {0x010442, 4, 0x010402, 0x090442, "sharpness", {{0, 0x0F, 0}}, 16, {1, 7, 4}},
    {0x010450, 1, 0, 0x090450, "nr2d", {{2, 2, 6}, {3, 3, 0, Use::last}}, 3},
    {0x010453, 1, 0, 0x090453, "nr2d", {{0, 5, 0}, {6, 6, 6, Use::answered}}, 0, {3, 13, 3}},
    {0x010454, 1, 0, 0x090454, "nr3d", {{0, 8, 0}, {9, 9, 9, Use::answered}}},
    {0x01045B, 1, 0, 0x09045B, "gamma", {{0, 5, 0}}, 0, {3, 13, 3, 4}},
    {0x010425, 4, 0, 0x090425, "drc", {{0, 8, 0}}},
    {0x010463, 1, 0, 0x090463, "blackwhite_mode", {{0, 0, 0}, {4, 4, 1}, {2, 2, 0}}, 0, {2, 5, 8}},
    // From here on no settings; a host that has no value for one says 0.
    {0x010400, 1, 0, 0x090400, "power", {{3, 3, 0}, {2, 2, 1}}, 0, {2, 2, 0, 0}},
    {0x010407, -1, 0, 0, "zoom_drive", {{0, 0, 0}, {2, 3, 2}, {0x20, 0x27, 0x20}, {0x30, 0x37, 0x30}}},
    {0x010447, 4, 0, 0x090447, "zoom", {{0, 0x4000, 0}}, 0, {0, 2, -4}},
    {0, 4, 0, 0x090448, "focus", {{0, 0, 0}}},
    {0, 8, 0, 0x090612, "pan_and_tilt", {{0, 0, 0}}},
    {0, 7, 0, 0x090002, "version", {{0x102, 0x102, 0x102}}},
    {0, 4, 0, 0, "camera_id", {{0, 0xFFFF, 0}}, 0, {2, 8, -4}},
    {0, 0, 0, kClear, "clear", {{0, 0, 0}}},
};

} // namespace visca
