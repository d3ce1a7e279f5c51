// The lens-shading file: 12 grids of 17 x 17 gains, 6936 bytes, each value unsigned 16-bit little-endian.
#pragma once

#include "aiq/rk_aiq_alsc.h"

struct shading_saving_para_s {
    lsc_matrix_t D65_lsc_red, D65_lsc_greenR, D65_lsc_greenB, D65_lsc_blue;
    lsc_matrix_t CWF_lsc_red, CWF_lsc_greenR, CWF_lsc_greenB, CWF_lsc_blue;
    lsc_matrix_t A_lsc_red, A_lsc_greenR, A_lsc_greenB, A_lsc_blue;
};
static_assert(sizeof(shading_saving_para_s) == 6936, "12 grids of 289 values of 2 bytes");
