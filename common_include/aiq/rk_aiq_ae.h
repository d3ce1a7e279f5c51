/** @file
 * Automatic exposure: software attributes, linear-mode parameters, live result, gain range. */
#ifndef AIQ_RK_AIQ_AE_H
#define AIQ_RK_AIQ_AE_H

#include "rk_aiq_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Cells of the metering grid, 15 rows of 15. */
#define RK_AIQ_AE_GRID_CELLS 225 /* 15 rows of 15 cells, row by row from the top of the picture */

typedef struct Cam15x15UCharMatrix_t {
    uint8_t uCoeff[RK_AIQ_AE_GRID_CELLS];
} Cam15x15UCharMatrix_t;

/** Mains frequency of the lighting. */
typedef enum CalibDb_FlickerFreqV2_t RK_ENUM_INT {
    AECV2_FLICKER_FREQUENCY_OFF = 0,
    AECV2_FLICKER_FREQUENCY_50HZ = 1,
    AECV2_FLICKER_FREQUENCY_60HZ = 2,
} CalibDb_FlickerFreqV2_t;

/** How strictly exposure times keep to the mains period. */
typedef enum CalibDb_AntiFlickerModeV2_t RK_ENUM_INT {
    AECV2_ANTIFLICKER_NORMAL_MODE = 1,
    AECV2_ANTIFLICKER_AUTO_MODE = 2,
} CalibDb_AntiFlickerModeV2_t;

typedef struct Uapi_AeRange_t {
    float Min;
    float Max;
} Uapi_AeRange_t;

typedef struct Uapi_LinAeRange_t {
    Uapi_AeRange_t stExpTimeRange; /**< seconds */
    Uapi_AeRange_t stGainRange;    /**< multiplier */
} Uapi_LinAeRange_t;

typedef struct Uapi_AntiFlicker_t {
    bool enable;
    CalibDb_FlickerFreqV2_t Frequency;
    CalibDb_AntiFlickerModeV2_t Mode;
} Uapi_AntiFlicker_t;

typedef struct Uapi_FrmRate_t {
    bool isFpsFix;
    float FpsValue; /**< frames per second */
} Uapi_FrmRate_t;

typedef struct Uapi_AutoExp_t {
    Uapi_LinAeRange_t LinAeRange;
    Uapi_FrmRate_t stFrmRate;
    Uapi_AntiFlicker_t stAntiFlicker;
    float AeSpeed; /**< damping of one step, 0 to 1 */
    int BlackDelay;
    int WhiteDelay;
} Uapi_AutoExp_t;

typedef struct Uapi_LinearManual_t {
    bool ManualTimeEn;
    bool ManualGainEn;
    bool ManualIspDgainEn;
    float TimeValue; /**< seconds */
    float GainValue; /**< multiplier */
    float IspDGainValue;
} Uapi_LinearManual_t;

typedef struct Uapi_ManualExp_t {
    Uapi_LinearManual_t LinearAE;
} Uapi_ManualExp_t;

typedef struct Uapi_AdvancedExp_t {
    bool SetAeRangeEn;
    Uapi_LinAeRange_t SetLinAeRange;
    Cam15x15UCharMatrix_t GridWeights;
    Cam15x15UCharMatrix_t DayGridWeights;
    Cam15x15UCharMatrix_t NightGridWeights;
} Uapi_AdvancedExp_t;

typedef struct Uapi_ExpSwAttrV2_t {
    rk_aiq_uapi_sync_t sync;
    bool Enable;
    int AecRunInterval; /**< frames between two runs */
    RKAiqOPMode_t AecOpType;
    Cam15x15UCharMatrix_t GridWeights; /**< metering weights */
    Uapi_AutoExp_t stAuto;
    Uapi_ManualExp_t stManual;
    Uapi_AdvancedExp_t stAdvanced;
} Uapi_ExpSwAttrV2_t;

/** Target luma over exposure: a table that belongs to the engine. */
typedef struct Uapi_DySetpoint_t {
    int array_size;
    float* DySetpoint;
} Uapi_DySetpoint_t;

typedef struct Uapi_LinExpParams_t {
    float Evbias; /**< per cent of one EV step, added to the target */
    float ToleranceIn;
    float ToleranceOut;
    Uapi_DySetpoint_t DySetpoint;
} Uapi_LinExpParams_t;

typedef struct Uapi_LinExpAttrV2_t {
    rk_aiq_uapi_sync_t sync;
    Uapi_LinExpParams_t Params;
} Uapi_LinExpAttrV2_t;

typedef struct Uapi_LinearExp_t {
    float integration_time; /**< seconds */
    float analog_gain;      /**< multiplier */
    float digital_gain;
    float isp_dgain;
} Uapi_LinearExp_t;

typedef struct Uapi_LinAeInfo_t {
    Uapi_LinearExp_t LinearExp;
    float MeanLuma; /**< 0 to 255 */
    float LumaDeviation;
} Uapi_LinAeInfo_t;

typedef struct Uapi_ExpQueryInfo_t {
    bool IsConverged;
    bool IsExpMax;
    Uapi_LinAeInfo_t LinAeInfo;
} Uapi_ExpQueryInfo_t;

typedef struct paRange_t {
    float max;
    float min;
} paRange_t;

/**@{*/
/** Reads and writes the whole block of the exposure attributes.
 * When: setters of exposure; exposure following, when it copies an exposure. Threads: the caller's, exposure
 * following. */
XCamReturn rk_aiq_user_api2_ae_getExpSwAttr(const rk_aiq_sys_ctx_t* ctx, Uapi_ExpSwAttrV2_t* attr);
XCamReturn rk_aiq_user_api2_ae_setExpSwAttr(const rk_aiq_sys_ctx_t* ctx, Uapi_ExpSwAttrV2_t attr);
/**@}*/

/**@{*/
/** Reads and writes the whole block of the parameters of linear exposure.
 * When: setters of the exposure bias; reading also kiv_rkisp_cl_getAeinfo() and each cycle of the iris loop.
 * Threads: the caller's, iris loop. */
XCamReturn rk_aiq_user_api2_ae_getLinExpAttr(const rk_aiq_sys_ctx_t* ctx, Uapi_LinExpAttrV2_t* attr);
XCamReturn rk_aiq_user_api2_ae_setLinExpAttr(const rk_aiq_sys_ctx_t* ctx, Uapi_LinExpAttrV2_t attr);
/**@}*/

/** The exposure in force and the brightness it gives.
 * When: kiv_rkisp_cl_getAeinfo(), each cycle of exposure following and of the iris loop. Threads: the caller's,
 * exposure following, iris loop. */
XCamReturn rk_aiq_user_api2_ae_queryExpResInfo(const rk_aiq_sys_ctx_t* ctx, Uapi_ExpQueryInfo_t* info);

/**@{*/
/** Reads and writes the whole block of the range of the exposure gain.
 * When: KIV_Set_gain_limit(), KIV_Set_exposure_mode(); reading also kiv_rkisp_cl_getAeinfo() and each cycle of the
 * iris loop. Threads: the caller's, iris loop. */
XCamReturn rk_aiq_uapi2_getExpGainRange(const rk_aiq_sys_ctx_t* ctx, paRange_t* range);
XCamReturn rk_aiq_uapi2_setExpGainRange(const rk_aiq_sys_ctx_t* ctx, paRange_t* range);
/**@}*/

#ifdef __cplusplus
}
#endif

#endif
