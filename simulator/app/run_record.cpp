#include "app/run_record.h"

#include "app/bad_input.h"
#include "app/session.h"
#include "engine/engine.h"
#include "host/lens.h"
#include "host/settings.h"
#include "host/store.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstring>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <numeric>
#include <sstream>
#include <utility>

namespace app
{

namespace
{

std::ofstream run;
std::string run_path;
bool write_failed = false;
std::vector<int> run_cameras;
std::chrono::steady_clock::time_point flushed;

// Columns of a camera, after the run's own "seconds,iris,zoom".
constexpr const char* kColumns[] = {"mode", "time_ms", "gain", "luma", "target", "rgain", "bgain"};

std::string mode_name(int camera)
{
    const sim::host::Setting& mode = *sim::host::find_setting("exposure_mode");
    return sim::host::name_of(mode, sim::host::stored(camera, mode));
}

struct Mark {
    std::string words;
    std::size_t row; // from which it counts
};
std::vector<Mark> marks;
std::string new_mark; // of the next row

// What settling is judged by: the luma of each camera in each row.
std::vector<double> seconds;
std::vector<std::vector<double>> lumas;

/// Settled: within 5 % of the mean of the last half second before the next mark.
constexpr double kBand = 0.05;
constexpr std::size_t kLastRows = 15;

std::string settling_text(const std::vector<double>& luma, std::size_t first, std::size_t end)
{
    std::ostringstream text;
    text << std::fixed << std::setprecision(2);
    if (end - first < 2 * kLastRows) {
        return "too short to tell";
    }
    const double last = std::accumulate(luma.begin() + static_cast<std::ptrdiff_t>(end - kLastRows),
                                        luma.begin() + static_cast<std::ptrdiff_t>(end), 0.0) /
                        kLastRows;
    const auto off = [&](std::size_t row) { return (luma[row] - last) / std::max(last, 1.0); };
    std::size_t settled = end;
    while (settled > first && std::abs(off(settled - 1)) <= kBand) {
        --settled;
    }
    if (end - settled < kLastRows) {
        return "not settled";
    }
    // Beyond the last level, seen from the side on which it was farthest away.
    std::size_t farthest = first;
    for (std::size_t row = first; row < end; ++row) {
        farthest = std::abs(off(row)) > std::abs(off(farthest)) ? row : farthest;
    }
    double beyond = 0.0;
    for (std::size_t row = farthest; row < end; ++row) {
        beyond = std::max(beyond, off(farthest) > 0.0 ? -off(row) : off(row));
    }
    text << "settled after " << std::setw(5) << (settled < end ? seconds[settled] - seconds[first] : 0.0)
         << " s  overshoot " << std::setprecision(1) << std::setw(5) << 100.0 * beyond << " %  luma " << std::setw(6)
         << last;
    return text.str();
}

std::string settling_table()
{
    std::ostringstream table;
    for (std::size_t i = 0; i < marks.size(); ++i) {
        const std::size_t end = i + 1 < marks.size() ? marks[i + 1].row : seconds.size();
        for (std::size_t c = 0; c < run_cameras.size() && marks[i].row < end; ++c) {
            table << std::fixed << std::setprecision(2) << std::setw(8) << seconds[marks[i].row] << " s  camera "
                  << run_cameras[c] << "  " << settling_text(lumas[c], marks[i].row, end) << "  " << marks[i].words
                  << '\n';
        }
    }
    return table.str();
}

} // namespace

std::string live_line(int camera)
{
    const sim::engine::Live live = sim::engine::live(camera);
    std::ostringstream line;
    line << std::fixed << std::setprecision(2) << std::setw(8) << seconds_now() << " s  camera " << camera << "  "
         << std::left << std::setw(18) << mode_name(camera) << std::right << std::setw(7) << live.time * 1e3
         << " ms  gain " << std::setw(5) << live.analog_gain * live.isp_dgain << "  luma " << std::setw(6)
         << live.mean_luma << " of " << std::setw(6) << live.target_luma << "  wb " << live.wb_gain.rgain << "/"
         << live.wb_gain.bgain << "  iris " << std::setprecision(0) << sim::host::lens_state().iris << "  zoom "
         << sim::host::lens_state().zoom;
    return line.str();
}

void record_run(const std::string& path, const std::vector<int>& cameras)
{
    stop_recording_run();
    run.clear();
    run.open(path, std::ios::trunc);
    if (!run) {
        throw BadInput("cannot write " + path + ": " + std::strerror(errno));
    }
    run << "seconds,iris,zoom";
    for (const int camera : cameras) {
        for (const char* column : kColumns) {
            run << ",camera" << camera << "_" << column;
        }
    }
    run << ",mark" << std::endl;
    run_path = path;
    run_cameras = cameras;
    lumas.assign(cameras.size(), {});
    seconds.clear();
    marks.clear();
    new_mark = "start";
    flushed = std::chrono::steady_clock::now();
}

std::string stop_recording_run()
{
    std::string table;
    if (run.is_open()) {
        run.close();
        write_failed = !run;
        table = settling_table();
    }
    run_cameras.clear();
    if (std::exchange(write_failed, false)) {
        throw BadInput("not all of the run could be written into " + run_path);
    }
    return table;
}

void record_frame()
{
    if (!run.is_open()) {
        return;
    }
    const sim::host::LensState lens = sim::host::lens_state();
    run << seconds_now() << ',' << lens.iris << ',' << lens.zoom;
    for (std::size_t i = 0; i < run_cameras.size(); ++i) {
        const sim::engine::Live live = sim::engine::live(run_cameras[i]);
        run << ',' << mode_name(run_cameras[i]) << ',' << live.time * 1e3 << ',' << live.analog_gain * live.isp_dgain
            << ',' << live.mean_luma << ',' << live.target_luma << ',' << live.wb_gain.rgain << ','
            << live.wb_gain.bgain;
        lumas[i].push_back(live.mean_luma);
    }
    run << ',' << new_mark << '\n';
    if (!new_mark.empty()) {
        marks.push_back({std::exchange(new_mark, {}), seconds.size()});
    }
    seconds.push_back(seconds_now());
    if (const auto now = std::chrono::steady_clock::now(); now - flushed >= std::chrono::seconds(1)) {
        flushed = now;
        if (!run.flush()) {
            std::cerr << "isp-sim: " << run_path << ": the run is no longer recorded: " << std::strerror(errno) << '\n';
            run.close();
            write_failed = true;
        }
    }
}

void mark_run(const std::string& words)
{
    if (run.is_open()) {
        new_mark += (new_mark.empty() ? "" : "; ") + words;
        std::ranges::replace(new_mark, ',', ';');
    }
}

} // namespace app
