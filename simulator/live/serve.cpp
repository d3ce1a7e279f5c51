#include "live/serve.h"

#include "app/bad_input.h"
#include "app/interrupt.h"
#include "app/session.h"
#include "app/shell.h"
#include "app/turn.h"
#include "live/server.h"

#include <iostream>
#include <poll.h>
#include <unistd.h>

namespace live
{

namespace
{

constexpr std::chrono::seconds kPatience{15}; // longer than any command holds its turn at the usual pace

/// Ends the serving and saves the settings. A signal to end is what serving waits for, and no failure.
int leave(int status)
{
    stop_serving();
    try {
        if (app::take_turn("leaving", kPatience)) {
            app::save_session();
            app::end_turn();
        }
    } catch (const app::BadInput& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
    return status == app::kInterrupted ? 0 : status;
}

} // namespace

int serve(const std::string& address, const std::string& folder, bool read_only,
          const std::vector<std::string>& scripts)
{
    const Address at = address_of(address);
    app::open_session(folder, read_only);
    app::keep_time_paced();
    std::cout << start_serving(at) << '\n' << std::flush;
    for (const std::string& script : scripts) {
        if (const int status = app::run_script(script); status != 0) {
            return leave(status);
        }
    }
    if (isatty(STDIN_FILENO) != 0) {
        return leave(app::run_prompt(app::session_folder() + "/history"));
    }
    while (app::signal_received() == 0) {
        pollfd signal = {.fd = app::signal_descriptor(), .events = POLLIN, .revents = 0};
        poll(&signal, 1, -1);
    }
    return leave(0);
}

} // namespace live
