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
#include <sstream>
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

/// 0, or an errno value; EINVAL for a file of another size.
int read_record(const std::string& path, awb_calibration_s& record, std::size_t& size)
{
    std::string bytes;
    const int error = sim::host::read_file(path, 4096, bytes);
    size = bytes.size();
    if (error == 0 && bytes.size() == sizeof record) {
        std::memcpy(&record, bytes.data(), sizeof record);
        return 0;
    }
    return error != 0 ? error : EINVAL;
}

bool is_zero(const awb_calibration_s& record, const Line& line)
{
    return record.*line.k == 0.0F && record.*line.b == 0.0F;
}

} // namespace

std::string calibration_problem(const std::string& path)
{
    awb_calibration_s record{};
    std::size_t size = 0;
    const int error = read_record(path, record, size);
    if (error == ENOENT) {
        return {};
    }
    if (error != 0) {
        const std::string expected = " instead of " + std::to_string(sizeof record) + " bytes";
        return path + ": " + (error != EINVAL ? std::strerror(error) : std::to_string(size) + expected) +
               "; no camera follows it";
    }
    if (std::ranges::all_of(kLines, [&](const Line& line) { return is_zero(record, line); })) {
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
                std::ostringstream text;
                text << path << ": the line for " << line.name << " gives a gain of " << gain << " at " << kelvin
                     << " K; following cameras show wrong colours";
                return text.str();
            }
        }
    }
    return {};
}

bool has_first_light(const std::string& path)
{
    awb_calibration_s record{};
    std::size_t size = 0;
    return read_record(path, record, size) == 0;
}

void report_changed_calibration()
{
    namespace fs = std::filesystem;
    static std::pair<fs::file_time_type, std::uintmax_t> reported;
    std::error_code missing;
    const std::pair present{fs::last_write_time(calibration_path(), missing),
                            fs::file_size(calibration_path(), missing)};
    if (std::exchange(reported, present) == present) {
        return;
    }
    if (const std::string problem = calibration_problem(calibration_path()); !problem.empty()) {
        std::cerr << "isp-sim: " << printable(problem) << '\n';
    }
}

} // namespace session
