// The evaluation of two measurements: its four cases, their boundaries, and single precision.
#include "following/awb_bench.h"

#include <cmath>
#include <limits>

using namespace bench;
using isp::Calibration;

namespace
{

float next(float value)
{
    return std::nextafter(value, 10.0F);
}

TEST(AwbLines, Example)
{
    Record record = kExample;
    EXPECT_EQ(evaluate(record), Calibration::lines);
    for (std::size_t i = 0; i < 8; ++i) {
        EXPECT_NEAR(record[12 + i], kExampleLines[i], 1e-6) << i;
    }
}

// Each row's offset has another last bit in double precision and with a fused multiply-add.
TEST(AwbLines, SinglePrecision)
{
    const struct {
        float pano_d65, pano_a, d65, a, k, b;
    } rows[] = {
        {1.6F, 3.5F, 1.6F, 3.8F, 0x1.286bc8p+0F, -0x1.02b1dp-2F},
        {0.9F, 3.3F, 0.9F, 3.1F, 0x1.d55552p-1F, 0x1.33335p-4F},
        {3.5F, 2.0F, 3.6F, 0.9F, 0x1.cccccap+0F, -0x1.599994p+1F},
        {2.9F, 0.6F, 3.4F, 1.2F, 0x1.e9bd36p-1F, 0x1.408e8p-1F},
    };
    for (const auto& r : rows) {
        for (std::size_t blue = 0; blue < 2; ++blue) {
            Record record = kExample;
            for (std::size_t follower : {2U, 4U}) {
                record[follower + blue] = r.d65;
                record[6 + follower + blue] = r.a;
            }
            record[blue] = r.pano_d65;
            record[6 + blue] = r.pano_a;
            ASSERT_EQ(evaluate(record), Calibration::lines);
            for (std::size_t line : {12U, 16U}) {
                EXPECT_EQ(record[line + 2 * blue], r.k);
                EXPECT_EQ(record[line + 2 * blue + 1], r.b);
            }
        }
    }
}

TEST(AwbLines, CamerasThatMeasureAlikeNeedNone)
{
    const Record alike = {1.8F, 1.6F, 1.8F, 1.6F, 1.8F, 1.6F, 1.0F, 2.4F, 1.0F, 2.4F, 1.0F, 2.4F};
    Record record = alike;
    EXPECT_EQ(evaluate(record), Calibration::needless);
    EXPECT_EQ(record, alike) << "nothing is filled in";
    for (const std::size_t follower : {2U, 3U, 4U, 5U, 8U, 9U, 10U, 11U}) {
        record = alike;
        record[follower] = next(record[follower]);
        EXPECT_EQ(evaluate(record), Calibration::lines) << follower;
    }
    std::copy_n(alike.begin(), 6, record.begin() + 6); // and the same light twice
    std::copy_n(alike.begin(), 6, record.begin());
    EXPECT_EQ(evaluate(record), Calibration::needless);
}

TEST(AwbLines, TheSameLightTwiceGivesOffsets)
{
    Record same = kExample;
    std::copy_n(kExample.begin(), 6, same.begin() + 6);
    Record record = same;
    EXPECT_EQ(evaluate(record), Calibration::offsets);
    const Record expected = {1.8F, 1.6F, 2.0F, 1.5F,        2.2F, 1.4F,        1.8F, 1.6F,        2.0F, 1.5F,
                             2.2F, 1.4F, 1.0F, 2.0F - 1.8F, 1.0F, 1.5F - 1.6F, 1.0F, 2.2F - 1.8F, 1.0F, 1.4F - 1.6F};
    EXPECT_EQ(record, expected);

    for (std::size_t a = 6; a < 12; ++a) { // one pair not equal, and one pair alone equal
        record = same;
        record[a] = next(record[a]);
        const Record before = record;
        EXPECT_EQ(evaluate(record), Calibration::useless) << a;
        EXPECT_EQ(record, before);
        record = kExample;
        record[a] = record[a - 6];
        EXPECT_EQ(evaluate(record), Calibration::useless) << a;
        record[a] = next(record[a]);
        EXPECT_EQ(evaluate(record), Calibration::lines) << a;
    }
}

TEST(AwbLines, ARecordHasLinesWhenItsParametersAreFiniteAndNoSlopeIsZero)
{
    using Limits = std::numeric_limits<float>;
    awb_calibration_s record{};
    EXPECT_FALSE(isp::has_lines(record));
    float* const slopes[] = {&record.rgain_k, &record.bgain_k, &record.rgain_k2, &record.bgain_k2};
    float* const offsets[] = {&record.rgain_b, &record.bgain_b, &record.rgain_b2, &record.bgain_b2};
    for (float* slope : slopes) {
        *slope = -1.5F;
    }
    EXPECT_TRUE(isp::has_lines(record)) << "an offset may be zero";
    const auto refused = [&](float* parameter, std::initializer_list<float> values) {
        for (const float bad : values) {
            *parameter = bad;
            EXPECT_FALSE(isp::has_lines(record)) << bad;
        }
        *parameter = Limits::denorm_min();
        EXPECT_TRUE(isp::has_lines(record));
    };
    for (int i = 0; i < 4; ++i) {
        refused(slopes[i], {0.0F, -0.0F, Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN()});
        refused(offsets[i], {Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN()});
    }
}

} // namespace
