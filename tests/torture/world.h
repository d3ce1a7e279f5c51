// The world of an operation: cameras at work in every mode, their files, and waits that take no time.
#pragma once

#include "support/bench.h"

#include <atomic>
#include <cerrno>

namespace torture
{

/// Variants of an operation: each exposure mode with one of the white-balance modes.
inline const auto kExposureModes = sim::host::names_of(bench::setting("exposure_mode"));
inline const auto kWbModes = sim::host::names_of(bench::setting("wb_mode"));
inline const int kVariants = static_cast<int>(kExposureModes.size());

inline int exposure_mode_of(int variant)
{
    return kExposureModes[static_cast<std::size_t>(variant)].value;
}

inline int wb_mode_of(int variant)
{
    return kWbModes[static_cast<std::size_t>(variant) % kWbModes.size()].value;
}

/// "manual/indoor"
inline std::string modes_of(int variant)
{
    return sim::host::name_of(bench::setting("exposure_mode"), exposure_mode_of(variant)) + "/" +
           sim::host::name_of(bench::setting("wb_mode"), wb_mode_of(variant));
}

/// Levels of which few are initial ones or like their neighbours'.
inline kiv_isp_param_s telling_record()
{
    kiv_isp_param_s record = sim::host::initial_record();
    for (int turn = 0; const sim::host::Setting& setting : sim::host::kSettings) {
        if (setting.access == sim::host::Access::all || setting.access == sim::host::Access::bound) {
            record.*setting.member = setting.lowest + ++turn * 3 % (setting.highest - setting.lowest + 1);
        }
    }
    return record;
}

constexpr int kCycles = 6; // of a thread's loop, then it is asked to end
inline std::atomic<int> cycles;

/// The cameras at work: 0 to 3 run, in the modes of a variant; files are there; waits take no time.
class World : public bench::Bench
{
public:
    World(int variant, bool engines)
    {
        awb_calibration_s lights{};
        lights.d65_pano_rgain = 2.0F;
        lights.d65_pano_bgain = 1.6F;
        lights.d65_close_rgain = lights.d65_3rd_rgain = 1.9F;
        lights.d65_close_bgain = lights.d65_3rd_bgain = 1.5F;
        lights.rgain_k = 0.9F, lights.rgain_b = 0.05F, lights.rgain_k2 = 0.8F, lights.rgain_b2 = 0.15F;
        lights.bgain_k = 1.1F, lights.bgain_b = -0.1F, lights.bgain_k2 = 1.2F, lights.bgain_b2 = -0.2F;
        bench::write_bytes(wb_file, {reinterpret_cast<const char*>(&lights), sizeof lights});
        bench::write_bytes(shading_file, std::string(6936, 1));
        bench::write_bytes(iris_device, std::string(36, 1));
        bench::write_bytes(otp_file, "flag = 1\n");
        sim::inject_fault("pthread_create", 1, EAGAIN);
        KIV_Set_exposure_mode(0, SMART_EXPOSURE); // from here on its thread may run
        sim::clear_faults();
        *sim::host::preset_of(style_default) = telling_record();
        cycles = 0;
        set_awb_follow_pano(1);
        isp::seam.sleep = [](unsigned) { return 0U; };
        isp::seam.usleep = [](useconds_t period) {
            sim::engine::run_frame(0.034);
            if (period >= 32000 && ++cycles == kCycles) {
                if (const int mode = bench::stored(0, "exposure_mode");
                    mode == MANUAL_EXPOSURE || mode == IRIS_PRIORITY) {
                    bench::store(0, "exposure_mode", AUTO_EXPOSURE); // in which the iris loop looks at the flag
                }
                sim::host::set_lens_calibration_flag(4);
                set_awb_follow_pano(0);
            }
            return 0;
        };
        for (int camera = 0; camera < 4; ++camera) {
            if (engines) {
                bench::start_camera(camera);
            }
            sim::host::store_record(camera, telling_record());
            bench::store(camera, "exposure_mode", exposure_mode_of(variant));
            bench::store(camera, "wb_mode", wb_mode_of(variant));
            for (const auto& [name, value] : {std::pair{"antiflicker", variant % 3},
                                              {"expcomp_mode", 2},
                                              {"backlight", 2},
                                              {"rgain_tuning", 12},
                                              {"bgain_tuning", 8},
                                              {"temperature", 25},
                                              {"rgain_onepush", 1957},
                                              {"bgain_onepush", 2300}}) {
                bench::store(camera, name, value);
            }
        }
    }
    void TestBody() override {}
    using Bench::folder;
};

} // namespace torture
