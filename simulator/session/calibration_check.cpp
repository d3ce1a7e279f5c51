#include "session/calibration_check.h"

#include "engine/white_balance_model.h"
#include "host/durable_file.h"
#include "isp_ctrl.h"
#include "session/files.h"
#include "session/text.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <utility>

namespace session
{

namespace
{

// Lights that cameras meet, from a weak lamp to daylight.
constexpr double kKelvins[] = {2300.0, 2856.0, 4000.0, 4150.0, 5003.0, 6504.0};
constexpr float kLowestGain = 0.1F;
constexpr float kHighestGain = 10.0F;

using Gain = float awb_calibration_s::*;
struct Line {
    const char* name;
    Gain k;
    Gain b;
    float rk_aiq_wb_gain_t::* gain; // of the panorama camera
};
constexpr Line kLines[] = {
    {"red of camera 0", &awb_calibration_s::rgain_k, &awb_calibration_s::rgain_b, &rk_aiq_wb_gain_t::rgain},
    {"blue of camera 0", &awb_calibration_s::bgain_k, &awb_calibration_s::bgain_b, &rk_aiq_wb_gain_t::bgain},
    {"red of camera 2", &awb_calibration_s::rgain_k2, &awb_calibration_s::rgain_b2, &rk_aiq_wb_gain_t::rgain},
    {"blue of camera 2", &awb_calibration_s::bgain_k2, &awb_calibration_s::bgain_b2, &rk_aiq_wb_gain_t::bgain},
};

} // namespace

std::string calibration_problem(const std::string& path)
{
    awb_calibration_s record{};
    std::string bytes;
    const int error = sim::host::read_file(path, 4096, bytes);
    if (error == ENOENT) {
        return {};
    }
    if (error != 0 || bytes.size() != sizeof record) {
        const std::string expected = " instead of " + std::to_string(sizeof record) + " bytes";
        return path + ": " + (error != 0 ? sim::host::error_text(error) : std::to_string(bytes.size()) + expected) +
               "; no camera follows it";
    }
    std::memcpy(&record, bytes.data(), sizeof record);
    if (std::ranges::all_of(kLines, [&](const Line& l) { return record.*l.k == 0.0F && record.*l.b == 0.0F; })) {
        return {}; // the first light alone, which nothing follows
    }
    for (const Line& line : kLines) {
        if (!std::isfinite(record.*line.k) || !std::isfinite(record.*line.b)) {
            return path + ": the line for " + line.name + " is not finite; no camera follows it";
        }
        for (const double kelvin : kKelvins) {
            const float panorama = sim::engine::ideal_gains({.kelvin = kelvin}, {}).*line.gain;
            const float gain = record.*line.k * panorama + record.*line.b;
            const bool usual = gain >= kLowestGain && gain <= kHighestGain;
            if (!usual) {
                return path +
                       format(": the line for %s gives a gain of %g at %g K; following cameras show wrong colours",
                              line.name, double{gain}, kelvin);
            }
        }
    }
    return {};
}

void report_changed_calibration()
{
    namespace fs = std::filesystem;
    static std::pair<fs::file_time_type, std::uintmax_t> reported;
    std::error_code missing;
    const std::pair present{fs::last_write_time(paths().calibration, missing),
                            fs::file_size(paths().calibration, missing)};
    if (std::exchange(reported, present) == present) {
        return;
    }
    if (const std::string problem = calibration_problem(paths().calibration); !problem.empty()) {
        std::cerr << "isp-sim: " << printable(problem) << '\n';
    }
}

} // namespace session
