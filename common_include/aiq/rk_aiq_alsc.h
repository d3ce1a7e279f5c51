/** @file
 * Lens shading correction: grids of 17 x 17 gains per illuminant, channel and vignetting level. */
#ifndef AIQ_RK_AIQ_ALSC_H
#define AIQ_RK_AIQ_ALSC_H

#include "rk_aiq_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Characters of a name, with its end. */
#define RK_AIQ_LSC_NAME_SIZE 32
/** Sectors of the picture in each direction. */
#define RK_AIQ_LSC_SECTORS 16
/** Points of a grid: 17 rows of 17. */
#define RK_AIQ_LSC_GRID_POINTS 289
/** Resolutions that a block has room for. */
#define RK_AIQ_LSC_RESOLUTIONS_MAX 4
/** Illuminants that a block has room for. */
#define RK_AIQ_LSC_ILLUMINANTS_MAX 8
/** Grids that an illuminant has room for. */
#define RK_AIQ_LSC_TABLES_USED_MAX 4
/** Grids that a block has room for. */
#define RK_AIQ_LSC_TABLES_MAX 16

/** Who chooses the grids. */
typedef enum rk_aiq_lsc_op_mode_t RK_ENUM_INT {
    RK_AIQ_LSC_MODE_INVALID = 0,
    RK_AIQ_LSC_MODE_MANUAL = 1,
    RK_AIQ_LSC_MODE_AUTO = 2,
} rk_aiq_lsc_op_mode_t;

typedef struct lsc_matrix_t {
    uint16_t uCoeff[RK_AIQ_LSC_GRID_POINTS];
} lsc_matrix_t;

typedef struct lsc_resolution_t {
    char name[RK_AIQ_LSC_NAME_SIZE];
    uint16_t lsc_sect_size_x[RK_AIQ_LSC_SECTORS];
    uint16_t lsc_sect_size_y[RK_AIQ_LSC_SECTORS];
} lsc_resolution_t;

typedef struct lsc_common_t {
    bool enable;
    lsc_resolution_t resolutionAll[RK_AIQ_LSC_RESOLUTIONS_MAX];
    int resolutionAll_len;
} lsc_common_t;

typedef struct lsc_illuminant_t {
    int usedForCase;
    char name[RK_AIQ_LSC_NAME_SIZE];
    float wbGain[2]; /**< red and blue reference gain */
    char tableUsed[RK_AIQ_LSC_TABLES_USED_MAX][RK_AIQ_LSC_NAME_SIZE];
    int tableUsed_len;
    float gains[4]; /**< sensor gains at which vig applies */
    int gains_len;
    float vig[4];
    int vig_len;
} lsc_illuminant_t;

typedef struct lsc_coef_t {
    bool damp_enable;
    lsc_illuminant_t illAll[RK_AIQ_LSC_ILLUMINANTS_MAX];
    int illAll_len;
} lsc_coef_t;

typedef struct lsc_table_t {
    char name[RK_AIQ_LSC_NAME_SIZE];
    char resolution[RK_AIQ_LSC_NAME_SIZE];
    char illumination[RK_AIQ_LSC_NAME_SIZE];
    float vignetting; /**< per cent of full correction */
    lsc_matrix_t lsc_samples_red;
    lsc_matrix_t lsc_samples_greenR;
    lsc_matrix_t lsc_samples_greenB;
    lsc_matrix_t lsc_samples_blue;
} lsc_table_t;

typedef struct lsc_tables_t {
    lsc_table_t tableAll[RK_AIQ_LSC_TABLES_MAX];
    int tableAll_len;
} lsc_tables_t;

typedef struct lsc_auto_t {
    lsc_common_t common;
    lsc_coef_t alscCoef;
    lsc_tables_t tbl;
} lsc_auto_t;

typedef struct lsc_manual_t {
    lsc_matrix_t lsc_samples_red;
    lsc_matrix_t lsc_samples_greenR;
    lsc_matrix_t lsc_samples_greenB;
    lsc_matrix_t lsc_samples_blue;
} lsc_manual_t;

typedef struct rk_aiq_lsc_attrib_t {
    rk_aiq_uapi_sync_t sync;
    bool byPass;
    rk_aiq_lsc_op_mode_t mode;
    lsc_manual_t stManual;
    lsc_auto_t stAuto;
} rk_aiq_lsc_attrib_t;

/**@{*/
/** Reads and writes the whole block of lens shading correction.
 * When: KIV_Set_shading(), KIV_Set_nr2d(). Threads: the caller's. */
XCamReturn rk_aiq_user_api2_alsc_GetAttrib(const rk_aiq_sys_ctx_t* ctx, rk_aiq_lsc_attrib_t* attr);
XCamReturn rk_aiq_user_api2_alsc_SetAttrib(const rk_aiq_sys_ctx_t* ctx, rk_aiq_lsc_attrib_t attr);
/**@}*/

#ifdef __cplusplus
}
#endif

#endif
