// The two forms of log line. A trace line is written only while the host's module_level is above 5; switched off it
// costs one load and one compare, and its arguments are not evaluated. A debug line is always written.
//
//     ISP_TRACE(__func__, "isp_gamma_val :%d\n\n", level);
//     ISP_DEBUG(__func__, "camera_id is over 3 or not init\n\n");
#pragma once

#include "base/lib_dbgout.h"

namespace isp
{

/// Where a message comes from: the function whose name its log line shows, and a line of that function, where it calls
/// the code that writes the message. Made from the function's name where that code is called.
struct Place {
    Place(const char* of, int at = __builtin_LINE()) : function(of), line(at) {} // NOLINT(google-explicit-constructor)

    const char* function;
    int line;
};

inline constexpr int kTraceLevel = 6;

inline bool trace_on()
{
    return __atomic_load_n(&dbgout_profile.module_level, __ATOMIC_RELAXED) >= kTraceLevel;
}

} // namespace isp

// A message as it reaches kiv_traceout: for messages that are passed on before they are written.
#define ISP_TRACE_FORMAT(text) "[module %s +%-4d]" text

// Within the function that the message belongs to; `function` is its name.
#define ISP_TRACE(function, text, ...) ISP_TRACE_LINE(function, __LINE__, text __VA_OPT__(, ) __VA_ARGS__)

// In code that such functions share, or call for it. `place` is a Place or a Step.
#define ISP_TRACE_AT(place, text, ...) ISP_TRACE_LINE((place).function, (place).line, text __VA_OPT__(, ) __VA_ARGS__)

#define ISP_TRACE_LINE(function, line, text, ...)                                                                      \
    do {                                                                                                               \
        if (isp::trace_on()) [[unlikely]] {                                                                            \
            kiv_traceout(isp::kTraceLevel, ISP_TRACE_FORMAT(text), function, line __VA_OPT__(, ) __VA_ARGS__);         \
        }                                                                                                              \
    } while (false)

#define ISP_DEBUG(function, text, ...) kiv_log_debug("%-4d %s " text, __LINE__, function __VA_OPT__(, ) __VA_ARGS__)
