#include "prompt/interrupt.h"

#include "session/turn.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace prompt
{

namespace
{

constexpr sim::Microseconds kSlice = 100000; // of a wait, after which a signal is looked for
constexpr double kHurry = 1000.0;            // pace

std::atomic<int> received{0};
int pipe_ends[2] = {-1, -1};

bool ends_program(int signal)
{
    return signal == SIGTERM || signal == SIGHUP;
}

void note(int signal)
{
    const int error = errno;
    if (!ends_program(received.load())) {
        received.store(signal);
    }
    // A full pipe is readable as well.
    [[maybe_unused]] const ssize_t written = write(pipe_ends[1], "", 1);
    errno = error;
}

} // namespace

void catch_signals()
{
    if (pipe_ends[0] >= 0 || pipe2(pipe_ends, O_CLOEXEC | O_NONBLOCK) != 0) {
        return;
    }
    struct sigaction action{};
    action.sa_handler = note;
    action.sa_flags = SA_RESTART; // the library's calls do not expect to be interrupted
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        sigaction(signal, &action, nullptr);
    }
    action.sa_handler = [](int) {}; // and not ignored, which programs that this one starts would inherit
    sigaction(SIGPIPE, &action, nullptr);
}

int signal_received()
{
    return received.load();
}

void forget_signal()
{
    char bytes[64];
    while (read(pipe_ends[0], bytes, sizeof bytes) > 0) {
    }
    received.store(0);
}

bool asked_to_end()
{
    return ends_program(signal_received());
}

int signal_descriptor()
{
    return pipe_ends[0];
}

void throw_if_interrupted()
{
    if (signal_received() != 0) {
        throw Interrupted{};
    }
}

void pass_time(sim::Microseconds duration)
{
    do {
        throw_if_interrupted();
        const sim::Microseconds slice = std::min(duration, kSlice);
        session::wait_in_turn(slice);
        duration -= slice;
    } while (duration > 0);
    throw_if_interrupted();
}

Hurry::Hurry()
    : pace_(sim::pace()), tick_(sim::every(kSlice, [this] {
          if (pace_ > 0.0 && signal_received() != 0) {
              sim::use_paced_time(kHurry);
          }
      }))
{
}

Hurry::~Hurry()
{
    sim::cancel(tick_);
    if (pace_ > 0.0 && signal_received() != 0) {
        sim::use_paced_time(pace_);
    }
}

} // namespace prompt
