// The two forms of log line. A trace line is written only while the host's module_level is above 5; switched off it
// costs one load and one compare, and its arguments are not evaluated. A debug line is always written.
//
//     ISP_TRACE(__func__, "isp_gamma_val :%d\n\n", level);
//     ISP_DEBUG(__func__, "camera_id is over 3 or not init\n\n");
#pragma once

#include "base/lib_dbgout.h"

namespace isp
{

inline constexpr int kTraceLevel = 6;

inline bool trace_on()
{
    return __atomic_load_n(&dbgout_profile.module_level, __ATOMIC_RELAXED) >= kTraceLevel;
}

} // namespace isp

// A message as it reaches kiv_traceout: for messages that are passed on before they are written.
#define ISP_TRACE_FORMAT(text) "[module %s +%-4d]" text

// `function` is the name that the line shows: that of the setter or other function that the message belongs to, also
// where code shared by several of them writes it.
#define ISP_TRACE(function, text, ...)                                                                                 \
    do {                                                                                                               \
        if (isp::trace_on()) [[unlikely]] {                                                                            \
            kiv_traceout(isp::kTraceLevel, ISP_TRACE_FORMAT(text), function, __LINE__ __VA_OPT__(, ) __VA_ARGS__);     \
        }                                                                                                              \
    } while (false)

#define ISP_DEBUG(function, text, ...) kiv_log_debug("%-4d %s " text, __LINE__, function __VA_OPT__(, ) __VA_ARGS__)
