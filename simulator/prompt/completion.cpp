// What could stand where the cursor is, from the commands' own lists of arguments: what is written small there is a
// word, what is written large names a kind of thing.
#include "prompt/completion.h"

#include "engine/engine.h"
#include "prompt/commands.h"
#include "session/cameras.h"

#include <algorithm>
#include <filesystem>
#include <sstream>

namespace prompt
{

namespace
{

/// Files whose names have an ending (".png"), or all; and folders.
Words files(const std::string& begun, const std::string& ending)
{
    namespace fs = std::filesystem;
    const std::string folder = begun.substr(0, begun.rfind('/') + 1);
    std::error_code error;
    Words names;
    for (fs::directory_iterator entry(folder.empty() ? "." : folder, error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code ignored;
        const std::string name = entry->path().filename().string() + (entry->is_directory(ignored) ? "/" : "");
        if (name.ends_with('/') || name.ends_with(ending)) {
            names.push_back(folder + name);
        }
    }
    std::ranges::sort(names);
    return names;
}

/// What may stand for an argument, "SETTING" or "on"; `before` are the words before it, the command first.
Words candidates(const std::string& argument, const Words& before, const std::string& begun)
{
    const bool third = before.size() > 2;
    Words names;
    if (argument == "SETTING" || argument == "NAME") {
        names = names_of(sim::host::kSettingsAndCommands);
        if (argument == "NAME") {
            std::ranges::move(names_of(all_commands()), std::back_inserter(names));
        }
    } else if (argument == "VALUE" || argument == "A" || argument == "B") {
        if (const auto* setting = third ? sim::host::find_setting(before[2]) : nullptr; setting != nullptr) {
            names = names_of(sim::host::names_of(*setting));
        }
    } else if (argument == "BLOCK") {
        names = sim::engine::block_names();
    } else if (argument == "FIELD" && third) {
        const char id = before[1][0];
        const bool known = before[1].size() == 1 && id >= '0' && id < '0' + session::kCameras;
        names = names_of(sim::engine::describe(session::engine_of(known ? id - '0' : 0), before[2]));
    } else if (argument == "FUNCTION") {
        names.assign(kCalledFunctions.begin(), kCalledFunctions.end());
    } else if (argument == "CAM") {
        for (int camera = 0; camera < session::kCameras; ++camera) {
            names.push_back(std::to_string(camera));
        }
    } else if (argument.starts_with("FILE") || argument.starts_with('.')) {
        names = files(begun, argument.substr(std::min(argument.find('.'), argument.size())));
    } else if (std::ranges::any_of(argument, [](unsigned char c) { return std::islower(c) || std::isdigit(c); })) {
        names.push_back(argument);
    }
    return names;
}

/// One form of a command's arguments, "start ID SENSOR...": what may stand behind some words, if these fit.
Words continuation(const std::string& form, const Words& before, const std::string& begun)
{
    Words found;
    std::istringstream arguments(form);
    std::string argument;
    for (std::size_t at = 1; arguments >> argument && at <= before.size(); ++at) {
        const bool repeated = argument.ends_with("...");
        std::erase_if(argument, [](char c) { return c == '[' || c == ']'; });
        std::istringstream alternatives(argument.substr(0, argument.size() - (repeated ? 3 : 0)));
        bool fits = false; // what stands there already
        for (std::string name; std::getline(alternatives, name, '|');) {
            if (at == before.size() || repeated) {
                std::ranges::move(candidates(name, before, begun), std::back_inserter(found));
            }
            fits = fits || at == before.size() || name == before[at] ||
                   std::ranges::any_of(name, [](unsigned char c) { return std::isupper(c); });
        }
        if (!fits) {
            return {};
        }
    }
    return found;
}

} // namespace

Words completions(const std::string& line)
{
    Words before = words_of(line);
    std::string begun;
    if (!line.empty() && line.back() != ' ' && !before.empty()) {
        begun = before.back();
        before.pop_back();
    }
    Words all = before.empty() ? names_of(all_commands()) : Words();
    if (const Command* command = before.empty() ? nullptr : find_command(before[0]); command != nullptr) {
        const std::string forms = std::string(command->arguments) + " | ";
        for (std::size_t from = 0, to = forms.find(" | "); to != std::string::npos;
             from = to + 3, to = forms.find(" | ", from)) {
            std::ranges::move(continuation(forms.substr(from, to - from), before, begun), std::back_inserter(all));
        }
    }
    Words found;
    for (const std::string& candidate : all) {
        if (candidate.starts_with(begun) && std::ranges::find(found, candidate) == found.end()) {
            found.push_back(candidate);
        }
    }
    return found;
}

} // namespace prompt
