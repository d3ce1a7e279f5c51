#include "session/recording.h"

#include "engine/engine.h"
#include "host/durable_file.h"
#include "host/lens.h"
#include "session/bad_input.h"
#include "session/cameras.h"
#include "session/readings.h"
#include "session/settling.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <iostream>
#include <mutex>
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

// Rows come from the frame clock's thread, everything else from that of the command.
std::mutex mutex;
int file = -1;
std::string file_name;
Run run;
std::string new_mark; // of the next row
std::string pending;  // whole rows
RealClock::time_point flushed;
std::string failure;

// A row that was written in part is taken back, so that the file ends with a whole one.
void write_pending()
{
    flushed = RealClock::now();
    if (file < 0 || pending.empty() || !failure.empty()) {
        return;
    }
    const off_t before = lseek(file, 0, SEEK_CUR);
    if (const int error = sim::host::write_all(file, pending); error != 0) {
        failure = file_name + ": " + std::strerror(error) + "; the recording ends here";
        const off_t written = lseek(file, 0, SEEK_CUR) - before;
        const std::size_t whole = pending.substr(0, static_cast<std::size_t>(written)).rfind('\n') + 1; // 0: none
        if (ftruncate(file, before + static_cast<off_t>(whole)) != 0) {
            failure += ", in the middle of a row";
        }
    }
    pending.clear();
}

} // namespace

void start_recording(const std::string& path, const std::vector<int>& cameras)
{
    stop_recording();
    const std::lock_guard lock(mutex);
    file = sim::host::open_regular(path, O_WRONLY | O_CREAT);
    if (file < 0 || ftruncate(file, 0) != 0) {
        const int error = errno;
        close(std::exchange(file, -1));
        throw BadInput("cannot write " + path + ": " + sim::host::error_text(error));
    }
    file_name = path;
    failure.clear();
    pending = "seconds,iris,zoom";
    for (const int camera : cameras) {
        for (const char* column : kColumns) {
            pending += ",camera" + std::to_string(camera) + "_" + column;
        }
    }
    pending += ",mark\n";
    write_pending();
    if (!failure.empty()) {
        close(file);
        file = -1;
        throw BadInput(failure);
    }
    run = {.cameras = cameras, .marks = {}, .seconds = {}, .lumas = std::vector<std::vector<double>>(cameras.size())};
    new_mark = "start";
}

std::vector<Settling> stop_recording()
{
    const std::lock_guard lock(mutex);
    if (file < 0) {
        return {};
    }
    write_pending();
    if (close(file) != 0 && failure.empty()) {
        failure = file_name + ": " + std::strerror(errno);
    }
    file = -1;
    if (!failure.empty()) {
        throw BadInput(failure);
    }
    return settling_of(run);
}

void record_frame()
{
    const std::lock_guard lock(mutex);
    if (file < 0 || !failure.empty()) {
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
    row << ',' << new_mark << '\n';
    if (!new_mark.empty()) {
        run.marks.push_back({std::exchange(new_mark, {}), run.seconds.size()});
    }
    run.seconds.push_back(seconds_now());
    pending += row.str();
    if (run.seconds.size() == kMostRows) {
        write_pending();
        failure = file_name + ": a recording has at most " + std::to_string(kMostRows) + " rows; it ends here";
        std::cerr << failure + '\n';
        return;
    }
    if (pending.size() >= kManyBytes || RealClock::now() - flushed >= kFlushPeriod) {
        write_pending();
        if (!failure.empty()) {
            std::cerr << failure + '\n';
        }
    }
}

void mark_recording(const std::string& words)
{
    const std::lock_guard lock(mutex);
    if (file >= 0) {
        if (new_mark.size() + words.size() > kLongestMark) {
            throw BadInput("the marks of a frame have at most " + std::to_string(kLongestMark) + " bytes");
        }
        new_mark += (new_mark.empty() ? "" : "; ") + words;
        std::ranges::replace(new_mark, ',', ';');
    }
}

} // namespace session
