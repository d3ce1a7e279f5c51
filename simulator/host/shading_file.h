// The lens-shading file: gains that bring the picture's corners up to its middle, per light source and channel.
//
// Light falls off with the fourth power of the cosine of the field angle a, so the gain at distance r from the middle
// (1 in the corner) is
//     1 / cos^4 a = (1 + k r^2)^2,    k = tan^2 of the corner's field angle.
// k differs per light source and channel (kShadingGrids) because glass and filter colour the corners.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace sim::host
{

inline constexpr int kShadingSide = 17; // values per side of a grid
inline constexpr int kShadingCells = kShadingSide * kShadingSide;
inline constexpr int kShadingUnity = 1024; // gain 1.0
inline constexpr int kShadingHighest = 16383;

struct ShadingGrid {
    std::string_view name;
    double k;
};

/// The grids of the file in its order.
inline constexpr ShadingGrid kShadingGrids[12] = {
    {"D65 red", 0.580}, {"D65 green on red rows", 0.549}, {"D65 green on blue rows", 0.551}, {"D65 blue", 0.530},
    {"CWF red", 0.600}, {"CWF green on red rows", 0.545}, {"CWF green on blue rows", 0.547}, {"CWF blue", 0.520},
    {"A red", 0.660},   {"A green on red rows", 0.540},   {"A green on blue rows", 0.542},   {"A blue", 0.500},
};

/// The file: 12 grids of 17 x 17 values, row by row from the top left, little-endian.
struct ShadingFile {
    std::uint16_t gain[12][kShadingCells];
};
static_assert(sizeof(ShadingFile) == 6936);

/// The grids of a lens that follows the formula.
ShadingFile model_shading();

/// Writes them. Returns what went wrong, or nothing.
std::string write_shading_file(const std::string& path, const ShadingFile& file = model_shading());

/// Judges a file: its size, gains from 1.0 to just under 16.0, and no fall of more than 3 % from within two cells of
/// the middle outwards. Returns what is wrong in one line, or nothing.
std::string check_shading_file(const std::string& path);

} // namespace sim::host
