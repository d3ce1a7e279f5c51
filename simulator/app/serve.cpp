#include "app/serve.h"

#include "control/service.h"
#ifdef ISP_CTRL_LIVE
#include "live/server.h"
#endif
#include "prompt/interrupt.h"
#include "prompt/shell.h"
#include "session/bad_input.h"
#include "session/cameras.h"
#include "session/files.h"
#include "session/session.h"

#include <iostream>
#include <poll.h>
#include <unistd.h>

namespace
{

bool has_pages = false;
bool has_controllers = false;

void start(const std::string& pages, const std::string& controllers)
{
#ifdef ISP_CTRL_LIVE
    if (!pages.empty()) {
        std::cout << live::start_serving(session::address_of(pages)) << '\n';
        has_pages = true;
    }
#endif
    if (!controllers.empty()) {
        const session::Address address = session::address_of(controllers);
        const int port = control::start_service(address);
        has_controllers = true;
        std::cout << "VISCA: camera 0 at " << address.host << ':' << port << ", cameras 1 to " << session::kCameras - 1
                  << " at the next ports\n";
    }
    std::cout << std::flush;
}

/// Ends the serving and saves the settings. A signal to end is what serving waits for, and no failure.
int leave(int status)
{
#ifdef ISP_CTRL_LIVE
    if (has_pages) {
        live::stop_serving();
    }
#endif
    if (has_controllers) {
        control::stop_service();
    }
    try {
        session::save_settings();
    } catch (const session::BadInput& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
    return status == prompt::kInterrupted ? 0 : status;
}

} // namespace

int serve(const std::string& pages, const std::string& controllers, const std::string& folder, bool read_only,
          const std::vector<std::string>& scripts)
{
    session::open_session(folder, read_only);
    session::keep_time_paced();
    start(pages, controllers);
    for (const std::string& script : scripts) {
        if (const int status = prompt::run_script(script); status != 0) {
            return leave(status);
        }
    }
    if (isatty(STDIN_FILENO) != 0) {
        return leave(prompt::run_prompt(session::session_folder() + "/history"));
    }
    while (prompt::signal_received() == 0) {
        pollfd signal = {.fd = prompt::signal_descriptor(), .events = POLLIN, .revents = 0};
        poll(&signal, 1, -1);
    }
    return leave(0);
}
