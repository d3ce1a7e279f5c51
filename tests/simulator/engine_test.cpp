// The simulated engine: life of contexts, attribute blocks, recorder and faults, exposure and white balance.
#include "base/calls.h"
#include "engine/engine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <set>

using namespace sim::engine;

namespace
{

rk_aiq_sys_ctx_t* make(int sensor)
{
    return rk_aiq_uapi2_sysctl_init(("sim_sensor_" + std::to_string(sensor)).c_str(), "/iq", nullptr, nullptr);
}

rk_aiq_sys_ctx_t* make_running(int sensor)
{
    rk_aiq_sys_ctx_t* const ctx = make(sensor);
    EXPECT_EQ(rk_aiq_uapi2_sysctl_prepare(ctx, 0, 0, RK_AIQ_WORKING_MODE_NORMAL), 0);
    EXPECT_EQ(rk_aiq_uapi2_sysctl_start(ctx), 0);
    return ctx;
}

rk_aiq_camgroup_ctx_t* make_group(std::vector<const char*> sensors)
{
    rk_aiq_camgroup_instance_cfg_t cfg{};
    cfg.sns_num = static_cast<int>(sensors.size());
    std::copy_n(sensors.begin(), std::min<std::size_t>(sensors.size(), 8), cfg.sns_ent_nm_array);
    cfg.config_file_dir = "/iq";
    return rk_aiq_uapi2_camgroup_create(&cfg);
}

const rk_aiq_sys_ctx_t* as_camera(const rk_aiq_camgroup_ctx_t* group)
{
    return reinterpret_cast<const rk_aiq_sys_ctx_t*>(group);
}

class Engine : public testing::Test
{
protected:
    Engine()
    {
        reset();
    }
    ~Engine() override
    {
        sim::stop_recording();
        sim::clear_faults();
    }
    /// A test that misuses the engine on purpose looks at the misuses and resets.
    void TearDown() override
    {
        EXPECT_EQ(misuses(), std::vector<std::string>{});
    }
};

std::string names(const std::vector<Field>& fields)
{
    std::string text;
    for (const Field& field : fields) {
        text += field.name + "\n";
    }
    return text;
}

// ---- Life ---------------------------------------------------------------------------------------------------------

TEST_F(Engine, MisuseIsAnsweredAndNoted)
{
    const auto misuse = [](int answer, int wanted, const char* noted) {
        EXPECT_EQ(answer, wanted) << noted;
        EXPECT_EQ(misuses(), std::vector{std::string("rk_aiq_") + noted});
        reset();
    };
    constexpr int kOrder = XCAM_RETURN_ERROR_ORDER;
    constexpr int kParam = XCAM_RETURN_ERROR_PARAM;
    acp_attrib_t acp{};
    const auto set = [&](const void* context) {
        return rk_aiq_user_api2_acp_SetAttrib(static_cast<const rk_aiq_sys_ctx_t*>(context), &acp);
    };
    misuse(rk_aiq_uapi2_sysctl_start(make(0)), kOrder, "uapi2_sysctl_start: out of order, sensor 0 is initialised");
    misuse(rk_aiq_uapi2_sysctl_start(make_running(0)), kOrder, "uapi2_sysctl_start: out of order, sensor 0 is running");
    misuse(rk_aiq_uapi2_sysctl_prepare(make_running(0), 0, 0, RK_AIQ_WORKING_MODE_NORMAL), kOrder,
           "uapi2_sysctl_prepare: out of order, sensor 0 is running");
    rk_aiq_sys_ctx_t* ctx = make_running(0);
    rk_aiq_uapi2_sysctl_deinit(ctx);
    misuse(life(ctx) == Life::released, true, "uapi2_sysctl_deinit: out of order, sensor 0 is running");
    rk_aiq_camgroup_ctx_t* const group = make_group({"sim_sensor_1"});
    rk_aiq_uapi2_camgroup_destroy(group);
    misuse(rk_aiq_uapi2_camgroup_destroy(group), kParam,
           "uapi2_camgroup_destroy: released twice, the group of sensor 1");
    ctx = make(4);
    rk_aiq_uapi2_sysctl_deinit(ctx);
    misuse(set(ctx), kParam, "user_api2_acp_SetAttrib: use after release, sensor 4");
    misuse(set(&acp), kParam, "user_api2_acp_SetAttrib: unknown context");
    misuse(set(reinterpret_cast<char*>(make(0)) + 64), kParam, "user_api2_acp_SetAttrib: unknown context");
    misuse(rk_aiq_user_api2_ae_getExpSwAttr(make(0), nullptr), kParam, "user_api2_ae_getExpSwAttr: null block");
    misuse(rk_aiq_uapi2_sysctl_stop(as_camera(make_group({"sim_sensor_0"})), false), kParam,
           "uapi2_sysctl_stop: a group's context, not a camera's");
    make(6);
    misuse(make(6) != nullptr, true, "uapi2_sysctl_init: sensor 6 has a context already");
    misuse(make_group(std::vector<const char*>(8, "sim_sensor_0")) == nullptr, true,
           "uapi2_camgroup_create: bad configuration");
    set(nullptr);
    misuse(set(nullptr), kParam, "user_api2_acp_SetAttrib: null context (2 times)");
}

// ---- Blocks -------------------------------------------------------------------------------------------------------

// Every byte that Set changes comes back from Get, and shows as one changed field of that block of that context, but
// for `padding` bytes: a field that is missing in the engine's table makes it more. The grids of the shading block are
// sampled.
template <typename Result, typename Block, typename Set>
void check_block(const char* name, std::size_t padding, Result (*get)(const rk_aiq_sys_ctx_t*, Block*), Set set)
{
    SCOPED_TRACE(name);
    using Lsc = rk_aiq_lsc_attrib_t;
    const auto sampled = [](std::size_t i) {
        return std::is_same_v<Block, Lsc> && ((i >= offsetof(Lsc, stManual) && i < offsetof(Lsc, stAuto) - 97) ||
                                              (i >= offsetof(Lsc, stAuto.tbl.tableAll[0].lsc_samples_red) &&
                                               i < offsetof(Lsc, stAuto.tbl.tableAll_len) - 97));
    };
    constexpr bool kTable = std::is_same_v<Block, Uapi_LinExpAttrV2_t>; // ends with a pointer that stays the engine's
    rk_aiq_sys_ctx_t* const ctx = make(0);
    rk_aiq_sys_ctx_t* const other = make(1);
    const Snapshot before = snapshot(ctx);
    const Snapshot other_before = snapshot(other);
    const auto block = std::make_unique<Block>();
    const auto again = std::make_unique<Block>();
    std::set<std::string> seen;
    for (const Field& field : describe(ctx, name)) {
        std::string path = field.name;
        std::erase_if(path, [](char c) { return '0' <= c && c <= '9'; });
        for (const Value& value : field.values) {
            EXPECT_TRUE(path.find('[') == std::string::npos || path.ends_with("_len") ||
                        seen.insert(path + text_of(value)).second)
                << field.name << ": an element starts like another";
        }
    }
    ASSERT_EQ(get(ctx, block.get()), 0);
    auto* const bytes = reinterpret_cast<unsigned char*>(block.get());
    std::size_t unnoticed = 0;
    for (std::size_t i = 0; i < sizeof(Block) - (kTable ? sizeof(float*) : 0); i += sampled(i) ? 97 : 1) {
        bytes[i] ^= 1;
        if constexpr (std::is_invocable_v<Set, const rk_aiq_sys_ctx_t*, Block*>) {
            ASSERT_EQ(set(ctx, block.get()), 0);
        } else {
            ASSERT_EQ(set(ctx, *block), 0);
        }
        const std::vector<Field> changed = changes(before, snapshot(ctx));
        if (changed.empty()) {
            ++unnoticed;
        } else {
            ASSERT_EQ(changed.size(), 1U) << names(changed);
            ASSERT_TRUE(changed[0].name.starts_with(std::string(name) + ".")) << changed[0].name;
            ASSERT_EQ(get(ctx, again.get()), 0);
            ASSERT_EQ(reinterpret_cast<unsigned char*>(again.get())[i], bytes[i]);
        }
        bytes[i] ^= 1;
    }
    EXPECT_EQ(unnoticed, padding);
    EXPECT_TRUE(changes(other_before, snapshot(other)).empty());
    reset();
}

TEST_F(Engine, GoRoundWithEveryFieldInTheTable)
{
#define ISP_MODULE(name, Block, padding, get, set, ...) check_block(#name, padding, get, set);
#include "engine/modules.def"
}

// ---- Exposure -----------------------------------------------------------------------------------------------------

void run_frames(int frames)
{
    for (int i = 0; i < frames; ++i) {
        run_frame(1.0 / 30);
    }
}

std::vector<float> values(const rk_aiq_wb_gain_t& gain)
{
    return {gain.rgain, gain.grgain, gain.gbgain, gain.bgain};
}

template <typename Block, typename Change>
void change(const rk_aiq_sys_ctx_t* ctx, Change changed)
{
    auto block = peek<Block>(ctx);
    changed(block);
    poke(ctx, block);
}

// Automatic operation between 1/6000 s and 1/30 s, gain 1 to 22.
rk_aiq_sys_ctx_t* make_exposing(CalibDb_FlickerFreqV2_t flicker)
{
    rk_aiq_sys_ctx_t* const ctx = make_running(0);
    change<Uapi_ExpSwAttrV2_t>(ctx, [flicker](auto& ae) {
        ae.stAuto.stAntiFlicker.enable = flicker != AECV2_FLICKER_FREQUENCY_OFF;
        ae.stAuto.stAntiFlicker.Frequency = flicker;
        ae.stAuto.stFrmRate.FpsValue = 30.0F;
        ae.stAdvanced.SetAeRangeEn = true;
        ae.stAdvanced.SetLinAeRange.stExpTimeRange = {1.0F / 6000, 1.0F / 30};
        std::ranges::fill(ae.GridWeights.uCoeff, uint8_t{1});
    });
    change<Uapi_LinExpAttrV2_t>(ctx, [](auto& lin) { lin.Params.Evbias = 0.0F; });
    poke(ctx, paRange_t{22.0F, 1.0F});
    return ctx;
}

TEST_F(Engine, ConvergesWithinItsRanges)
{
    constexpr auto kOff = AECV2_FLICKER_FREQUENCY_OFF;
    constexpr auto k50 = AECV2_FLICKER_FREQUENCY_50HZ;
    constexpr auto k60 = AECV2_FLICKER_FREQUENCY_60HZ;
    const struct {
        double luminance;
        CalibDb_FlickerFreqV2_t flicker;
        int ends;          // 0: on target, -1: dark, 1: bright
        double time, gain; // 0: any
    } cases[] = {
        {1.0, kOff, -1, 1.0 / 30, 22.0},  {10.0, kOff, 0, 1.0 / 30, 0.0},      {100.0, kOff, 0, 0.0, 1.0},
        {5000.0, kOff, 0, 0.0, 1.0},      {50000.0, kOff, 1, 1.0 / 6000, 1.0}, {10.0, k50, 0, 0.03, 0.0},
        {80.0, k50, 0, 0.02, 0.0},        {2000.0, k50, 1, 0.01, 1.0},         {90.0, k60, 0, 2.0 / 120, 0.0},
        {2000.0, k60, 1, 1.0 / 120, 1.0},
    };
    for (const auto& [luminance, flicker, ends, time, gain] : cases) {
        SCOPED_TRACE(testing::Message() << luminance << " cd/m2, flicker " << flicker);
        reset();
        rk_aiq_sys_ctx_t* const ctx = make_exposing(flicker);
        set_luminance(0, luminance);
        std::vector<double> errors;
        while (errors.size() < 60 && (errors.empty() || !readings(0).converged)) {
            run_frames(1);
            errors.push_back(std::abs(readings(0).mean_luma - 60.0));
        }
        EXPECT_TRUE(std::is_sorted(errors.rbegin(), errors.rend())) << "closer in every frame, no swinging";
        EXPECT_TRUE(ends != 0 || errors.size() > 3) << "no jump";
        run_frames(60);
        const Readings settled = readings(0);
        run_frames(30);
        const Readings reached = readings(0);
        EXPECT_NEAR(reached.time * reached.analog_gain, settled.time * settled.analog_gain, 1.0e-6) << "stands still";
        EXPECT_TRUE(reached.converged);
        const double error = reached.mean_luma - 60.0;
        EXPECT_TRUE(ends == 0 ? std::abs(error) < 0.5 : error * ends > 10.0) << reached.mean_luma;
        EXPECT_TRUE(time == 0.0 || static_cast<float>(reached.time) == static_cast<float>(time)) << reached.time;
        const double total = reached.analog_gain * reached.isp_dgain;
        EXPECT_TRUE(gain == 0.0 || static_cast<float>(total) == static_cast<float>(gain)) << total;
        EXPECT_LE(reached.analog_gain, 16.0);
        Uapi_ExpQueryInfo_t info{};
        ASSERT_EQ(rk_aiq_user_api2_ae_queryExpResInfo(ctx, &info), 0);
        EXPECT_EQ(info.LinAeInfo.LinearExp.integration_time, static_cast<float>(reached.time));
        EXPECT_EQ(info.LinAeInfo.MeanLuma, static_cast<float>(reached.mean_luma));
        EXPECT_EQ(info.IsExpMax, ends == -1);
    }
}

// ---- White balance ------------------------------------------------------------------------------------------------

TEST_F(Engine, ConvergesToTheIlluminant)
{
    rk_aiq_sys_ctx_t* const ctx = make_running(0);
    double last_ratio = 0.0;
    for (const double kelvin : {2500.0, 4000.0, 5000.0, 6500.0, 8000.0}) {
        set_illuminant(0, kelvin);
        run_frame(1.0 / 30);
        EXPECT_FALSE(readings(0).wb_converged) << kelvin;
        run_frames(60);
        const Readings reached = readings(0);
        EXPECT_TRUE(reached.wb_converged) << kelvin;
        EXPECT_EQ(reached.kelvin, kelvin);
        EXPECT_EQ(reached.wb_gain.grgain, 1.0F);
        EXPECT_EQ(values(reached.wb_gain), values(reached.neutral_gain));
        const double ratio = static_cast<double>(reached.wb_gain.rgain) / reached.wb_gain.bgain;
        EXPECT_GT(ratio, last_ratio) << "bluer light takes more red and less blue";
        last_ratio = ratio;
    }
    rk_aiq_wb_querry_info_t info{};
    ASSERT_EQ(rk_aiq_user_api2_awb_QueryWBInfo(ctx, &info), 0);
    EXPECT_EQ(values(info.gain), values(readings(0).wb_gain));
    EXPECT_TRUE(info.awbConverged);
    EXPECT_EQ(info.cctGloabl.CCT, 8000.0F);
    for (const char* name : {"A", "TL84", "D50", "D65"}) {
        EXPECT_TRUE(set_illuminant(0, name));
    }
    EXPECT_FALSE(set_illuminant(0, "CWF"));
    EXPECT_EQ(readings(0).kelvin, 6504.0);
}

} // namespace
