// The simulated engine: life of contexts, attribute blocks, recorder and faults, exposure and white balance.
#include "base/calls.h"
#include "engine/engine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <functional>
#include <memory>
#include <set>
#include <thread>

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
        sim::clear_faults();
    }
    ~Engine() override
    {
        sim::stop_recording();
        sim::clear_faults();
    }
};
using EngineLife = Engine;
using EngineBlocks = Engine;
using EngineCalls = Engine;
using EngineExposure = Engine;
using EngineWhiteBalance = Engine;

std::string texts(const std::vector<FieldText>& fields)
{
    std::string text;
    for (const FieldText& field : fields) {
        text += field.name + "=" + field.value + "\n";
    }
    return text;
}

// ---- Life ---------------------------------------------------------------------------------------------------------

TEST_F(EngineLife, CameraFromInitToRelease)
{
    ASSERT_EQ(rk_aiq_uapi2_sysctl_preInit_scene("sim_sensor_3", "hdr", "day"), 0);
    rk_aiq_sys_ctx_t* const ctx = make(3);
    EXPECT_EQ(life(ctx), Life::initialised);
    EXPECT_EQ(rk_aiq_uapi2_sysctl_prepare(ctx, 0, 0, RK_AIQ_WORKING_MODE_ISP_HDR2), 0);
    EXPECT_EQ(life(ctx), Life::prepared);
    EXPECT_EQ(rk_aiq_uapi2_sysctl_start(ctx), 0);
    EXPECT_EQ(life(ctx), Life::running);
    char directory[] = "/other";
    EXPECT_EQ(rk_aiq_uapi2_sysctl_updateIq(ctx, directory), 0);
    EXPECT_EQ(rk_aiq_uapi2_sysctl_stop(ctx, false), 0);
    EXPECT_EQ(rk_aiq_uapi2_sysctl_stop(ctx, false), 0) << "a stopped engine is stopped again without harm";
    EXPECT_EQ(life(ctx), Life::stopped);
    EXPECT_EQ(rk_aiq_uapi2_sysctl_start(ctx), 0);
    EXPECT_EQ(rk_aiq_uapi2_sysctl_stop(ctx, false), 0);

    const Configuration made = configuration(ctx);
    EXPECT_EQ(made.sensors, std::vector{3});
    EXPECT_EQ(made.iq_directory, "/other");
    EXPECT_EQ(made.main_scene + "/" + made.sub_scene, "hdr/day");
    EXPECT_EQ(made.mode, RK_AIQ_WORKING_MODE_ISP_HDR2);

    EXPECT_EQ(live_contexts(), 1);
    rk_aiq_uapi2_sysctl_deinit(ctx);
    EXPECT_EQ(life(ctx), Life::released);
    EXPECT_EQ(live_contexts(), 0);
    EXPECT_EQ(misuses(), std::vector<std::string>{});
}

TEST_F(EngineLife, GroupFromCreateToDestroyTakesModuleCalls)
{
    rk_aiq_camgroup_ctx_t* const group = make_group({"sim_sensor_2", "sim_sensor_5"});
    ASSERT_NE(group, nullptr);
    EXPECT_EQ(configuration(group).sensors, (std::vector{2, 5}));
    EXPECT_EQ(configuration(group).iq_directory, "/iq");
    EXPECT_EQ(rk_aiq_uapi2_camgroup_prepare(group, RK_AIQ_WORKING_MODE_NORMAL), 0);
    EXPECT_EQ(rk_aiq_uapi2_camgroup_start(group), 0);

    acp_attrib_t acp{};
    EXPECT_EQ(rk_aiq_user_api2_acp_GetAttrib(as_camera(group), &acp), 0);
    acp.hue = 99;
    EXPECT_EQ(rk_aiq_user_api2_acp_SetAttrib(as_camera(group), &acp), 0);
    EXPECT_EQ(peek<acp_attrib_t>(group).hue, 99);

    EXPECT_EQ(rk_aiq_uapi2_camgroup_stop(group), 0);
    EXPECT_EQ(rk_aiq_uapi2_camgroup_start(group), 0);
    EXPECT_EQ(rk_aiq_uapi2_camgroup_stop(group), 0);
    EXPECT_EQ(rk_aiq_uapi2_camgroup_destroy(group), 0);
    EXPECT_EQ(life(group), Life::released);
    EXPECT_EQ(misuses(), std::vector<std::string>{});
}

