// Exposure following: the thread's cycles, its beginning and end, and the closed loop with two cameras exposing.
#include "support/bench.h"
#include "support/threads.h"

#include <cerrno>
#include <deque>

using namespace bench;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace
{

constexpr sim::Microseconds kCycle = 34'000;

// Panorama camera 1 and feature camera 0, each with an engine. The thread is at work only while this one waits.
class AeFollow : public Bench
{
protected:
    long threads_before = threads();

    AeFollow()
    {
        start_camera(0);
        start_camera(1);
        measure(2.0F, 0.01F);
        sim::wait(0); // from here on time stands still while this thread works
    }

    ~AeFollow() override
    {
        sim::clear_faults();
        KIV_Set_exposure_mode(0, AUTO_EXPOSURE);
        cycles(1);
        EXPECT_TRUE(eventually([&] { return threads() == threads_before; }));
    }

    /// What the panorama camera's engine reports.
    static void measure(float again, float seconds)
    {
        auto info = held<Uapi_ExpQueryInfo_t>(1);
        info.LinAeInfo.LinearExp.analog_gain = again;
        info.LinAeInfo.LinearExp.integration_time = seconds;
        sim::engine::poke(rkipc_aiq_get_ctx(1), info);
    }

    /// Starts the thread and lets it finish its first cycle.
    static void follow()
    {
        EXPECT_EQ(KIV_Set_exposure_mode(0, SMART_EXPOSURE), 0);
        sim::await_waiting(1);
    }

    static void cycles(int count)
    {
        for (int i = 0; i < count; ++i) {
            sim::wait(kCycle);
        }
    }

    /// The engine calls of the cycles that run while this thread waits.
    static std::vector<std::string> engine_calls(int count = 1)
    {
        return names_of_calls([count] { cycles(count); }, "rk_aiq");
    }

    bool running() const
    {
        return threads() == threads_before + 1;
    }
    bool ended() const
    {
        return eventually([this] { return threads() == threads_before; });
    }

    static Uapi_LinearManual_t manual(int camera = 0)
    {
        return held<Uapi_ExpSwAttrV2_t>(camera).stManual.LinearAE;
    }
};

constexpr const char* kQuery = "rk_aiq_user_api2_ae_queryExpResInfo";
constexpr const char* kGet = "rk_aiq_user_api2_ae_getExpSwAttr";
constexpr const char* kSet = "rk_aiq_user_api2_ae_setExpSwAttr";

} // namespace

TEST_F(AeFollow, WritesWhatHasChanged)
{
    follow();
    EXPECT_EQ(manual().TimeValue, 0.01F); // the first cycle writes
    EXPECT_EQ(manual().GainValue, 2.25F);
    EXPECT_TRUE(manual().ManualTimeEn && manual().ManualGainEn);
    EXPECT_EQ(held<Uapi_ExpSwAttrV2_t>(0).AecOpType, RK_AIQ_OP_MODE_MANUAL);
    EXPECT_THAT(engine_calls(2), ElementsAre(kQuery, kQuery)); // later ones only when something changed

    sim::host::put_zoom(14);
    EXPECT_THAT(engine_calls(), ElementsAre(kQuery, kGet, kSet));
    EXPECT_EQ(manual().GainValue, static_cast<float>(2.0 * 1.001 + 0.25));
    measure(2.0F, 0.02F);
    EXPECT_THAT(engine_calls(), ElementsAre(kQuery, kGet, kSet));
    EXPECT_EQ(manual().TimeValue, 0.02F);
    measure(3.0F, 0.02F);
    EXPECT_THAT(engine_calls(), ElementsAre(kQuery, kGet, kSet));
    EXPECT_THAT(engine_calls(), ElementsAre(kQuery));

    // Nothing but the manual exposure is written.
    const auto before = sim::engine::snapshot(rkipc_aiq_get_ctx(0));
    measure(4.0F, 0.03F);
    cycles(1);
    const auto changes = sim::engine::changes(before, sim::engine::snapshot(rkipc_aiq_get_ctx(0)));
    EXPECT_THAT(changes, SizeIs(2));
    EXPECT_EQ(manual().TimeValue, 0.03F);
}

