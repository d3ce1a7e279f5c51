// The table of settings in words.
#include "host/settings.h"

#include <array>
#include <bit>
#include <cstdio>
#include <vector>

namespace sim::host
{

namespace
{

// "a, b or c" of the values of one mode setting.
std::string values_text(const ModeSetting& mode, Modes modes)
{
    std::vector<std::string> values;
    Modes bit = mode.first;
    for (const ValueName& name : names_of(*find_setting(mode.name))) {
        if ((modes & bit) != 0) {
            values.emplace_back(name.name);
        }
        bit <<= 1U;
    }
    if ((modes & bit & mode.all) != 0) {
        values.emplace_back("without a name");
    }
    std::string text;
    for (std::size_t i = 0; i < values.size(); ++i) {
        text += (i == 0 ? "" : i + 1 < values.size() ? ", " : " or ") + values[i];
    }
    return text;
}

// "exposure_mode is a", of the values that one set of modes has and another lacks.
std::string values_beyond(Modes modes, Modes others)
{
    std::string text;
    for (const ModeSetting& mode : kModeSettings) {
        if (const Modes more = modes & ~others & mode.all; more != 0 && more != mode.all) {
            text += (text.empty() ? "" : ", or ") + std::string(mode.name) + " is " + values_text(mode, more);
        }
    }
    return text;
}

} // namespace

std::string modes_text(Modes modes, const kiv_isp_param_s* record)
{
    if (record == nullptr && (modes == kNoMode || modes == kAllModes)) {
        return modes == kNoMode ? "never" : "always";
    }
    std::string text;
    for (const ModeSetting& mode : kModeSettings) {
        const Modes in = modes & mode.all;
        if (in != 0 && in != mode.all && (record == nullptr || (in & modes_of(*record)) == 0)) {
            const Modes out = mode.all & ~modes; // what it is not, where that is shorter
            const bool fewer_out = std::popcount(out) < std::popcount(in);
            text += (text.empty() ? "" : " and ") + std::string(mode.name) + (fewer_out ? " is not " : " is ") +
                    values_text(mode, fewer_out ? out : in);
        }
    }
    return text;
}

std::string elsewhere_text(const Setting& setting)
{
    if (setting.setter == Setter::none || setting.effective == kAllModes) {
        return {};
    }
    std::string text = setting.accepted == kAllModes ? "result 0" : "result 2";
    if (const std::string accepted = values_beyond(setting.accepted, setting.effective);
        setting.accepted != kAllModes && !accepted.empty()) {
        text += " (0 while " + accepted + ")";
    }
    if (setting.member == nullptr) {
        return text;
    }
    if (setting.stored == kAllModes) {
        return text + ", stored";
    }
    text += ", not stored";
    if (const std::string stored = values_beyond(setting.stored, setting.effective); !stored.empty()) {
        text += " (but while " + stored + ")";
    }
    const std::string shown = values_beyond(setting.effective, setting.stored);
    return text + (shown.empty() ? "" : ", nor while " + shown);
}

std::string quantity_text(const Setting& setting, int value)
{
    double named = value;
    for (const ValueName& name : names_of(setting)) {
        if (name.value == value) {
            named = name.number;
        }
    }
    const double number = setting.number(value, named);
    if (setting.unit.empty() || (setting.unit == "F" && number == 0.0)) { // a closed iris has no aperture
        return {};
    }
    std::array<char, 32> text{};
    const bool fraction = setting.unit == "s" && number < 1.0;
    std::snprintf(text.data(), text.size(), "%.4g", fraction ? 1.0 / number : number);
    const bool before = setting.unit == "x" || setting.unit == "F";
    return (before     ? std::string(setting.unit)
            : fraction ? "1/"
                       : "") +
           text.data() + (before ? "" : " " + std::string(setting.unit));
}

std::string unused_mode(Modes modes, const kiv_isp_param_s& record)
{
    for (const ModeSetting& mode : kModeSettings) {
        if ((modes & modes_of(record) & mode.all) == 0) {
            const std::string value = name_of(*find_setting(mode.name), record.*mode.member);
            return value == "on" || value == "off" ? std::string(mode.name) + " " + value : value;
        }
    }
    return {};
}

} // namespace sim::host
