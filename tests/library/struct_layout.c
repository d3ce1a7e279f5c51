/* The records that cross the library's boundaries have these sizes on every processor: a host and a library that were
 * built apart agree on them. Sizes in bytes. */
#include "af/lens_ctrl.h"
#include "aiq/rk_aiq.h"
#include "base/lib_dbgout.h"
#include "isp_auto_iris.h"
#include "isp_ctrl.h"
#include "platformpara/para_isp.h"

#define SIZE(type, bytes) _Static_assert(sizeof(type) == (bytes), #type)

/* Host */
SIZE(lib_dbgout_profile_s, 48);
SIZE(kiv_isp_param_s, 156);
SIZE(iris_ctrl_param_t, 6);

/* Files and shared memory */
SIZE(Iris_Info_Param, 36);
SIZE(awb_calibration_s, 80);

/* Engine: life */
SIZE(rk_aiq_static_info_t, 36);
SIZE(rk_aiq_camgroup_instance_cfg_t, 120);

/* Engine: attribute blocks and live results */
SIZE(Uapi_ExpSwAttrV2_t, 1008);
SIZE(Uapi_LinExpAttrV2_t, 40);
SIZE(Uapi_ExpQueryInfo_t, 28);
SIZE(paRange_t, 8);
SIZE(rk_aiq_uapiV2_wb_opMode_t, 12);
SIZE(rk_aiq_wb_mwb_attrib_t, 40);
SIZE(rk_aiq_uapiV2_wb_awb_wbGainOffset_t, 28);
SIZE(rk_aiq_wb_querry_info_t, 28);
SIZE(acp_attrib_t, 12);
SIZE(rk_aiq_sharp_attrib_v4_t, 172);
SIZE(rk_aiq_gamma_attrib_V2_t, 136);
SIZE(drc_attrib_t, 228);
SIZE(rk_aiq_lsc_attrib_t, 43052);
SIZE(rk_aiq_bayer2dnr_attrib_v2_t, 224);
SIZE(rk_aiq_bayertnr_attrib_v2_t, 224);
SIZE(rk_aiq_uapi_acsm_attrib_t, 60);
