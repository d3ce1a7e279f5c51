// Simulated time: letting it pass, watching and recording cameras meanwhile.
#include "app/command.h"
#include "app/commands/groups.h"
#include "app/interrupt.h"
#include "app/live_values.h"
#include "app/recording.h"
#include "app/run_plot.h"
#include "app/session.h"

#include <algorithm>
#include <ostream>

namespace app
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
        if (time_stays_paced()) {
            throw BadInput("time stays paced while a page is served");
        }
        sim::use_virtual_time();
    } else {
        sim::use_paced_time(number<double>(words[0], 0.01, 1000.0, "a speed"));
    }
}

void watch(const Words& words)
{
    std::vector<int> cameras;
    for (std::size_t i = 0; i + 1 < words.size(); ++i) {
        cameras.push_back(camera_with_engine(words[i]));
    }
    constexpr sim::Microseconds kShortest = 500000;
    constexpr sim::Microseconds kLines = 8;
    const sim::Microseconds whole = duration(words.back());
    const sim::Microseconds interval = std::max(kShortest, whole / kLines);
    for (sim::Microseconds left = whole; left > 0; left -= interval) {
        pass_time(std::min(left, interval));
        for (const int camera : cameras) {
            out() << live_line(camera) << '\n' << std::flush;
        }
    }
}

void record(const Words& words)
{
    if (words[0] == "stop") {
        out() << stop_recording();
        return;
    }
    std::vector<int> cameras;
    for (std::size_t i = 1; i < words.size(); ++i) {
        cameras.push_back(camera_with_engine(words[i]));
    }
    start_recording(file_argument(words[0]), cameras.empty() ? cameras_with_engine() : cameras);
    on_frame(record_frame);
}

void say(const Words& words)
{
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : " ") + word;
    }
    out() << "-- " << text << '\n';
    mark_recording(text);
}

void plot(const Words& words)
{
    plot_run(file_argument(words[0]), file_argument(words[1]));
    out() << "wrote " << words[1] << '\n';
}

constexpr Command kCommands[] = {
    {"run", "TIME", "let simulated time pass", 1, 1, run_for},
    {"speed", "FACTOR|virtual", "pace of simulated time", 1, 1, speed},
    {"watch", "CAM... TIME", "live lines for a while", 2, kMany, watch},
    {"record", "FILE.csv [CAM...] | stop", "record every frame; tell at the end how exposure settled after each mark",
     1, kMany, record},
    {"say", "TEXT...", "print a line, and mark this moment of a recorded run with it", 1, kMany, say, Kind::looks},
    {"plot", "FILE.csv FILE.svg|.png", "draw a recorded run", 2, 2, plot, Kind::looks},
};

} // namespace

std::span<const Command> time_commands()
{
    return kCommands;
}

} // namespace app
