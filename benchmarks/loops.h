// The library's three loops, each on its thread, run so many cycles at a time: their wait is where a run begins and
// ends.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace loops
{

struct Loop;

struct Measured {
    const char* name;
    Loop* loop;
    void (*prepare)(); // before a run
};

/// Starts all loops; they rest. On the main thread.
std::vector<Measured> start_all();

/// Runs a loop for so many cycles; the processor time of its thread, in seconds.
double run(Loop& loop, long cycles);

/// Puts the records that the loops read where the library finds them: calibration lines, an iris at rest.
void write_files(const std::string& folder);

/// Starts the engines of cameras 0 to 3, with results that let every cycle do all of its work.
void start_cameras();

} // namespace loops
