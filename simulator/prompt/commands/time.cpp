// Simulated time: letting it pass, watching and recording cameras meanwhile.
#include "prompt/camera_line.h"
#include "prompt/commands.h"
#include "prompt/interrupt.h"
#include "prompt/json.h"
#include "prompt/plots.h"
#include "session/cameras.h"
#include "session/recording.h"
#include "session/session.h"
#include "session/text.h"

#include <algorithm>
#include <iostream>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>

namespace prompt
{

namespace
{

void run_for(const Words& words)
{
    pass_time(duration(words[0]));
}

void speed(const Words& words)
{
    if (words[0] == "virtual") {
        if (session::time_stays_paced()) {
            throw BadInput("time keeps pace with the real clock while others are served");
        }
        sim::use_virtual_time();
    } else {
        sim::use_paced_time(number<double>(words[0], 0.01, 1000.0, "a speed"));
    }
}

/// Columns of the terminal that the output goes to; 0 where it goes elsewhere.
std::size_t terminal_width()
{
    winsize size{};
    if (&out() != &std::cout || ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0) {
        return 0;
    }
    return size.ws_col > 0 ? size.ws_col : 80;
}

std::vector<int> cameras_of(std::span<const std::string> words)
{
    std::vector<int> cameras(words.size());
    std::ranges::transform(words, cameras.begin(), camera_with_engine);
    return cameras;
}

/// On a terminal the lines are rewritten in place, elsewhere they follow each other, at most eight a camera.
void watch(const Words& words)
{
    const bool has_period = words.size() > 3 && words[words.size() - 2] == "every";
    const std::size_t last = words.size() - (has_period ? 3 : 1);
    const std::vector<int> cameras = cameras_of(std::span(words).first(last));
    constexpr sim::Microseconds kShortest = 500000;
    constexpr sim::Microseconds kInPlace = 200000;
    constexpr sim::Microseconds kLines = 8;
    const sim::Microseconds whole = duration(words[last]);
    const std::size_t width = terminal_width();
    const sim::Microseconds interval = has_period  ? std::max(duration(words.back()), session::kFramePeriod)
                                       : width > 0 ? kInPlace
                                                   : std::max(kShortest, whole / kLines);
    bool again = false;
    for (sim::Microseconds left = whole; left > 0; left -= interval) {
        pass_time(std::min(left, interval));
        if (width > 0 && std::exchange(again, true)) {
            out() << "\033[" << cameras.size() << 'A';
        }
        Json answered = Json::array();
        for (const int camera : cameras) {
            out() << (width > 0 ? camera_line(camera, width - 1) + "\033[K\n" : camera_line(camera) + "\n");
            answered.push_back(camera_json(camera));
        }
        out() << std::flush;
        answer({{"cameras", answered}});
    }
}

void wait_settled(const Words& words)
{
    if (words[0] != "settled") {
        refuse_usage();
    }
    constexpr int kFrames = 15;
    const double most = words.size() > 1 ? number<double>(words[1], 0.1, 3600.0, "a number of seconds") : 30.0;
    const double started = session::seconds_now();
    if (const auto moving = settle(session::cameras_with_engine, kFrames, most)) {
        throw BadInput("not settled after " + (words.size() > 1 ? words[1] : "30") + " s: cameras" + listed(*moving));
    }
    const double took = session::seconds_now() - started;
    std::vector<int> limited = session::cameras_with_engine();
    std::erase_if(limited, [](int camera) { return !session::readings_of(camera).at_limit; });
    out() << session::format("settled after %.2f s", took)
          << (limited.empty() ? "" : "; at the limit of their exposure: cameras" + listed(limited)) << '\n';
    answer({{"settled_after", rounded(took)}, {"at_limit", limited}});
}

void tell_settling(const std::vector<session::Settling>& all)
{
    Json settling = Json::array();
    for (const session::Settling& each : all) {
        out() << session::format("%8.2f s  camera %d  ", each.seconds, each.camera);
        settling.push_back({{"mark", each.mark}, {"seconds", rounded(each.seconds)}, {"camera", each.camera}});
        if (each.unsettled != nullptr) {
            out() << each.unsettled;
            settling.back()["unsettled"] = each.unsettled;
        } else {
            out() << session::format("settled after %5.2f s  overshoot %5.1f %%  luma %6.1f", each.after,
                                     each.overshoot, each.luma);
            settling.back().update({{"settled_after", rounded(each.after)},
                                    {"overshoot_percent", rounded(each.overshoot)},
                                    {"luma", rounded(each.luma)}});
        }
        out() << "  " << each.mark << '\n';
    }
    answer({{"settling", settling}});
}

void record(const Words& words)
{
    if (words[0] == "stop") {
        tell_settling(session::stop_recording());
        return;
    }
    const std::vector<int> cameras = cameras_of(std::span(words).subspan(1));
    session::start_recording(file_argument(words[0]), cameras.empty() ? session::cameras_with_engine() : cameras);
}

void say(const Words& words)
{
    const std::string text = listed(words).substr(1);
    out() << "-- " << text << '\n';
    session::mark_recording(text);
}

void plot(const Words& words)
{
    plot_run(file_argument(words[0]), file_argument(words[1]));
    wrote(words[1]);
}

constexpr Command kTime[] = {
    {"run", "TIME", "let simulated time pass", 1, 1, run_for},
    {"speed", "FACTOR|virtual", "pace of simulated time", 1, 1, speed},
    {"wait", "settled [SECONDS]", "until exposure and white balance have converged", 1, 2, wait_settled},
    {"watch", "CAM... TIME [every TIME]", "live lines for a while", 2, kMany, watch},
    {"record", "FILE.csv [CAM...] | stop", "record every frame; tell at the end how exposure settled after each mark",
     1, kMany, record},
    {"say", "TEXT...", "print a line, and mark this moment of a recorded run with it", 1, kMany, say, Kind::looks},
    {"plot", "FILE.csv FILE.svg|.png", "draw a recorded run", 2, 2, plot, Kind::looks},
};

} // namespace

const Group kTimeCommands = {"Time and recordings", kTime};

} // namespace prompt
