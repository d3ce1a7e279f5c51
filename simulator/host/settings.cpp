// The table of settings in words.
#include "host/settings.h"

#include <bit>

namespace sim::host
{

namespace
{

// "a, b" of the values of one mode setting.
std::string values_text(const ModeSetting& mode, Modes modes)
{
    std::string text;
    Modes bit = mode.first;
    const auto add = [&](std::string_view name) {
        if ((modes & bit) != 0) {
            text += (text.empty() ? "" : ", ") + std::string(name);
        }
        bit <<= 1U;
    };
    for (const ValueName& name : names_of(*find_setting(mode.name))) {
        add(name.name);
    }
    if ((bit & mode.all) != 0) {
        add("unnamed values");
    }
    return text;
}

// "exposure_mode a, b", or with what is left out where that is shorter.
std::string text_of(const ModeSetting& mode, Modes modes)
{
    const Modes in = modes & mode.all;
    const Modes out = mode.all & ~modes;
    const bool fewer_out = std::popcount(out) < std::popcount(in);
    return std::string(mode.name) + (fewer_out ? " all but " : " ") + values_text(mode, fewer_out ? out : in);
}

// The values that one set of modes has and another lacks.
std::string values_beyond(Modes modes, Modes others)
{
    std::string text;
    for (const ModeSetting& mode : kModeSettings) {
        if (const Modes more = modes & ~others & mode.all; more != mode.all) {
            text += values_text(mode, more);
        }
    }
    return text;
}

} // namespace

std::string modes_text(Modes modes)
{
    std::string text;
    for (const ModeSetting& mode : kModeSettings) {
        if (const Modes in = modes & mode.all; in != 0 && in != mode.all) {
            text += (text.empty() ? "" : "; ") + text_of(mode, modes);
        }
    }
    return !text.empty() ? text : modes == kNoMode ? "none" : "all";
}

std::string elsewhere_text(const Setting& setting)
{
    if (setting.setter == Setter::none || setting.effective == kAllModes) {
        return {};
    }
    std::string text = setting.accepted == kAllModes ? "result 0" : "result 2";
    if (const std::string accepted = values_beyond(setting.accepted, setting.effective);
        setting.accepted != kAllModes && !accepted.empty()) {
        text += " (0 in " + accepted + ")";
    }
    if (setting.member == nullptr) {
        return text;
    }
    if (setting.stored == kAllModes) {
        return text + ", stored";
    }
    text += ", not stored";
    if (const std::string stored = values_beyond(setting.stored, setting.effective); !stored.empty()) {
        text += " (but in " + stored + ")";
    }
    const std::string shown = values_beyond(setting.effective, setting.stored);
    return text + (shown.empty() ? "" : ", nor in " + shown);
}

std::string unused_mode(Modes modes, const kiv_isp_param_s& record)
{
    for (const ModeSetting& mode : kModeSettings) {
        if ((modes & modes_of(record) & mode.all) == 0) {
            return name_of(*find_setting(mode.name), record.*mode.member);
        }
    }
    return {};
}

} // namespace sim::host