TEST_F(EngineLife, MisuseIsAnsweredAndNoted)
{
    struct Case {
        const char* what;
        std::function<int()> use;
        int result;
        const char* noted;
    };
    acp_attrib_t acp{};
    int outside = 0;
    const Case cases[] = {
        {"start before prepare", [] { return rk_aiq_uapi2_sysctl_start(make(0)); }, XCAM_RETURN_ERROR_ORDER,
         "rk_aiq_uapi2_sysctl_start: out of order, sensor 0 is initialised"},
        {"start twice", [] { return rk_aiq_uapi2_sysctl_start(make_running(0)); }, XCAM_RETURN_ERROR_ORDER,
         "rk_aiq_uapi2_sysctl_start: out of order, sensor 0 is running"},
        {"prepare while running",
         [] { return rk_aiq_uapi2_sysctl_prepare(make_running(0), 0, 0, RK_AIQ_WORKING_MODE_NORMAL); },
         XCAM_RETURN_ERROR_ORDER, "rk_aiq_uapi2_sysctl_prepare: out of order, sensor 0 is running"},
        {"release while running",
         [] {
             rk_aiq_sys_ctx_t* const ctx = make_running(0);
             rk_aiq_uapi2_sysctl_deinit(ctx);
             return static_cast<int>(life(ctx));
         },
         static_cast<int>(Life::released), "rk_aiq_uapi2_sysctl_deinit: out of order, sensor 0 is running"},
        {"release twice",
         [] {
             rk_aiq_camgroup_ctx_t* const group = make_group({"sim_sensor_1"});
             rk_aiq_uapi2_camgroup_destroy(group);
             return static_cast<int>(rk_aiq_uapi2_camgroup_destroy(group));
         },
         XCAM_RETURN_ERROR_PARAM, "rk_aiq_uapi2_camgroup_destroy: released twice, the group of sensor 1"},
        {"use after release",
         [&] {
             rk_aiq_sys_ctx_t* const ctx = make(4);
             rk_aiq_uapi2_sysctl_deinit(ctx);
             return static_cast<int>(rk_aiq_user_api2_acp_GetAttrib(ctx, &acp));
         },
         XCAM_RETURN_ERROR_PARAM, "rk_aiq_user_api2_acp_GetAttrib: use after release, sensor 4"},
        {"null context", [&] { return rk_aiq_user_api2_acp_SetAttrib(nullptr, &acp); }, XCAM_RETURN_ERROR_PARAM,
         "rk_aiq_user_api2_acp_SetAttrib: null context"},
        {"unknown context",
         [&] { return rk_aiq_user_api2_acp_SetAttrib(reinterpret_cast<rk_aiq_sys_ctx_t*>(&outside), &acp); },
         XCAM_RETURN_ERROR_PARAM, "rk_aiq_user_api2_acp_SetAttrib: unknown context"},
        {"pointer into a context",
         [&] {
             return rk_aiq_user_api2_acp_SetAttrib(
                 reinterpret_cast<rk_aiq_sys_ctx_t*>(reinterpret_cast<char*>(make(0)) + 64), &acp);
         },
         XCAM_RETURN_ERROR_PARAM, "rk_aiq_user_api2_acp_SetAttrib: unknown context"},
        {"null block", [] { return rk_aiq_user_api2_ae_getExpSwAttr(make(0), nullptr); }, XCAM_RETURN_ERROR_PARAM,
         "rk_aiq_user_api2_ae_getExpSwAttr: null block"},
        {"a group as a camera",
         [] {
             return rk_aiq_uapi2_sysctl_stop(
                 reinterpret_cast<rk_aiq_sys_ctx_t*>(make_group({"sim_sensor_0", "sim_sensor_1"})), false);
         },
         XCAM_RETURN_ERROR_PARAM, "rk_aiq_uapi2_sysctl_stop: a group's context, not a camera's"},
        {"a second context",
         [] {
             make(6);
             return make(6) != nullptr ? 1 : 0;
         },
         1, "rk_aiq_uapi2_sysctl_init: sensor 6 has a context already"},
        {"too large a group", [] { return make_group(std::vector<const char*>(8, "sim_sensor_0")) == nullptr ? 1 : 0; },
         1, "rk_aiq_uapi2_camgroup_create: bad configuration"},
    };
    for (const Case& c : cases) {
        reset();
        EXPECT_EQ(c.use(), c.result) << c.what;
        EXPECT_EQ(misuses(), std::vector<std::string>{c.noted}) << c.what;
    }

    reset();
    for (int i = 0; i < 3; ++i) {
        rk_aiq_user_api2_acp_SetAttrib(nullptr, &acp);
    }
    EXPECT_EQ(misuses(), std::vector<std::string>{"rk_aiq_user_api2_acp_SetAttrib: null context (3 times)"});
}

TEST_F(EngineLife, SensorsThatAreNotThere)
{
    set_sensor_present(2, false);
    rk_aiq_static_info_t info{};
    EXPECT_EQ(rk_aiq_uapi2_sysctl_enumStaticMetas(2, &info), 0);
    EXPECT_EQ(info.sensor_info.phyId, -1);
    EXPECT_EQ(rk_aiq_uapi2_sysctl_enumStaticMetas(1, &info), 0);
    EXPECT_EQ(info.sensor_info.phyId, 1);
    EXPECT_STREQ(info.sensor_info.sensor_name, "sim_sensor_1");
    for (const int index : {-1, kSensors}) {
        EXPECT_NE(rk_aiq_uapi2_sysctl_enumStaticMetas(index, &info), 0);
        EXPECT_EQ(info.sensor_info.phyId, -1);
    }
    EXPECT_EQ(make(2), nullptr);
    EXPECT_EQ(make(kSensors), nullptr);
    EXPECT_EQ(make_group({"sim_sensor_1", "sim_sensor_2"}), nullptr);
    EXPECT_LT(rk_aiq_uapi2_sysctl_preInit_scene("elsewhere", "normal", "day"), 0);
    EXPECT_EQ(live_contexts(), 0);
}

TEST_F(EngineLife, ManyStartsLeaveReleasedContextsRecognisable)
{
    rk_aiq_sys_ctx_t* released = nullptr;
    acp_attrib_t changed{};
    changed.hue = 200;
    for (int i = 0; i < 10'000; ++i) {
        rk_aiq_sys_ctx_t* const ctx = make_running(0);
        ASSERT_NE(ctx, released);
        ASSERT_EQ(peek<acp_attrib_t>(ctx).hue, initial<acp_attrib_t>().hue) << "a new context starts afresh";
        poke(ctx, changed);
        rk_aiq_uapi2_sysctl_stop(ctx, false);
        rk_aiq_uapi2_sysctl_deinit(ctx);
        released = ctx;
    }
    EXPECT_EQ(misuses(), std::vector<std::string>{});
    for (int sensor = 0; sensor < kSensors; ++sensor) {
        make(sensor);
    }
    EXPECT_EQ(life(released), Life::released);
}

