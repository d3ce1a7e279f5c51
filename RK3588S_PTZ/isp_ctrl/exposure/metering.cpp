// Metering: which parts of the picture the automatic exposure measures.
#include "isp_ctrl/exposure/ae_block.h"

#include <cstring>

// Weights of 15 rows of 15 cells, row by row from the top of the picture. Given.

// Everything alike, but for the top row.
const uint8_t AE_average_Weight_GridWeights[225] = {
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, //
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, //
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, //
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, //
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, //
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, //
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, //
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, //
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, //
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, //
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, //
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, //
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, //
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, //
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, //
};

// A centred pyramid inside a border of two cells.
const uint8_t AE_center_Weight_GridWeights[225] = {
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, //
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, //
    0, 0, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 0, //
    0, 0, 1, 2, 2, 2, 2, 2, 2, 2, 2, 2, 1, 0, 0, //
    0, 0, 1, 2, 2, 2, 2, 4, 2, 2, 2, 2, 1, 0, 0, //
    0, 0, 1, 2, 2, 4, 4, 4, 4, 4, 2, 2, 1, 0, 0, //
    0, 0, 1, 2, 2, 4, 4, 4, 4, 4, 2, 2, 1, 0, 0, //
    0, 0, 1, 2, 4, 4, 4, 8, 4, 4, 4, 2, 1, 0, 0, //
    0, 0, 1, 2, 2, 4, 4, 4, 4, 4, 2, 2, 1, 0, 0, //
    0, 0, 1, 2, 2, 4, 4, 4, 4, 4, 2, 2, 1, 0, 0, //
    0, 0, 1, 2, 2, 2, 2, 4, 2, 2, 2, 2, 1, 0, 0, //
    0, 0, 1, 2, 2, 2, 2, 2, 2, 2, 2, 2, 1, 0, 0, //
    0, 0, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 0, //
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, //
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, //
};

// The lower part of the picture.
const uint8_t AE_bottom_Weight_GridWeights[225] = {
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, //
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, //
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, //
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, //
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, //
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, //
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, //
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, //
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, //
    1, 1, 1, 1, 1, 1, 2, 2, 2, 1, 1, 1, 1, 1, 1, //
    1, 1, 1, 1, 1, 2, 2, 3, 2, 2, 1, 1, 1, 1, 1, //
    1, 1, 1, 1, 2, 2, 3, 4, 3, 2, 1, 1, 1, 1, 1, //
    1, 1, 1, 2, 2, 3, 4, 4, 4, 3, 2, 2, 1, 1, 1, //
    1, 1, 2, 2, 3, 4, 4, 4, 4, 4, 3, 2, 2, 1, 1, //
    1, 2, 2, 3, 4, 4, 4, 4, 4, 4, 4, 3, 2, 2, 1, //
};

namespace
{

constexpr int kColumns = 15;

// The zone modes weigh a block of 6 x 9 cells at the centre of the bottom or top edge, and nothing else.
constexpr int kZoneRows = 6;
constexpr int kZoneFirstColumn = 3;
constexpr int kZoneColumns = 9;
constexpr int kZoneWeight = 3;
constexpr int kBottomZoneFirstRow = 9;
constexpr int kTopZoneFirstRow = 0;

constexpr isp::FailureTexts kTexts = {
    .get = ISP_TRACE_FORMAT("rk_aiq_user_api2_ae_getExpSwAttr failed with %#x!\n\n"),
    .set = ISP_TRACE_FORMAT("rk_aiq_user_api2_ae_setExpSwAttr failed with %#x!\n\n"),
};

void fill_zone(uint8_t (&weights)[225], int first_row)
{
    std::memset(weights, 0, sizeof weights);
    for (int row = first_row; row < first_row + kZoneRows; ++row) {
        std::memset(weights + row * kColumns + kZoneFirstColumn, kZoneWeight, kZoneColumns);
    }
}

void fill_weights(uint8_t (&weights)[225], int meter)
{
    switch (meter) {
    case Meter_Mode_Average:
        std::memcpy(weights, AE_average_Weight_GridWeights, sizeof weights);
        break;
    case Meter_Mode_Centor:
        std::memcpy(weights, AE_center_Weight_GridWeights, sizeof weights);
        break;
    case Meter_Mode_Smart:
        fill_zone(weights, kBottomZoneFirstRow);
        break;
    case Meter_Mode_Top:
        fill_zone(weights, kTopZoneFirstRow);
        break;
    default: // a mode without a name keeps the engine's weights
        break;
    }
}

} // namespace

int KIV_Set_meter(int isp_id, Meter_Mode_E index)
{
    const isp::Call call{__func__, isp_id};
    if (!isp::valid_camera(call)) {
        return -1;
    }
    ISP_TRACE(__func__, "metering mode: %d\n\n", static_cast<int>(index));
    isp::write_setting(call, para_set_isp_meter_cur, index);
    return isp::result(isp::modify<isp::ExpSwAttr>(
        call, kTexts, [&](Uapi_ExpSwAttrV2_t& attr) { fill_weights(attr.GridWeights.uCoeff, index); }));
}
