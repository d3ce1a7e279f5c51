// The modules' Get, Set and query calls: a copy of one block under the context's lock.
#include "base/calls.h"
#include "engine/contexts.h"

using namespace sim::engine;

namespace
{

[[gnu::cold, gnu::noinline]] XCamReturn refuse_null_block(const char* function)
{
    note_misuse(function, "null block");
    return XCAM_RETURN_ERROR_PARAM;
}

// Calls `access` with the blocks of a live context.
template <typename Access>
XCamReturn with_blocks(const char* function, const void* pointer, const void* block, Access access)
{
    Context* const context = find(pointer);
    if (const int fault = sim::note_call(function, recorded_id(context)); fault != 0) [[unlikely]] {
        return static_cast<XCamReturn>(fault);
    }
    if (!block) [[unlikely]] {
        return refuse_null_block(function);
    }
    if (calls_take_time()) [[unlikely]] {
        take_time(context);
    }
    if (context) [[likely]] {
        const std::lock_guard lock(context->lock);
        if (live(context->life)) [[likely]] {
            access(context->blocks);
            return XCAM_RETURN_NO_ERROR;
        }
    }
    return refuse_context(function, pointer);
}

template <typename Block>
XCamReturn get(const char* function, const void* pointer, Block* block)
{
    return with_blocks(function, pointer, block, [=](const Blocks& blocks) { *block = blocks.*member_of<Block>; });
}

template <typename Block>
XCamReturn set(const char* function, const void* pointer, const Block* block)
{
    return with_blocks(function, pointer, block, [=](Blocks& blocks) { store(blocks, *block); });
}

} // namespace

#define GET(function, Block)                                                                                           \
    XCamReturn function(const rk_aiq_sys_ctx_t* ctx, Block* attr)                                                      \
    {                                                                                                                  \
        return get(__func__, ctx, attr);                                                                               \
    }
#define SET_BY_POINTER(function, Pointer)                                                                              \
    XCamReturn function(const rk_aiq_sys_ctx_t* ctx, Pointer attr)                                                     \
    {                                                                                                                  \
        return set(__func__, ctx, attr);                                                                               \
    }
#define SET_BY_VALUE(function, Block)                                                                                  \
    XCamReturn function(const rk_aiq_sys_ctx_t* ctx, Block attr)                                                       \
    {                                                                                                                  \
        return set(__func__, ctx, &attr);                                                                              \
    }

GET(rk_aiq_user_api2_ae_getExpSwAttr, Uapi_ExpSwAttrV2_t)
SET_BY_VALUE(rk_aiq_user_api2_ae_setExpSwAttr, Uapi_ExpSwAttrV2_t)
GET(rk_aiq_user_api2_ae_getLinExpAttr, Uapi_LinExpAttrV2_t)
SET_BY_VALUE(rk_aiq_user_api2_ae_setLinExpAttr, Uapi_LinExpAttrV2_t)
GET(rk_aiq_user_api2_ae_queryExpResInfo, Uapi_ExpQueryInfo_t)
GET(rk_aiq_uapi2_getExpGainRange, paRange_t)
SET_BY_POINTER(rk_aiq_uapi2_setExpGainRange, paRange_t*)

GET(rk_aiq_user_api2_awb_GetWpModeAttrib, rk_aiq_uapiV2_wb_opMode_t)
SET_BY_VALUE(rk_aiq_user_api2_awb_SetWpModeAttrib, rk_aiq_uapiV2_wb_opMode_t)
GET(rk_aiq_user_api2_awb_GetMwbAttrib, rk_aiq_wb_mwb_attrib_t)
SET_BY_VALUE(rk_aiq_user_api2_awb_SetMwbAttrib, rk_aiq_wb_mwb_attrib_t)
GET(rk_aiq_user_api2_awb_QueryWBInfo, rk_aiq_wb_querry_info_t)
GET(rk_aiq_uapi2_getAwbGainOffsetAttrib, rk_aiq_uapiV2_wb_awb_wbGainOffset_t)
SET_BY_VALUE(rk_aiq_uapi2_setAwbGainOffsetAttrib, rk_aiq_uapiV2_wb_awb_wbGainOffset_t)

GET(rk_aiq_user_api2_acp_GetAttrib, acp_attrib_t)
SET_BY_POINTER(rk_aiq_user_api2_acp_SetAttrib, const acp_attrib_t*)
GET(rk_aiq_user_api2_asharpV4_GetAttrib, rk_aiq_sharp_attrib_v4_t)
SET_BY_POINTER(rk_aiq_user_api2_asharpV4_SetAttrib, rk_aiq_sharp_attrib_v4_t*)
GET(rk_aiq_user_api2_agamma_GetAttrib, rk_aiq_gamma_attrib_V2_t)
SET_BY_VALUE(rk_aiq_user_api2_agamma_SetAttrib, rk_aiq_gamma_attrib_V2_t)
GET(rk_aiq_user_api2_adrc_GetAttrib, drc_attrib_t)
SET_BY_VALUE(rk_aiq_user_api2_adrc_SetAttrib, drc_attrib_t)
GET(rk_aiq_user_api2_alsc_GetAttrib, rk_aiq_lsc_attrib_t)
SET_BY_VALUE(rk_aiq_user_api2_alsc_SetAttrib, rk_aiq_lsc_attrib_t)
GET(rk_aiq_user_api2_abayer2dnrV2_GetAttrib, rk_aiq_bayer2dnr_attrib_v2_t)
SET_BY_POINTER(rk_aiq_user_api2_abayer2dnrV2_SetAttrib, rk_aiq_bayer2dnr_attrib_v2_t*)
GET(rk_aiq_user_api2_abayertnrV2_GetAttrib, rk_aiq_bayertnr_attrib_v2_t)
SET_BY_POINTER(rk_aiq_user_api2_abayertnrV2_SetAttrib, rk_aiq_bayertnr_attrib_v2_t*)
GET(rk_aiq_user_api2_acsm_GetAttrib, rk_aiq_uapi_acsm_attrib_t)
SET_BY_POINTER(rk_aiq_user_api2_acsm_SetAttrib, const rk_aiq_uapi_acsm_attrib_t*)