TEST_F(EngineLife, StartsFramesAndCallsAtOnce)
{
    std::atomic<bool> stop{false};
    std::atomic<const rk_aiq_sys_ctx_t*> latest{nullptr};
    std::thread frames([&] {
        while (!stop) {
            run_frame(0.01);
            set_scene(0, 50.0);
            (void)live(0);
            std::this_thread::sleep_for(std::chrono::microseconds(100)); // lets the starts have the locks
        }
    });
    std::thread caller([&] {
        acp_attrib_t acp{};
        while (!stop) {
            rk_aiq_user_api2_acp_GetAttrib(latest, &acp); // released at times: refused, never a crash
            (void)life(latest);
        }
    });
    for (int i = 0; i < 60; ++i) {
        rk_aiq_sys_ctx_t* const ctx = make_running(i % kSensors);
        latest = ctx;
        std::this_thread::yield();
        rk_aiq_uapi2_sysctl_stop(ctx, false);
        rk_aiq_uapi2_sysctl_deinit(ctx);
    }
    stop = true;
    frames.join();
    caller.join();
    EXPECT_EQ(live_contexts(), 0);
    for (const std::string& line : misuses()) {
        EXPECT_TRUE(line.starts_with("rk_aiq_user_api2_acp_GetAttrib: ")) << line;
    }
}

// ---- Blocks -------------------------------------------------------------------------------------------------------

// Get returns what a context starts with; Set changes that block, and nothing else.
template <typename Block, typename Get, typename Set>
void round_trip(const char* name, Get get, Set set)
{
    SCOPED_TRACE(name);
    rk_aiq_sys_ctx_t* const ctx = make(0);
    rk_aiq_sys_ctx_t* const other = make(1);
    const Snapshot other_before = snapshot(other);
    const auto block = std::make_unique<Block>();
    ASSERT_EQ(get(ctx, block.get()), 0);
    const std::string untouched = texts(describe(ctx, name));
    EXPECT_FALSE(untouched.empty());

    const Snapshot before = snapshot(ctx);
    auto* const bytes = reinterpret_cast<unsigned char*>(block.get());
    bytes[2] ^= 1; // of the sync mode or a float
    ASSERT_EQ(set(ctx, block.get()), 0);
    const std::vector<FieldText> changed = changes(before, snapshot(ctx));
    ASSERT_EQ(changed.size(), 1U) << texts(changed);
    EXPECT_TRUE(changed[0].name.starts_with(std::string(name) + ".")) << changed[0].name;

    const auto again = std::make_unique<Block>();
    ASSERT_EQ(get(ctx, again.get()), 0);
    EXPECT_EQ(reinterpret_cast<unsigned char*>(again.get())[2], bytes[2]);
    EXPECT_NE(texts(describe(ctx, name)), untouched);
    EXPECT_TRUE(changes(other_before, snapshot(other)).empty());
    rk_aiq_uapi2_sysctl_deinit(ctx);
    rk_aiq_uapi2_sysctl_deinit(other);
}

template <typename Block, typename Get, typename Set>
void round_trip_by_value(const char* name, Get get, Set set)
{
    round_trip<Block>(name, get, [set](const rk_aiq_sys_ctx_t* ctx, const Block* block) { return set(ctx, *block); });
}

TEST_F(EngineBlocks, RoundTrip)
{
    round_trip_by_value<Uapi_ExpSwAttrV2_t>("ae", rk_aiq_user_api2_ae_getExpSwAttr, rk_aiq_user_api2_ae_setExpSwAttr);
    round_trip_by_value<Uapi_LinExpAttrV2_t>("lin_ae", rk_aiq_user_api2_ae_getLinExpAttr,
                                             rk_aiq_user_api2_ae_setLinExpAttr);
    round_trip<paRange_t>("gain_range", rk_aiq_uapi2_getExpGainRange, rk_aiq_uapi2_setExpGainRange);
    round_trip_by_value<rk_aiq_uapiV2_wb_opMode_t>("wb_mode", rk_aiq_user_api2_awb_GetWpModeAttrib,
                                                   rk_aiq_user_api2_awb_SetWpModeAttrib);
    round_trip_by_value<rk_aiq_wb_mwb_attrib_t>("wb_manual", rk_aiq_user_api2_awb_GetMwbAttrib,
                                                rk_aiq_user_api2_awb_SetMwbAttrib);
    round_trip_by_value<rk_aiq_uapiV2_wb_awb_wbGainOffset_t>("wb_offset", rk_aiq_uapi2_getAwbGainOffsetAttrib,
                                                             rk_aiq_uapi2_setAwbGainOffsetAttrib);
    round_trip<acp_attrib_t>("acp", rk_aiq_user_api2_acp_GetAttrib, rk_aiq_user_api2_acp_SetAttrib);
    round_trip<rk_aiq_sharp_attrib_v4_t>("sharp", rk_aiq_user_api2_asharpV4_GetAttrib,
                                         rk_aiq_user_api2_asharpV4_SetAttrib);
    round_trip_by_value<rk_aiq_gamma_attrib_V2_t>("gamma", rk_aiq_user_api2_agamma_GetAttrib,
                                                  rk_aiq_user_api2_agamma_SetAttrib);
    round_trip_by_value<drc_attrib_t>("drc", rk_aiq_user_api2_adrc_GetAttrib, rk_aiq_user_api2_adrc_SetAttrib);
    round_trip_by_value<rk_aiq_lsc_attrib_t>("lsc", rk_aiq_user_api2_alsc_GetAttrib, rk_aiq_user_api2_alsc_SetAttrib);
    round_trip<rk_aiq_bayer2dnr_attrib_v2_t>("nr2d", rk_aiq_user_api2_abayer2dnrV2_GetAttrib,
                                             rk_aiq_user_api2_abayer2dnrV2_SetAttrib);
    round_trip<rk_aiq_bayertnr_attrib_v2_t>("nr3d", rk_aiq_user_api2_abayertnrV2_GetAttrib,
                                            rk_aiq_user_api2_abayertnrV2_SetAttrib);
    round_trip<rk_aiq_uapi_acsm_attrib_t>("csm", rk_aiq_user_api2_acsm_GetAttrib, rk_aiq_user_api2_acsm_SetAttrib);
    EXPECT_EQ(misuses(), std::vector<std::string>{});
}

