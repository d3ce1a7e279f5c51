// White-balance following: the thread's life, its passes, and the closed loop with the calibration.
#include "following/awb_bench.h"
#include "support/threads.h"

#include <atomic>
#include <cmath>
#include <limits>

using namespace bench;

// The follow thread is never joined, by design.
extern "C" const char* __tsan_default_options()
{
    return "report_thread_leaks=0";
}

namespace
{
std::atomic<int> thread_code = 0; // what creating a thread fails with
}

extern "C" {
int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attr, void* (*run)(void*), void* arg);
int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attr, void* (*run)(void*), void* arg)
{
    const int code = thread_code.exchange(0);
    return code != 0 ? code : __real_pthread_create(thread, attr, run, arg);
}
}

namespace
{

int follow_threads()
{
    int count = 0;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::string name;
        std::ifstream(task.path() / "comm") >> name;
        count += name == "awb_follow_pano" ? 1 : 0;
    }
    return count;
}

/// Until the thread has ended; it does so without any simulated time passing.
void await_end()
{
    EXPECT_TRUE(eventually([] { return follow_threads() == 0; }));
}

class AwbFollow : public AwbFollowing
{
protected:
    void SetUp() override
    {
        AwbFollowing::SetUp();
        sim::wait(0); // from now on time passes only while this thread waits
    }

