#include "session/settling.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <numeric>
#include <sstream>

namespace session
{

namespace
{

/// Settled: within 5 % of the mean of the last half second before the next mark.
constexpr double kBand = 0.05;
constexpr std::size_t kLastRows = 15;

std::string settling_text(const std::vector<double>& seconds, const std::vector<double>& luma, std::size_t first,
                          std::size_t end)
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

} // namespace

std::string settling_table(const Run& run)
{
    std::ostringstream table;
    for (std::size_t i = 0; i < run.marks.size(); ++i) {
        const std::size_t end = i + 1 < run.marks.size() ? run.marks[i + 1].row : run.seconds.size();
        for (std::size_t c = 0; c < run.cameras.size() && run.marks[i].row < end; ++c) {
            table << std::fixed << std::setprecision(2) << std::setw(8) << run.seconds[run.marks[i].row]
                  << " s  camera " << run.cameras[c] << "  "
                  << settling_text(run.seconds, run.lumas[c], run.marks[i].row, end) << "  " << run.marks[i].words
                  << '\n';
        }
    }
    return table.str();
}

} // namespace session
