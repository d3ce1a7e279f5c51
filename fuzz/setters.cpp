// Fuzzes sequences of setter calls, starts and stops with failing engine calls. Each operation is four bytes: what,
// camera, and a level or a fault.
#include "fuzz_world.h"
#include "support/bench.h"

#include <span>

namespace
{

constexpr std::size_t kSetterCount = std::size(bench::kSetters);

constexpr int kExtremes[] = {INT_MIN, INT_MAX, -1, 255, 256, 65536};

constexpr void (*kLife[])(int camera) = {
    [](int camera) { rk_isp_init(camera, nullptr); },
    [](int camera) { rk_isp_stop(camera); },
    [](int camera) { rk_isp_deinit(camera); },
    [](int camera) { rk_isp_update(camera); },
    [](int camera) {
        int sensors[] = {camera, (camera + 1) % 8};
        rk_isp_init_group(camera, sensors, 2, nullptr);
    },
    [](int camera) { rk_isp_init_group_stop(camera); },
    [](int camera) { rk_isp_deinit_group(camera); },
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static constexpr const char* kFailing[] = {
        "rk_aiq_user_api2_ae_getExpSwAttr",  "rk_aiq_user_api2_ae_setExpSwAttr",
        "rk_aiq_user_api2_awb_GetMwbAttrib", "rk_aiq_user_api2_awb_GetWpModeAttrib",
        "rk_aiq_uapi2_sysctl_init",          "rk_aiq_uapi2_sysctl_prepare",
        "rk_aiq_uapi2_sysctl_start",         "rk_aiq_uapi2_camgroup_create",
        "rk_aiq_user_api2_acp_GetAttrib",    "para_get_isp_exposure_mode_cur",
        "para_get_isp_wb_mode_cur",          "para_get_isp_saturation_max",
    };
    fuzz::World world;
    const std::span<const std::uint8_t> bytes(data, size - size % 4);
    for (std::size_t at = 0; at < bytes.size(); at += 4) {
        const std::size_t what = bytes[at] % (kSetterCount + 4);
        const int camera = bytes[at + 1] < 250 ? bytes[at + 1] % 8 : kExtremes[bytes[at + 1] % std::size(kExtremes)];
        if (what < kSetterCount) {
            const bench::NamedSetter& setter = bench::kSetters[what];
            const int level = bytes[at + 2] < 250 ? bytes[at + 3] : kExtremes[bytes[at + 3] % std::size(kExtremes)];
            if (setter.name != "exposure_mode" || level != SMART_EXPOSURE) { // which would start a thread
                setter.set(camera, level);
            }
        } else if (what == kSetterCount) {
            sim::inject_fault(kFailing[bytes[at + 2] % std::size(kFailing)], bytes[at + 3] % 4 + 1, -1);
        } else if (what == kSetterCount + 1) {
            KIV_load_isp_para(camera);
        } else if (camera >= 0 && camera < 8) {
            kLife[bytes[at + 2] % std::size(kLife)](camera);
        }
    }
    sim::clear_faults();
    const bool orderly = std::ranges::none_of(sim::engine::misuses(), [](const std::string& line) {
        // A sensor that is started alone and in a group, or a group started twice: the caller's doing.
        return line.find("has a context already") == std::string::npos &&
               line.find("out of order") == std::string::npos;
    });
    fuzz::require(orderly, "engine used rightly");
    fuzz::require(sim::host::misuses().empty(), "store used rightly");
    const auto slots = 16 - std::ranges::count(g_aiq_ctx, nullptr) - std::ranges::count(g_camera_group_ctx, nullptr);
    fuzz::require(sim::engine::live_contexts() == slots, "every context is in a slot");
    fuzz::require(pthread_mutex_trylock(&g_aiq_mtx) == 0, "the engine lock is free");
    pthread_mutex_unlock(&g_aiq_mtx);
    return 0;
}
