// Gamma: loads one of six fixed tone curves into the engine as a manual curve.
#include "isp_ctrl/core/setter_steps.h"

#include <cstring>

// Tone curves of 49 points, output 0 to 4095; gamma_ext ends at 4092. gamma_1_1 to gamma_1_6 are powers, 4096
// (x/4096)^e rounded and at most 4095, with e = 0.40, 0.45, 0.48, 0.50, 0.56 and 0.63, at x = 0 to 8 in single steps,
// then four points to each doubling, 256 apart at most; the other two are drawn by hand.
uint16_t gamma_1_1[49] = {0,    147,  194,  228,  256,  280,  301,  320,  338,  369,  397,  423,  446,
                          487,  524,  558,  588,  643,  692,  736,  776,  849,  913,  971,  1024, 1120,
                          1204, 1281, 1351, 1477, 1589, 1690, 1783, 1949, 2097, 2230, 2353, 2572, 2767,
                          2943, 3104, 3254, 3394, 3526, 3651, 3770, 3883, 3992, 4095};
uint16_t gamma_1_2[49] = {0,    97,   133,  159,  181,  200,  217,  233,  247,  273,  297,  318,  338,
                          373,  405,  435,  461,  510,  554,  594,  630,  697,  757,  811,  861,  952,
                          1033, 1108, 1176, 1301, 1412, 1513, 1607, 1777, 1928, 2067, 2195, 2427, 2634,
                          2824, 2998, 3162, 3315, 3460, 3599, 3731, 3857, 3979, 4095};
uint16_t gamma_1_3[49] = {0,    76,   105,  128,  147,  164,  179,  192,  205,  228,  249,  268,  286,
                          318,  347,  374,  399,  444,  485,  522,  556,  619,  676,  728,  776,  864,
                          943,  1015, 1082, 1205, 1315, 1416, 1510, 1680, 1834, 1975, 2106, 2344, 2558,
                          2754, 2937, 3108, 3269, 3422, 3568, 3707, 3842, 3971, 4095};
uint16_t gamma_1_4[49] = {0,    64,   91,   111,  128,  143,  157,  169,  181,  202,  222,  239,  256,
                          286,  314,  339,  362,  405,  443,  479,  512,  572,  627,  677,  724,  810,
                          887,  958,  1024, 1145, 1254, 1355, 1448, 1619, 1774, 1916, 2048, 2290, 2508,
                          2709, 2896, 3072, 3238, 3396, 3547, 3692, 3831, 3966, 4095};
uint16_t gamma_1_5[49] = {0,    39,   57,   72,   84,   96,   106,  116,  124,  141,  156,  170,  184,
                          208,  230,  251,  271,  307,  340,  370,  399,  452,  501,  546,  588,  666,
                          738,  805,  867,  982,  1088, 1186, 1278, 1448, 1604, 1749, 1885, 2135, 2365,
                          2578, 2778, 2968, 3148, 3321, 3487, 3646, 3801, 3951, 4095};
uint16_t gamma_1_6[49] = {0,    22,   34,   43,   52,   60,   67,   74,   80,   93,   104,  114,  124,
                          143,  161,  177,  193,  222,  249,  274,  298,  343,  385,  424,  461,  531,
                          596,  656,  714,  822,  922,  1016, 1105, 1272, 1427, 1572, 1710, 1968, 2208,
                          2433, 2647, 2851, 3046, 3235, 3417, 3594, 3766, 3933, 4095};
uint16_t gamma_ext[49] = {0,    3,    8,    12,   16,   19,   23,   27,   32,   41,   51,   61,   72,
                          91,   109,  126,  144,  178,  214,  251,  288,  360,  432,  502,  572,  706,
                          834,  955,  1068, 1265, 1432, 1574, 1698, 1913, 2094, 2248, 2384, 2623, 2829,
                          3008, 3168, 3317, 3457, 3587, 3705, 3812, 3910, 4002, 4092};
uint16_t gamma_haisi[49] = {0,    22,   35,   45,   54,   63,   71,   78,   85,   99,   112,  124,  136,
                            159,  180,  201,  221,  260,  297,  336,  376,  454,  531,  617,  677,  790,
                            895,  991,  1083, 1247, 1377, 1487, 1585, 1764, 1924, 2068, 2200, 2437, 2647,
                            2839, 3015, 3178, 3330, 3474, 3611, 3740, 3864, 3976, 4095};

namespace
{

using Gamma = isp::Module<rk_aiq_user_api2_agamma_GetAttrib, rk_aiq_user_api2_agamma_SetAttrib>;

constexpr isp::FailureTexts kTexts = {
    .get = ISP_TRACE_FORMAT("rk_aiq_user_api2_agamma_GetAttrib failed with %#x!\n\n"),
    .set = ISP_TRACE_FORMAT("rk_aiq_user_api2_agamma_SetAttrib failed with %#x!\n\n"),
};

// Curve of a level. The levels do not follow the order of the exponents in their names.
constexpr uint16_t* kCurves[] = {
    gamma_1_4,   // ISP_GAMMA_0_48
    gamma_1_2,   // ISP_GAMMA_0_45
    gamma_haisi, // ISP_GAMMA_0_50
    gamma_1_5,   // ISP_GAMMA_0_56
    gamma_1_6,   // ISP_GAMMA_0_63
    gamma_ext,   // ISP_GAMMA_0_42
};
static_assert(isp::last_level(kCurves) == ISP_GAMMA_0_42);

} // namespace

int KIV_Set_gamma(int isp_id, Gamma_Level_E value)
{
    const isp::Call call{__func__, isp_id};
    if (!isp::valid_camera(call)) {
        return -1;
    }
    const int level = isp::clamp_level(call, value, para_get_isp_gamma_max);
    if (level > isp::last_level(kCurves)) { // the store's maximum lets it pass
        ISP_TRACE(__func__, "there is no gamma level %d\n\n", level);
        return -1;
    }
    isp::write_setting(call, para_set_isp_gamma_cur, level);
    ISP_TRACE(__func__, "isp_gamma_val :%d\n\n", level);
    return isp::result(isp::modify<Gamma>(call, kTexts, [&](rk_aiq_gamma_attrib_V2_t& gamma) {
        gamma.atrrV30.mode = GAMMA_MODE_MANUAL;
        gamma.atrrV30.stManual.Gamma_en = true;
        gamma.atrrV30.stManual.Gamma_out_offset = 0;
        std::memcpy(gamma.atrrV30.stManual.Gamma_curve, kCurves[level], sizeof gamma.atrrV30.stManual.Gamma_curve);
    }));
}
