// Help, and what belongs to no camera.
#include "prompt/commands.h"
#include "prompt/line_reader.h"
#include "session/text.h"

#include <iomanip>
#include <memory>
#include <ostream>

namespace prompt
{

namespace
{

using sim::host::Setting;

constexpr int kUsageWidth = 33;

void echo(const Words& words)
{
    for (const std::string& word : words) {
        out() << session::printable(word) << ' ';
    }
    out() << '\n';
}

/// A paragraph in lines that fit the width, the first after what is already there.
void print_wrapped(const std::string& text, std::size_t indent)
{
    constexpr std::size_t kWidth = 79;
    std::istringstream words(text);
    std::string line;
    for (std::string word; words >> word;) {
        if (!line.empty() && indent + line.size() + 1 + word.size() > kWidth) {
            out() << line << '\n' << std::string(indent, ' ');
            line.clear();
        }
        line += (line.empty() ? "" : " ") + word;
    }
    out() << line << '\n';
}

void list_commands()
{
    for (const Group& group : command_groups()) {
        out() << group.title << '\n';
        for (const Command& command : group.commands) {
            const std::string usage = "  " + usage_of(command);
            out() << std::left << std::setw(kUsageWidth) << usage;
            if (usage.size() >= kUsageWidth) {
                out() << '\n' << std::setw(kUsageWidth) << "";
            }
            print_wrapped(std::string(command.help), kUsageWidth);
        }
    }
    out() << "help settings lists all settings with their ranges, help NAME explains one.\n";
}

void explain(const Setting& setting)
{
    const bool action = setting.setter == sim::host::Setter::action;
    std::string text = (action ? "" : range_text(setting) + ": ") + std::string(setting.effect);
    if (setting.effective != sim::host::kAllModes && setting.effective != sim::host::kNoMode) {
        text += "; only while " + sim::host::modes_text(setting.effective);
    }
    if (const std::string elsewhere = sim::host::elsewhere_text(setting); !elsewhere.empty()) {
        text += " [else " + elsewhere + "]";
    }
    if (!setting.shown) {
        text += "; " + std::string(sim::host::kNotShown);
    }
    out() << std::left << std::setw(kNameWidth) << setting.name;
    print_wrapped(text, kNameWidth);
}

void help(const Words& words)
{
    if (words.empty()) {
        list_commands();
        return;
    }
    bool found = false;
    for (const Setting& setting : sim::host::kSettingsAndCommands) {
        if (setting.setter != sim::host::Setter::none && (words[0] == "settings" || words[0] == setting.name)) {
            found = true;
            explain(setting);
        }
    }
    if (const Command* command = find_command(words[0]); command != nullptr) {
        found = true;
        out() << usage_of(*command) << ": " << command->help << '\n';
    }
    if (!found) {
        throw BadInput("there is nothing called " + words[0]);
    }
}

void json(const Words& words)
{
    options().json = on_or_off(words[0]);
}

/// Scripts may name scripts, to a depth that a loop soon reaches.
void source(const Words& words)
{
    constexpr int kDeepest = 8;
    static thread_local int depth = 0;
    if (depth == kDeepest) {
        throw BadInput(words[0] + ": scripts nested more than 8 deep");
    }
    LineReader lines(file_argument(words[0]));
    ++depth;
    const std::unique_ptr<int, void (*)(int*)> deeper(&depth, [](int* deep) { --*deep; });
    while (const std::optional<std::string> line = lines.next()) {
        try {
            if (!run_line(*line, options())) {
                break;
            }
        } catch (const BadInput& error) {
            throw BadInput(lines.place() + error.what());
        }
    }
    answer({{"script", words[0]}});
}

constexpr Command kGeneral[] = {
    {"source", "FILE", "run a script", 1, 1, source},
    {"json", "on|off", "answer in JSON, one object a command", 1, 1, json, Kind::looks},
    {"echo", "TEXT...", "print a line", 0, kMany, echo, Kind::looks},
    {"help", "[settings | NAME]", "this list, or one thing", 0, 1, help, Kind::looks},
    {"quit", "", "leave", 0, 0, nullptr, Kind::looks},
    {"quit!", "", "leave even if changes cannot be saved", 0, 0, nullptr, Kind::looks},
};

} // namespace

const Group kGeneralCommands = {"The program", kGeneral};

} // namespace prompt
