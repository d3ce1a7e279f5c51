// Metering weights.
#include "exposure_bench.h"

using namespace bench;

namespace
{

using Metering = ExposureBench;
using Grid = uint8_t[225];

int at(const Grid& grid, int row, int column)
{
    return grid[15 * row + column];
}

} // namespace

TEST_F(Metering, StoredGridsHaveTheirShape)
{
    const Grid& average = AE_average_Weight_GridWeights;
    const Grid& center = AE_center_Weight_GridWeights;
    const Grid& bottom = AE_bottom_Weight_GridWeights;
    for (int row = 0; row < 15; ++row) {
        for (int column = 0; column < 15; ++column) {
            SCOPED_TRACE("row " + std::to_string(row) + ", column " + std::to_string(column));
            EXPECT_EQ(at(average, row, column), row == 0 ? 0 : 1);
            EXPECT_EQ(at(center, row, column), at(center, row, 14 - column));
            EXPECT_EQ(at(center, row, column), at(center, 14 - row, column));
            const int margin = std::min({row, column, 14 - row, 14 - column});
            if (margin <= 3) { // border, first and second ring of the pyramid
                EXPECT_EQ(at(center, row, column), margin < 2 ? 0 : margin - 1);
            }
            const int above = row == 0 ? 0 : at(bottom, row - 1, column);
            EXPECT_GE(at(bottom, row, column), above); // heavier towards the bottom
            EXPECT_LE(at(bottom, row, column) - above, 1);
        }
    }
    EXPECT_EQ(at(center, 7, 7), 8);
    EXPECT_EQ(fingerprint(center), 154770983U);
    EXPECT_EQ(fingerprint(bottom), 2373711674U);
}

TEST_F(Metering, ModesLoadTheirGrid)
{
    static Grid weights; // as the engine holds them
    const auto set_meter = [](int meter) {
        begin(AUTO_EXPOSURE);
        EXPECT_EQ(set(kCamera, "meter", meter), 0);
        std::ranges::copy(ae().GridWeights.uCoeff, weights);
    };
    set_meter(Meter_Mode_Average);
    EXPECT_TRUE(std::ranges::equal(weights, AE_average_Weight_GridWeights));
    set_meter(Meter_Mode_Centor);
    EXPECT_TRUE(std::ranges::equal(weights, AE_center_Weight_GridWeights));
    for (const auto& [meter, first_row] : {std::pair{Meter_Mode_Smart, 9}, {Meter_Mode_Top, 0}}) {
        set_meter(meter);
        EXPECT_EQ(std::ranges::count(weights, 3), 54);
        EXPECT_EQ(std::ranges::count(weights, 0), 171);
        EXPECT_EQ(at(weights, first_row, 3), 3); // opposite corners
        EXPECT_EQ(at(weights, first_row + 5, 11), 3);
    }
    for (const int meter : {7, -1}) {
        set_meter(meter);
        EXPECT_TRUE(std::ranges::equal(weights, sim::engine::initial<Uapi_ExpSwAttrV2_t>().GridWeights.uCoeff));
    }
}
