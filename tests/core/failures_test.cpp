// Every engine call of every setter failing once, in every mode: by rule the setter ends there and returns -1, having
// stored what it stores. The exceptions stand in a table. A store that refuses a level does not keep it from the
// engine.
#include "host/shading_file.h"
#include "support/bench.h"

#include <cstring>

using namespace bench;

namespace
{

enum class Then { ends, goes_on, skips_next };

struct Exception {
    std::string_view setting; // empty: all
    std::string_view call;    // part of its name
    Then then;
    int result = 0;
};
constexpr Exception kExceptions[] = {
    {"saturation", "acp", Then::goes_on},
    {"blackwhite_mode", "acp", Then::goes_on}, // by the saturation
    {"hue", "acp", Then::goes_on},
    {"luminance", "acp", Then::goes_on},
    {"contrast", "acp_Set", Then::goes_on},
    {"csc_mode", "", Then::ends},           // has no result
    {"nr2d", "alsc_Get", Then::skips_next}, // the shading file, applied first
    {"nr2d", "alsc_Set", Then::goes_on},
    {"bgain_tuning", "_setAwbGainOffset", Then::ends, -1},
    {"", "_getAwbGainOffset", Then::skips_next},
    {"", "_setAwbGainOffset", Then::goes_on},
};

struct Made {
    int result;
    std::vector<std::string> calls;
    kiv_isp_param_s stored;
    sim::engine::Snapshot engine;
};

class Failures : public Bench
{
protected:
    static constexpr int kCamera = 2;

    Failures()
    {
        sim::host::write_shading_file(shading_file);
    }

    static Made run(const NamedSetter& setter, int exposure_mode, int wb_mode)
    {
        sim::host::reset_store();
        start_camera(kCamera);
        store(kCamera, "exposure_mode", exposure_mode);
        store(kCamera, "wb_mode", setter.name == "wb_mode" ? 0 : wb_mode);
        const sim::host::Setting& s = setting(setter.name);
        const int level = s.name == "wb_mode" ? wb_mode : s.initial == s.highest ? s.highest - 1 : s.highest;
        Made made{};
        made.calls = names_of_calls([&] { made.result = setter.set(kCamera, level); }, "rk_aiq");
        made.stored = sim::host::stored_record(kCamera);
        made.engine = sim::engine::snapshot(rkipc_aiq_get_ctx(kCamera));
        return made;
    }

    /// What a setter does when call `failing` of its sound run fails.
    static Exception expected(std::string_view setting, const Made& sound, std::size_t failing, int wb_mode)
    {
        const std::string& function = sound.calls[failing];
        if (setting == "wb_mode" && wb_mode == TEMPERATURE && failing >= 2) {
            return {setting, function, Then::ends}; // hides that the temperature, which it applies, has failed
        }
        const auto* known = std::ranges::find_if(kExceptions, [&](const Exception& e) {
            return (e.setting.empty() || e.setting == setting) && function.find(e.call) != std::string::npos;
        });
        return known != std::end(kExceptions) ? *known : Exception{setting, function, Then::ends, -1};
    }
};

TEST_F(Failures, EndASetterOrAreItsExceptions)
{
    std::vector<int> exposure_modes;
    for (const sim::host::ValueName& mode : names_of(setting("exposure_mode"))) {
        exposure_modes.push_back(mode.value);
    }
    exposure_modes.push_back(99);
    const auto wb_modes = names_of(setting("wb_mode"));
    for (const NamedSetter& setter : kSetters) {
        if (setter.name == "exposure_mode" || setter.name == "style" || setter.name == "wb_mode_onepush") {
            continue; // many setters in one; takes time and keeps what it reached
        }
        for (std::size_t i = 0; i < exposure_modes.size(); ++i) {
            const int exposure_mode = exposure_modes[i], wb_mode = wb_modes[i % wb_modes.size()].value;
            sim::clear_faults();
            const Made sound = run(setter, exposure_mode, wb_mode);
            for (std::size_t failing = 0; failing < sound.calls.size(); ++failing) {
                const std::string& function = sound.calls[failing];
                SCOPED_TRACE(testing::Message() << setter.name << ", modes " << exposure_mode << " and " << wb_mode
                                                << ", call " << failing << ", " << function);
                const auto after = sound.calls.begin() + static_cast<std::ptrdiff_t>(failing) + 1;
                sim::clear_faults();
                sim::inject_fault(function, static_cast<int>(std::count(sound.calls.begin(), after, function)), -7);
                const Made failed = run(setter, exposure_mode, wb_mode);

                const Exception e = expected(setter.name, sound, failing, wb_mode);
                std::vector<std::string> calls(sound.calls.begin(), after);
                if (e.then != Then::ends) {
                    calls.insert(calls.end(), after + (e.then == Then::skips_next ? 1 : 0), sound.calls.end());
                }
                EXPECT_EQ(sim::faults_struck(), 1);
                EXPECT_EQ(failed.calls, calls);
                EXPECT_EQ(failed.result, e.result);
                EXPECT_EQ(std::memcmp(&failed.stored, &sound.stored, sizeof sound.stored), 0);
            }
            sim::clear_faults();
            sim::inject_fault("para_set_isp_" + std::string(setter.name) + "_cur", 1, -7);
            if (setting(setter.name).has_max()) {
                const Made refused = run(setter, exposure_mode, wb_mode);
                EXPECT_EQ(refused.result, sound.result) << setter.name;
                EXPECT_TRUE(sim::engine::changes(sound.engine, refused.engine).empty()) << setter.name;
            }
        }
    }
}

} // namespace
