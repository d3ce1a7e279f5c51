// Exposure following: the thread's cycles, its beginning and end.
#include "support/bench.h"
#include "support/threads.h"

#include <atomic>
#include <cerrno>

using namespace bench;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{

constexpr sim::Microseconds kCycle = 34'000;
constexpr const char* kQuery = "rk_aiq_user_api2_ae_queryExpResInfo";
constexpr const char* kGet = "rk_aiq_user_api2_ae_getExpSwAttr";
constexpr const char* kSet = "rk_aiq_user_api2_ae_setExpSwAttr";
using Names = std::vector<std::string>;
const Names kLooks = {kQuery};
const Names kLooksTwice = {kQuery, kQuery};
const Names kWrites = {kQuery, kGet, kSet};

// Panorama camera 1 and feature camera 0, each with an engine. The thread is at work only while this one waits.
class AeFollow : public Bench
{
protected:
    AeFollow()
    {
        start_camera(0);
        start_camera(1);
        measure(2.0F, 0.01F);
        sim::wait(0); // from here on no time passes while this thread works
    }

    ~AeFollow() override
    {
        sim::clear_faults();
        KIV_Set_exposure_mode(0, AUTO_EXPOSURE);
        sim::wait(kCycle);
        EXPECT_TRUE(becomes(0));
    }

    static int running()
    {
        return threads_named("cam_ae_follow_p");
    }
    static bool becomes(int count)
    {
        return eventually([count] { return running() == count; });
    }

    /// What the panorama camera's engine reports.
    static void measure(float again, float seconds, int camera = 1)
    {
        change<Uapi_ExpQueryInfo_t>(camera, [=](auto& info) {
            info.LinAeInfo.LinearExp.analog_gain = again;
            info.LinAeInfo.LinearExp.integration_time = seconds;
        });
    }

    /// Starts the thread and lets it finish its first cycle.
    static void follow()
    {
        EXPECT_EQ(KIV_Set_exposure_mode(0, SMART_EXPOSURE), 0);
        sim::wait(0);
    }

    /// The engine calls of the cycles that run while this thread waits.
    static Names cycles(int count = 1)
    {
        return names_of_calls(
            [count] {
                for (int i = 0; i < count; ++i) {
                    sim::wait(kCycle);
                }
            },
            "rk_aiq");
    }

    static Uapi_LinearManual_t manual(int camera = 0)
    {
        return held<Uapi_ExpSwAttrV2_t>(camera).stManual.LinearAE;
    }
};

} // namespace

// Nothing but the manual exposure is written, and only when something has changed.
TEST_F(AeFollow, WritesWhatHasChangedTheGainGrowingWithTheZoomInThousandths)
{
    const std::tuple<float, int, float, double> rows[] = {
        {1.0F, 0, 0.01F, 1.25},     {1.0F, 13, 0.01F, 1.25},    {1.0F, 14, 0.01F, 1.251},
        {1.0F, 504, 0.01F, 1.285}, // of the latest possible thousandth
        {1.0F, 1500, 0.01F, 1.357}, {1.0F, 1000, 0.01F, 1.321}, {1.0F, 3311, 0.01F, 1.486},
        {1.0F, 6623, 0.01F, 1.722}, {4.0F, 6623, 0.01F, 6.138}, {4.0F, 0, 0.01F, 4.25},
        {4.0F, 0, 0.02F, 4.25},     {16.0F, 0, 0.02F, 16.25},   {0.0F, 500, 0.03F, 0.25},
        {-1.0F, 0, -1.0F, -0.75}, // what a thread remembers first is no measured value
    };
    KIV_Set_exposure_mode(5, AUTO_EXPOSURE); // the first one of a process writes more
    follow();
    EXPECT_EQ(manual().GainValue, 2.25F); // the first cycle writes
    for (const auto& [again, zoom, time, gain] : rows) {
        SCOPED_TRACE(::testing::Message() << again << " at " << zoom);
        auto wanted = held<Uapi_ExpSwAttrV2_t>(0);
        wanted.AecOpType = RK_AIQ_OP_MODE_AUTO;
        wanted.stManual.LinearAE.ManualGainEn = wanted.stManual.LinearAE.ManualTimeEn = false;
        sim::engine::poke(rkipc_aiq_get_ctx(0), wanted);
        sim::host::move_zoom_to(zoom);
        sim::host::step_lens(100.0);
        measure(again, time);
        EXPECT_EQ(cycles(), kWrites);
        EXPECT_EQ(cycles(2), kLooksTwice);
        wanted.AecOpType = RK_AIQ_OP_MODE_MANUAL;
        wanted.stManual.LinearAE.ManualGainEn = wanted.stManual.LinearAE.ManualTimeEn = true;
        wanted.stManual.LinearAE.TimeValue = time;
        wanted.stManual.LinearAE.GainValue = static_cast<float>(gain);
        expect_engine(0, wanted);
    }
}

