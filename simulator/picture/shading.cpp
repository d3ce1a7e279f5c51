// Which lens-shading gains the engine uses: the first table of the illuminant whose reference gains are nearest to the
// white balance in force. A grid value is a gain times 1024; the hardware knows none below 1.
#include "picture/stages.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <span>
#include <string_view>

namespace sim::picture
{

namespace
{

/// The first `length` elements of an array, as far as it has them.
template <typename T, std::size_t N>
std::span<const T> used(const T (&array)[N], int length)
{
    return {array, static_cast<std::size_t>(std::clamp(length, 0, static_cast<int>(N)))};
}

std::string_view text(const char (&name)[RK_AIQ_LSC_NAME_SIZE])
{
    return {name, ::strnlen(name, RK_AIQ_LSC_NAME_SIZE)};
}

const lsc_table_t* table_in_use(const lsc_auto_t& lsc, const rk_aiq_wb_gain_t& wb)
{
    const lsc_illuminant_t* nearest = nullptr;
    float smallest = std::numeric_limits<float>::infinity();
    for (const lsc_illuminant_t& illuminant : used(lsc.alscCoef.illAll, lsc.alscCoef.illAll_len)) {
        const float distance = std::hypot(illuminant.wbGain[0] - wb.rgain, illuminant.wbGain[1] - wb.bgain);
        if (distance < smallest) {
            nearest = &illuminant;
            smallest = distance;
        }
    }
    for (const lsc_table_t& table : used(lsc.tbl.tableAll, lsc.tbl.tableAll_len)) {
        if (nearest != nullptr && text(table.illumination) == text(nearest->name)) {
            return &table;
        }
    }
    return nullptr;
}

template <typename Grids>
ShadingGains gains_of(const Grids& grids)
{
    const auto gain = [](const lsc_matrix_t& grid, std::size_t i) {
        return std::max(static_cast<float>(grid.uCoeff[i]) / 1024.0F, 1.0F);
    };
    ShadingGains gains;
    for (std::size_t i = 0; i < gains.size(); ++i) {
        gains[i] = {gain(grids.lsc_samples_red, i),
                    0.5F * (gain(grids.lsc_samples_greenR, i) + gain(grids.lsc_samples_greenB, i)),
                    gain(grids.lsc_samples_blue, i)};
    }
    return gains;
}

} // namespace

std::optional<ShadingGains> shading_gains(const rk_aiq_lsc_attrib_t& lsc, const rk_aiq_wb_gain_t& wb)
{
    if (lsc.byPass) {
        return std::nullopt;
    }
    if (lsc.mode == RK_AIQ_LSC_MODE_MANUAL) {
        return gains_of(lsc.stManual);
    }
    if (lsc.mode == RK_AIQ_LSC_MODE_AUTO && lsc.stAuto.common.enable) {
        if (const lsc_table_t* table = table_in_use(lsc.stAuto, wb)) {
            return gains_of(*table);
        }
    }
    return std::nullopt;
}

} // namespace sim::picture
