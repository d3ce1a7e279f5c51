// isp-sim: the library at work on a simulated camera, from a prompt or from scripts.
#include "control/service.h"
#ifdef ISP_CTRL_LIVE
#include "live/server.h"
#endif
#include "prompt/commands.h"
#include "prompt/interrupt.h"
#include "prompt/reference.h"
#include "prompt/shell.h"
#include "session/bad_input.h"
#include "session/cameras.h"
#include "session/files.h"
#include "session/session.h"
#include "session/text.h"
#include "visca/codec.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <iostream>
#include <malloc.h>
#include <optional>
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

/// What the command line asks for.
struct Options {
    std::string folder = default_folder();
    std::vector<std::string> scripts;
    std::optional<std::string> pages; ///< where to serve them
    std::optional<std::string> controllers;
    bool read_only = false;
    bool json = false;
    bool reference = false;
    bool protocol = false;
};

/// Starts to serve and says where; returns what ends it.
std::vector<void (*)()> start_serving(const Options& options)
{
    std::vector<void (*)()> ends;
#ifdef ISP_CTRL_LIVE
    if (options.pages) {
        std::cout << live::start_serving(session::address_of(*options.pages)) << '\n';
        ends.push_back(live::stop_serving);
    }
#endif
    if (options.controllers) {
        const session::Address address = session::address_of(*options.controllers);
        const int port = control::start_service(address);
        std::cout << "VISCA: camera 0 at " << address.host << ':' << port << ", cameras 1 to " << session::kCameras - 1
                  << " at the next ports\n";
        ends.push_back(control::stop_service);
    }
    std::cout << std::flush;
    return ends;
}

/// Runs the scripts, and then a prompt where there are none or where it serves. Without a terminal it serves until
/// SIGTERM or SIGINT, which is what it waits for, and no failure.
int run(const Options& options)
{
    session::open_session(options.folder, options.read_only);
    const bool terminal = isatty(STDIN_FILENO) != 0;
    const bool serves = options.pages || options.controllers;
    if (serves) {
        session::keep_time_paced();
    } else if (terminal && options.scripts.empty()) {
        sim::use_paced_time(1.0); // a person types: cameras run on while the prompt waits
    }
    const std::vector<void (*)()> ends = start_serving(options);
    int status = 0;
    for (auto script = options.scripts.begin(); status == 0 && script != options.scripts.end(); ++script) {
        status = prompt::run_script(*script);
    }
    if (status == 0 && (serves ? terminal : options.scripts.empty())) {
        status = prompt::run_prompt(session::paths().folder + "/history");
    }
    if (serves && !terminal && status == 0) {
        prompt::wait_readable(-1);
    }
    if (!serves) {
        return status;
    }
    std::ranges::for_each(ends, [](void (*end)()) { end(); });
    try {
        session::save_settings();
    } catch (const session::BadInput& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
    return status == prompt::kInterrupted ? 0 : status;
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
    Options options;
    parser.add_option("--state", options.folder, "Folder of the camera's files: settings, shading, calibration")
        ->capture_default_str();
    parser.add_flag("--reference", options.reference, "Print the reference of all settings and commands, and leave");
    parser.add_flag("--visca-reference", options.protocol, "Print the commands of VISCA controllers, and leave");
#ifdef ISP_CTRL_LIVE
    parser.add_option("--serve", options.pages, "Serve pages at [HOST:]PORT, 127.0.0.1 where no host is named")
        ->type_name("[HOST:]PORT");
#endif
    parser.add_option("--visca", options.controllers, "Serve VISCA controllers at [HOST:]PORT, camera n at PORT + n")
        ->type_name("[HOST:]PORT");
    parser.add_option("SCRIPT", options.scripts, "Scripts to run instead of a prompt");
    parser.add_flag("--read-only", options.read_only, "Look without writing anything to the folder");
    parser.add_flag("--json", options.json, "Answer in JSON, one object a command");
    parser.set_version_flag("--version", "isp-sim " ISP_SIM_VERSION);
    try {
        parser.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        constexpr int kUsage = 2;
        return parser.exit(error) == 0 ? 0 : kUsage;
    }
    std::set_terminate(end_of_thread);
    prompt::catch_signals();
    prompt::console().json = options.json;
    if (options.reference || options.protocol) {
        return guarded([&] { return print(options.protocol ? visca::reference() : prompt::settings_reference()); });
    }
    int status = guarded([&] { return run(options); });
    const int closed = guarded([] {
        session::close_session();
        return print("");
    });
    status = status != 0 ? status : closed;
    // The library's threads are never joined; they end with the process.
    std::_Exit(status);
}
