#include "loops.h"

#include "base/clock.h"
#include "engine/engine.h"
#include "host/lens.h"
#include "isp_auto_iris.h"
#include "isp_ctrl.h"
#include "isp_ctrl/core/context.h"
#include "isp_ctrl/core/seam.h"
#include "platformpara/para_isp.h"

#include <condition_variable>
#include <cstdio>
#include <fstream>
#include <limits>
#include <mutex>
#include <pthread.h>
#include <thread>

namespace loops
{

struct Loop {
    std::mutex mutex;
    std::condition_variable changed;
    bool resting = false;
    long cycles_left = 0;
    double began = 0.0;
    double seconds = 0.0;
};

namespace
{

std::thread::id main_thread;
Loop* starting = nullptr; // takes the next thread that waits
thread_local Loop* own = nullptr;

double processor_time()
{
    timespec t;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

// The library's waits. A setter's waits, on the main thread, take no time.
int wait_for_run(useconds_t)
{
    if (own == nullptr) {
        if (std::this_thread::get_id() == main_thread) {
            return 0;
        }
        own = starting;
    }
    Loop& loop = *own;
    if (--loop.cycles_left > 0) {
        return 0;
    }
    std::unique_lock lock(loop.mutex);
    loop.seconds = processor_time() - loop.began;
    loop.resting = true;
    loop.changed.notify_all();
    loop.changed.wait(lock, [&] { return !loop.resting; });
    loop.began = processor_time();
    return 0;
}

template <typename Start>
Loop* start(Start start_thread)
{
    Loop* loop = starting = new Loop; // its thread never ends
    start_thread();
    std::unique_lock lock(loop->mutex);
    loop->changed.wait(lock, [&] { return loop->resting; });
    return loop;
}

void start_exposure()
{
    KIV_Set_exposure_mode(0, SMART_EXPOSURE);
}

void start_balance()
{
    set_awb_follow_pano(1);
    cam_awb_follow_pano_thread();
}

void start_iris()
{
    init_auto_iris_control([](iris_ctrl_param_t*) { return 0; });
}

} // namespace

double run(Loop& loop, long cycles)
{
    std::unique_lock lock(loop.mutex);
    loop.cycles_left = cycles;
    loop.resting = false;
    loop.changed.notify_all();
    loop.changed.wait(lock, [&] { return loop.resting; });
    return loop.seconds;
}

std::vector<Measured> start_all()
{
    main_thread = std::this_thread::get_id();
    isp::seam.sleep = [](unsigned) { return 0U; };
    isp::seam.usleep = wait_for_run;
    const auto smart = [] { para_set_isp_exposure_mode_cur(0, SMART_EXPOSURE); };
    const auto automatic = [] { para_set_isp_exposure_mode_cur(0, AUTO_EXPOSURE); };
    smart();
    return {
        {"exposure_cycle", start(start_exposure), smart},
        {"balance_cycle", start(start_balance), [] {}},
        {"iris_cycle", start(start_iris), automatic},
    };
}

void start_cameras()
{
    for (int camera = 0; camera < 4; ++camera) {
        rk_isp_init(camera, nullptr);
    }
    // A measured value that is no number equals nothing that was applied before, so that every cycle applies.
    constexpr float none = std::numeric_limits<float>::quiet_NaN();
    auto exposure = sim::engine::peek<Uapi_ExpQueryInfo_t>(rkipc_aiq_get_ctx(1));
    exposure.LinAeInfo.LinearExp = {.integration_time = 0.01F, .analog_gain = none, .digital_gain = 1, .isp_dgain = 1};
    sim::engine::poke(rkipc_aiq_get_ctx(1), exposure);
    auto balance = sim::engine::peek<rk_aiq_wb_querry_info_t>(rkipc_aiq_get_ctx(3));
    balance.gain = {none, 1.0F, 1.0F, 2.0F};
    sim::engine::poke(rkipc_aiq_get_ctx(3), balance);

    auto linear = sim::engine::peek<Uapi_LinExpAttrV2_t>(rkipc_aiq_get_ctx(0));
    exposure.LinAeInfo.LinearExp = {.integration_time = 0.01F, .analog_gain = 2.0F, .digital_gain = 1, .isp_dgain = 1};
    exposure.LinAeInfo.MeanLuma = linear.Params.DySetpoint.DySetpoint[0];
    sim::engine::poke(rkipc_aiq_get_ctx(0), exposure);
}

void write_files(const std::string& folder)
{
    static const std::string wb_file = folder + "/wb.dat";
    static const std::string iris_device = folder + "/iris";
    awb_calibration_s lines{};
    lines.rgain_k = lines.bgain_k = lines.rgain_k2 = lines.bgain_k2 = 1.1F;
    Iris_Info_Param iris{.autoFlag = 1, .curIris = 600, .maxIris = 0, .minIris = 0, .curZoom = 0, .irisStep = {}};
    for (int i = 0; i < 13; ++i) {
        iris.irisStep[i] = sim::host::kIrisCalibration[i];
    }
    std::ofstream(wb_file, std::ios::binary).write(reinterpret_cast<const char*>(&lines), sizeof lines);
    std::ofstream(iris_device, std::ios::binary).write(reinterpret_cast<const char*>(&iris), sizeof iris);
    isp::seam.wb_calibration_file = wb_file.c_str();
    isp::seam.iris_device = iris_device.c_str();
}

// ---- An hour --------------------------------------------------------------------------------------------------------

namespace
{

struct Hour {
    char name[16] = {};
    long cycles = 0;
    double seconds = 0.0;
};
std::mutex hours_mutex;
std::vector<Hour*>& hours = *new std::vector<Hour*>;
thread_local Hour* hour = nullptr;
thread_local double woke = 0.0;

// A loop's wait, with the processor time between two waits added up; the wait's own is not part of it.
int timed_wait(useconds_t duration)
{
    if (hour == nullptr) {
        hour = new Hour;
        pthread_getname_np(pthread_self(), hour->name, sizeof hour->name);
        const std::lock_guard lock(hours_mutex);
        hours.push_back(hour);
    } else {
        hour->seconds += processor_time() - woke;
        ++hour->cycles;
    }
    sim::wait(duration);
    woke = processor_time();
    return 0;
}

} // namespace

void play_hour()
{
    sim::install_clock();
    isp::seam.usleep = timed_wait;
    sim::wait(0); // from here on no time passes while this thread works
    start_exposure();
    start_balance();
    start_iris();
    sim::await_waiting(3);
    sim::wait(sim::Microseconds{3'600'000'000});
    std::printf("%-16s %9s %14s %16s\n", "loop", "cycles", "CPU time, s", "of one core, %");
    for (const Hour* h : hours) {
        std::printf("%-16s %9ld %14.3f %16.4f\n", h->name, h->cycles, h->seconds, h->seconds / 36.0);
    }
}

} // namespace loops
