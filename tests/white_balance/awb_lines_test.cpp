// The evaluation of two measurements: its four cases, their boundaries, and single precision.
#include "white_balance/awb_bench.h"

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

/// Both lights as the second one of `record`.
Record same_light(Record record)
{
    std::copy_n(record.begin() + 6, 6, record.begin());
    return record;
}

/// What a record is found to be; nothing is filled in unless there are lines or offsets.
Calibration found(const Record& record)
{
    Record evaluated = record;
    const Calibration calibration = evaluate(evaluated);
    EXPECT_EQ(evaluated == record, calibration == Calibration::needless || calibration == Calibration::useless);
    return calibration;
}

TEST(AwbLines, Example)
{
    Record record = kExample;
    EXPECT_EQ(evaluate(record), Calibration::lines);
    for (std::size_t i = 0; i < 8; ++i) {
        EXPECT_NEAR(record[12 + i], kExampleLines[i], 1e-6) << i;
    }
    record = same_light(kExample);
    const float* const m = record.data();
    const Record expected = {m[0],  m[1],  m[2], m[3],        m[4], m[5],        m[6], m[7],        m[8], m[9],
                             m[10], m[11], 1.0F, 1.2F - 1.0F, 1.0F, 2.6F - 2.4F, 1.0F, 1.5F - 1.0F, 1.0F, 2.9F - 2.4F};
    EXPECT_EQ(evaluate(record), Calibration::offsets);
    EXPECT_EQ(record, expected);
}

// Each row's offset has another last bit in double precision and with a fused multiply-add.
TEST(AwbLines, SinglePrecision)
{
    const std::tuple<float, float, float, float, float, float> rows[] = {
        {1.6F, 3.5F, 1.6F, 3.8F, 0x1.286bc8p+0F, -0x1.02b1dp-2F},
        {0.9F, 3.3F, 0.9F, 3.1F, 0x1.d55552p-1F, 0x1.33335p-4F},
        {3.5F, 2.0F, 3.6F, 0.9F, 0x1.cccccap+0F, -0x1.599994p+1F},
        {2.9F, 0.6F, 3.4F, 1.2F, 0x1.e9bd36p-1F, 0x1.408e8p-1F},
    };
    for (const auto& [pano_d65, pano_a, d65, a, k, b] : rows) {
        Record record = kExample;
        for (std::size_t i = 0; i < 6; ++i) {
            record[i] = i < 2 ? pano_d65 : d65;
            record[6 + i] = i < 2 ? pano_a : a;
        }
        ASSERT_EQ(evaluate(record), Calibration::lines);
        for (std::size_t line = 12; line < 20; line += 2) {
            EXPECT_EQ(record[line], k);
            EXPECT_EQ(record[line + 1], b);
        }
    }
}

TEST(AwbLines, CamerasThatMeasureAlikeNeedNoneAndTheSameLightTwiceGivesOffsets)
{
    const Record alike = {1.8F, 1.6F, 1.8F, 1.6F, 1.8F, 1.6F, 1.0F, 2.4F, 1.0F, 2.4F, 1.0F, 2.4F};
    EXPECT_EQ(found(alike), Calibration::needless);
    EXPECT_EQ(found(same_light(alike)), Calibration::needless);
    for (const std::size_t follower : {2U, 3U, 4U, 5U, 8U, 9U, 10U, 11U}) {
        Record record = alike;
        record[follower] = next(record[follower]);
        EXPECT_EQ(found(record), Calibration::lines) << follower;
    }
    for (std::size_t a = 6; a < 12; ++a) { // one pair not equal, and one pair alone equal
        Record record = same_light(kExample);
        record[a] = next(record[a]);
        EXPECT_EQ(found(record), Calibration::useless) << a;
        record = kExample;
        record[a] = record[a - 6];
        EXPECT_EQ(found(record), Calibration::useless) << a;
        record[a] = next(record[a]);
        EXPECT_EQ(found(record), Calibration::lines) << a;
    }
}

TEST(AwbLines, ARecordHasLinesWhenItsParametersAreFiniteAndNoSlopeIsZero)
{
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    for (std::size_t i = 12; i < 20; ++i) {
        const bool slope = i % 2 == 0;
        for (const float value : {0.0F, -0.0F, kInfinity, -kInfinity, kInfinity - kInfinity, -1.5F,
                                  std::numeric_limits<float>::denorm_min()}) {
            Record record = kExample;
            std::fill(record.begin() + 12, record.end(), 1.0F);
            record[i] = value;
            EXPECT_EQ(isp::has_lines(std::bit_cast<awb_calibration_s>(record)),
                      std::isfinite(value) && (value != 0.0F || !slope))
                << i << ": " << value;
        }
    }
}

} // namespace
