// What controllers ask a camera for in VISCA, a row per command. Decoder, inquiries, steps, blocks and the list in
// docs/visca.md are made from it.
#pragma once

#include <string_view>

namespace visca
{

/// Bytes are hexadecimal, without the address before them and the FF after them; p, q, r and s are the digits of a
/// value, the highest first. `power`, `zoom`, `zoom_drive` and `wb_mode_onepush` are no settings, but set like them.
struct Row {
    std::string_view command;
    std::string_view step;    ///< with 02 for up, 03 for down, 00 for the initial value behind it; empty: none
    std::string_view inquiry; ///< answered in the form that the command has behind its third byte; empty: none
    std::string_view setting; ///< by name
    /// The bytes taken, LOW or LOW-HIGH, with =FIRST where the setting's value for LOW is another (decimal). What no
    /// byte stands for is answered as the first. Marks: `!` steps skip it; `~` answered alone; `=*` the setting's last
    /// level that is not automatic.
    std::string_view values;
    int initial = 0; ///< for a step to it; for `=*` the last level at first
};

inline constexpr Row kRows[] = {
    {"01 04 39 0p", "", "09 04 39", "exposure_mode", "00 03 0A 0B 0D"},
    {"01 04 3D 0p", "", "09 04 3D", "exposure_mode", "03=0 02=33"},
    {"01 04 4A 00 00 0p 0q", "01 04 0A", "09 04 4A", "shutter", "01-11=0", 1},
    {"01 04 4B 00 00 0p 0q", "01 04 0B", "09 04 4B", "iris", "00 06-11 01-05!", 17},
    {"01 04 4C 00 00 0p 0q", "01 04 0C", "09 04 4C", "manual_gain", "00-0F", 0},
    {"01 04 2C 0p", "", "09 04 2C", "gain_limit", "00-0F"},
    {"01 04 4D 00 00 0p 0q", "01 04 0D", "09 04 4D", "bright", "00-17", 5},
    {"01 04 0D 00 00 0p 0q", "", "", "bright", "00-17"},
    {"01 04 3E 0p", "", "09 04 3E", "expcomp_mode", "03 02"},
    {"01 04 4E 00 00 0p 0q", "01 04 0E", "09 04 4E", "expcomp_level", "00-0E", 7},
    {"01 04 33 0p", "", "09 04 33", "backlight", "03 02"},
    {"01 04 23 0p", "", "09 04 55", "antiflicker", "00-02"},
    {"01 04 35 pq", "", "09 04 35", "wb_mode", "00-03 05 20"},
    {"01 04 10 05", "", "", "wb_mode_onepush", "00"},
    {"01 04 43 00 00 0p 0q", "01 04 03", "09 04 43", "rgain", "00-FF", 128},
    {"01 04 44 00 00 0p 0q", "01 04 04", "09 04 44", "bgain", "00-FF", 128},
    {"01 04 20 0p 0q", "01 04 20", "09 04 20", "temperature", "00-37", 30},
    {"0A 01 12 pq", "", "09 01 12", "rgain_tuning", "00-14"},
    {"0A 01 12 pq", "", "09 0A 01 12", "rgain_tuning", "00-14"},
    {"0A 01 13 pq", "", "09 01 13", "bgain_tuning", "00-14"},
    {"0A 01 13 pq", "", "09 0A 01 13", "bgain_tuning", "00-14"},
    {"01 04 A9 0p", "", "09 04 A9", "awb_sens", "00-02"},
    {"01 04 49 00 00 00 0p", "01 04 09", "09 04 49", "saturation", "00-0E", 7},
    {"01 04 4F 00 00 00 0p", "01 04 0F", "09 04 4F", "hue", "00-0E", 7},
    {"01 04 A1 00 00 0p 0q", "", "09 04 A1", "luminance", "00-0E"},
    {"01 04 A2 00 00 0p 0q", "", "09 04 A2", "contrast", "00-0E"},
    {"01 04 05 0p", "", "09 04 05", "sharpness", "02=16 03=*", 7},
    {"01 04 42 00 00 0p 0q", "01 04 02", "09 04 42", "sharpness", "00-0F", 16},
    {"01 04 50 0p", "", "09 04 50", "nr2d", "02=6 03=*", 3},
    {"01 04 53 0p", "", "09 04 53", "nr2d", "00-05 06~"},
    {"01 04 54 0p", "", "09 04 54", "nr3d", "00-08 09~"},
    {"01 04 5B 0p", "", "09 04 5B", "gamma", "00-05"},
    {"01 04 25 00 00 00 0p", "", "09 04 25", "drc", "00-08"},
    {"01 04 63 0p", "", "09 04 63", "blackwhite_mode", "00 04=1 02=0"},
    {"01 04 00 0p", "", "09 04 00", "power", "03=0 02=1"},
    {"01 04 07 pq", "", "", "zoom_drive", "00 02 03 20-27 30-37"},
    {"01 04 47 0p 0q 0r 0s", "", "09 04 47", "zoom", "0000-4000"},
};

/// Messages that are always answered alike, for what a camera has no setting or no motor.
struct Fixed {
    std::string_view message;
    std::string_view answer; ///< between 90 50 and FF
    std::string_view meaning;
};

inline constexpr Fixed kFixed[] = {
    {"01 00 01", "", "clear"},
    {"09 00 02", "00 00 00 00 01 00 02", "version"},
    {"09 04 48", "00 00 00 00", "focus position"},
    {"09 06 12", "00 00 00 00 00 00 00 00", "pan and tilt position"},
};

/// What a block inquiry `09 7E 7E 0n` tells, the row's byte at its place; byte 0 is the 90 of the answer.
struct BlockField {
    int block;
    int byte;
    int bytes; ///< with a nibble each; 1: the lower `bits` of the byte; 0: a bit, set where the row's byte is 02
    int bits;
    int shift;
    std::string_view inquiry; ///< of the row; or else a name
};

inline constexpr int kBlocks = 6;
// clang-format off
inline constexpr BlockField kBlockFields[] = {
    {0, 2, 4, 0, 0, "09 04 47"},
    {1, 2, 2, 0, 0, "09 04 43"}, {1, 4, 2, 0, 0, "09 04 44"}, {1, 6, 1, 4, 0, "09 04 35"}, {1, 7, 1, 4, 0, "09 04 42"},
    {1, 8, 1, 4, 0, "09 04 39"}, {1, 9, 0, 1, 4, "09 04 3D"}, {1, 9, 0, 1, 2, "09 04 33"}, {1, 9, 0, 1, 1, "09 04 3E"},
    {1, 10, 1, 8, 0, "09 04 4A"}, {1, 11, 1, 8, 0, "09 04 4B"}, {1, 12, 1, 8, 0, "09 04 4C"},
    {1, 13, 1, 8, 0, "09 04 4D"}, {1, 14, 1, 8, 0, "09 04 4E"},
    {2, 2, 0, 1, 0, "09 04 00"}, {2, 5, 1, 8, 0, "09 04 63"}, {2, 8, 4, 0, 0, "camera_id"},
    {3, 11, 1, 4, 3, "09 04 49"}, {3, 13, 1, 3, 4, "09 04 5B"}, {3, 13, 1, 3, 0, "09 04 53"},
    {3, 14, 1, 4, 0, "09 04 2C"},
    {5, 2, 1, 8, 0, "09 04 4F"},
};
// clang-format on

} // namespace visca
