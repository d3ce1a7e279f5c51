// White-balance following: a thread that gives the close and the third camera the panorama camera's gains, mapped
// through the calibration where there is one.
#include "isp_ctrl/core/atomic.h"
#include "isp_ctrl/core/lock.h"
#include "isp_ctrl/core/seam.h"
#include "isp_ctrl/core/thread.h"
#include "isp_ctrl/white_balance/awb_calibration.h"
#include "isp_ctrl/white_balance/awb_lines.h"
#include "isp_ctrl/white_balance/wb_blocks.h"

#include <sys/prctl.h>

namespace
{

constexpr useconds_t kPass = 34000; // microseconds
constexpr useconds_t kAfterFailure = 100000;

int gAWBFollowPanoThreadExit = 1;
// For a debugger: nothing here reads it.
int gAWBFollowPanoThreadWorking = 0;
isp::Mutex start_mtx;
pthread_t g_cam_awb_follow_pano_Pid ISP_GUARDED_BY(start_mtx) = 0; // never reset: one thread per process

/// One camera that follows: its blocks and the codes of the two calls of a step.
struct Follower {
    int camera;
    rk_aiq_uapiV2_wb_opMode_t op_mode{};
    rk_aiq_wb_mwb_attrib_t manual{};
    XCamReturn codes[2] = {};
};

/// One engine call for a follower. A camera without a context counts as failed, without a trace.
template <typename Mod, typename Access>
XCamReturn silent_call(const Follower& follower, typename Mod::Block& block, Access access)
{
    auto code = static_cast<XCamReturn>(-1);
    isp::use_engine(follower.camera, [&](const rk_aiq_sys_ctx_t* context) { code = access(context, block); });
    return code;
}

void read_blocks(Follower& f)
{
    f.codes[0] = silent_call<isp::WpMode>(f, f.op_mode, isp::WpMode::get);
    f.codes[1] = silent_call<isp::Mwb>(f, f.manual, isp::Mwb::get);
}

void write_blocks(Follower& f)
{
    f.codes[0] = silent_call<isp::WpMode>(f, f.op_mode, isp::WpMode::set);
    f.codes[1] = silent_call<isp::Mwb>(f, f.manual, isp::Mwb::set);
}

/// A step has failed only when all four of its calls have.
bool all_failed(const Follower& close, const Follower& third)
{
    return close.codes[0] != 0 && close.codes[1] != 0 && third.codes[0] != 0 && third.codes[1] != 0;
}

/// The followers' gains for the panorama camera's.
void map_gains(const isp::Place& place, float red, float blue, Follower& close, Follower& third)
{
    awb_calibration_s lines;
    if (access(isp::seam.wb_calibration_file, F_OK) == 0 && isp::load_complete_calibration(lines) &&
        isp::has_lines(lines)) {
        isp::hold_gains(close.op_mode, close.manual,
                        {lines.rgain_k * red + lines.rgain_b, 1.0F, 1.0F, lines.bgain_k * blue + lines.bgain_b});
        isp::hold_gains(third.op_mode, third.manual,
                        {lines.rgain_k2 * red + lines.rgain_b2, 1.0F, 1.0F, lines.bgain_k2 * blue + lines.bgain_b2});
        isp::trace_lines(place, lines);
        return;
    }
    isp::hold_gains(close.op_mode, close.manual, {red, 1.0F, 1.0F, blue});
    isp::hold_gains(third.op_mode, third.manual, {red, 1.0F, 1.0F, blue});
}

void trace_gains(const isp::Place& place, const rk_aiq_wb_gain_t& close, const rk_aiq_wb_gain_t& third, float red,
                 float blue)
{
    ISP_TRACE_AT(place, "quenvar00 rgain=%3f,bgain=%3f\n\n", static_cast<double>(close.rgain),
                 static_cast<double>(close.bgain));
    ISP_TRACE_AT(place, "quenvar22 rgain=%3f,bgain=%3f\n\n", static_cast<double>(third.rgain),
                 static_cast<double>(third.bgain));
    ISP_TRACE_AT(place, "quenvar33 pano rgain=%3f,bgain=%3f\n\n", static_cast<double>(red), static_cast<double>(blue));
}

/// One pass; how long to wait until the next.
useconds_t follow_once(const isp::Place& place, float& red, float& blue)
{
    rk_aiq_wb_querry_info_t info;
    const isp::Outcome outcome = isp::query_white_balance({place, isp::kWbPanorama}, info);
    if (outcome != isp::Outcome::done) {
        return outcome == isp::Outcome::failed ? kAfterFailure : kPass;
    }
    if (info.gain.rgain == red && info.gain.bgain == blue) {
        return kPass;
    }
    // Remembered before anything is applied: a pass that fails below is repeated only when the gains change again.
    red = info.gain.rgain;
    blue = info.gain.bgain;
    if (rkipc_aiq_get_ctx(isp::kWbClose) == nullptr || rkipc_aiq_get_ctx(isp::kWbPanorama) == nullptr) {
        ISP_TRACE_AT(place, "aiq ctx error\n\n");
        return kPass;
    }
    Follower close{.camera = isp::kWbClose};
    Follower third{.camera = isp::kWbThird};
    read_blocks(close);
    read_blocks(third);
    if (all_failed(close, third)) {
        ISP_TRACE_AT(place, "rk_aiq_user_api2_awb_GetWbGainCtrlAttrib failed with %#x!\n\n", close.codes[0]);
        return kAfterFailure;
    }
    map_gains(place, red, blue, close, third);
    trace_gains(place, close.manual.para.gain, third.manual.para.gain, red, blue);
    write_blocks(close);
    write_blocks(third);
    if (all_failed(close, third)) {
        ISP_TRACE_AT(place, "rk_aiq_user_api2_awb_SetWbGainCtrlAttrib failed with %#x!\n\n", close.codes[0]);
        return kAfterFailure;
    }
    return kPass;
}

void* cam_awb_follow_pano_function(void* /*unused*/)
{
    float red = -1.0F; // never measured: the first reading always counts as a change
    float blue = -1.0F;
    isp::shared_set(gAWBFollowPanoThreadWorking, 1);
    prctl(PR_SET_NAME, "awb_follow_pano");
    ISP_TRACE(__func__, "quenvar  %s:%d \n", __func__, __LINE__);
    while (isp::shared_get(gAWBFollowPanoThreadExit) == 0 && isp::shared_get(isp::awb_pano_flag) == 0) {
        isp::seam.usleep(follow_once(__func__, red, blue));
    }
    isp::shared_set(gAWBFollowPanoThreadWorking, 0);
    pthread_exit(nullptr);
}

} // namespace

int cam_awb_follow_pano_thread(void)
{
    ISP_TRACE(__func__, "enter cam_awb_follow_pano_thread\n\n");
    const isp::MutexLock lock(start_mtx);
    if (g_cam_awb_follow_pano_Pid != 0) {
        return 0;
    }
    if (!isp::create_thread(g_cam_awb_follow_pano_Pid, cam_awb_follow_pano_function)) {
        ISP_TRACE(__func__, "quenvar create cam_awb_follow_pano_function thread failed!\n\n");
        return -1;
    }
    ISP_TRACE(__func__, "quenvar create cam_awb_follow_pano_function thread success!\n\n");
    return 0;
}

int set_awb_follow_pano(int enable)
{
    isp::shared_set(gAWBFollowPanoThreadExit, enable != 0 ? 0 : 1);
    return 0;
}
