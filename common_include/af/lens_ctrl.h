/** @file
 * Lens control of the host application. */
#ifndef AF_LENS_CTRL_H
#define AF_LENS_CTRL_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Current zoom position of the feature camera's lens in motor steps, from 0, the widest angle, to 6624, the longest
 * focal length.
 * When: each cycle of exposure following. Threads: exposure following. */
uint16_t Uvc_Query_Zoom_Position(void);

/** State of the lens calibration; 4 asks the library's iris and exposure threads to end.
 * When: each cycle of the iris loop and of exposure following. Threads: iris loop, exposure following. */
int get_lens_calibration_flag(void);

/** 0: the iris stays where iris_to puts it; 1: it is under automatic control.
 * When: KIV_Set_exposure_mode(). Threads: the caller's. */
void iris_mode(unsigned char mode);

/** Drives the iris to a stop, a larger one being narrower: 0 to 12 for F1.8, 2, 2.4, 2.8, 3.4, 4, 4.8, 5.6, 6.8,
 * 8, 9.6, 11 and closed. This is not the scale of the automatic iris, which counts motor steps from 0 (closed) to 800
 * (widest): see Iris_Info_Param. When: KIV_Set_iris(), and KIV_Set_exposure_mode() for MANUAL_EXPOSURE and
 * IRIS_PRIORITY. Threads: the caller's. */
void iris_to(unsigned short position);

#ifdef __cplusplus
}
#endif

#endif
