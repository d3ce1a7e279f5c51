// What could stand where the cursor is, from the commands' own lists of arguments: what is written small there is a
// word, what is written large names a kind of thing.
#include "prompt/completion.h"

#include "engine/engine.h"
#include "prompt/commands.h"
#include "prompt/commands/inspect.h"
#include "session/cameras.h"

#include <algorithm>
#include <filesystem>
#include <sstream>

namespace prompt
{

namespace
{

/// What a place of a command may hold.
struct Place {
    std::string name;    ///< as in the arguments, "SETTING"
    const Words& before; ///< the words before it, the command first
    std::string begun;
    std::vector<std::string>& found;

    void offer(std::string_view candidate) const
    {
        if (candidate.starts_with(begun)) {
            found.emplace_back(candidate);
        }
    }
};

int camera_before(const Words& words)
{
    const bool known =
        words.size() > 1 && words[1].size() == 1 && words[1][0] >= '0' && words[1][0] < '0' + session::kCameras;
    return known ? words[1][0] - '0' : 0;
}

void offer_files(const Place& place)
{
    namespace fs = std::filesystem;
    const std::size_t slash = place.begun.rfind('/');
    const std::string folder = slash == std::string::npos ? "" : place.begun.substr(0, slash + 1);
    std::error_code error;
    std::vector<std::string> names;
    for (fs::directory_iterator entry(folder.empty() ? "." : folder, error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code ignored;
        names.push_back(folder + entry->path().filename().string() + (entry->is_directory(ignored) ? "/" : ""));
    }
    std::ranges::sort(names);
    for (const std::string& name : names) {
        place.offer(name);
    }
}

void offer_values(const Place& place)
{
    if (place.before.size() > 2) {
        if (const sim::host::Setting* setting = sim::host::find_setting(place.before[2]); setting != nullptr) {
            for (const sim::host::ValueName& name : sim::host::names_of(*setting)) {
                place.offer(name.name);
            }
        }
    }
}

void offer_names(const Place& place)
{
    for (const Group& group : command_groups()) {
        for (const Command& command : group.commands) {
            place.offer(command.name);
        }
    }
}

void offer_settings(const Place& place)
{
    for (const sim::host::Setting& setting : sim::host::kSettingsAndCommands) {
        place.offer(setting.name);
    }
}

void offer(const Place& place)
{
    if (place.name == "SETTING") {
        offer_settings(place);
    } else if (place.name == "NAME") {
        offer_settings(place);
        offer_names(place);
    } else if (place.name == "VALUE" || place.name == "A" || place.name == "B") {
        offer_values(place);
    } else if (place.name == "BLOCK") {
        for (const std::string& name : sim::engine::block_names()) {
            place.offer(name);
        }
    } else if (place.name == "FIELD" && place.before.size() > 2) {
        for (const sim::engine::Field& field :
             sim::engine::describe(session::engine_of(camera_before(place.before)), place.before[2])) {
            place.offer(field.name);
        }
    } else if (place.name == "FUNCTION") {
        for (const std::string_view function : called_functions()) {
            place.offer(function);
        }
    } else if (place.name == "CAM") {
        for (int camera = 0; camera < session::kCameras; ++camera) {
            place.offer(std::to_string(camera));
        }
    } else if (place.name.starts_with("FILE") || place.name.starts_with(".")) {
        offer_files(place);
    } else if (std::ranges::any_of(place.name,
                                   [](char c) { return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'); })) {
        place.offer(place.name);
    }
}

/// One form of a command's arguments, "start ID SENSOR...": offers what stands in a place, if the words before fit.
void offer_form(const std::string& form, const Place& place)
{
    std::istringstream arguments(form);
    std::string argument;
    for (std::size_t at = 1; arguments >> argument; ++at) {
        const bool repeated = argument.ends_with("...");
        argument.erase(std::remove_if(argument.begin(), argument.end(), [](char c) { return c == '[' || c == ']'; }),
                       argument.end());
        const std::string alternatives = "|" + argument.substr(0, argument.size() - (repeated ? 3 : 0)) + "|";
        const bool here = at == place.before.size() || (repeated && at < place.before.size());
        if (here) {
            std::istringstream names(alternatives.substr(1));
            for (std::string name; std::getline(names, name, '|');) {
                offer({name, place.before, place.begun, place.found});
            }
        }
        if (at == place.before.size()) {
            return;
        }
        const bool words_only = std::ranges::none_of(argument, [](char c) { return c >= 'A' && c <= 'Z'; });
        if (!here && words_only && alternatives.find("|" + place.before[at] + "|") == std::string::npos) {
            return;
        }
    }
}

} // namespace

std::vector<std::string> completions(const std::string& line)
{
    Words words = words_of(line);
    std::string begun;
    if (!line.empty() && line.back() != ' ' && !words.empty()) {
        begun = words.back();
        words.pop_back();
    }
    std::vector<std::string> found;
    const Place place = {"", words, begun, found};
    if (words.empty()) {
        offer_names(place);
        return found;
    }
    if (const Command* command = find_command(words[0]); command != nullptr) {
        const std::string forms = std::string(command->arguments) + " | ";
        for (std::size_t from = 0, to = forms.find(" | "); to != std::string::npos;
             from = to + 3, to = forms.find(" | ", from)) {
            offer_form(forms.substr(from, to - from), place);
        }
    }
    return found;
}

} // namespace prompt
