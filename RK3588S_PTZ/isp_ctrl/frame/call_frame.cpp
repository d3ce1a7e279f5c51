// Traces of engine calls that were not made or failed.
#include "isp_ctrl/frame/call_frame.h"

isp::Outcome isp::no_context(const char* function)
{
    ISP_TRACE(function, "aiq ctx error\n\n");
    return Outcome::no_context;
}

isp::Outcome isp::call_failed(const char* function, const char* failed, XCamReturn code)
{
    if (failed != nullptr && trace_on()) {
        kiv_traceout(kTraceLevel, failed, function, __LINE__, code);
    }
    return Outcome::failed;
}
