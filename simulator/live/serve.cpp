#include "live/serve.h"

#include "app/bad_input.h"
#include "app/session.h"
#include "app/shell.h"
#include "app/turn.h"
#include "live/server.h"

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <thread>
#include <unistd.h>

namespace live
{

namespace
{

constexpr std::chrono::seconds kPatience{15}; // longer than any command holds its turn at the usual pace

std::atomic<bool> leaving = false;

/// Ends the serving and saves the settings; does not return on a second thread.
int leave(int status)
{
    while (leaving.exchange(true)) {
        pause();
    }
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
    return status;
}

} // namespace

int serve(const std::string& address, const std::string& folder, const std::vector<std::string>& scripts)
{
    const Address at = address_of(address);
    const bool terminal = isatty(STDIN_FILENO) != 0;
    sigset_t ends;
    sigemptyset(&ends);
    sigaddset(&ends, SIGTERM);
    if (!terminal) {
        sigaddset(&ends, SIGINT);
    }
    pthread_sigmask(SIG_BLOCK, &ends, nullptr); // on the threads that start from here on, too

    app::open_session(folder);
    sim::use_paced_time(1.0);
    std::cout << start_serving(at) << std::endl;
    std::thread([ends] {
        int signal = 0;
        sigwait(&ends, &signal);
        std::_Exit(leave(0));
    }).detach();

    for (const std::string& script : scripts) {
        if (const int status = app::run_script(script); status != 0) {
            return leave(status);
        }
    }
    if (!terminal) {
        for (;;) {
            pause();
        }
    }
    return leave(app::run_prompt(folder + "/history"));
}

} // namespace live
