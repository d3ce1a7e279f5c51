#include "session/settling.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace session
{

namespace
{

/// Settled: within 5 % of the mean of the last half second before the next mark.
constexpr double kBand = 0.05;
constexpr int kLastRows = 15;

void judge(Settling& settling, const std::vector<double>& seconds, const std::vector<double>& luma, std::size_t first,
           std::size_t end)
{
    if (end - first < 2 * kLastRows) {
        settling.unsettled = "too short to tell";
        return;
    }
    const auto behind = luma.begin() + static_cast<std::ptrdiff_t>(end);
    settling.luma = std::accumulate(behind - kLastRows, behind, 0.0) / kLastRows;
    const auto off = [&](std::size_t row) { return (luma[row] - settling.luma) / std::max(settling.luma, 1.0); };
    std::size_t settled = end;
    while (settled > first && std::abs(off(settled - 1)) <= kBand) {
        --settled;
    }
    if (end - settled < kLastRows) {
        settling.unsettled = "not settled";
        return;
    }
    settling.after = settled < end ? seconds[settled] - seconds[first] : 0.0;
    // Beyond the last level, seen from the side on which it was farthest away.
    std::size_t farthest = first;
    for (std::size_t row = first; row < end; ++row) {
        farthest = std::abs(off(row)) > std::abs(off(farthest)) ? row : farthest;
    }
    for (std::size_t row = farthest; row < end; ++row) {
        settling.overshoot = std::max(settling.overshoot, 100.0 * (off(farthest) > 0.0 ? -off(row) : off(row)));
    }
}

} // namespace

std::vector<Settling> settling_of(const Run& run)
{
    std::vector<Settling> all;
    for (std::size_t i = 0; i < run.marks.size(); ++i) {
        const auto& [words, first] = run.marks[i];
        const std::size_t end = i + 1 < run.marks.size() ? run.marks[i + 1].row : run.seconds.size();
        for (std::size_t c = 0; c < run.cameras.size() && first < end; ++c) {
            all.push_back({.mark = words, .seconds = run.seconds[first], .camera = run.cameras[c]});
            judge(all.back(), run.seconds, run.lumas[c], first, end);
        }
    }
    return all;
}

} // namespace session
