// The attribute blocks and results of one context, one member of each kind.
#pragma once

#include "aiq/rk_aiq.h"

#include <algorithm>
#include <type_traits>

namespace sim::engine
{

inline constexpr int kSetpoints = 6;

struct Blocks {
    acp_attrib_t acp;
    paRange_t gain_range;
    rk_aiq_uapiV2_wb_opMode_t wb_mode;
    rk_aiq_wb_mwb_attrib_t wb_manual;
    rk_aiq_uapiV2_wb_awb_wbGainOffset_t wb_offset;
    Uapi_ExpQueryInfo_t exposure_result;
    rk_aiq_wb_querry_info_t wb_result;
    Uapi_LinExpAttrV2_t lin_ae;
    float setpoints[kSetpoints]; // what lin_ae.Params.DySetpoint points to
    Uapi_ExpSwAttrV2_t ae;
    rk_aiq_sharp_attrib_v4_t sharp;
    rk_aiq_gamma_attrib_V2_t gamma;
    drc_attrib_t drc;
    rk_aiq_bayer2dnr_attrib_v2_t nr2d;
    rk_aiq_bayertnr_attrib_v2_t nr3d;
    rk_aiq_uapi_acsm_attrib_t csm;
    rk_aiq_lsc_attrib_t lsc;
};

/// The member of Blocks that holds a `Block`.
template <typename Block>
inline constexpr Block Blocks::* member_of = nullptr;
template <>
inline constexpr auto member_of<acp_attrib_t> = &Blocks::acp;
template <>
inline constexpr auto member_of<paRange_t> = &Blocks::gain_range;
template <>
inline constexpr auto member_of<rk_aiq_uapiV2_wb_opMode_t> = &Blocks::wb_mode;
template <>
inline constexpr auto member_of<rk_aiq_wb_mwb_attrib_t> = &Blocks::wb_manual;
template <>
inline constexpr auto member_of<rk_aiq_uapiV2_wb_awb_wbGainOffset_t> = &Blocks::wb_offset;
template <>
inline constexpr auto member_of<Uapi_ExpQueryInfo_t> = &Blocks::exposure_result;
template <>
inline constexpr auto member_of<rk_aiq_wb_querry_info_t> = &Blocks::wb_result;
template <>
inline constexpr auto member_of<Uapi_LinExpAttrV2_t> = &Blocks::lin_ae;
template <>
inline constexpr auto member_of<Uapi_ExpSwAttrV2_t> = &Blocks::ae;
template <>
inline constexpr auto member_of<rk_aiq_sharp_attrib_v4_t> = &Blocks::sharp;
template <>
inline constexpr auto member_of<rk_aiq_gamma_attrib_V2_t> = &Blocks::gamma;
template <>
inline constexpr auto member_of<drc_attrib_t> = &Blocks::drc;
template <>
inline constexpr auto member_of<rk_aiq_bayer2dnr_attrib_v2_t> = &Blocks::nr2d;
template <>
inline constexpr auto member_of<rk_aiq_bayertnr_attrib_v2_t> = &Blocks::nr3d;
template <>
inline constexpr auto member_of<rk_aiq_uapi_acsm_attrib_t> = &Blocks::csm;
template <>
inline constexpr auto member_of<rk_aiq_lsc_attrib_t> = &Blocks::lsc;

/// Takes a block over. The table of set-points stays the engine's own: its values are taken over, the pointer is not,
/// unless it is null: an engine without set-points.
template <typename Block>
void store(Blocks& blocks, const Block& block)
{
    blocks.*member_of<Block> = block;
    if constexpr (std::is_same_v<Block, Uapi_LinExpAttrV2_t>) {
        Uapi_DySetpoint_t& table = blocks.lin_ae.Params.DySetpoint;
        if (table.DySetpoint && table.DySetpoint != blocks.setpoints) {
            std::copy_n(table.DySetpoint, std::clamp(table.array_size, 0, kSetpoints), blocks.setpoints);
            table.DySetpoint = blocks.setpoints;
        }
    }
}

/// What every new context holds; lin_ae points to its own setpoints.
const Blocks& initial_blocks();

} // namespace sim::engine
