// The commands of the program: one list that prompt, scripts, help and documents are made from; and what commands
// share: reading their words, where their output goes, which files they may touch.
#pragma once

#include "base/clock.h"
#include "base/number.h"
#include "host/settings.h"
#include "prompt/interrupt.h"
#include "prompt/json.h"
#include "session/bad_input.h"
#include "session/lanes.h"

#include <functional>
#include <iosfwd>
#include <optional>
#include <ranges>
#include <span>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace prompt
{

using session::BadInput;
using session::throw_if;

using Words = std::vector<std::string>;

/// The words of a line, without what follows a #.
Words words_of(const std::string& line);

/// Whether a command may change an engine: `changes` tells what the last command that may did.
enum class Kind { changes, looks };

struct Command {
    std::string_view name;
    std::string_view arguments;
    std::string_view help;
    std::size_t least; ///< words after the name
    std::size_t most;
    void (*run)(const Words& words); ///< the words after the name; null for the command that leaves
    Kind kind = Kind::changes;
};

inline constexpr std::size_t kMany = 64;
inline constexpr int kNameWidth = 24; ///< of the settings' names in lists

struct Group {
    std::string_view title; ///< what one wants to do
    std::span<const Command> commands;
};

extern const Group kCameraCommands, kSettingCommands, kSettingFileCommands, kSceneCommands, kLensCommands,
    kTimeCommands, kPictureCommands, kTrialCommands, kFollowingCommands, kEngineCommands, kGeneralCommands;

/// In the order of the help.
std::span<const Group> command_groups();

/// The commands of all groups.
inline auto all_commands()
{
    return command_groups() | std::views::transform(&Group::commands) | std::views::join;
}

/// The names of commands, settings or values.
Words names_of(auto&& all)
{
    Words names;
    for (const auto& each : all) {
        names.emplace_back(each.name);
    }
    return names;
}

/// Null when there is no such command.
const Command* find_command(std::string_view name);

/// What the library calls of engine and host, and what can be made to fail.
extern const std::span<const std::string_view> kCalledFunctions;

/// How commands answer the one who gives them; kept from one command to the next.
struct RunOptions {
    std::ostream* output = nullptr; ///< where answers go; standard output where null
    bool confined = false;          ///< whether commands may touch only files in the session's folder
    bool json = false;              ///< whether answers are JSON objects on one line each instead of text
};

/// The options of the program's own prompt and scripts.
RunOptions& console();

/// Runs one line. Empty lines and what follows a # do nothing. Throws BadInput for what a user did wrong. False when
/// the line asks to leave.
bool run_line(const std::string& line, RunOptions& options = console());

/// "set CAM SETTING [VALUE]"
std::string usage_of(const Command& command);

/// Throws BadInput that tells how the running command is used.
[[noreturn]] void refuse_usage();

/// The options of the command that this thread runs.
RunOptions& options();

/// Where its text goes. For programs that want JSON the text alone is an answer too: {"text": ...}.
std::ostream& out();

/// Answers a program; for people the command has written its text to out().
void answer(const Json& object);

/// The path of a file that a user names; every such name passes here. Throws BadInput for the program's own files, and
/// where the files of a command are confined to the session's folder "files" and this one is elsewhere.
std::string file_argument(const std::string& word);

/// Tells that a file was written, by the name that the user gave.
void wrote(const std::string& file);

// Each throws BadInput for any other word.

template <typename Number>
Number number(const std::string& word, Number lowest, Number highest, const char* what)
{
    const auto value = sim::number_in<Number>(word);
    const bool in_range = value && *value >= lowest && *value <= highest; // false for nan
    if (!in_range) {
        std::ostringstream message;
        message << what << " is a number from " << lowest << " to " << highest << "; got " << word;
        throw BadInput(message.str());
    }
    return *value;
}

int camera_id(const std::string& word);
int camera_with_engine(const std::string& word);
const sim::host::Setting& setting_named(const std::string& word);
int setting_value(const sim::host::Setting& setting, const std::string& word);
sim::Microseconds duration(const std::string& word);
bool on_or_off(const std::string& word);

/// The values that a setting takes, for people.
std::string range_text(const sim::host::Setting& setting);

/// Throws BadInput, with the reason where the engine names one, unless a call of the library returned 0.
void check(int result, const std::string& what);

/// " 0 3" for 0 and 3.
std::string listed(const auto& values)
{
    std::ostringstream text;
    for (const auto& value : values) {
        text << ' ' << value;
    }
    return text.str();
}

/// Lets time pass until exposure and white balance of cameras stay where they are for so many frames. Returns those
/// that move after so many seconds, or nothing.
std::optional<std::vector<int>> settle(const std::function<std::vector<int>()>& cameras, int frames, double most);

/// Lets something that takes long run, with a line per simulated second.
template <typename Action>
auto with_progress(const std::string& what, Action action)
{
    int seconds = 0;
    std::ostream& output = out(); // of this thread, which is not the one that ticks
    const int handle = sim::every(1000000, [&] { output << what << ": " << ++seconds << " s\n" << std::flush; });
    auto result = [&] {
        const session::TurnAside others_may_act;
        const Hurry hurry;
        return action();
    }();
    sim::cancel(handle);
    throw_if_interrupted();
    return result;
}

} // namespace prompt
