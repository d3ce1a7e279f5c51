// One-push white balance: a measurement of four seconds, what it remembers and what the engine then holds.
#include "white_balance/wb_bench.h"

using namespace bench;
using ::testing::ElementsAre;

namespace
{

constexpr const char* kSequence =
    "GetMode1 SetMode1 wait3000000 Query1 GetMode1 GetGains1 wait1000000 SetMode1 SetGains1";

class OnePush : public WhiteBalance
{
protected:
    void SetUp() override
    {
        WhiteBalance::SetUp();
        store(kCamera, "wb_mode", ONE_PUSH_WHITE_BALANCE);
        put_balance(kCamera, kHeld);
    }

    inline static const Balance kHeld = [] {
        Balance b = with_offset(kBefore, 0.0F, 0.0F);
        b.mode = RK_AIQ_WB_MODE_MANUAL;
        return b;
    }();
};

TEST_F(OnePush, MeasuresRemembersAndHolds)
{
    // red_kept, blue_kept, green_kept: thousandths, the product taken in single precision, truncated
    const std::tuple<float, float, float, int, int, int> rows[] = {
        {1.9576F, 2.0F, 1.0F, 1957, 2000, 1000},
        {1.999F, 2.3F, 1.002F, 1999, 2300, 1002}, // in double precision 1998, 2299 and 1001
        {0.0009F, 3.9999F, 0.9999F, 0, 3999, 999},
    };
    for (const auto& [red, blue, green, red_kept, blue_kept, green_kept] : rows) {
        for (int level = 0; level <= 20; ++level) {
            SCOPED_TRACE(::testing::Message() << red << ", red tuning " << level);
            tuning(level, 20 - level);
            put_balance(kCamera, kHeld);
            put_measured(kCamera, red, blue, green);
            const sim::Microseconds start = sim::now();
            EXPECT_EQ(line_of([] { EXPECT_EQ(KIV_Set_wb_mode_onepush(kCamera), 0); }), kSequence);
            EXPECT_EQ(sim::now() - start, 4'000'000);
            EXPECT_EQ(get_onepush_rgain(kCamera), red_kept);
            EXPECT_EQ(get_onepush_bgain(kCamera), blue_kept);
            EXPECT_EQ(get_onepush_ggain(kCamera), green_kept);
            EXPECT_EQ(balance(kCamera), with_offset(holding(tuned(red_kept / 1000.0L, level), 1.0F,
                                                            tuned(blue_kept / 1000.0L, 20 - level)),
                                                    0.0F, 0.0F));
        }
    }
}

TEST_F(OnePush, FailuresLeaveWhatWasReached)
{
    const Balance running = with_offset(kBefore, 0.0F, 0.0F);
    // word: of the sequence
    const std::tuple<std::size_t, bool, sim::Microseconds, Balance> rows[] = {
        {0, false, 0, kHeld},          {1, false, 0, kHeld},          {3, false, 3'000'000, running},
        {4, true, 3'000'000, running}, {5, true, 3'000'000, running}, {7, true, 4'000'000, running},
        {8, true, 4'000'000, kHeld}, // manual again, with the previous gains
    };
    for (const auto& [word, remembered, passed, left] : rows) {
        SCOPED_TRACE(word);
        put_balance(kCamera, kHeld);
        put_measured(kCamera, 1.5F, 2.5F);
        store(kCamera, "rgain_onepush", 7);
        store(kCamera, "bgain_onepush", 8);
        set_onepush_ggain(kCamera, 9);
        fail_word(kSequence, word, XCAM_RETURN_ERROR_PARAM);
        const sim::Microseconds start = sim::now();
        EXPECT_EQ(KIV_Set_wb_mode_onepush(kCamera), -1);
        EXPECT_EQ(sim::now() - start, passed);
        EXPECT_EQ(balance(kCamera), left);
        EXPECT_THAT((std::vector{get_onepush_rgain(kCamera), get_onepush_bgain(kCamera), get_onepush_ggain(kCamera)}),
                    remembered ? ElementsAre(1500, 2500, 1000) : ElementsAre(7, 8, 9));
    }
}

TEST_F(OnePush, RememberedGains)
{
    EXPECT_THAT((std::vector{gs_wb_gain.rgain, gs_wb_gain.grgain, gs_wb_gain.gbgain, gs_wb_gain.bgain}),
                ElementsAre(2.0839F, 1.0F, 1.0F, 2.0185F));
    EXPECT_EQ(get_colortemp_rgain(-1), 0.0F);
    set_onepush_ggain(-7, 1001); // one for all cameras: the id is not used
    EXPECT_EQ(get_onepush_ggain(99), 1001);
    set_onepush_ggain(0, INT_MAX); // beyond what a float holds exactly
    EXPECT_EQ(get_onepush_ggain(0), INT_MAX);
    for (int camera = 0; camera < 8; ++camera) {
        EXPECT_EQ(get_colortemp_rgain(camera), 1.9576F);
        EXPECT_EQ(get_colortemp_ggain(camera), 1.0F);
        EXPECT_EQ(get_colortemp_bgain(camera), 1.9956F);
        set_onepush_rgain(camera, 1000 + camera);
        set_onepush_bgain(camera, 2000 + camera);
        set_colortemp_rgain(camera, 2.0F + static_cast<float>(camera));
    }
    for (int camera = 0; camera < 8; ++camera) {
        EXPECT_EQ(get_onepush_rgain(camera), 1000 + camera);
        EXPECT_EQ(get_onepush_bgain(camera), 2000 + camera);
        EXPECT_EQ(get_colortemp_rgain(camera), 2.0F + static_cast<float>(camera));
    }
}

} // namespace