TEST_F(AeFollow, HoldsTheEngineLockForItsCallsAndNeverAsleep)
{
    follow();
    measure(3.0F, 0.01F);
    std::atomic<int> locked{0}, in_detached_thread{0};
    for (const char* function : {kQuery, kGet, kSet}) {
        sim::at_call(function, 1, [&] {
            locked += pthread_mutex_trylock(&g_aiq_mtx) == EBUSY ? 1 : 0;
            in_detached_thread += detached() ? 1 : 0;
        });
    }
    cycles();
    EXPECT_EQ(locked, 3);
    EXPECT_EQ(in_detached_thread, 3);
    ASSERT_EQ(pthread_mutex_trylock(&g_aiq_mtx), 0);
    pthread_mutex_unlock(&g_aiq_mtx);
}

TEST_F(AeFollow, RunsOnceAndEndsWithinACycle)
{
    store(0, "exposure_mode", SMART_EXPOSURE);
    const long before = threads();
    EXPECT_THAT(names_of_calls(
                    [before] {
                        EXPECT_EQ(cam_ae_follow_pano_thread(), 0);
                        EXPECT_TRUE(eventually([before] { return threads() == before; }));
                    },
                    "rk_aiq"),
                IsEmpty()); // no mode was set
    constexpr void (*kEnds[])() = {
        [] { KIV_Set_exposure_mode(0, AUTO_EXPOSURE); },
        [] { KIV_Set_exposure_mode(0, WIDE_DYNAMIC_RANGE); },
        [] { KIV_Set_exposure_mode(0, LOW_LIGHT); }, // refused, but stored
        [] { store(0, "exposure_mode", MANUAL_EXPOSURE); },
        [] { sim::host::set_lens_calibration_flag(4); },
        [] {
            KIV_Set_exposure_mode(0, AUTO_EXPOSURE);
            store(0, "exposure_mode", SMART_EXPOSURE); // by hand: too late
        },
    };
    for (const auto end : kEnds) {
        sim::host::set_lens_calibration_flag(0);
        follow();
        EXPECT_EQ(cam_ae_follow_pano_thread(), 0);
        EXPECT_EQ(KIV_Set_exposure_mode(0, SMART_EXPOSURE), 0);
        EXPECT_EQ(KIV_Set_exposure_mode(5, AUTO_EXPOSURE), 0); // another camera's mode does not matter
        sim::host::set_lens_calibration_flag(3);
        EXPECT_THAT(names_of_calls([] { sim::wait(kCycle - 1); }, "rk_aiq"), IsEmpty());
        EXPECT_EQ(names_of_calls([] { sim::wait(1); }, "rk_aiq"), kLooks);
        EXPECT_EQ(running(), 1);
        EXPECT_EQ(sim::taking_part(), 2); // the thread and this one
        KIV_Set_exposure_mode(0, LOW_LIGHT);
        store(0, "exposure_mode", SMART_EXPOSURE); // by hand before a cycle: a refused mode asks for no end
        EXPECT_EQ(cycles(), kLooks);
        end();
        EXPECT_THAT(cycles(), IsEmpty());
        EXPECT_EQ(sim::taking_part(), 1);
        EXPECT_TRUE(becomes(0));
    }
}

TEST_F(AeFollow, AStartWhileTheThreadIsEndingIsNotLost)
{
    follow();
    // ends: by what it returns
    const std::tuple<const char*, int, Names> rows[] = {
        {kQuery, -7, kWrites}, // as a new thread does
        {"get_lens_calibration_flag", 4, kLooks},
    };
    for (const auto& [ends, code, next] : rows) {
        sim::inject_fault(ends, 1, code);
        sim::at_call(ends, 1, [] { EXPECT_EQ(cam_ae_follow_pano_thread(), 0); });
        EXPECT_EQ(cycles(), kLooks);
        EXPECT_EQ(cycles(), next);
        EXPECT_EQ(running(), 1);
        EXPECT_GE(sim::faults_struck(), 1);
        sim::clear_faults();
    }
}