TEST_F(AeFollow, GainGrowsWithTheZoomInThousandths)
{
    const struct {
        float again;
        int zoom;
        double gain;
    } rows[] = {
        {1.0F, 0, 1.25},     {1.0F, 13, 1.25},    {1.0F, 14, 1.251}, {1.0F, 1000, 1.321},
        {1.0F, 3311, 1.486}, {1.0F, 6623, 1.722}, {4.0F, 0, 4.25},   {4.0F, 6623, 6.138},
        {16.0F, 0, 16.25},   {0.0F, 500, 0.25},   {-1.0F, 0, -0.75}, // what a thread remembers first is no measured
                                                                     // value
    };
    follow();
    for (const auto& row : rows) {
        sim::host::put_zoom(row.zoom);
        measure(row.again, 0.01F);
        cycles(1);
        EXPECT_EQ(manual().GainValue, static_cast<float>(row.gain)) << row.again << " at " << row.zoom;
    }
}

TEST_F(AeFollow, HoldsTheEngineLockForItsCallsAndNeverAsleep)
{
    pthread_mutex_lock(&g_aiq_mtx);
    sim::start_recording();
    EXPECT_EQ(KIV_Set_exposure_mode(0, SMART_EXPOSURE), 0);
    const auto made = [](const char* function) {
        const auto calls = sim::recorded_calls();
        return std::any_of(calls.begin(), calls.end(), [&](const auto& call) { return call.function == function; });
    };
    EXPECT_TRUE(eventually([&] { return made("get_lens_calibration_flag"); })); // the last thing before the lock
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    EXPECT_FALSE(made(kQuery));
    pthread_mutex_unlock(&g_aiq_mtx);
    sim::await_waiting(1);
    sim::stop_recording();
    EXPECT_TRUE(made(kQuery));
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(pthread_mutex_trylock(&g_aiq_mtx), 0);
        pthread_mutex_unlock(&g_aiq_mtx);
        cycles(1);
    }
}

