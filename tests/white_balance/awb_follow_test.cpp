// White-balance following: the thread's life, its passes, and the closed loop with the calibration.
#include "support/threads.h"
#include "white_balance/awb_bench.h"

#include <cerrno>
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

int running()
{
    return threads_named("awb_follow_pano");
}

/// Until the thread has ended; it does so without any simulated time passing.
void await_end()
{
    EXPECT_TRUE(eventually([] { return running() == 0; }));
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
        return line_of([] {
            EXPECT_EQ(cam_awb_follow_pano_thread(), 0);
            sim::wait(0);
        });
    }

    /// The calls in a time, 34 ms for one pass.
    static std::string pass(sim::Microseconds duration = 34'000)
    {
        return line_of([=] { sim::wait(duration); });
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
    const long before = threads();
    EXPECT_EQ(line_of([before] {
                  EXPECT_EQ(cam_awb_follow_pano_thread(), 0);
                  EXPECT_TRUE(eventually([before] { return threads() == before; }));
              }),
              "");
    set_awb_follow_pano(1); // too late: a thread is started once
    EXPECT_EQ(cam_awb_follow_pano_thread(), 0);
    sim::wait(1'000'000);
    EXPECT_EQ(running(), 0);
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
    const std::string error = "aiq ctx error";
    const std::string query_failed = "rk_aiq_user_api2_awb_QueryWBInfo failed with 0xffffffff!";
    const std::string read_failed = "rk_aiq_user_api2_awb_GetWbGainCtrlAttrib failed with 0xffffffff!";
    const std::string write_failed = "rk_aiq_user_api2_awb_SetWbGainCtrlAttrib failed with 0xffffffff!";
    const std::string all = kApply;
    const std::string one = "Query3 GetMode0 GetGains0 SetMode0 SetGains0 wait34000"; // the third one's count as failed
    const std::string paused = " wait100000";
    const struct {
        std::vector<std::size_t> failing; // words of what would be called
        std::string made;
        std::string trace;           // none: success
        int lost = 7;                // the camera without an engine, 7: none of the three
        bool meanwhile = false;      // a host stops it, without waiting for the thread
        std::string next = kNothing; // a reading that was acted on is not repeated
    } rows[] = {
        {{2, 3, 4}, all, ""},
        {{1, 3, 4}, all, ""},
        {{1, 2, 4}, all, ""},
        {{1, 2, 3}, all, ""},
        {{1, 2, 3, 4}, first_words(all, 5) + paused, read_failed},
        {{6, 7, 8}, all, ""},
        {{5, 7, 8}, all, ""},
        {{5, 6, 8}, all, ""},
        {{5, 6, 7}, all, ""},
        {{5, 6, 7, 8}, first_words(all, 9) + paused, write_failed},
        {{0}, "Query3" + paused, query_failed, 7, false, all},
        {{}, one, "", kThird},
        {{1, 2}, first_words(one, 3) + paused, read_failed, kThird},
        {{3, 4}, first_words(one, 5) + paused, write_failed, kThird},
        {{}, kNothing, error, kClose},
        {{}, "wait34000", error, kPano, false, "wait34000"},
        {{}, kNothing, error, kClose, true},
        {{}, kNothing, error, kPano, true, "wait34000"},
    };
    put_measured(kPano, 1.0F, 1.0F);
    EXPECT_EQ(start(), kApply);
    float red = 1.0F;
    for (const auto& row : rows) {
        red += 0.125F;
        SCOPED_TRACE(red);
        put_measured(kPano, red, 1.0F);
        rk_aiq_sys_ctx_t* const context = g_aiq_ctx[row.lost];
        const auto lose = [&row] { isp::shared_set<rk_aiq_sys_ctx_t*>(g_aiq_ctx[row.lost], nullptr); };
        if (row.meanwhile) {
            sim::at_call("rk_aiq_user_api2_awb_QueryWBInfo", 1, lose);
        } else {
            lose();
        }
        for (const std::size_t word : row.failing) {
            fail_word(row.lost == kThird ? one : all, word, XCAM_RETURN_ERROR_FAILED);
        }
        std::string line;
        const std::vector<std::string> traces = traces_of([&] { line = pass(); });
        EXPECT_EQ(line, row.made);
        if (!row.trace.empty()) {
            EXPECT_EQ(traces.back(), "cam_awb_follow_pano_function: " + row.trace + "\n\n");
        } else {
            const bool written = std::ranges::find(row.failing, 8U) == row.failing.end();
            EXPECT_EQ(held_gains(row.lost == kThird ? kClose : kThird).first == red, written);
        }
        if (row.made.ends_with(paused)) {
            EXPECT_EQ(pass(66'000), "");
        }
        const auto more = traces_of([&] { EXPECT_EQ(pass(), row.next); });
        EXPECT_EQ(std::ranges::count(more, "cam_awb_follow_pano_function: " + error + "\n\n"),
                  row.lost == kPano ? 1 : 0); // in each pass
        isp::shared_set(g_aiq_ctx[row.lost], context);
    }
    put_measured(kPano, 1.0F, 1.0F);
    for (std::size_t word = 1; word <= 4; ++word) {
        fail_word(all, word, XCAM_RETURN_ERROR_FAILED);
    }
    EXPECT_EQ(pass(), first_words(all, 5) + paused) << "without traces";
}

TEST_F(AwbFollow, OneThreadPerProcess)
{
    sim::inject_fault("pthread_create", 1, EAGAIN);
    EXPECT_EQ(traces_of([] { EXPECT_EQ(cam_awb_follow_pano_thread(), -1); }).back(),
              "cam_awb_follow_pano_thread: quenvar create cam_awb_follow_pano_function thread failed!\n\n");
    EXPECT_EQ(running(), 0);
    set_awb_follow_pano(1);
    std::vector<std::thread> starters;
    for (int i = 0; i < 8; ++i) {
        starters.emplace_back([] { EXPECT_EQ(cam_awb_follow_pano_thread(), 0); });
    }
    for (std::thread& starter : starters) {
        starter.join();
    }
    sim::wait(0);
    EXPECT_EQ(running(), 1);
    EXPECT_EQ(pass(), kNothing);
    set_awb_follow_pano(0);
    EXPECT_EQ(pass(100'000), "");
    await_end();
}

TEST_F(AwbFollow, ACalibrationEndsIt)
{
    EXPECT_EQ(start(), kApply);
    const std::string calibration = line_of([] { EXPECT_EQ(Awb_Calibration(1), 0); });
    EXPECT_EQ(first_words(calibration, 4), "wait34000 GetMode0 GetMode2 GetMode3") << "no pass during the calibration";
    await_end();
}

} // namespace