    void TearDown() override
    {
        set_awb_follow_pano(0);
        sim::wait(200'000);
        await_end();
        AwbFollowing::TearDown();
    }

    /// Starts the thread and lets it make its first pass; the pass.
    static std::string start()
    {
        set_awb_follow_pano(1);
        return awb_line(calls_of([] {
            EXPECT_EQ(cam_awb_follow_pano_thread(), 0);
            sim::await_waiting(1);
        }));
    }

    /// The calls in a time, 34 ms for one pass.
    static std::string pass(sim::Microseconds duration = 34'000)
    {
        return awb_line(calls_of([=] { sim::wait(duration); }));
    }
};

constexpr const char* kApply =
    "Query3 GetMode0 GetGains0 GetMode2 GetGains2 SetMode0 SetGains0 SetMode2 SetGains2 wait34000";
constexpr const char* kApplyFile =
    "Query3 GetMode0 GetGains0 GetMode2 GetGains2 open read SetMode0 SetGains0 SetMode2 SetGains2 wait34000";
constexpr const char* kNothing = "Query3 wait34000";

using Gains = std::pair<float, float>;
constexpr Gains kRounded = {0x1.b271e0p+1F, 0x1.b271e0p+1F};
Gains held_gains(int camera)
{
    const Balance b = balance(camera);
    EXPECT_EQ(b.mode, RK_AIQ_WB_MODE_MANUAL);
    EXPECT_EQ(b.manual_mode, RK_AIQ_MWB_MODE_WBGAIN);
    EXPECT_EQ(b.gains[1], 1.0F);
    EXPECT_EQ(b.gains[2], 1.0F);
    return {b.gains[0], b.gains[3]};
}

Record lines(float slope, float offset)
{
    Record record = kExample;
    for (std::size_t i = 12; i < 20; i += 2) {
        record[i] = slope;
        record[i + 1] = offset;
    }
    return record;
}

TEST_F(AwbFollow, WithoutBeingEnabledItEndsAtItsFirstTest)
{
    std::vector<std::string> traces;
    EXPECT_EQ(awb_line(calls_of([&] {
                  traces = traces_of([] {
                      EXPECT_EQ(cam_awb_follow_pano_thread(), 0);
                      EXPECT_TRUE(eventually([] { return sim::host::captured_log().size() == 3; }));
                      await_end();
                  });
              })),
              "");
    EXPECT_THAT(traces, ::testing::Contains(::testing::StartsWith("cam_awb_follow_pano_function: quenvar  cam_awb")));
    set_awb_follow_pano(1); // too late: a thread is started once
    EXPECT_EQ(cam_awb_follow_pano_thread(), 0);
    sim::wait(1'000'000);
    EXPECT_EQ(follow_threads(), 0);
}

TEST_F(AwbFollow, Passes)
{
    const float inf = std::numeric_limits<float>::infinity();
    const float above_one = std::nextafter(1.0F, 2.0F);
    Record example = kExample;
    evaluate(example);
    put_measured(kPano, 1.8F, 1.6F);
    EXPECT_EQ(start(), kApply);
    EXPECT_EQ(held_gains(kClose), Gains(1.8F, 1.6F));
    EXPECT_EQ(held_gains(kThird), Gains(1.8F, 1.6F));
    EXPECT_EQ(pass(), kNothing);

    const struct {
        const char* what;
        std::string file;
        float red, blue; // of the panorama camera
        const char* calls;
        Gains close{}, third{}; // none given: the panorama camera's
    } rows[] = {
        {"blue alone changed", "", 1.8F, 1.7F, kApply},
        {"unchanged with a new file", bytes(example), 1.8F, 1.7F, kNothing},
        {"mapped", bytes(example), 1.0F, 2.4F, kApplyFile, {1.2F, 2.6F}, {1.5F, 2.9F}},
        {"the last bit changed", bytes(lines(1.0F, 0.0F)), above_one, 2.4F, kApplyFile},
        // In double precision or with a fused multiply-add 0x1.b271dep+1.
        {"rounding", bytes(lines(1.13F, 1.62F)), 1.57F, 1.57F, kApplyFile, kRounded, kRounded},
        {"without bounds", bytes(lines(-1.0F, 0.0F)), 1.5F, 2.5F, kApplyFile, {-1.5F, -2.5F}, {-1.5F, -2.5F}},
        {"short", bytes(example, 79), 1.1F, 2.1F, kApplyFile},
        {"no lines", bytes(lines(0.0F, 0.0F)), 1.2F, 2.1F, kApplyFile},
        {"infinite slopes", bytes(lines(inf, 0.0F)), 1.3F, 2.1F, kApplyFile},
        {"no numbers", bytes(lines(inf - inf, 0.0F)), 1.4F, 2.1F, kApplyFile},
        {"file gone", "", 1.5F, 2.1F, kApply},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        std::filesystem::remove(wb_file);
        if (!row.file.empty()) {
            write_bytes(wb_file, row.file);
        }
        put_measured(kPano, row.red, row.blue);
        EXPECT_EQ(pass(), row.calls);
        for (const auto& [camera, given] : {std::pair{kClose, row.close}, {kThird, row.third}}) {
            const Gains wanted = given == Gains{} ? Gains{row.red, row.blue} : given;
            const double tolerance = std::string_view(row.what) == "mapped" ? 1e-6 : 0.0; // decimals
            EXPECT_NEAR(held_gains(camera).first, wanted.first, tolerance);
            EXPECT_NEAR(held_gains(camera).second, wanted.second, tolerance);
        }
    }
}

TEST_F(AwbFollow, FailuresWithinAPass)
{
    const std::string read_failed = "cam_awb_follow_pano_function: rk_aiq_user_api2_awb_GetWbGainCtrlAttrib failed";
    const std::string write_failed = "cam_awb_follow_pano_function: rk_aiq_user_api2_awb_SetWbGainCtrlAttrib failed";
    const struct {
        std::vector<std::size_t> failing; // words of kApply
        std::size_t made;                 // words of kApply before the wait
        bool pause;                       // 100 ms
        std::string trace;
    } rows[] = {
        {{1, 2, 3}, 9, false, ""},
        {{1, 3, 4}, 9, false, ""},
        {{1, 2, 3, 4}, 5, true, read_failed},
        {{5, 6, 7}, 9, false, ""},
        {{6, 7, 8}, 9, false, ""},
        {{5, 6, 7, 8}, 9, true, write_failed},
        {{1, 2, 7, 8}, 9, false, ""},
        {{0}, 1, true, "cam_awb_follow_pano_function: rk_aiq_user_api2_awb_QueryWBInfo failed"},
    };
    put_measured(kPano, 1.0F, 1.0F);
    EXPECT_EQ(start(), kApply);
    float red = 1.0F;
    for (const auto& row : rows) {
        red += 0.125F;
        SCOPED_TRACE(red);
        put_measured(kPano, red, 1.0F);
        for (const std::size_t word : row.failing) {
            fail_word(kApply, word, XCAM_RETURN_ERROR_FAILED);
        }
        std::string line;
        const std::vector<std::string> traces = traces_of([&] { line = pass(); });
        EXPECT_EQ(line, first_words(kApply, row.made) + (row.pause ? " wait100000" : " wait34000"));
        if (!row.trace.empty()) {
            EXPECT_EQ(traces.back(), row.trace + " with 0xffffffff!\n\n");
        } else {
            const bool written = std::find(row.failing.begin(), row.failing.end(), 8U) == row.failing.end();
            EXPECT_EQ(held_gains(kThird).first == red, written);
        }
        // A reading that was acted on is not repeated; one that failed is.
        if (row.pause) {
            EXPECT_EQ(pass(66'000), "");
        }
        EXPECT_EQ(pass(), row.made == 1 ? kApply : kNothing);
    }
}

TEST_F(AwbFollow, CamerasWithoutAnEngine)
{
    put_measured(kPano, 1.0F, 1.0F);
    EXPECT_EQ(start(), kApply);
    const std::string error = "cam_awb_follow_pano_function: aiq ctx error\n\n";

    rk_isp_deinit(kThird); // its calls count as failed
    put_measured(kPano, 1.1F, 1.0F);
    EXPECT_EQ(pass(), "Query3 GetMode0 GetGains0 SetMode0 SetGains0 wait34000");
    EXPECT_EQ(held_gains(kClose), Gains(1.1F, 1.0F));
    put_measured(kPano, 1.2F, 1.0F);
    fail_word(kApply, 1, -1);
    fail_word(kApply, 2, -1);
    EXPECT_EQ(pass(), "Query3 GetMode0 GetGains0 wait100000");
    EXPECT_EQ(pass(100'000), kNothing);
    start_camera(kThird);

    rk_isp_deinit(kClose);
    put_measured(kPano, 1.3F, 1.0F);
    EXPECT_THAT(traces_of([] { EXPECT_EQ(pass(), kNothing); }), ::testing::ElementsAre(error));
    EXPECT_THAT(traces_of([] { EXPECT_EQ(pass(), kNothing); }), ::testing::IsEmpty()) << "the gains are known by now";
    start_camera(kClose);

    rk_isp_deinit(kPano);
    EXPECT_THAT(traces_of([] { EXPECT_EQ(pass(), "wait34000"); }), ::testing::ElementsAre(error));
    EXPECT_THAT(traces_of([] { EXPECT_EQ(pass(), "wait34000"); }), ::testing::ElementsAre(error)) << "in each pass";
    start_camera(kPano);
    put_measured(kPano, 1.4F, 1.0F);
    EXPECT_EQ(pass(), kApply);
}

// A host that stops a camera does not wait for the thread.
TEST_F(AwbFollow, ACameraThatVanishesWithinAPass)
{
    start();
    for (const int lost : {kClose, kPano}) {
        rk_aiq_sys_ctx_t* const context = rkipc_aiq_get_ctx(lost);
        put_measured(kPano, 1.0F + 0.25F * static_cast<float>(lost), 2.0F);
        sim::at_call("rk_aiq_user_api2_awb_QueryWBInfo", 1,
                     [lost] { isp::shared_set<rk_aiq_sys_ctx_t*>(g_aiq_ctx[lost], nullptr); });
        EXPECT_THAT(traces_of([] { EXPECT_EQ(pass(), kNothing); }),
                    ::testing::ElementsAre("cam_awb_follow_pano_function: aiq ctx error\n\n"));
        isp::shared_set(g_aiq_ctx[lost], context);
    }
}

TEST_F(AwbFollow, OneThreadPerProcess)
{
    thread_code = EAGAIN;
    EXPECT_EQ(traces_of([] { EXPECT_EQ(cam_awb_follow_pano_thread(), -1); }).back(),
              "cam_awb_follow_pano_thread: quenvar create cam_awb_follow_pano_function thread failed!\n\n");
    EXPECT_EQ(follow_threads(), 0);
    set_awb_follow_pano(1);
    std::vector<std::thread> starters;
    for (int i = 0; i < 8; ++i) {
        starters.emplace_back([] { EXPECT_EQ(cam_awb_follow_pano_thread(), 0); });
    }
    for (std::thread& starter : starters) {
        starter.join();
    }
    sim::await_waiting(1);
    EXPECT_EQ(follow_threads(), 1);
    EXPECT_EQ(pass(), kNothing);
    set_awb_follow_pano(0);
    EXPECT_EQ(pass(100'000), "");
    await_end();
}

TEST_F(AwbFollow, ACalibrationEndsIt)
{
    EXPECT_EQ(start(), kApply);
    const std::string calibration = awb_line(calls_of([] { EXPECT_EQ(Awb_Calibration(1), 0); }));
    EXPECT_EQ(first_words(calibration, 4), "wait34000 GetMode0 GetMode2 GetMode3") << "no pass meanwhile";
    await_end();
    EXPECT_EQ(cam_awb_follow_pano_thread(), 0);
    EXPECT_EQ(follow_threads(), 0);
}

// Three cameras of differing response under one light. What a follower should hold is what its own automatic balance
// finds.
TEST_F(AwbFollow, ClosedLoop)
{
    const struct {
        const char* name;
        double kelvin = 0.0;
    } lights[] = {{"3500 K", 3500.0}, {"8000 K", 8000.0}, {"TL84"}, {"D50"}, {"D65"}, {"A"}}; // the last two calibrate
    const auto light_up = [](const auto& light) {
        for (const int camera : {kClose, kThird, kPano}) {
            if (!sim::engine::set_illuminant(camera, light.name)) {
                sim::engine::set_illuminant(camera, light.kelvin);
            }
        }
    };
    sim::engine::set_response(kClose, 0.87, 1.13);
    sim::engine::set_response(kThird, 1.21, 0.93);
    const int frames = sim::every(33'333, [] { sim::engine::run_frame(1.0 / 30.0); });
    std::vector<std::array<Gains, 2>> wanted;
    for (const auto& light : lights) {
        light_up(light);
        ASSERT_EQ(Awb_Calibration(light.name == std::string_view("A") ? 2 : 1), 0);
        const rk_aiq_wb_gain_t close = sim::engine::live(kClose).wb_gain;
        const rk_aiq_wb_gain_t third = sim::engine::live(kThird).wb_gain;
        wanted.push_back({Gains(close.rgain, close.bgain), Gains(third.rgain, third.bgain)});
    }

    isp::awb_pano_flag = 0; // as in a new process
    start();
    for (std::size_t i = 0; i < std::size(lights); ++i) {
        light_up(lights[i]);
        sim::wait(7'000'000);
        double error = 0.0;
        const std::array<Gains, 2> found = {held_gains(kClose), held_gains(kThird)};
        for (std::size_t follower = 0; follower < 2; ++follower) {
            const auto [red, blue] = wanted[i][follower];
            error = std::max({error, std::abs(double{found[follower].first} / red - 1.0),
                              std::abs(double{found[follower].second} / blue - 1.0)});
        }
        std::printf("remaining gain error under %s: %.2e\n", lights[i].name, error);
        RecordProperty(lights[i].name, ::testing::PrintToString(error));
        EXPECT_LE(error, i >= 4 ? 4.0 * std::numeric_limits<float>::epsilon() : 0.02) << lights[i].name;
    }
    sim::cancel(frames);
}

} // namespace
