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

struct Setting {
    std::string_view name;
    std::string_view type; ///< enum of isp_ctrl.h, or "int"
    Access access;
    Setter setter;
    int lowest;
    int highest; ///< the store's maximum at first, where it has one
    int initial;
    std::string_view effect;      ///< with its unit
    std::string_view modes;       ///< in which it takes effect
    std::string_view results;     ///< beside 0 and -1
    int kiv_isp_param_s::*member; ///< null for a command, which is no part of the record

    constexpr bool has_max() const
    {
        return access == Access::all || access == Access::bound;
    }
    constexpr bool as_passed() const
    {
        return access == Access::cur;
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
#define ISP_SETTING(name, type, access, setter, lowest, highest, initial, effect, modes, results)                      \
    {#name,  #type, Access::access, Setter::setter,        lowest, highest, initial,                                   \
     effect, modes, results,        &kiv_isp_param_s::name},
#define ISP_COMMAND(name, type, access, setter, lowest, highest, initial, effect, modes, results)                      \
    {#name, #type, Access::access, Setter::setter, lowest, highest, initial, effect, modes, results, nullptr},
#include "host/settings.def"
};

inline constexpr std::size_t kFields = sizeof(kiv_isp_param_s) / sizeof(int);
inline constexpr std::span<const Setting> kSettings = std::span(kSettingsAndCommands).first<kFields>();
inline constexpr std::span<const Setting> kCommands = std::span(kSettingsAndCommands).subspan<kFields>();

/// Values by name, grouped by setting.
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
