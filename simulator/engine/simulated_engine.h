/** @file
 * The simulated engine for a host in C: its frames in real time, and what lies in front of the sensors. Hosts in C++
 * find more in engine.h. */
#ifndef ENGINE_SIMULATED_ENGINE_H
#define ENGINE_SIMULATED_ENGINE_H

#ifdef __cplusplus
extern "C" {
#endif

/** Runs a frame in every running context `fps` times a second (1 to 1000) of real time, on a thread of its own and
 * until the process ends. Call it once. Returns 0, or -1 for another rate. */
int sim_engine_run(int fps);

/** Brings the scene in front of a sensor, 0 to 7, evenly to a luminance in cd/m2 (100 at first) within some seconds,
 * or at once. Any thread. */
void sim_engine_set_luminance(int sensor, double luminance, double seconds);

/** The light that the lens lets through to a sensor, 1.0 (fully open, at first) to 0.0. Any thread. */
void sim_engine_set_aperture(int sensor, double transmission);

/** In how many ways the engine was used wrongly so far, for example through a released context; each of them is
 * passed to `report`, which may be null, as one line of text. Any thread. */
int sim_engine_misuses(void (*report)(const char* line));

#ifdef __cplusplus
}
#endif

#endif
