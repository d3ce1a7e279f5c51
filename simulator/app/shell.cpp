#include "app/shell.h"

#include "app/bad_input.h"
#include "app/commands.h"
#include "app/session.h"
#include "app/turn.h"

#include <cstdlib>
#include <cstring>
#include <editline/readline.h>
#include <fstream>
#include <iostream>
#include <unistd.h>

namespace app
{

namespace
{

/// Runs one line; false to leave. A wrong command is reported in one line on standard error.
bool run(const std::string& line, const std::string& where, bool& wrong)
{
    const Turn turn(line);
    try {
        const bool go_on = run_line(line);
        save_session();
        std::cout.flush();
        return go_on;
    } catch (const BadInput& error) {
        std::cout.flush();
        std::cerr << where << error.what() << '\n';
        wrong = true;
        return true;
    }
}

int run_stream(std::istream& input, const std::string& name)
{
    bool wrong = false;
    std::string line;
    for (int number = 1; std::getline(input, line); ++number) {
        if (!run(line, name + ":" + std::to_string(number) + ": ", wrong)) {
            break;
        }
        if (wrong) {
            return 1;
        }
    }
    return 0;
}

std::vector<std::string> candidates;

char* next_candidate(const char* /*text*/, int state)
{
    static std::size_t next = 0;
    if (state == 0) {
        next = 0;
    }
    return next < candidates.size() ? strdup(candidates[next++].c_str()) : nullptr;
}

char** complete(const char* text, int /*start*/, int end)
{
    candidates = completions(std::string(rl_line_buffer).substr(0, static_cast<std::size_t>(end)));
    rl_attempted_completion_over = 1;
    return rl_completion_matches(text, next_candidate);
}

} // namespace

int run_prompt(const std::string& history_file)
{
    if (isatty(STDIN_FILENO) == 0) {
        return run_stream(std::cin, "standard input");
    }
    rl_initialize();
    rl_readline_name = "isp-sim";
    rl_attempted_completion_function = complete;
    using_history();
    read_history(history_file.c_str());
    std::cout << "isp-sim: help lists the commands, quit leaves.\n";
    bool wrong = false;
    while (char* line = readline("isp> ")) {
        const std::string text = line;
        std::free(line);
        if (!text.empty()) {
            add_history(text.c_str());
            write_history(history_file.c_str());
        }
        if (!run(text, "", wrong)) {
            break;
        }
    }
    return 0;
}

int run_script(const std::string& path)
{
    std::ifstream file(path);
    if (!file) {
        std::cerr << path << ": " << std::strerror(errno) << '\n';
        return 1;
    }
    return run_stream(file, path);
}

} // namespace app