// Any changed byte must show as a changed field, but for `padding` bytes: a field that is missing in the engine's table
// makes it more. The grids of the shading block are sampled.
template <typename Block>
void every_byte_shows(const char* name, std::size_t padding)
{
    using Lsc = rk_aiq_lsc_attrib_t;
    constexpr bool kLsc = std::is_same_v<Block, Lsc>;
    constexpr bool kTable = std::is_same_v<Block, Uapi_LinExpAttrV2_t>; // ends with a pointer that stays the engine's
    const auto sampled = [](std::size_t i) {
        return kLsc && ((i >= offsetof(Lsc, stManual) && i < offsetof(Lsc, stAuto) - 97) ||
                        (i >= offsetof(Lsc, stAuto.tbl.tableAll[0].lsc_samples_red) &&
                         i < offsetof(Lsc, stAuto.tbl.tableAll_len) - 97));
    };
    rk_aiq_sys_ctx_t* const ctx = make(0);
    const auto block = std::make_unique<Block>(peek<Block>(ctx));
    const Snapshot before = snapshot(ctx);
    auto* const bytes = reinterpret_cast<unsigned char*>(block.get());
    std::size_t unnoticed = 0;
    for (std::size_t i = 0; i < sizeof(Block) - (kTable ? sizeof(float*) : 0); i += sampled(i) ? 97 : 1) {
        bytes[i] ^= 1;
        poke(ctx, *block);
        unnoticed += changes(before, snapshot(ctx)).empty() ? 1U : 0U;
        bytes[i] ^= 1;
    }
    EXPECT_EQ(unnoticed, padding) << name;
    rk_aiq_uapi2_sysctl_deinit(ctx);
}

TEST_F(EngineBlocks, EveryFieldIsInTheTable)
{
    every_byte_shows<Uapi_ExpSwAttrV2_t>("ae", 20);
    every_byte_shows<Uapi_LinExpAttrV2_t>("lin_ae", 11);
    every_byte_shows<paRange_t>("gain_range", 0);
    every_byte_shows<rk_aiq_uapiV2_wb_opMode_t>("wb_mode", 3);
    every_byte_shows<rk_aiq_wb_mwb_attrib_t>("wb_manual", 3);
    every_byte_shows<rk_aiq_uapiV2_wb_awb_wbGainOffset_t>("wb_offset", 6);
    every_byte_shows<acp_attrib_t>("acp", 3);
    every_byte_shows<rk_aiq_sharp_attrib_v4_t>("sharp", 3);
    every_byte_shows<rk_aiq_gamma_attrib_V2_t>("gamma", 9);
    every_byte_shows<drc_attrib_t>("drc", 6);
    every_byte_shows<rk_aiq_lsc_attrib_t>("lsc", 12);
    every_byte_shows<rk_aiq_bayer2dnr_attrib_v2_t>("nr2d", 3);
    every_byte_shows<rk_aiq_bayertnr_attrib_v2_t>("nr3d", 3);
    every_byte_shows<rk_aiq_uapi_acsm_attrib_t>("csm", 6);
}

TEST_F(EngineBlocks, ArrayElementsStartDifferent)
{
    const auto distinct = [](const auto& array) {
        return std::set(std::begin(array), std::end(array)).size() == std::size(array);
    };
    EXPECT_TRUE(distinct(initial<Uapi_ExpSwAttrV2_t>().GridWeights.uCoeff));
    EXPECT_TRUE(distinct(initial<rk_aiq_gamma_attrib_V2_t>().atrrV30.stManual.Gamma_curve));
    EXPECT_TRUE(distinct(initial<rk_aiq_uapi_acsm_attrib_t>().param.coeff));
    const auto lsc = std::make_unique<rk_aiq_lsc_attrib_t>(initial<rk_aiq_lsc_attrib_t>());
    std::set<uint16_t> samples;
    std::set<std::string> names;
    for (const lsc_table_t& table : lsc->stAuto.tbl.tableAll) {
        for (const lsc_matrix_t* grid :
             {&table.lsc_samples_red, &table.lsc_samples_greenR, &table.lsc_samples_greenB, &table.lsc_samples_blue}) {
            samples.insert(std::begin(grid->uCoeff), std::end(grid->uCoeff));
        }
        names.insert({table.name, table.resolution, table.illumination});
    }
    EXPECT_EQ(samples.size(), std::size_t{RK_AIQ_LSC_TABLES_MAX * 4 * RK_AIQ_LSC_GRID_POINTS});
    EXPECT_EQ(names.size(), std::size_t{RK_AIQ_LSC_TABLES_MAX * 3});
}

