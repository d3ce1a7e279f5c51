// Writing and judging the lens-shading file.
#include "host/shading_file.h"

#include "host/durable_file.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <iterator>
#include <system_error>

namespace sim::host
{

namespace
{

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

std::string check_middle(std::size_t grid, const std::uint16_t* gain)
{
    const std::uint16_t* lowest = std::min_element(gain, gain + kShadingCells);
    int lowest_near = kShadingHighest;
    for (int row = kMiddle - kOffCentre; row <= kMiddle + kOffCentre; ++row) {
        for (int column = kMiddle - kOffCentre; column <= kMiddle + kOffCentre; ++column) {
            lowest_near = std::min<int>(lowest_near, gain[cell(row, column)]);
        }
    }
    return *lowest == lowest_near
               ? std::string()
               : place(grid, static_cast<int>(lowest - gain)) + ": the lowest gain is not in the middle";
}

std::string check_rise(std::size_t grid, const std::uint16_t* gain)
{
    for (int down = -1; down <= 1; ++down) {
        for (int right = -1; right <= 1; ++right) {
            int highest = 0;
            for (int i = kOffCentre; i <= kMiddle; ++i) {
                const int at = cell(kMiddle + i * down, kMiddle + i * right);
                const int value = gain[at];
                if (value * 100 < highest * (100 - kMostFallPercent)) {
                    return place(grid, at) + ": falls from " + std::to_string(highest) + " to " +
                           std::to_string(value) + " on the way out";
                }
                highest = std::max(highest, value);
            }
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
    std::string bytes;
    bytes.reserve(sizeof file);
    for (const auto& grid : file.gain) {
        for (const std::uint16_t gain : grid) {
            bytes += static_cast<char>(gain & 0xff);
            bytes += static_cast<char>(gain >> 8);
        }
    }
    return write_durably(path, bytes);
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
    for (std::size_t grid = 0; grid < std::size(kShadingGrids); ++grid) {
        std::uint16_t gain[kShadingCells];
        for (std::size_t i = 0; i < kShadingCells; ++i) {
            const std::size_t at = (grid * kShadingCells + i) * 2;
            gain[i] = static_cast<std::uint16_t>(static_cast<unsigned char>(bytes[at]) |
                                                 static_cast<unsigned char>(bytes[at + 1]) << 8);
        }
        for (const auto check : {check_range, check_middle, check_rise}) {
            if (const std::string wrong = check(grid, gain); !wrong.empty()) {
                return path + ": " + wrong;
            }
        }
    }
    return {};
}

} // namespace sim::host
