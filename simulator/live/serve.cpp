#include "live/serve.h"

#include "live/server.h"
#include "prompt/interrupt.h"
#include "prompt/shell.h"
#include "session/bad_input.h"
#include "session/files.h"
#include "session/session.h"
#include "session/turn.h"

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
        if (session::take_turn("leaving", kPatience)) {
            session::save_settings();
            session::end_turn();
        }
    } catch (const session::BadInput& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
    return status == prompt::kInterrupted ? 0 : status;
}

} // namespace

int serve(const std::string& address, const std::string& folder, bool read_only,
          const std::vector<std::string>& scripts)
{
    const Address at = address_of(address);
    session::open_session(folder, read_only);
    session::keep_time_paced();
    std::cout << start_serving(at) << '\n' << std::flush;
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

} // namespace live