TEST_F(EngineBlocks, DescriptionMergesEqualElements)
{
    rk_aiq_sys_ctx_t* const ctx = make(0);
    auto sharp = peek<rk_aiq_sharp_attrib_v4_t>(ctx);
    float* const ratio = sharp.stAuto.stParams.sharp_ratio;
    std::fill_n(ratio, RK_AIQ_ISO_STEPS, 3.5F);
    const Snapshot before = snapshot(ctx);
    poke(ctx, sharp);
    EXPECT_EQ(texts(changes(before, snapshot(ctx))), "sharp.stAuto.stParams.sharp_ratio[0..12]=3.5\n");

    const Snapshot flat = snapshot(ctx);
    std::fill_n(ratio + 4, 2, 6.0F);
    ratio[12] = 0.25F;
    poke(ctx, sharp);
    EXPECT_EQ(texts(changes(flat, snapshot(ctx))), "sharp.stAuto.stParams.sharp_ratio[4..5]=6\n"
                                                   "sharp.stAuto.stParams.sharp_ratio[12]=0.25\n");
    EXPECT_EQ(texts(describe(ctx, "gain_range")), "max=15.5\nmin=1\n");
    EXPECT_TRUE(describe(ctx, "none").empty());
    EXPECT_TRUE(describe(&sharp, "acp").empty());
}

TEST_F(EngineBlocks, SetPointsStayTheEngines)
{
    rk_aiq_sys_ctx_t* const ctx = make(0);
    Uapi_LinExpAttrV2_t attr{};
    ASSERT_EQ(rk_aiq_user_api2_ae_getLinExpAttr(ctx, &attr), 0);
    ASSERT_EQ(attr.Params.DySetpoint.DySetpoint[0], 60.0F);
    float* const own = attr.Params.DySetpoint.DySetpoint;
    float given[] = {80.0F, 70.0F};
    attr.Params.DySetpoint = {2, given};
    ASSERT_EQ(rk_aiq_user_api2_ae_setLinExpAttr(ctx, attr), 0);
    given[0] = 0.0F;
    ASSERT_EQ(rk_aiq_user_api2_ae_getLinExpAttr(ctx, &attr), 0);
    EXPECT_EQ(attr.Params.DySetpoint.DySetpoint, own);
    EXPECT_EQ(own[0], 80.0F);
    EXPECT_NE(peek<Uapi_LinExpAttrV2_t>(make(1)).Params.DySetpoint.DySetpoint, own);
}

TEST_F(EngineBlocks, ConcurrentSetsNeverTear)
{
    rk_aiq_sys_ctx_t* const ctx = make(0);
    const auto write = [&](uint8_t value) {
        const acp_attrib_t block{{RK_AIQ_UAPI_MODE_SYNC, true}, value, value, value, value};
        for (int i = 0; i < 3000; ++i) {
            rk_aiq_user_api2_acp_SetAttrib(ctx, &block);
        }
    };
    write(1);
    std::thread one(write, uint8_t{1});
    std::thread two(write, uint8_t{2});
    int torn = 0;
    for (int i = 0; i < 3000; ++i) {
        acp_attrib_t block{};
        rk_aiq_user_api2_acp_GetAttrib(ctx, &block);
        torn += block.brightness == block.hue && block.contrast == block.saturation ? 0 : 1;
    }
    one.join();
    two.join();
    EXPECT_EQ(torn, 0);
}

// ---- Recorder and faults ------------------------------------------------------------------------------------------

TEST_F(EngineCalls, AreRecordedInOrder)
{
    rk_aiq_sys_ctx_t* const before = make(7);
    sim::start_recording();
    rk_aiq_static_info_t info{};
    rk_aiq_uapi2_sysctl_enumStaticMetas(2, &info);
    rk_aiq_sys_ctx_t* const ctx = make(2);
    rk_aiq_uapi2_sysctl_prepare(ctx, 0, 0, RK_AIQ_WORKING_MODE_ISP_HDR2);
    const rk_aiq_camgroup_ctx_t* const group = make_group({"sim_sensor_5", "sim_sensor_6"});
    acp_attrib_t acp{};
    rk_aiq_user_api2_acp_GetAttrib(as_camera(group), &acp);
    rk_aiq_user_api2_acp_GetAttrib(nullptr, &acp);
    sim::stop_recording();
    rk_aiq_uapi2_sysctl_deinit(before);
    EXPECT_EQ(sim::recorded_calls(),
              (std::vector<sim::Call>{{"rk_aiq_uapi2_sysctl_enumStaticMetas", 2, 0},
                                      {"rk_aiq_uapi2_sysctl_init", -1, 0},
                                      {"rk_aiq_uapi2_sysctl_prepare", 2, RK_AIQ_WORKING_MODE_ISP_HDR2},
                                      {"rk_aiq_uapi2_camgroup_create", -1, 0},
                                      {"rk_aiq_user_api2_acp_GetAttrib", 5, 0},
                                      {"rk_aiq_user_api2_acp_GetAttrib", -1, 0}}));
    sim::start_recording();
    EXPECT_TRUE(sim::recorded_calls().empty());
}

