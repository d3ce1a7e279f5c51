/** @file
 * Video input of the host application. */
#ifndef VIN_VIN_H
#define VIN_VIN_H

#ifdef __cplusplus
extern "C" {
#endif

/** Frame rate of a camera's video input, in frames per second.
 * When: KIV_Set_exposure_mode() for the modes that choose the exposure time themselves. Threads: the caller's. */
int get_vin_fps(int cam_id);

#ifdef __cplusplus
}
#endif

#endif
