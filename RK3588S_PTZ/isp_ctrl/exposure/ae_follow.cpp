// Exposure following: while camera 0 is in SMART_EXPOSURE, a thread copies the panorama camera's exposure time and
// analogue gain to the feature camera, the gain raised with the zoom.
#include "isp_ctrl/exposure/ae_follow.h"

#include "af/lens_ctrl.h"
#include "isp_ctrl/core/atomic.h"
#include "isp_ctrl/core/lock.h"
#include "isp_ctrl/core/seam.h"
#include "isp_ctrl/core/thread.h"
#include "isp_ctrl/exposure/ae_block.h"

#include <cmath>
#include <sys/prctl.h>

namespace
{

constexpr useconds_t kCycle = 34000; // microseconds, about one frame

int gFollowPanoThreadExit = 1;
// For a debugger: nothing here reads it.
int gFollowPanoThreadWorking = 0;

// Start and end are decided under this lock: there is never a second thread, and a start that comes while the thread is
// about to end is not lost.
isp::Mutex follow_mtx;
pthread_t g_cam_ae_follow_pano_Pid ISP_GUARDED_BY(follow_mtx) = 0;
bool thread_exists ISP_GUARDED_BY(follow_mtx) = false;
bool start_wanted ISP_GUARDED_BY(follow_mtx) = false; // a start came during the thread's present cycle

/// What was copied last. The initial values are never measured, so the first cycle always applies.
struct Applied {
    float gain = -1.0F;
    float time = -1.0F;
    int zoom = 0;
};

/// The feature camera's gain: g x floor(1000 x (1 + (p + 1) x 0.4722 / 6624)) / 1000 + 0.25.
float followed_gain(float again, int position)
{
    const double thousandths = std::floor((static_cast<double>(position + 1) * 0.4722 / 6624.0 + 1.0) * 1000.0);
    return static_cast<float>(static_cast<double>(again) * thousandths / 1000.0 + 0.25);
}

/// Writes the panorama exposure to the feature camera. False when the engine failed.
bool apply_exposure(const isp::Step& feature, const Applied& applied)
{
    return isp::modify<isp::ExpSwAttr>(feature, isp::kExposureAttrTexts, [&](Uapi_ExpSwAttrV2_t& attr) {
               attr.AecOpType = RK_AIQ_OP_MODE_MANUAL;
               attr.stManual.LinearAE.ManualGainEn = true;
               attr.stManual.LinearAE.ManualTimeEn = true;
               attr.stManual.LinearAE.TimeValue = applied.time;
               attr.stManual.LinearAE.GainValue = followed_gain(applied.gain, applied.zoom);
           }) != isp::Outcome::failed;
}

/// The engine calls of one cycle. False when the engine failed.
bool follow_once(const isp::Place& place, Applied& applied)
{
    const isp::EngineLock lock;
    const isp::Step panorama(place, get_PanoramaIspId());
    Uapi_ExpQueryInfo_t info;
    const isp::Outcome outcome =
        isp::engine_call(panorama, ISP_TRACE_FORMAT("rk_aiq_user_api2_ae_queryExpResInfo failed with %#x!\n\n"),
                         [&](const rk_aiq_sys_ctx_t* ctx) { return rk_aiq_user_api2_ae_queryExpResInfo(ctx, &info); });
    if (outcome != isp::Outcome::done) {
        return outcome == isp::Outcome::no_context; // nothing to copy; the next cycle looks again
    }
    const auto& measured = info.LinAeInfo.LinearExp;
    if (measured.analog_gain == applied.gain && measured.integration_time == applied.time &&
        Uvc_Query_Zoom_Position() == applied.zoom) {
        return true;
    }
    applied = {measured.analog_gain, measured.integration_time, Uvc_Query_Zoom_Position()};
    return apply_exposure({place, get_FeaturesIspId()}, applied);
}

bool must_end()
{
    return isp::shared_get(gFollowPanoThreadExit) == 1 ||
           para_get_isp_exposure_mode_cur(isp::kModeCamera) != SMART_EXPOSURE ||
           get_lens_calibration_flag() == isp::kLensCalibrationEnds;
}

/// Begins a cycle: the thread has seen every start that came before this call, and one that comes later is remembered
/// in start_wanted. A thread of the host's that runs the body counts as the follow thread too.
void begin_cycle()
{
    const isp::MutexLock lock(follow_mtx);
    thread_exists = true;
    start_wanted = false;
}

/// The thread's decision to end; false when a start came during the cycle and it has to look again.
bool end_thread()
{
    const isp::MutexLock lock(follow_mtx);
    if (start_wanted) {
        return false;
    }
    thread_exists = false;
    isp::shared_set(gFollowPanoThreadWorking, 0);
    return true;
}

enum class Start { there_is_one, created, failed };

Start start_thread()
{
    const isp::MutexLock lock(follow_mtx);
    if (thread_exists) {
        start_wanted = true;
        return Start::there_is_one;
    }
    const auto body = [](void*) -> void* {
        cam_ae_follow_pano_function();
        return nullptr;
    };
    if (!isp::create_thread(g_cam_ae_follow_pano_Pid, body)) {
        return Start::failed;
    }
    thread_exists = true;
    return Start::created;
}

} // namespace

void isp::store_exposure_mode(const Call& call, int mode, bool stops)
{
    const MutexLock lock(follow_mtx);
    write_setting(call, para_set_isp_exposure_mode_cur, mode);
    if (stops && call.isp_id == kModeCamera) {
        shared_set(gFollowPanoThreadExit, 1);
    }
}

void isp::start_ae_follow()
{
    {
        const MutexLock lock(follow_mtx);
        shared_set(gFollowPanoThreadExit, 0);
        g_cam_ae_follow_pano_Pid = 0;
    }
    cam_ae_follow_pano_thread();
}

int cam_ae_follow_pano_thread(void)
{
    ISP_TRACE(__func__, "enter cam_ae_follow_pano_thread\n\n");
    const Start start = start_thread();
    if (start == Start::failed) {
        ISP_TRACE(__func__, "create cam_ae_follow_pano_function thread failed!\n\n");
        return -1;
    }
    if (start == Start::created) {
        ISP_TRACE(__func__, "create cam_ae_follow_pano_function thread success!\n\n");
    }
    return 0;
}

void cam_ae_follow_pano_function(void)
{
    prctl(PR_SET_NAME, "cam_ae_follow_pano_function");
    pthread_detach(pthread_self());
    ISP_TRACE(__func__, "enter cam_ae_follow_pano_function\n\n");
    Applied applied;
    for (;;) {
        begin_cycle();
        if (must_end()) {
            if (end_thread()) {
                break;
            }
            continue;
        }
        if (!follow_once(__func__, applied)) {
            if (end_thread()) {
                return;
            }
            applied = {};
        }
        isp::shared_set(gFollowPanoThreadWorking, 1);
        isp::seam.usleep(kCycle);
    }
    ISP_TRACE(__func__, "pthread_exit\n");
    pthread_exit(nullptr);
}