TEST_F(AeFollow, WithoutAThreadTheModeIsTakenAllTheSame)
{
    constexpr int (*kStarts[])() = {cam_ae_follow_pano_thread,
                                    [] { return on_thread<cam_ae_follow_pano_function>(false); }};
    for (const auto start : kStarts) { // a thread of the host's counts
        sim::inject_fault("pthread_create", 1, EAGAIN, true);
        EXPECT_EQ(KIV_Set_exposure_mode(0, SMART_EXPOSURE), 0);
        EXPECT_EQ(cam_ae_follow_pano_thread(), -1);
        sim::clear_faults();
        ASSERT_EQ(start(), 0);
        sim::wait(0);
        EXPECT_THAT(calls_of([] { EXPECT_EQ(cam_ae_follow_pano_thread(), 0); }), IsEmpty());
        EXPECT_EQ(running(), 1);
        KIV_Set_exposure_mode(0, AUTO_EXPOSURE);
        cycles();
        EXPECT_TRUE(becomes(0));
    }
}

TEST_F(AeFollow, FollowsTheCamerasInTheirRolesAndPassesOverMissingOnes)
{
    rk_isp_deinit(1);
    follow();
    EXPECT_THAT(traces_of([] { EXPECT_THAT(cycles(), IsEmpty()); }),
                ElementsAre("cam_ae_follow_pano_function: aiq ctx error\n\n"));
    start_camera(1);
    measure(4.0F, 0.02F);
    cycles();
    EXPECT_EQ(manual().GainValue, 4.25F);

    // What was measured while the feature camera was missing is not written later.
    rk_isp_deinit(0);
    measure(3.0F, 0.03F);
    EXPECT_EQ(cycles(2), kLooksTwice);
    start_camera(0);
    EXPECT_EQ(cycles(), kLooks);
    measure(2.0F, 0.03F);
    EXPECT_EQ(cycles(), kWrites);

    start_camera(4);
    start_camera(6);
    measure(7.0F, 0.03F, 4);
    set_PanoramaIspId(4);
    set_FeaturesIspId(6);
    cycles();
    EXPECT_EQ(manual(6).GainValue, 7.25F);
    EXPECT_EQ(manual(0).GainValue, 2.25F);
}

// Mode changes from two threads against a thread that runs as fast as it can; whatever they did, the last one counts.
TEST_F(AeFollow, AModeWaitsUntilTheOneBeforeItIsStored)
{
    std::atomic<pid_t> other{0};
    std::atomic<bool> stored_too{false};
    std::thread second;
    sim::at_call("para_set_isp_exposure_mode_cur", 1, [&] {
        second = std::thread([&] {
            other = gettid();
            KIV_Set_exposure_mode(0, MANUAL_EXPOSURE);
            stored_too = true;
        });
        while (!stored_too && !asleep(other)) {
            std::this_thread::yield();
        }
        EXPECT_FALSE(stored_too);
    });
    KIV_Set_exposure_mode(0, SHUTTER_PRIORITY);
    second.join();
    EXPECT_EQ(stored(0, "exposure_mode"), MANUAL_EXPOSURE);
}

TEST_F(AeFollow, LastModeDecidesHoweverFastModesChange)
{
    for (int round = 0; round < 12; ++round) {
        sim::step_aside();
        const auto change_modes = [](unsigned random) {
            constexpr int kTried[] = {SMART_EXPOSURE, AUTO_EXPOSURE,      SMART_EXPOSURE, MANUAL_EXPOSURE,
                                      SMART_EXPOSURE, WIDE_DYNAMIC_RANGE, LOW_LIGHT};
            for (int i = 0; i < 60; ++i) {
                random = random * 1664525U + 1013904223U;
                KIV_Set_exposure_mode(0, Exposure_Mode_E{kTried[(random >> 16) % std::size(kTried)]});
            }
        };
        std::thread one(change_modes, static_cast<unsigned>(round));
        change_modes(static_cast<unsigned>(round + 1000));
        one.join();
        const int count = round % 3 != 2 ? 1 : 0;
        KIV_Set_exposure_mode(0, count == 1 ? SMART_EXPOSURE : AUTO_EXPOSURE);
        EXPECT_TRUE(becomes(count)) << round;
        cycles(3);
        EXPECT_TRUE(becomes(count)) << round << ": and it stays so"; // a new thread takes its name a moment later
    }
}