TEST_F(AeFollow, RunsOnceAndEndsWithinACycle)
{
    const struct {
        const char* what;
        void (*end)();
    } rows[] = {
        {"camera 0 leaves the mode", [] { KIV_Set_exposure_mode(0, AUTO_EXPOSURE); }},
        {"to wide dynamic range", [] { KIV_Set_exposure_mode(0, WIDE_DYNAMIC_RANGE); }},
        {"a refused mode is stored too", [] { KIV_Set_exposure_mode(0, LOW_LIGHT); }},
        {"the stored mode changes", [] { store(0, "exposure_mode", MANUAL_EXPOSURE); }},
        {"lens calibration", [] { sim::host::set_lens_calibration_flag(4); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        sim::host::set_lens_calibration_flag(0);
        follow();
        EXPECT_EQ(cam_ae_follow_pano_thread(), 0);
        EXPECT_EQ(KIV_Set_exposure_mode(0, SMART_EXPOSURE), 0);
        EXPECT_EQ(KIV_Set_exposure_mode(5, AUTO_EXPOSURE), 0); // another camera's mode does not matter
        sim::host::set_lens_calibration_flag(3);
        EXPECT_THAT(engine_calls(2), ElementsAre(kQuery, kQuery));
        EXPECT_TRUE(running());
        EXPECT_EQ(sim::taking_part(), 2); // the thread and this one
        row.end();
        EXPECT_THAT(engine_calls(), IsEmpty());
        EXPECT_EQ(sim::taking_part(), 1);
        EXPECT_TRUE(ended());
    }
}

TEST_F(AeFollow, EndsWithAnEngineFailureUntilTheModeIsSetAgain)
{
    for (const char* failing : {kQuery, kGet, kSet}) {
        SCOPED_TRACE(failing);
        follow();
        measure(1.0F, 0.005F);
        cycles(1);
        measure(5.0F, 0.015F);
        sim::inject_fault(failing, 1, -7);
        const auto traces = traces_of([] { cycles(1); });
        EXPECT_THAT(traces, SizeIs(1)); // the failure; no farewell
        EXPECT_TRUE(traces.empty() || traces[0].ends_with("failed with 0xfffffff9!\n\n")) << traces[0];
        EXPECT_TRUE(ended());
        EXPECT_EQ(pthread_mutex_trylock(&g_aiq_mtx), 0);
        pthread_mutex_unlock(&g_aiq_mtx);
        follow();
        EXPECT_TRUE(running());
        EXPECT_EQ(manual().GainValue, 5.25F); // a new thread writes at once
    }
}

TEST_F(AeFollow, AStartWhileTheThreadIsEndingIsNotLost)
{
    follow();
    sim::host::set_log_callback([](int, const char* text) {
        // The failure is traced, the thread has not ended yet.
        if (std::string_view(text).find(" failed with ") != std::string_view::npos) {
            KIV_Set_exposure_mode(0, SMART_EXPOSURE);
        }
    });
    sim::host::set_module_level(6);
    sim::inject_fault(kQuery, 1, -7);
    cycles(1);
    sim::host::set_log_callback(nullptr);
    sim::host::set_module_level(0);
    EXPECT_EQ(sim::faults_struck(), 1);
    EXPECT_THAT(engine_calls(), ElementsAre(kQuery, kGet, kSet)); // as a new thread does
    EXPECT_TRUE(running());

    // The same while it ends without a failure: it goes on.
    sim::inject_fault("get_lens_calibration_flag", 1, 4);
    sim::at_call("get_lens_calibration_flag", 1, [] { EXPECT_EQ(cam_ae_follow_pano_thread(), 0); });
    EXPECT_THAT(engine_calls(), ElementsAre(kQuery));
    EXPECT_TRUE(running());
}

TEST_F(AeFollow, WithoutAThreadTheModeIsTakenAllTheSame)
{
    sim::inject_fault("pthread_create", 1, EAGAIN);
    EXPECT_EQ(KIV_Set_exposure_mode(0, SMART_EXPOSURE), 0);
    sim::inject_fault("pthread_create", 1, EAGAIN);
    EXPECT_EQ(cam_ae_follow_pano_thread(), -1);
    EXPECT_EQ(threads(), threads_before);
    EXPECT_EQ(cam_ae_follow_pano_thread(), 0); // tries again
    EXPECT_TRUE(running());
    sim::await_waiting(1);
}

TEST_F(AeFollow, AThreadOfTheHostsCounts)
{
    store(0, "exposure_mode", SMART_EXPOSURE);
    sim::inject_fault("pthread_create", 1, EAGAIN);
    EXPECT_EQ(KIV_Set_exposure_mode(0, SMART_EXPOSURE), 0);
    ASSERT_EQ(on_thread(cam_ae_follow_pano_function), 0);
    sim::await_waiting(1);
    EXPECT_EQ(cam_ae_follow_pano_thread(), 0);
    EXPECT_TRUE(running());
}

TEST_F(AeFollow, MissingCamerasArePassedOver)
{
    rk_isp_deinit(1);
    follow();
    EXPECT_THAT(traces_of([] { EXPECT_THAT(engine_calls(), IsEmpty()); }),
                ElementsAre("cam_ae_follow_pano_function: aiq ctx error\n\n"));
    start_camera(1);
    measure(4.0F, 0.02F);
    cycles(1);
    EXPECT_EQ(manual().GainValue, 4.25F);

    // What was measured while the feature camera was missing is not written later.
    rk_isp_deinit(0);
    measure(3.0F, 0.03F);
    EXPECT_THAT(engine_calls(2), ElementsAre(kQuery, kQuery));
    start_camera(0);
    EXPECT_THAT(engine_calls(), ElementsAre(kQuery));
    measure(2.0F, 0.03F);
    EXPECT_THAT(engine_calls(), ElementsAre(kQuery, kGet, kSet));
    EXPECT_TRUE(running());
}

TEST_F(AeFollow, FollowsTheCamerasInTheirRoles)
{
    start_camera(4);
    start_camera(6);
    auto info = held<Uapi_ExpQueryInfo_t>(4);
    info.LinAeInfo.LinearExp.analog_gain = 7.0F;
    sim::engine::poke(rkipc_aiq_get_ctx(4), info);
    follow();
    set_PanoramaIspId(4);
    set_FeaturesIspId(6);
    const auto before = manual(0).GainValue;
    cycles(1);
    EXPECT_EQ(manual(6).GainValue, 7.25F);
    EXPECT_EQ(manual(0).GainValue, before);
}

// Mode changes from two threads against a thread that runs as fast as it can; whatever they did, the last one counts.
TEST_F(AeFollow, LastModeDecidesHoweverFastModesChange)
{
    sim::step_aside();
    for (int round = 0; round < 12; ++round) {
        const auto change_modes = [](unsigned random) {
            constexpr int kTried[] = {SMART_EXPOSURE, AUTO_EXPOSURE,      SMART_EXPOSURE, MANUAL_EXPOSURE,
                                      SMART_EXPOSURE, WIDE_DYNAMIC_RANGE, LOW_LIGHT};
            for (int i = 0; i < 60; ++i) {
                random = random * 1664525U + 1013904223U;
                KIV_Set_exposure_mode(0, Exposure_Mode_E{kTried[(random >> 16) % std::size(kTried)]});
            }
        };
        std::thread one(change_modes, static_cast<unsigned>(round));
        std::thread two(change_modes, static_cast<unsigned>(round + 1000));
        one.join();
        two.join();
        const bool smart = round % 3 != 2;
        KIV_Set_exposure_mode(0, smart ? SMART_EXPOSURE : AUTO_EXPOSURE);
        EXPECT_TRUE(eventually([&] { return threads() == threads_before + (smart ? 1 : 0); })) << round;
        std::this_thread::sleep_for(std::chrono::milliseconds(3)); // and it stays so
        EXPECT_EQ(threads(), threads_before + (smart ? 1 : 0)) << round;
    }
    EXPECT_THAT(sim::engine::misuses(), IsEmpty());
}

// Both cameras expose; the light of the panorama scene changes step by step. Whatever the panorama camera's exposure
// becomes, the feature camera has been told it within two cycles.
TEST_F(AeFollow, FeatureCameraHasThePanoramaExposureWithinTwoCycles)
{
    constexpr sim::Microseconds kFrame = 33'333;
    const int frames = sim::every(kFrame, [] { sim::engine::run_frame(1e-6 * static_cast<double>(kFrame)); });
    KIV_Set_exposure_mode(1, AUTO_EXPOSURE);
    sim::engine::set_scene(1, 50.0);
    follow();
    cycles(150);

    using Exposure = std::pair<float, float>; // time, gain as the feature camera gets it
    const auto panorama = [] {
        const auto& exposure = held<Uapi_ExpQueryInfo_t>(1).LinAeInfo.LinearExp;
        return Exposure{exposure.integration_time, exposure.analog_gain + 0.25F};
    };
    int steps_seen = 0;
    for (const double luminance : {400.0, 3.0, 5000.0, 0.5, 80.0}) {
        const Exposure old = panorama();
        sim::engine::set_scene(1, luminance);
        std::deque<Exposure> recent; // of the last two cycles, sampled between frames
        for (int i = 0; i < 400; ++i) {
            sim::wait(kCycle / 4);
            recent.push_back(panorama());
            if (recent.size() > 9) {
                recent.pop_front();
                const Exposure feature{manual().TimeValue, manual().GainValue};
                ASSERT_THAT(recent, ::testing::Contains(feature)) << luminance << ", sample " << i;
            }
        }
        steps_seen += panorama() != old ? 1 : 0;
        const auto measured = held<Uapi_ExpQueryInfo_t>(1);
        EXPECT_TRUE(measured.IsConverged) << luminance;
        EXPECT_EQ(held<Uapi_ExpQueryInfo_t>(0).LinAeInfo.LinearExp.integration_time, panorama().first);
        EXPECT_EQ(held<Uapi_ExpQueryInfo_t>(0).LinAeInfo.LinearExp.analog_gain, panorama().second);
    }
    EXPECT_EQ(steps_seen, 5);
    sim::cancel(frames);
}
