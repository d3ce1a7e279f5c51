/**
 * @file
 * Automatic iris: a thread that drives the lens iris from brightness, gain, exposure time and zoom, and the channel
 * through which it commands the lens.
 */
#ifndef ISP_AUTO_IRIS_H
#define ISP_AUTO_IRIS_H

#include <stdint.h>

/** Exported from the library. */
#if defined(__GNUC__)
#define ISP_IRIS_API __attribute__((visibility("default")))
#else
#define ISP_IRIS_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** Iris and zoom state that lens control publishes in "/dev/sm_af_iris_value", in the processor's byte order.
 * Positions are motor steps, of the iris from 0 (closed) to 800 (F1.8): a larger one is a wider opening, unlike the
 * stops of iris_to(). */
typedef struct Iris_Info_Param {
    int16_t autoFlag; /**< 0: automatic iris is off */
    int16_t curIris;
    int16_t maxIris; /**< not read by the loop */
    int16_t minIris; /**< not read by the loop */
    int16_t curZoom;
    int16_t irisStep[13]; /**< calibration points: [0] widest at the widest zoom, [1] widest at zoom level 1,
                               [2] gives the widest at levels 2 to 11, [4] step-size threshold, [7] narrowest */
} Iris_Info_Param;

/** One iris command. */
typedef struct iris_ctrl_param_t {
    char toDst;    /**< 1: go to dstIris; 0: move by steps */
    short dstIris; /**< absolute position, motor steps */
    short steps;   /**< motor steps: positive opens, negative closes */
} iris_ctrl_param_t;

#ifdef __cplusplus
static_assert(sizeof(Iris_Info_Param) == 36, "18 fields of 2 bytes");
static_assert(sizeof(iris_ctrl_param_t) == 6, "sent byte for byte");
#else
__extension__ _Static_assert(sizeof(Iris_Info_Param) == 36, "18 fields of 2 bytes");
__extension__ _Static_assert(sizeof(iris_ctrl_param_t) == 6, "sent byte for byte");
#endif

/** Receives the loop's commands on the loop's thread; its return value is ignored. The record is the loop's own and
 * valid during the call. The receiver may call get_max_iris() and get_cur_zoom_array(), and nothing else of the
 * library. */
typedef int (*KIV_AUTO_IRIS_CONTROL_CALLBACK)(iris_ctrl_param_t* param);

/** The registered callback, null until init_auto_iris_control(). */
extern ISP_IRIS_API KIV_AUTO_IRIS_CONTROL_CALLBACK kiv_auto_iris_cb;

/**
 * Registers the receiver of iris commands and, the first time, starts the loop's thread. A later call replaces the
 * receiver of the running loop. The loop begins to act after nine seconds. It reads exposure mode and anti-flicker of
 * camera 0, rests while that mode is MANUAL_EXPOSURE or IRIS_PRIORITY, and ends on lens calibration flag 4; it is then
 * not started again.
 * @param cb the receiver, normally set_auto_iris
 * @retval 0 registered
 * @retval -1 cb is null (nothing changes), or the thread could not be created (cb stays registered; a later
 *   call tries again)
 *
 * Any thread.
 */
ISP_IRIS_API int init_auto_iris_control(KIV_AUTO_IRIS_CONTROL_CALLBACK cb);

/**
 * Sends one command to the lens service as a datagram of 8 bytes to 127.0.0.1, UDP port 6789: 0x77, 0x17 and the six
 * bytes of the record.
 * @param param the command; its padding byte is sent too
 * @retval 0 handed to the socket; whether it arrives is not known
 * @retval -1 param is null, or no socket could be made
 *
 * Any thread.
 */
ISP_IRIS_API int set_auto_iris(iris_ctrl_param_t* param);

/**@{*/
/** Two flags that the library keeps for the host and does not act on, 0 at load. Any thread. */
ISP_IRIS_API void set_flag_exp_lock(int flagexpLock);
ISP_IRIS_API int get_flag_exp_lock(void);
ISP_IRIS_API void set_iris_manu(int mode);
ISP_IRIS_API int get_iris_manu(void);
/**@}*/

/** The loop's body, for the library's own use: names and detaches the calling thread, and ends it. */
ISP_IRIS_API void auto_iris_control_main(void);

/** The zoom level, 0 to 11, of a zoom position; a negative position is level 0. Any thread. */
ISP_IRIS_API int get_cur_zoom_array(int cur_zoom);

/** The widest allowed iris position of a zoom level, which is bounded to 0 to 11: 800, 723, then 620, until the loop
 * has read the lens's own. Any thread. */
ISP_IRIS_API int get_max_iris(int now_zoom_len);

#ifdef __cplusplus
}
#endif

#endif
