// Traces of engine calls that were not made or failed.
#include "isp_ctrl/core/setter_steps.h"

void isp::trace_no_context(const char* function, int line)
{
    ISP_TRACE_LINE(function, line, "aiq ctx error\n\n");
}

void isp::trace_failure(const char* function, int line, const char* failed, XCamReturn code)
{
    if (failed != nullptr && trace_on()) {
        kiv_traceout(kTraceLevel, failed, function, line, code);
    }
}
