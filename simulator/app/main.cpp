// isp-sim: the library at work on a simulated camera, from a prompt or from scripts.
#include "app/bad_input.h"
#include "app/reference.h"
#include "app/session.h"
#include "app/shell.h"
#ifdef ISP_CTRL_LIVE
#include "live/serve.h"
#endif

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <iostream>
#include <string>
#include <unistd.h>
#include <vector>

namespace
{

std::string default_folder()
{
    if (const char* state = std::getenv("XDG_STATE_HOME"); state != nullptr && *state != '\0') {
        return std::string(state) + "/isp-sim";
    }
    const char* home = std::getenv("HOME");
    return (home != nullptr ? std::string(home) : std::string(".")) + "/.local/state/isp-sim";
}

int run(const std::string& folder, const std::vector<std::string>& scripts)
{
    app::open_session(folder);
    if (scripts.empty()) {
        if (isatty(STDIN_FILENO) != 0) {
            sim::use_paced_time(1.0); // a person types: cameras run on while the prompt waits
        }
        return app::run_prompt(folder + "/history");
    }
    for (const std::string& script : scripts) {
        if (const int status = app::run_script(script); status != 0) {
            return status;
        }
    }
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    CLI::App parser{"Runs the camera image-control library on a simulated camera."};
    std::string folder = default_folder();
    std::vector<std::string> scripts;
    bool reference = false;
    std::string address;
    parser.add_option("--state", folder, "Folder of the camera's files: settings, shading, calibration")
        ->capture_default_str();
    parser.add_flag("--reference", reference, "Print the reference of all settings and commands, and leave");
#ifdef ISP_CTRL_LIVE
    parser.add_option("--serve", address, "Serve pages at [HOST:]PORT, 127.0.0.1 where no host is named")
        ->type_name("[HOST:]PORT");
#endif
    parser.add_option("SCRIPT", scripts, "Scripts to run instead of a prompt");
    CLI11_PARSE(parser, argc, argv);
    if (reference) {
        std::cout << app::settings_reference();
        return 0;
    }
    int status = 1;
    try {
#ifdef ISP_CTRL_LIVE
        status = address.empty() ? run(folder, scripts) : live::serve(address, folder, scripts);
#else
        status = run(folder, scripts);
#endif
    } catch (const app::BadInput& error) {
        std::cerr << "isp-sim: " << error.what() << '\n';
    }
    std::cout.flush();
    // The library's threads are never joined; they end with the process.
    std::_Exit(status);
}