TEST_F(EngineCalls, FailAsInjected)
{
    rk_aiq_sys_ctx_t* const ctx = make_running(0);
    acp_attrib_t acp{};
    const auto get = [&] { return static_cast<int>(rk_aiq_user_api2_acp_GetAttrib(ctx, &acp)); };
    sim::inject_fault("rk_aiq_user_api2_acp_GetAttrib", 2, -7);
    EXPECT_EQ(get(), 0);
    const acp_attrib_t untouched = acp;
    acp.hue = 1;
    EXPECT_EQ(get(), -7);
    EXPECT_EQ(acp.hue, 1) << "a failing Get leaves the block";
    EXPECT_EQ(get(), 0);
    EXPECT_EQ(acp.hue, untouched.hue);
    EXPECT_EQ(sim::faults_struck(), 1);

    sim::inject_fault("rk_aiq_user_api2_acp_SetAttrib", 1, -8, true);
    acp.hue = 222;
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(rk_aiq_user_api2_acp_SetAttrib(ctx, &acp), -8);
    }
    EXPECT_EQ(peek<acp_attrib_t>(ctx).hue, untouched.hue) << "a failing Set changes nothing";
    EXPECT_EQ(sim::faults_struck(), 4);

    sim::clear_faults();
    EXPECT_EQ(sim::faults_struck(), 0);
    EXPECT_EQ(rk_aiq_user_api2_acp_SetAttrib(ctx, &acp), 0);
    sim::inject_fault("rk_aiq_uapi2_sysctl_init", 1, -1);
    sim::inject_fault("rk_aiq_uapi2_camgroup_create", 1, -1);
    sim::inject_fault("rk_aiq_uapi2_sysctl_stop", 1, -9);
    sim::inject_fault("rk_aiq_uapi2_sysctl_deinit", 1, -1);
    EXPECT_EQ(make(1), nullptr);
    EXPECT_EQ(make_group({"sim_sensor_1"}), nullptr);
    EXPECT_EQ(rk_aiq_uapi2_sysctl_stop(ctx, false), -9);
    EXPECT_EQ(life(ctx), Life::running);
    EXPECT_EQ(rk_aiq_uapi2_sysctl_stop(ctx, false), 0);
    rk_aiq_uapi2_sysctl_deinit(ctx);
    EXPECT_EQ(life(ctx), Life::released) << "a release ignores its fault";
}

// ---- Exposure -----------------------------------------------------------------------------------------------------

void run_frames(int frames)
{
    for (int i = 0; i < frames; ++i) {
        run_frame(1.0 / 30);
    }
}

// Automatic operation between 1/6000 s and 1/30 s, gain 1 to `gain_max`.
rk_aiq_sys_ctx_t* make_exposing(CalibDb_FlickerFreqV2_t flicker, float gain_max)
{
    rk_aiq_sys_ctx_t* const ctx = make_running(0);
    auto ae = peek<Uapi_ExpSwAttrV2_t>(ctx);
    ae.stAuto.stAntiFlicker.enable = flicker != AECV2_FLICKER_FREQUENCY_OFF;
    ae.stAuto.stAntiFlicker.Frequency = flicker;
    ae.stAuto.stFrmRate.FpsValue = 30.0F;
    ae.stAdvanced.SetAeRangeEn = true;
    ae.stAdvanced.SetLinAeRange.stExpTimeRange = {1.0F / 6000, 1.0F / 30};
    std::fill(std::begin(ae.GridWeights.uCoeff), std::end(ae.GridWeights.uCoeff), uint8_t{1});
    poke(ctx, ae);
    auto lin = peek<Uapi_LinExpAttrV2_t>(ctx);
    lin.Params.Evbias = 0.0F;
    poke(ctx, lin);
    poke(ctx, paRange_t{gain_max, 1.0F});
    return ctx;
}

TEST_F(EngineExposure, ConvergesWithinItsRanges)
{
    enum class Ends { on_target, dark, bright };
    struct Case {
        double luminance;
        CalibDb_FlickerFreqV2_t flicker;
        Ends ends;
        double time; // 0: any
        double gain;
    };
    constexpr auto kOff = AECV2_FLICKER_FREQUENCY_OFF;
    constexpr auto k50 = AECV2_FLICKER_FREQUENCY_50HZ;
    constexpr auto k60 = AECV2_FLICKER_FREQUENCY_60HZ;
    const Case cases[] = {
        {1.0, kOff, Ends::dark, 1.0 / 30, 22.0},                                                // everything open
        {10.0, kOff, Ends::on_target, 1.0 / 30, 0.0}, {100.0, kOff, Ends::on_target, 0.0, 1.0}, // time alone reaches it
        {5000.0, kOff, Ends::on_target, 0.0, 1.0},    {50000.0, kOff, Ends::bright, 1.0 / 6000, 1.0},
        {10.0, k50, Ends::on_target, 0.03, 0.0},      {80.0, k50, Ends::on_target, 0.02, 0.0},
        {2000.0, k50, Ends::bright, 0.01, 1.0}, // exactly the shortest time that does not flicker
        {90.0, k60, Ends::on_target, 2.0 / 120, 0.0}, {2000.0, k60, Ends::bright, 1.0 / 120, 1.0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.luminance << " cd/m2, flicker " << c.flicker);
        reset();
        rk_aiq_sys_ctx_t* const ctx = make_exposing(c.flicker, 22.0F);
        set_scene(0, c.luminance);
        run_frames(60);
        const Live reached = live(0);
        EXPECT_TRUE(reached.converged);
        EXPECT_EQ(reached.target_luma, 60.0);
        if (c.ends == Ends::on_target) {
            EXPECT_NEAR(reached.mean_luma, 60.0, 0.5);
        } else {
            EXPECT_EQ(reached.mean_luma > 60.0, c.ends == Ends::bright) << reached.mean_luma;
            EXPECT_GT(std::abs(reached.mean_luma - 60.0), 10.0);
        }
        if (c.time > 0.0) {
            EXPECT_EQ(static_cast<float>(reached.time), static_cast<float>(c.time));
        }
        if (c.gain > 0.0) {
            EXPECT_EQ(static_cast<float>(reached.analog_gain * reached.isp_dgain), static_cast<float>(c.gain));
        }
        EXPECT_LE(reached.analog_gain, 16.0);

        Uapi_ExpQueryInfo_t info{};
        ASSERT_EQ(rk_aiq_user_api2_ae_queryExpResInfo(ctx, &info), 0);
        EXPECT_EQ(info.LinAeInfo.LinearExp.integration_time, static_cast<float>(reached.time));
        EXPECT_EQ(info.LinAeInfo.MeanLuma, static_cast<float>(reached.mean_luma));
        EXPECT_EQ(info.IsExpMax, c.ends == Ends::dark);
    }
}

