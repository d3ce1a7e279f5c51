#include "session/recording.h"

#include "host/durable_file.h"
#include "host/lens.h"
#include "session/bad_input.h"
#include "session/cameras.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstring>
#include <fcntl.h>
#include <iostream>
#include <mutex>
#include <numeric>
#include <span>
#include <sstream>
#include <unistd.h>
#include <utility>

namespace session
{

namespace
{

// Columns of a camera, after the run's own "seconds,iris,zoom".
constexpr const char* kColumns[] = {"mode", "time_ms", "gain", "luma", "target", "rgain", "bgain"};

constexpr std::size_t kLongestMark = 200;    // bytes
constexpr std::size_t kMostRows = 1'000'000; // some nine hours
constexpr std::size_t kManyBytes = 65536;    // pending rows are written at the latest now
constexpr std::chrono::seconds kFlushPeriod{1};

using RealClock = std::chrono::steady_clock;

struct Mark {
    std::string words;
    std::size_t row; // from which it counts
};

// Rows come from the frame clock's thread, everything else from that of the command.
std::mutex run_mutex;
struct Recording {
    int file = -1;
    std::string name;
    std::vector<int> cameras;
    std::vector<std::vector<double>> lumas; // of each camera
    std::string new_mark;                   // of the next row
    std::vector<Mark> marks;
    std::vector<double> seconds;
    std::string pending; // whole rows
    RealClock::time_point flushed;
    std::string failure;
} run;

// A row that was written in part is taken back, so that the file ends with a whole one.
void write_pending()
{
    run.flushed = RealClock::now();
    if (run.pending.empty() || !run.failure.empty()) {
        return;
    }
    const off_t before = lseek(run.file, 0, SEEK_CUR);
    if (const int error = sim::host::write_all(run.file, run.pending); error != 0) {
        run.failure = run.name + ": " + std::strerror(error) + "; the recording ends here";
        const off_t written = lseek(run.file, 0, SEEK_CUR) - before;
        const std::size_t whole = run.pending.substr(0, static_cast<std::size_t>(written)).rfind('\n') + 1; // 0: none
        if (ftruncate(run.file, before + static_cast<off_t>(whole)) != 0) {
            run.failure += ", in the middle of a row";
        }
    }
    run.pending.clear();
}

/// Settled: within 5 % of the mean of the last half second before the next mark.
void judge(Settling& settling, std::span<const double> seconds, std::span<const double> luma)
{
    constexpr double kBand = 0.05;
    constexpr std::size_t kLastRows = 15;
    if (luma.size() < 2 * kLastRows) {
        settling.unsettled = "too short to tell";
        return;
    }
    settling.luma = std::accumulate(luma.end() - kLastRows, luma.end(), 0.0) / kLastRows;
    const auto off = [&](double value) { return (value - settling.luma) / std::max(settling.luma, 1.0); };
    std::size_t settled = luma.size();
    while (settled > 0 && std::abs(off(luma[settled - 1])) <= kBand) {
        --settled;
    }
    if (luma.size() - settled < kLastRows) {
        settling.unsettled = "not settled";
        return;
    }
    settling.after = seconds[settled] - seconds[0];
    // Beyond the last level, seen from the side on which it was farthest away.
    const auto farthest = std::ranges::max_element(luma, {}, [&](double value) { return std::abs(off(value)); });
    for (auto value = farthest; value != luma.end(); ++value) {
        settling.overshoot = std::max(settling.overshoot, 100.0 * (off(*farthest) > 0.0 ? -off(*value) : off(*value)));
    }
}

} // namespace

void start_recording(const std::string& path, const std::vector<int>& cameras)
{
    stop_recording();
    const std::lock_guard lock(run_mutex);
    const int file = sim::host::open_regular(path, O_WRONLY | O_CREAT);
    if (file < 0 || ftruncate(file, 0) != 0) {
        const int error = errno;
        close(file);
        throw BadInput("cannot write " + path + ": " + sim::host::error_text(error));
    }
    run = {};
    run.file = file;
    run.name = path;
    run.cameras = cameras;
    run.lumas.resize(cameras.size());
    run.new_mark = "start";
    run.pending = "seconds,iris,zoom";
    for (const int camera : cameras) {
        for (const char* column : kColumns) {
            run.pending += ",camera" + std::to_string(camera) + "_" + column;
        }
    }
    run.pending += ",mark\n";
    write_pending();
    if (!run.failure.empty()) {
        close(std::exchange(run.file, -1));
        throw BadInput(run.failure);
    }
}

std::vector<Settling> stop_recording()
{
    const std::lock_guard lock(run_mutex);
    if (run.file < 0) {
        return {};
    }
    write_pending();
    if (close(std::exchange(run.file, -1)) != 0 && run.failure.empty()) {
        run.failure = run.name + ": " + std::strerror(errno);
    }
    throw_if(run.failure);
    std::vector<Settling> all;
    for (std::size_t i = 0; i < run.marks.size(); ++i) {
        const auto& [words, first] = run.marks[i];
        const std::size_t rows = (i + 1 < run.marks.size() ? run.marks[i + 1].row : run.seconds.size()) - first;
        for (std::size_t c = 0; c < run.cameras.size() && rows > 0; ++c) {
            all.push_back({.mark = words, .seconds = run.seconds[first], .camera = run.cameras[c]});
            judge(all.back(), std::span(run.seconds).subspan(first, rows),
                  std::span(run.lumas[c]).subspan(first, rows));
        }
    }
    return all;
}

void record_frame()
{
    const std::lock_guard lock(run_mutex);
    if (run.file < 0 || !run.failure.empty()) {
        return;
    }
    const sim::host::LensState lens = sim::host::lens_state();
    std::ostringstream row;
    row << seconds_now() << ',' << lens.iris << ',' << lens.zoom;
    for (std::size_t i = 0; i < run.cameras.size(); ++i) {
        const sim::engine::Readings live = readings_of(run.cameras[i]);
        row << ',' << mode_name(run.cameras[i]) << ',' << live.time * 1e3 << ',' << live.analog_gain * live.isp_dgain
            << ',' << live.mean_luma << ',' << live.target_luma << ',' << live.wb_gain.rgain << ','
            << live.wb_gain.bgain;
        run.lumas[i].push_back(live.mean_luma);
    }
    row << ',' << run.new_mark << '\n';
    if (!run.new_mark.empty()) {
        run.marks.push_back({std::exchange(run.new_mark, {}), run.seconds.size()});
    }
    run.seconds.push_back(seconds_now());
    run.pending += row.str();
    const bool full = run.seconds.size() == kMostRows;
    if (full || run.pending.size() >= kManyBytes || RealClock::now() - run.flushed >= kFlushPeriod) {
        write_pending();
    }
    if (full) {
        run.failure = run.name + ": a recording has at most " + std::to_string(kMostRows) + " rows; it ends here";
    }
    if (!run.failure.empty()) {
        std::cerr << run.failure + '\n';
    }
}

void mark_recording(const std::string& words)
{
    const std::lock_guard lock(run_mutex);
    if (run.file >= 0) {
        if (run.new_mark.size() + words.size() > kLongestMark) {
            throw BadInput("the marks of a frame have at most " + std::to_string(kLongestMark) + " bytes");
        }
        run.new_mark += (run.new_mark.empty() ? "" : "; ") + words;
        std::ranges::replace(run.new_mark, ',', ';');
    }
}

} // namespace session
