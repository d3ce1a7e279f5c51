// What the fuzzers start every input with, and what must hold after it.
#pragma once

#include "support/bench.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace fuzz
{

/// The library on a fresh camera, waits without duration.
class World : public bench::Bench
{
public:
    World()
    {
        isp::seam.sleep = [](unsigned) { return 0U; };
        isp::seam.usleep = [](useconds_t) { return 0; };
        sim::clear_faults();
    }
    void TestBody() override {}
};

inline void require(bool holds, const char* what)
{
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::abort();
    }
}

inline void require_no_misuse()
{
    for (const auto& misuses : {sim::engine::misuses(), sim::host::misuses()}) {
        std::ranges::for_each(misuses, [](const std::string& line) { std::fprintf(stderr, "%s\n", line.c_str()); });
        require(misuses.empty(), "engine and store are used rightly");
    }
}

} // namespace fuzz
