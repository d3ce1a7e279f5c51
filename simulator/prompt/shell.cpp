#include "prompt/shell.h"

#include "prompt/commands.h"
#include "prompt/completion.h"
#include "prompt/interrupt.h"
#include "prompt/line_reader.h"
#include "session/calibration_check.h"
#include "session/files.h"
#include "session/lanes.h"
#include "session/text.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <editline/readline.h>
#include <iostream>
#include <unistd.h>

namespace prompt
{

namespace
{

/// What to do after a line; but for `next` the exit status.
enum After { next = -1, leave = 0, wrong = 1, interrupted = kInterrupted };

/// Saves before leaving; false, having said why, when that fails.
bool everything_kept()
{
    try {
        session::save_settings();
        return true;
    } catch (const BadInput& error) {
        std::cerr << session::printable(error.what()) << '\n';
        return false;
    }
}

/// Runs one line. A wrong command is reported in one line on standard error.
After run(const std::string& line, const std::string& where)
{
    After after = next;
    try {
        const session::Turn turn(line);
        after = run_line(line) ? next : leave;
        session::save_settings();
    } catch (const Interrupted&) {
        after = interrupted;
        everything_kept();
    } catch (const std::exception& error) {
        std::cout.flush();
        std::cerr << session::printable(where) << session::printable(error.what()) << '\n';
        after = wrong;
    }
    session::report_changed_calibration();
    errno = 0; // of this call alone
    if (!std::cout.flush()) {
        throw OutputLost(errno != 0 ? std::strerror(errno) : "it was refused before");
    }
    return after;
}

// ---- The prompt. libedit calls back with a line; waiting for its characters is done here, so that a signal ends it.

std::vector<std::string> offered;
std::optional<std::string> typed;
bool end_of_input = false;

char* next_candidate(const char* /*text*/, int state)
{
    static std::size_t at = 0;
    at = state == 0 ? 0 : at + 1;
    return at < offered.size() ? strdup(offered[at].c_str()) : nullptr;
}

char** complete(const char* text, int /*start*/, int end)
{
    offered = completions(std::string(rl_line_buffer).substr(0, static_cast<std::size_t>(end)));
    rl_attempted_completion_over = 1;
    return rl_completion_matches(text, next_candidate);
}

void take_line(char* line)
{
    end_of_input = line == nullptr;
    typed = line != nullptr ? line : "";
    std::free(line);
    rl_callback_handler_remove();
}

/// A line that was typed; nothing where a signal dropped it, with end_of_input set at the end.
std::optional<std::string> read_line()
{
    typed.reset();
    rl_callback_handler_install("isp> ", take_line);
    while (!typed) {
        if (!wait_readable(STDIN_FILENO)) {
            rl_callback_handler_remove();
            std::cout << '\n';
            return std::nullopt;
        }
        rl_callback_read_char();
    }
    return typed;
}

void remember_line(const std::string& line, const std::string& history_file)
{
    add_history(line.c_str());
    const std::string written = history_file + ".tmp-prompt";
    if (write_history(written.c_str()) == 0) {
        std::rename(written.c_str(), history_file.c_str());
    } else {
        std::remove(written.c_str());
    }
}

} // namespace

int run_prompt(const std::string& history_file)
{
    if (isatty(STDIN_FILENO) == 0) {
        return run_script(std::nullopt);
    }
    rl_catch_signals = 0;
    rl_initialize();
    rl_readline_name = "isp-sim";
    rl_attempted_completion_function = complete;
    using_history();
    stifle_history(1000);
    read_history(history_file.c_str());
    std::cout << "isp-sim: help lists the commands, quit leaves.\n";
    bool asked = false;
    for (;;) {
        const std::optional<std::string> line = read_line();
        if (asked_to_end()) {
            everything_kept();
            return kInterrupted;
        }
        forget_signal();
        if (!line) {
            continue;
        }
        const Words words = words_of(*line);
        const bool anyway = words == Words{"quit!"};
        if (end_of_input || anyway || words == Words{"quit"}) {
            std::cout << (end_of_input ? "\n" : "");
            const bool kept = everything_kept();
            if (kept || asked || anyway) {
                return kept ? 0 : 1;
            }
            std::cerr << "The last changes could not be saved. Type quit again, or quit!, to leave anyway.\n";
            asked = true;
            continue;
        }
        asked = false;
        if (!line->empty()) {
            remember_line(*line, history_file);
        }
        const After after = run(*line, "");
        if (after == leave) {
            return 0;
        }
        if (after == interrupted && !asked_to_end()) {
            std::cout << "stopped\n";
            forget_signal();
        }
    }
}

int run_script(const std::optional<std::string>& path)
{
    try {
        LineReader lines(path);
        while (const std::optional<std::string> line = lines.next()) {
            if (const After after = run(*line, lines.place()); after != next) {
                return after;
            }
        }
        return 0;
    } catch (const Interrupted&) { // while waiting for a line
        return kInterrupted;
    } catch (const BadInput& error) {
        std::cerr << session::printable(error.what()) << '\n';
        return 1;
    }
}

} // namespace prompt
