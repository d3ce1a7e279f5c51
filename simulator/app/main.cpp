// isp-sim: the library at work on a simulated camera, from a prompt or from scripts.
#include "app/serve.h"
#include "prompt/commands.h"
#include "prompt/interrupt.h"
#include "prompt/reference.h"
#include "prompt/shell.h"
#include "session/files.h"
#include "session/session.h"
#include "session/text.h"
#include "visca/codec.h"

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <iostream>
#include <malloc.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace
{

constexpr int kArenas = 2; // memory that one thread frees is used by others

std::string default_folder()
{
    if (const char* state = std::getenv("XDG_STATE_HOME"); state != nullptr && *state != '\0') {
        return std::string(state) + "/isp-sim";
    }
    const char* home = std::getenv("HOME");
    return (home != nullptr ? std::string(home) : std::string(".")) + "/.local/state/isp-sim";
}

int run(const std::string& folder, bool read_only, const std::vector<std::string>& scripts)
{
    session::open_session(folder, read_only);
    if (scripts.empty()) {
        if (isatty(STDIN_FILENO) != 0) {
            sim::use_paced_time(1.0); // a person types: cameras run on while the prompt waits
        }
        return prompt::run_prompt(session::session_folder() + "/history");
    }
    for (const std::string& script : scripts) {
        if (const int status = prompt::run_script(script); status != 0) {
            return status;
        }
    }
    return 0;
}

int report(const char* what)
{
    std::cerr << "isp-sim: " << session::printable(what) << '\n';
    return 1;
}

/// One line and status 1 for whatever goes wrong.
template <typename Action>
int guarded(Action action)
{
    try {
        return action();
    } catch (const prompt::OutputLost& error) {
        return report((std::string("cannot write the output: ") + error.what()).c_str());
    } catch (const prompt::Interrupted&) {
        return prompt::kInterrupted;
    } catch (const std::exception& error) {
        return report(error.what());
    } catch (...) {
        return report("something unknown went wrong");
    }
}

/// The same on other threads, where nothing can be caught.
[[noreturn]] void end_of_thread()
{
    std::_Exit(guarded([]() -> int {
        if (const std::exception_ptr error = std::current_exception()) {
            std::rethrow_exception(error);
        }
        return report("ended by a thread");
    }));
}

/// What is opened later must not be taken for standard input, output or error.
void open_standard_descriptors()
{
    int descriptor = 0;
    do {
        descriptor = open("/dev/null", O_RDWR);
    } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    close(descriptor);
}

int print(const std::string& text)
{
    if (!(std::cout << text << std::flush)) {
        throw prompt::OutputLost(std::strerror(errno));
    }
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    open_standard_descriptors();
    mallopt(M_ARENA_MAX, kArenas);
    CLI::App parser{"Runs the camera image-control library on a simulated camera."};
    std::string folder = default_folder();
    std::vector<std::string> scripts;
    bool reference = false;
    bool protocol = false;
    std::string pages;
    std::string controllers;
    bool read_only = false;
    bool json = false;
    parser.add_option("--state", folder, "Folder of the camera's files: settings, shading, calibration")
        ->capture_default_str();
    parser.add_flag("--reference", reference, "Print the reference of all settings and commands, and leave");
    parser.add_flag("--visca-reference", protocol, "Print the commands of VISCA controllers, and leave");
#ifdef ISP_CTRL_LIVE
    parser.add_option("--serve", pages, "Serve pages at [HOST:]PORT, 127.0.0.1 where no host is named")
        ->type_name("[HOST:]PORT");
#endif
    parser.add_option("--visca", controllers, "Serve VISCA controllers at [HOST:]PORT, camera n at PORT + n")
        ->type_name("[HOST:]PORT");
    parser.add_option("SCRIPT", scripts, "Scripts to run instead of a prompt");
    parser.add_flag("--read-only", read_only, "Look without writing anything to the folder");
    parser.add_flag("--json", json, "Answer in JSON, one object a command");
    parser.set_version_flag("--version", "isp-sim " ISP_SIM_VERSION);
    try {
        parser.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        constexpr int kUsage = 2;
        return parser.exit(error) == 0 ? 0 : kUsage;
    }
    for (const char* option : {"--serve", "--visca"}) {
        if (const CLI::Option* given = parser.get_option_no_throw(option);
            given != nullptr && *given && given->as<std::string>().empty()) {
            return report((std::string(option) + ": an address to serve at is [HOST:]PORT").c_str());
        }
    }
    std::set_terminate(end_of_thread);
    prompt::catch_signals();
    prompt::console().json = json;
    if (reference || protocol) {
        return guarded([&] { return print(protocol ? visca::reference() : prompt::settings_reference()); });
    }
    int status = guarded([&] {
        return !pages.empty() || !controllers.empty() ? serve(pages, controllers, folder, read_only, scripts)
                                                      : run(folder, read_only, scripts);
    });
    const int closed = guarded([] {
        session::close_session();
        return print("");
    });
    status = status != 0 ? status : closed;
    // The library's threads are never joined; they end with the process.
    std::_Exit(status);
}
