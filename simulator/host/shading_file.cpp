// Writing and judging the lens-shading file.
#include "host/shading_file.h"

#include "host/durable_file.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <iterator>

namespace sim::host
{

namespace
{

static_assert(std::endian::native == std::endian::little, "files are written as they are in memory");

constexpr int kMiddle = kShadingSide / 2;
constexpr int kOffCentre = 2;       // cells by which a lens may sit off the sensor's middle
constexpr int kMostFallPercent = 3; // measurement noise
constexpr double kWidth = 16.0;     // of the picture, in the units of kHeight
constexpr double kHeight = 9.0;

int cell(int row, int column)
{
    return row * kShadingSide + column;
}

std::string place(std::size_t grid, int cell)
{
    return std::string(kShadingGrids[grid].name) + ", row " + std::to_string(cell / kShadingSide) + ", column " +
           std::to_string(cell % kShadingSide);
}

std::string check_range(std::size_t grid, const std::uint16_t* gain)
{
    for (int i = 0; i < kShadingCells; ++i) {
        if (gain[i] < kShadingUnity || gain[i] > kShadingHighest) {
            return place(grid, i) + ": " + std::to_string(gain[i]) + " is outside " + std::to_string(kShadingUnity) +
                   " to " + std::to_string(kShadingHighest);
        }
    }
    return {};
}

/// From each value straight to the middle nothing is higher, but for noise.
std::string check_rise(std::size_t grid, const std::uint16_t* gain)
{
    for (int i = 0; i < kShadingCells; ++i) {
        int row = i / kShadingSide - kMiddle;
        int column = i % kShadingSide - kMiddle;
        int highest = 0;
        while (std::max(std::abs(row), std::abs(column)) > kOffCentre) {
            row -= (row > 0) - (row < 0);
            column -= (column > 0) - (column < 0);
            highest = std::max<int>(highest, gain[cell(kMiddle + row, kMiddle + column)]);
        }
        if (gain[i] * 100 < highest * (100 - kMostFallPercent)) {
            return place(grid, i) + ": falls from " + std::to_string(highest) + " to " + std::to_string(gain[i]) +
                   " on the way out";
        }
    }
    return {};
}

} // namespace

ShadingFile model_shading()
{
    ShadingFile file{};
    for (std::size_t grid = 0; grid < std::size(kShadingGrids); ++grid) {
        for (int row = 0; row < kShadingSide; ++row) {
            for (int column = 0; column < kShadingSide; ++column) {
                const double x = kWidth * (column - kMiddle) / kMiddle;
                const double y = kHeight * (row - kMiddle) / kMiddle;
                const double r_squared = (x * x + y * y) / (kWidth * kWidth + kHeight * kHeight);
                const double root = 1.0 + kShadingGrids[grid].k * r_squared;
                file.gain[grid][cell(row, column)] =
                    static_cast<std::uint16_t>(std::lround(kShadingUnity * root * root));
            }
        }
    }
    return file;
}

std::string write_shading_file(const std::string& path, const ShadingFile& file)
{
    return write_durably(path, {reinterpret_cast<const char*>(&file), sizeof file});
}

std::string check_shading_file(const std::string& path)
{
    std::string bytes;
    const int error = read_file(path, sizeof(ShadingFile), bytes);
    if (error != 0 && error != EFBIG) {
        return path + ": " + error_text(error);
    }
    if (bytes.size() != sizeof(ShadingFile)) {
        return path + ": " + (error == EFBIG ? "more than" : std::to_string(bytes.size()) + " instead of") + " " +
               std::to_string(sizeof(ShadingFile)) + " bytes";
    }
    ShadingFile file{};
    std::memcpy(&file, bytes.data(), sizeof file);
    for (std::size_t grid = 0; grid < std::size(kShadingGrids); ++grid) {
        for (const auto check : {check_range, check_rise}) {
            if (const std::string wrong = check(grid, file.gain[grid]); !wrong.empty()) {
                return path + ": " + wrong;
            }
        }
    }
    return {};
}

} // namespace sim::host
