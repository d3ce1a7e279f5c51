#include "prompt/interrupt.h"

#include "session/lanes.h"
#include "session/session.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace prompt
{

namespace
{

using Clock = std::chrono::steady_clock;

constexpr sim::Microseconds kSlice = 100000; // of a wait, after which a signal is looked for
constexpr sim::Microseconds kShortest = 100;
constexpr double kHurry = 1000.0; // pace
constexpr std::chrono::seconds kLongestHold{10};

/// What ends the thread's work, besides signals.
struct Ends {
    const std::atomic<bool>* stop = nullptr;
    Clock::time_point until = Clock::time_point::max();

    bool reached() const
    {
        return (stop != nullptr && *stop) || Clock::now() > until;
    }
};
thread_local Ends ends;

/// A slice of simulated time that is no longer in real time.
sim::Microseconds slice()
{
    const double pace = sim::pace();
    return pace > 0.0 && pace < 1.0 ? std::max(static_cast<sim::Microseconds>(pace * kSlice), kShortest) : kSlice;
}

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
    sigaction(SIGXFSZ, &action, nullptr);
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
    return ends_program(received);
}

bool wait_readable(int descriptor)
{
    pollfd waits[] = {{.fd = descriptor, .events = POLLIN, .revents = 0},
                      {.fd = pipe_ends[0], .events = POLLIN, .revents = 0}};
    while (received == 0) {
        if (poll(waits, std::size(waits), -1) > 0 && waits[0].revents != 0) {
            return true;
        }
    }
    return false;
}

void throw_if_interrupted()
{
    if (received != 0 || ends.reached()) {
        throw Interrupted{};
    }
}

EndIf::EndIf(const std::atomic<bool>& stop, std::chrono::seconds most)
{
    ends = {.stop = &stop, .until = Clock::now() + most};
}

EndIf::~EndIf()
{
    ends = {};
}

void pass_time(sim::Microseconds duration)
{
    do {
        throw_if_interrupted();
        const sim::Microseconds part = std::min(duration, slice());
        session::wait_in_turn(part);
        duration -= part;
    } while (duration > 0);
    throw_if_interrupted();
}

Hurry::Hurry()
    : pace_(sim::pace()), tick_(sim::every(slice(), [this, end = ends, begun = Clock::now()] {
          const bool held = session::time_stays_paced() && Clock::now() - begun > kLongestHold;
          if (pace_ > 0.0 && !hurried_ && (held || received != 0 || end.reached())) {
              hurried_ = true;
              sim::use_paced_time(kHurry);
          }
      }))
{
}

Hurry::~Hurry()
{
    sim::cancel(tick_);
    if (hurried_) {
        sim::use_paced_time(pace_);
    }
}

} // namespace prompt
