// The settings of a camera as a table, with their values by name; made from settings.def.
#pragma once

#include "isp_ctrl.h"
#include "platformpara/para_isp.h"

#include <array>
#include <charconv>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace sim::host
{

/// Accessors of the store; a setting with `cur` alone is stored as passed, every other is bounded.
enum class Access { none, set, bound, cur, all };

/// What the library has for changing it; the forms are those of settings.def.
enum class Setter { none, level, action, silent, gain };

/// What the library stores for a negative level: nothing, the lowest or highest level, or the level as passed.
enum class Negative { none, lowest, highest, kept };

/// A set of modes, a bit per value of exposure_mode, wb_mode and blackwhite_mode, in the order of their names.
using Modes = unsigned;
inline constexpr Modes kAutoExposure = 1U << 0;
inline constexpr Modes kManualExposure = 1U << 1;
inline constexpr Modes kShutterPriority = 1U << 2;
inline constexpr Modes kIrisPriority = 1U << 3;
inline constexpr Modes kBrightPriority = 1U << 4;
inline constexpr Modes kWideDynamicRange = 1U << 5;
inline constexpr Modes kLowLight = 1U << 6;
inline constexpr Modes kSmartExposure = 1U << 7;
inline constexpr Modes kOtherExposure = 1U << 8; ///< a value without a name
inline constexpr Modes kAutoBalance = 1U << 9;
inline constexpr Modes kIndoor = 1U << 10;
inline constexpr Modes kOutdoor = 1U << 11;
inline constexpr Modes kOnepush = 1U << 12;
inline constexpr Modes kManualBalance = 1U << 13;
inline constexpr Modes kTemperature = 1U << 14;
inline constexpr Modes kOtherBalance = 1U << 15;
inline constexpr Modes kColour = 1U << 16; ///< every value of blackwhite_mode but on
inline constexpr Modes kBlackWhite = 1U << 17;
inline constexpr Modes kNoMode = 0;
inline constexpr Modes kAllModes = (1U << 18) - 1;

/// A setting whose value is a mode, and the bits of its values.
struct ModeSetting {
    std::string_view name;
    int kiv_isp_param_s::* member;
    Modes first; ///< of the first named value
    Modes all;
};
inline constexpr ModeSetting kModeSettings[] = {
    {"exposure_mode", &kiv_isp_param_s::exposure_mode, kAutoExposure, (kOtherExposure << 1) - kAutoExposure},
    {"wb_mode", &kiv_isp_param_s::wb_mode, kAutoBalance, (kOtherBalance << 1) - kAutoBalance},
    {"blackwhite_mode", &kiv_isp_param_s::blackwhite_mode, kColour, kColour | kBlackWhite},
};

/// These modes, and any of the mode settings that none of them belongs to.
constexpr Modes only(Modes modes)
{
    Modes result = modes;
    for (const ModeSetting& setting : kModeSettings) {
        result |= (modes & setting.all) == 0 ? setting.all : 0;
    }
    return result;
}

constexpr Modes all_but(Modes modes)
{
    return kAllModes & ~modes;
}

struct Setting {
    std::string_view name;
    std::string_view type; ///< enum of isp_ctrl.h, or "int"
    Access access;
    Setter setter;
    int lowest;
    int highest; ///< the store's maximum at first, where it has one
    int initial;
    Negative negative;
    Modes effective;               ///< in which a level takes effect
    Modes accepted;                ///< in which the setter returns 0
    Modes stored;                  ///< in which the level is stored
    std::string_view source;       ///< file of the setter, below the library's isp_ctrl/
    std::string_view effect;       ///< with its unit
    int kiv_isp_param_s::* member; ///< null for a command, which is no part of the record

    constexpr bool has_max() const
    {
        return access == Access::all || access == Access::bound;
    }
    constexpr bool as_passed() const
    {
        return access == Access::cur;
    }
    /// Whether its value is a mode that other settings depend on.
    constexpr bool is_mode() const
    {
        for (const ModeSetting& mode : kModeSettings) {
            if (mode.member == member) {
                return true;
            }
        }
        return false;
    }
    constexpr bool in_range(int value) const
    {
        return lowest <= value && value <= highest;
    }
    /// Whether the store may come to hold it.
    constexpr bool storable(int value) const
    {
        return as_passed() || in_range(value);
    }
};

struct ValueName {
    std::string_view setting;
    std::string_view name;
    int value;
};

/// The 39 fields of the record in its order, then the commands.
inline constexpr Setting kSettingsAndCommands[] = {
#define ISP_SETTING(name, type, access, setter, lowest, highest, initial, negative, ...)                               \
    {#name,   #type,   Access::access,     Setter::setter, lowest,                                                     \
     highest, initial, Negative::negative, __VA_ARGS__,    &kiv_isp_param_s::name},
#define ISP_COMMAND(name, type, access, setter, lowest, highest, initial, negative, ...)                               \
    {#name, #type, Access::access, Setter::setter, lowest, highest, initial, Negative::negative, __VA_ARGS__, nullptr},
#include "host/settings.def"
};

inline constexpr std::size_t kFields = sizeof(kiv_isp_param_s) / sizeof(int);
inline constexpr std::span<const Setting> kSettings = std::span(kSettingsAndCommands).first<kFields>();
inline constexpr std::span<const Setting> kCommands = std::span(kSettingsAndCommands).subspan<kFields>();

/// Values by name, grouped by setting.
/// A value outside the setting's range can be set, but is not stored.
inline constexpr ValueName kValueNames[] = {
#define ISP_VALUE(setting, name, value) {#setting, name, value},
#include "host/settings.def"
};

/// A setting or command by its name, or null.
constexpr const Setting* find_setting(std::string_view name)
{
    for (const Setting& setting : kSettingsAndCommands) {
        if (setting.name == name) {
            return &setting;
        }
    }
    return nullptr;
}

/// The names that a setting's values have; empty for a setting of plain levels.
constexpr std::span<const ValueName> names_of(const Setting& setting)
{
    std::size_t first = 0;
    while (first < std::size(kValueNames) && kValueNames[first].setting != setting.name) {
        ++first;
    }
    std::size_t last = first;
    while (last < std::size(kValueNames) && kValueNames[last].setting == setting.name) {
        ++last;
    }
    return std::span(kValueNames).subspan(first, last - first);
}

/// The value that a text means, a name or a decimal number of any size that an int holds; none for other text.
inline std::optional<int> value_of(const Setting& setting, std::string_view text)
{
    for (const ValueName& known : names_of(setting)) {
        if (known.name == text) {
            return known.value;
        }
    }
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

/// A value as value_of() reads it back: its name, or its number when it has none.
inline std::string name_of(const Setting& setting, int value)
{
    for (const ValueName& known : names_of(setting)) {
        if (known.value == value) {
            return std::string(known.name);
        }
    }
    return std::to_string(value);
}

/// The modes that a record is in, one of each mode setting.
constexpr Modes modes_of(const kiv_isp_param_s& record)
{
    Modes modes = kNoMode;
    for (const ModeSetting& mode : kModeSettings) {
        const auto names = names_of(*find_setting(mode.name));
        Modes bit = mode.first;
        for (std::size_t i = 0; i < names.size() && names[i].value != record.*mode.member; ++i) {
            bit <<= 1U;
        }
        modes |= (bit & mode.all) != 0 ? bit : mode.first;
    }
    return modes;
}

/// Whether a set holds the present mode of each mode setting.
constexpr bool contains(Modes modes, const kiv_isp_param_s& record)
{
    return (modes & modes_of(record)) == modes_of(record);
}

/// Whether a setting takes effect in the modes of a record.
constexpr bool applies(const Setting& setting, const kiv_isp_param_s& record)
{
    return contains(setting.effective, record);
}

/// A set of modes for people, "exposure_mode manual, shutter_priority"; "all" or "none" where no mode setting matters.
std::string modes_text(Modes modes);

/// What becomes of a level where it takes no effect, "result 2, stored"; empty where it does everywhere.
std::string elsewhere_text(const Setting& setting);

/// The present mode that a set lacks, by name; empty where it holds all.
std::string unused_mode(Modes modes, const kiv_isp_param_s& record);

/// A record of all initial values.
constexpr kiv_isp_param_s initial_record()
{
    kiv_isp_param_s record{};
    for (const Setting& setting : kSettings) {
        record.*setting.member = setting.initial;
    }
    return record;
}

} // namespace sim::host
