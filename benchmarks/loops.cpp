#include "loops.h"

#include "engine/engine.h"
#include "host/lens.h"
#include "isp_auto_iris.h"
#include "isp_ctrl.h"
#include "isp_ctrl/core/context.h"
#include "isp_ctrl/core/seam.h"
#include "platformpara/para_isp.h"

#include <algorithm>
#include <fstream>
#include <limits>
#include <semaphore>
#include <thread>

namespace loops
{

struct Loop {
    std::binary_semaphore runs{0}, rests{0};
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
int wait_for_run(useconds_t /*period*/)
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
    loop.seconds = processor_time() - loop.began;
    loop.rests.release();
    loop.runs.acquire();
    loop.began = processor_time();
    return 0;
}

template <typename Start>
Loop* start(Start start_thread)
{
    Loop* loop = starting = new Loop; // its thread never ends
    start_thread();
    loop->rests.acquire();
    return loop;
}

} // namespace

double run(Loop& loop, long cycles)
{
    loop.cycles_left = cycles;
    loop.runs.release();
    loop.rests.acquire();
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
        {"exposure_cycle", start([] { KIV_Set_exposure_mode(0, SMART_EXPOSURE); }), smart},
        {"balance_cycle", start([] { set_awb_follow_pano(1), cam_awb_follow_pano_thread(); }), [] {}},
        {"iris_cycle", start([] { init_auto_iris_control([](iris_ctrl_param_t*) { return 0; }); }), automatic},
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
    std::ranges::copy(sim::host::kIrisCalibration, iris.irisStep);
    std::ofstream(wb_file, std::ios::binary).write(reinterpret_cast<const char*>(&lines), sizeof lines);
    std::ofstream(iris_device, std::ios::binary).write(reinterpret_cast<const char*>(&iris), sizeof iris);
    isp::seam.wb_calibration_file = wb_file.c_str();
    isp::seam.iris_device = iris_device.c_str();
}

} // namespace loops
