#include "prompt/reference.h"

#include "host/settings.h"
#include "prompt/commands.h"

namespace prompt
{

namespace
{

std::string cell(std::string_view text)
{
    std::string result;
    for (const char c : text) {
        result += (c == '|' ? "\\" : "") + std::string(1, c);
    }
    return result;
}

std::string values(const sim::host::Setting& setting)
{
    std::string text = std::to_string(setting.lowest) + " to " + std::to_string(setting.highest);
    const auto names = sim::host::names_of(setting);
    for (std::size_t i = 0; i < names.size(); ++i) {
        text += (i == 0 ? ": " : ", ") + std::string(names[i].name) + " " + std::to_string(names[i].value);
    }
    return text;
}

// "K: 2500 + 100 * level"; the unit alone where each value has a number of its own.
std::string unit(const sim::host::Setting& setting)
{
    const bool named = setting.formula == "named";
    return setting.unit.empty() ? "" : std::string(setting.unit) + (named ? "" : ": " + std::string(setting.formula));
}

constexpr const char* kNegatives[] = {"", "lowest", "highest", "kept"}; // by Negative

void add_table(std::string& text, std::span<const sim::host::Setting> settings)
{
    text += "| Setting | Values | Initially | Unit | Negative | Effect | Takes effect while | Otherwise | Source |\n"
            "|---|---|---|---|---|---|---|---|---|\n";
    for (const sim::host::Setting& setting : settings) {
        const bool action = setting.setter == sim::host::Setter::action;
        const std::string source(setting.source);
        text += "| `" + std::string(setting.name) + "` | " + (action ? "" : cell(values(setting))) + " | " +
                (action ? "" : cell(sim::host::name_of(setting, setting.initial))) + " | " + cell(unit(setting)) +
                " | " + kNegatives[static_cast<std::size_t>(setting.negative)] + " | " + cell(setting.effect) + " | " +
                cell(sim::host::modes_text(setting.effective)) + " | " + cell(sim::host::elsewhere_text(setting)) +
                " | " + (source.empty() ? "" : "[" + source + "](../RK3588S_PTZ/isp_ctrl/" + source + ")") + " |\n";
    }
}

} // namespace

std::string settings_reference()
{
    std::string text =
        "# Settings\n\n"
        "Every setting of a camera, from the list that store and program are made of. "
        "`isp-sim --reference` prints this page.\n\n"
        "A setting `name` is set with `KIV_Set_name()` and kept in the host's parameter store. Result 0 "
        "means applied, or stored for a camera without an engine; -1 a refused id or an engine failure. "
        "A negative level becomes what the column says: the lowest or the highest level, or it is kept as passed. "
        "Where a column says `is not`, values of the mode without a name are included. A unit's formula tells what a "
        "`level` means; a value that has a name means what the name says. For programs the same list is "
        "`isp_settings.h`.\n\n";
    add_table(text, sim::host::kSettings);
    text += "\n# Further operations on a camera\n\n";
    add_table(text, sim::host::kCommands);
    text += "\n# Commands of isp-sim\n\n| Command | Effect |\n|---|---|\n";
    for (const Command& command : all_commands()) {
        text += "| `" + cell(usage_of(command)) + "` | " + std::string(command.help) + " |\n";
    }
    return text;
}

} // namespace prompt
