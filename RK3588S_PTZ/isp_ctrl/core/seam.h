// What ties the library to the device: fixed paths and port, the vendor-storage command, waits and threads. All of it
// is reached through this one record, which a program that links the static library may change before it calls the
// library. The shared library does not export it. A test on a workstation:
//
//     isp::seam.iris_device = "/tmp/test/iris";
//     isp::seam.lens_command = "echo SR1053-50IRC-8M-F20";
//     isp::seam.usleep = [](useconds_t) { return 0; };
//     init_auto_iris_control(callback);
#pragma once

#include <pthread.h>
#include <unistd.h>

namespace isp
{

struct Seam {
    const char* wb_calibration_file;  // white-balance calibration, 80 bytes
    const char* shading_file;         // lens-shading grids, 6936 bytes
    const char* iris_device;          // shared iris record, 36 bytes, mapped
    const char* otp_file;             // one-time-programmable memory, text
    const char* lens_command;         // prints the lens model name, run through the shell
    unsigned short lens_service_port; // of UDP, on this machine
    unsigned (*sleep)(unsigned seconds);
    int (*usleep)(useconds_t microseconds);
    int (*create_thread)(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument);
};

extern Seam seam;

/// Sleeps to the end, also where signals interrupt.
inline void sleep_fully(unsigned seconds)
{
    while (seconds > 0) {
        seconds = seam.sleep(seconds);
    }
}

} // namespace isp
