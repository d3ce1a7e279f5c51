/** @file
 * Types that every engine module shares: results, contexts, the sync member of attribute blocks. */
#ifndef AIQ_RK_AIQ_TYPES_H
#define AIQ_RK_AIQ_TYPES_H

#include <stdbool.h>
#include <stdint.h>

/** Gives an enum the fixed underlying type int where the language has it, so that any integer is a
 * value of the type; in C11 the enum is plain and of the same size. */
#if defined(__cplusplus) || (defined(__STDC_VERSION__) && __STDC_VERSION__ >= 202311L)
#define RK_ENUM_INT : int
#else
#define RK_ENUM_INT
#endif

#ifdef __cplusplus
extern "C" {
#endif

/**@{*/
/** Numbers of the engine. */
typedef int16_t RK_S16;
typedef int32_t RK_S32;
typedef uint32_t RK_U32;
typedef float RK_FLOAT;
/**@}*/

/** Result of an engine call: 0 is success, failures are negative. */
typedef enum XCamReturn RK_ENUM_INT {
    XCAM_RETURN_NO_ERROR = 0,
    XCAM_RETURN_ERROR_FAILED = -1,
    XCAM_RETURN_ERROR_PARAM = -2,
    XCAM_RETURN_ERROR_MEM = -3,
    XCAM_RETURN_ERROR_ORDER = -4,
} XCamReturn;

/**@{*/
/** One camera's engine, and one group of cameras that a single engine tunes together. The module calls
 * take either: a group context is passed as if it were a camera context. */
typedef struct rk_aiq_sys_ctx_t rk_aiq_sys_ctx_t;
typedef struct rk_aiq_camgroup_ctx_t rk_aiq_camgroup_ctx_t;
/**@}*/

/** Exposures per picture. */
typedef enum rk_aiq_working_mode_t RK_ENUM_INT {
    RK_AIQ_WORKING_MODE_NORMAL = 0,
    RK_AIQ_WORKING_MODE_ISP_HDR2 = 16,
} rk_aiq_working_mode_t;

/** Who decides in a module: its own algorithm or the values set by hand. */
typedef enum RKAiqOPMode_t RK_ENUM_INT {
    RK_AIQ_OP_MODE_AUTO = 1,
    RK_AIQ_OP_MODE_MANUAL = 2,
} RKAiqOPMode_t;

/** See rk_aiq_uapi_sync_t. */
typedef enum rk_aiq_uapi_mode_sync_t RK_ENUM_INT {
    RK_AIQ_UAPI_MODE_DEFAULT = 0,
    RK_AIQ_UAPI_MODE_SYNC = 1,
    RK_AIQ_UAPI_MODE_ASYNC = 2,
} rk_aiq_uapi_mode_sync_t;

/** When a Set call returns: at once (async) or when the block is in force (sync). */
typedef struct rk_aiq_uapi_sync_t {
    rk_aiq_uapi_mode_sync_t sync_mode;
    bool done;
} rk_aiq_uapi_sync_t;

#ifdef __cplusplus
}
#endif

#endif
