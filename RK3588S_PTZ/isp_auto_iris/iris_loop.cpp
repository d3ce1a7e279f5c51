// The automatic iris loop and its start: sleeps, reads, decides, calls back. Modes and anti-flicker are those of camera
// 0.
#include "af/lens_ctrl.h"
#include "isp_auto_iris/iris_device.h"
#include "isp_auto_iris/iris_rules.h"
#include "isp_auto_iris/isp_auto_iris.h"
#include "isp_auto_iris/zoom_levels.h"
#include "isp_ctrl/core/atomic.h"
#include "isp_ctrl/core/lock.h"
#include "isp_ctrl/core/seam.h"
#include "isp_ctrl/core/thread.h"
#include "isp_ctrl/core/trace.h"
#include "isp_ctrl/isp_ctrl.h"
#include "platformpara/para_isp.h"

#include <cstring>
#include <sys/prctl.h>

KIV_AUTO_IRIS_CONTROL_CALLBACK kiv_auto_iris_cb = nullptr;

namespace
{

constexpr unsigned kStartDelay = 9;  // seconds
constexpr useconds_t kCycle = 32000; // microseconds

isp::Mutex start_mtx;
pthread_t g_auto_iris_ctrlProcPid ISP_GUARDED_BY(start_mtx) = 0; // never cleared: one thread per process

// These outlive a loop: one that starts later continues from them.
int auto_iris_flag = isp::iris::kIdle;
int call_iris_flag = 0; // 1: the last command sent a non-zero step

isp::iris::LoopState kept_state()
{
    isp::iris::LoopState state;
    std::memset(&state.command, 0, sizeof state.command); // its padding is sent too
    state.auto_iris_flag = isp::shared_get(auto_iris_flag);
    state.call_iris_flag = isp::shared_get(call_iris_flag) != 0;
    for (int level = 0; level < isp::iris::kZoomLevels; ++level) {
        state.widest[static_cast<std::size_t>(level)] = get_max_iris(level);
    }
    return state;
}

void keep(const isp::iris::LoopState& state)
{
    isp::shared_set(auto_iris_flag, state.auto_iris_flag);
    isp::shared_set(call_iris_flag, state.call_iris_flag ? 1 : 0);
    isp::iris::publish_widest(state.widest);
}

/// The six figures of the AE query, which keep their values when a query fails.
struct AeInfo {
    float again = 0.0F;
    float ispdgain = 0.0F;
    float time = 0.0F;
    float meanluma = 0.0F;
    float gain_max = 0.0F;
    float ret_dysetpoint = 0.0F;
};

isp::iris::AeFigures query_figures(const isp::Place& place, AeInfo& ae)
{
    const int ret =
        kiv_rkisp_cl_getAeinfo(&ae.again, &ae.ispdgain, &ae.time, &ae.meanluma, &ae.gain_max, &ae.ret_dysetpoint);
    if (ret != 0) {
        ISP_TRACE_AT(place, "kiv_rkisp_cl_QueryWBInfo err %d\n", ret);
    }
    return isp::iris::derive_figures(ae.again, ae.ispdgain, ae.time, ae.meanluma, ae.gain_max, ae.ret_dysetpoint);
}

void send(iris_ctrl_param_t& command)
{
    const KIV_AUTO_IRIS_CONTROL_CALLBACK callback = isp::shared_get(kiv_auto_iris_cb);
    if (callback != nullptr) {
        callback(&command);
    }
}

} // namespace

int init_auto_iris_control(KIV_AUTO_IRIS_CONTROL_CALLBACK cb)
{
    ISP_TRACE(__func__, "enter\n");
    if (cb == nullptr) {
        ISP_TRACE(__func__, "mode == NULL\n");
        return -1;
    }
    const isp::MutexLock lock(start_mtx);
    isp::shared_set(kiv_auto_iris_cb, cb);
    if (g_auto_iris_ctrlProcPid == 0) {
        const auto body = [](void*) -> void* {
            auto_iris_control_main();
            return nullptr; // never reached, the loop ends the thread: LCOV_EXCL_LINE
        };
        if (!isp::create_thread(g_auto_iris_ctrlProcPid, body)) {
            ISP_TRACE(__func__, "create auto_iris_control_main thread failed!\n\n");
            return -1;
        }
        ISP_TRACE(__func__, "create auto_iris_control_main thread OK!\n");
    }
    ISP_TRACE(__func__, "leave\n");
    return 0;
}

void auto_iris_control_main(void)
{
    isp::iris::Device device;
    isp::iris::open_device(device);
    prctl(PR_SET_NAME, "auto_iris_control_main");
    pthread_detach(pthread_self());
    ISP_TRACE(__func__, "enter\n\n");
    isp::seam.sleep(kStartDelay);

    isp::iris::LoopState state = kept_state();
    AeInfo ae;
    for (;;) {
        isp::seam.usleep(kCycle);
        const int antiflicker = para_get_isp_antiflicker_cur(isp::kModeCamera);
        const int mode = para_get_isp_exposure_mode_cur(isp::kModeCamera);
        if (mode == MANUAL_EXPOSURE || mode == IRIS_PRIORITY) {
            continue; // the iris is set by hand
        }
        if (get_lens_calibration_flag() == isp::kLensCalibrationEnds) {
            break;
        }
        const isp::iris::AeFigures figures = query_figures(__func__, ae);
        Iris_Info_Param record;
        if (!isp::iris::read_record(device, record)) {
            isp::iris::advance_device(device);
            continue;
        }
        const bool commanded =
            isp::iris::decide(state, record, {.exposure_mode = mode, .antiflicker = antiflicker, .ae = figures});
        keep(state); // the receiver may ask for the widest position
        if (commanded) {
            send(state.command);
        }
    }
    ISP_TRACE(__func__, "pthread_exit\n");
    pthread_exit(nullptr);
}