TEST_F(EngineExposure, MovesStepByStepAndThenStandsStill)
{
    rk_aiq_sys_ctx_t* const ctx = make_exposing(AECV2_FLICKER_FREQUENCY_OFF, 22.0F);
    run_frames(60);
    set_scene(0, 400.0);
    std::vector<double> error;
    do {
        run_frame(1.0 / 30);
        error.push_back(std::abs(live(0).mean_luma - 60.0));
    } while (!live(0).converged && error.size() < 60);
    EXPECT_GT(error.size(), 3U) << "no jump";
    EXPECT_TRUE(std::is_sorted(error.rbegin(), error.rend())) << "closer in every frame, no swinging";
    run_frames(30);
    const auto settled = peek<Uapi_ExpQueryInfo_t>(ctx).LinAeInfo.LinearExp;
    run_frames(30);
    const auto later = peek<Uapi_ExpQueryInfo_t>(ctx).LinAeInfo.LinearExp;
    EXPECT_EQ(settled.integration_time, later.integration_time);
    EXPECT_EQ(settled.analog_gain, later.analog_gain);
}

TEST_F(EngineExposure, FollowsBiasApertureMeteringAndFrameRate)
{
    rk_aiq_sys_ctx_t* const ctx = make_exposing(AECV2_FLICKER_FREQUENCY_OFF, 22.0F);
    set_scene(0, 300.0);
    run_frames(60);
    const double time = live(0).time;

    auto lin = peek<Uapi_LinExpAttrV2_t>(ctx);
    lin.Params.Evbias = -100.0F; // one step down
    poke(ctx, lin);
    run_frames(60);
    EXPECT_EQ(live(0).target_luma, 30.0);
    EXPECT_NEAR(live(0).mean_luma, 30.0, 0.5);
    lin.Params.Evbias = 360.0F;
    poke(ctx, lin);
    run_frames(60);
    EXPECT_NEAR(live(0).target_luma, 250.0, 0.0) << "below saturation";
    lin.Params.Evbias = 0.0F;
    poke(ctx, lin);

    set_aperture(0, 0.5);
    run_frames(60);
    EXPECT_NEAR(live(0).time, 2.0 * time, 0.03 * time);
    set_aperture(0, 1.0);

    auto ae = peek<Uapi_ExpSwAttrV2_t>(ctx);
    const auto weigh = [&](int first_row, int last_row) {
        for (int i = 0; i < RK_AIQ_AE_GRID_CELLS; ++i) {
            ae.GridWeights.uCoeff[i] = i / 15 >= first_row && i / 15 <= last_row ? 3 : 0;
        }
        poke(ctx, ae);
        run_frames(60);
        return live(0).time;
    };
    const double top = weigh(0, 5);
    const double bottom = weigh(9, 14);
    EXPECT_LT(top, time) << "the window is in the upper part";
    EXPECT_GT(bottom, time);
    EXPECT_NEAR(weigh(15, 15), time, 0.03 * time) << "no weight at all: the average";

    set_scene(0, 10.0);
    ae.stAuto.stFrmRate.FpsValue = 50.0F;
    poke(ctx, ae);
    run_frames(60);
    EXPECT_FLOAT_EQ(static_cast<float>(live(0).time), 0.02F);
}

TEST_F(EngineExposure, ManualIsObeyedAtOnce)
{
    rk_aiq_sys_ctx_t* const ctx = make_exposing(AECV2_FLICKER_FREQUENCY_50HZ, 4.0F);
    run_frames(30);
    auto ae = peek<Uapi_ExpSwAttrV2_t>(ctx);
    ae.AecOpType = RK_AIQ_OP_MODE_MANUAL;
    ae.stManual.LinearAE = {.ManualTimeEn = true,
                            .ManualGainEn = true,
                            .ManualIspDgainEn = false,
                            .TimeValue = 0.004F,
                            .GainValue = 6.138F,
                            .IspDGainValue = 3.0F};
    poke(ctx, ae);
    run_frame(1.0 / 30);
    Live reached = live(0);
    EXPECT_FALSE(reached.automatic);
    EXPECT_EQ(static_cast<float>(reached.time), 0.004F) << "not held to the mains";
    EXPECT_EQ(static_cast<float>(reached.analog_gain), 6.138F) << "not limited";
    EXPECT_EQ(reached.isp_dgain, 1.0);

    ae.stManual.LinearAE.ManualTimeEn = false;
    ae.stManual.LinearAE.TimeValue = 0.001F;
    ae.stManual.LinearAE.GainValue = 2.0F;
    poke(ctx, ae);
    run_frame(1.0 / 30);
    reached = live(0);
    EXPECT_EQ(static_cast<float>(reached.time), 0.004F) << "a value that is not enabled is left";
    EXPECT_EQ(reached.analog_gain, 2.0);

    ae.AecOpType = RK_AIQ_OP_MODE_AUTO;
    poke(ctx, ae);
    run_frames(60);
    EXPECT_NEAR(live(0).mean_luma, 60.0, 0.5);
}

