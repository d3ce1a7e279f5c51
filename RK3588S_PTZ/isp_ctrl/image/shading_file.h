// The lens-shading file: 12 grids of 17 x 17 gains, 6936 bytes, each value unsigned 16-bit little-endian.
#pragma once

#include <cstdint>

using shading_grid = std::uint16_t[17 * 17];

struct shading_saving_para_s {
    shading_grid D65_lsc_red, D65_lsc_greenR, D65_lsc_greenB, D65_lsc_blue;
    shading_grid CWF_lsc_red, CWF_lsc_greenR, CWF_lsc_greenB, CWF_lsc_blue;
    shading_grid A_lsc_red, A_lsc_greenR, A_lsc_greenB, A_lsc_blue;
};
static_assert(sizeof(shading_saving_para_s) == 6936, "12 grids of 289 values of 2 bytes");
