/* On a workstation: the frames of the simulated engine, and a cloud that darkens the scene. No part of a camera's
 * host. */
#include "host.h"

#include <engine/simulated_engine.h>
#include <stdio.h>

void workstation_start(void)
{
    sim_engine_run(30);
    for (int sensor = 0; sensor < 2; ++sensor) {
        sim_engine_set_luminance(sensor, 100.0, 0.0);
        sim_engine_set_luminance(sensor, 25.0, 3.0);
    }
}

static void print_fault(const char* line)
{
    fprintf(stderr, "engine: %s\n", line);
}

int workstation_faults(void)
{
    return sim_engine_misuses(print_fault);
}