TEST_F(EngineExposure, RampsRunEvenlyAndOnlyRunningContextsExpose)
{
    rk_aiq_sys_ctx_t* const ctx = make_exposing(AECV2_FLICKER_FREQUENCY_OFF, 22.0F);
    auto ae = peek<Uapi_ExpSwAttrV2_t>(ctx);
    ae.AecOpType = RK_AIQ_OP_MODE_MANUAL;
    ae.stManual.LinearAE.ManualTimeEn = ae.stManual.LinearAE.ManualGainEn = true;
    ae.stManual.LinearAE.TimeValue = 0.005F;
    ae.stManual.LinearAE.GainValue = 1.0F;
    poke(ctx, ae);
    set_scene(0, 300.0, 4.0); // luma 15 to 45
    for (const double luma : {22.5, 30.0, 37.5, 45.0, 45.0}) {
        run_frame(1.0);
        EXPECT_NEAR(live(0).mean_luma, luma, 0.01);
    }
    rk_aiq_uapi2_sysctl_stop(ctx, false);
    set_scene(0, 30.0);
    run_frame(1.0);
    EXPECT_NEAR(live(0).mean_luma, 45.0, 0.01);
}

// ---- White balance ------------------------------------------------------------------------------------------------

TEST_F(EngineWhiteBalance, ConvergesToTheIlluminant)
{
    rk_aiq_sys_ctx_t* const ctx = make_running(0);
    rk_aiq_wb_gain_t last{};
    double last_ratio = 0.0;
    for (const double kelvin : {2500.0, 4000.0, 5000.0, 6500.0, 8000.0}) {
        set_illuminant(0, kelvin);
        run_frame(1.0 / 30);
        EXPECT_FALSE(live(0).wb_converged) << kelvin;
        run_frames(60);
        const Live reached = live(0);
        EXPECT_TRUE(reached.wb_converged) << kelvin;
        EXPECT_EQ(reached.kelvin, kelvin);
        EXPECT_EQ(reached.wb_gain.grgain, 1.0F);
        EXPECT_EQ(reached.wb_gain.rgain, reached.neutral_gain.rgain);
        EXPECT_EQ(reached.wb_gain.bgain, reached.neutral_gain.bgain);
        const double ratio = static_cast<double>(reached.wb_gain.rgain) / reached.wb_gain.bgain;
        EXPECT_GT(ratio, last_ratio) << "bluer light takes more red and less blue";
        last_ratio = ratio;
        run_frames(10);
        last = live(0).wb_gain;
        EXPECT_EQ(last.rgain, reached.wb_gain.rgain) << "settled";
    }
    rk_aiq_wb_querry_info_t info{};
    ASSERT_EQ(rk_aiq_user_api2_awb_QueryWBInfo(ctx, &info), 0);
    EXPECT_EQ(info.gain.rgain, last.rgain);
    EXPECT_EQ(info.gain.bgain, last.bgain);
    EXPECT_TRUE(info.awbConverged);
    EXPECT_EQ(info.cctGloabl.CCT, 8000.0F);

    for (const char* name : {"A", "TL84", "D50", "D65"}) {
        EXPECT_TRUE(set_illuminant(0, name));
    }
    EXPECT_FALSE(set_illuminant(0, "CWF"));
    EXPECT_EQ(live(0).kelvin, 6504.0);
}

TEST_F(EngineWhiteBalance, OffsetsResponsesAndManualGains)
{
    rk_aiq_sys_ctx_t* const ctx = make_running(0);
    make_running(1);
    set_response(1, 0.8, 1.25);
    run_frames(60);
    const rk_aiq_wb_gain_t plain = live(0).wb_gain;
    EXPECT_NEAR(live(1).wb_gain.rgain, plain.rgain / 0.8F, 1e-5);
    EXPECT_NEAR(live(1).wb_gain.bgain, plain.bgain / 1.25F, 1e-5);

    auto offset = peek<rk_aiq_uapiV2_wb_awb_wbGainOffset_t>(ctx);
    offset.gainOffset = {true, {0.29F, 9.0F, 9.0F, -0.3F}};
    poke(ctx, offset);
    run_frames(60);
    EXPECT_NEAR(live(0).wb_gain.rgain, plain.rgain + 0.29F, 1e-5);
    EXPECT_NEAR(live(0).wb_gain.bgain, plain.bgain - 0.3F, 1e-5);
    EXPECT_EQ(live(0).wb_gain.grgain, 1.0F);

    const rk_aiq_wb_gain_t held = live(0).wb_gain;
    poke(ctx, rk_aiq_uapiV2_wb_opMode_t{{}, RK_AIQ_WB_MODE_MANUAL});
    set_illuminant(0, "A");
    run_frames(10);
    EXPECT_EQ(live(0).wb_gain.rgain, held.rgain) << "no gains given yet: held";
    rk_aiq_wb_mwb_attrib_t manual{};
    manual.mode = RK_AIQ_MWB_MODE_WBGAIN;
    manual.para.gain = {2.23F, 1.01F, 1.02F, 2.0F};
    poke(ctx, manual);
    run_frame(1.0 / 30);
    const rk_aiq_wb_gain_t now = live(0).wb_gain;
    EXPECT_EQ((std::vector{now.rgain, now.grgain, now.gbgain, now.bgain}), (std::vector{2.23F, 1.01F, 1.02F, 2.0F}));
}

} // namespace
