/** @file
 * The image-signal-processing engine as this library uses it: all modules. */
#ifndef AIQ_RK_AIQ_H
#define AIQ_RK_AIQ_H

#include "rk_aiq_abayernr.h"
#include "rk_aiq_acp.h"
#include "rk_aiq_acsm.h"
#include "rk_aiq_adrc.h"
#include "rk_aiq_ae.h"
#include "rk_aiq_agamma.h"
#include "rk_aiq_alsc.h"
#include "rk_aiq_asharp.h"
#include "rk_aiq_awb.h"
#include "rk_aiq_camgroup.h"
#include "rk_aiq_sysctl.h"
#include "rk_aiq_types.h"

#endif
