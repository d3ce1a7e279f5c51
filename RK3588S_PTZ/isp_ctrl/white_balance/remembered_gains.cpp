// The remembered gains: those of the last one-push measurement and those of the colour temperature. They carry no
// tuning and survive every mode change.
#include "isp_ctrl/core/atomic.h"
#include "isp_ctrl/core/setter_steps.h"
#include "isp_ctrl/core/truncate.h"

rk_aiq_wb_gain_t gs_wb_gain = {2.0839F, 1.0F, 1.0F, 2.0185F};

namespace
{

// Green of the one-push measurement in thousandths, one value for all cameras. Reported, never applied.
float cam_onepush_ggain = 1.0F;

// Gains of the colour temperature, per camera.
constexpr float kRed = 1.9576F;
constexpr float kGreen = 1.0F;
constexpr float kBlue = 1.9956F;
float cam_colortemp_rgain[isp::kCameras] = {kRed, kRed, kRed, kRed, kRed, kRed, kRed, kRed};
float cam_colortemp_ggain[isp::kCameras] = {kGreen, kGreen, kGreen, kGreen, kGreen, kGreen, kGreen, kGreen};
float cam_colortemp_bgain[isp::kCameras] = {kBlue, kBlue, kBlue, kBlue, kBlue, kBlue, kBlue, kBlue};

int onepush(const isp::Step& step, int (*get)(int))
{
    return isp::valid_camera(step) ? isp::read_setting(step, get) : -1;
}

void set_onepush(const isp::Step& step, int (*set)(int, int), int val)
{
    if (isp::valid_camera(step)) {
        isp::write_setting(step, set, val);
    }
}

float colortemp(const isp::Step& step, const float (&gains)[isp::kCameras])
{
    return isp::valid_camera(step) ? isp::shared_get(gains[isp::store_record(step.isp_id)]) : 0.0F;
}

void set_colortemp(const isp::Step& step, float (&gains)[isp::kCameras], float val)
{
    if (isp::valid_camera(step)) {
        isp::shared_set(gains[isp::store_record(step.isp_id)], val);
    }
}

} // namespace

int get_onepush_rgain(int isp_id)
{
    return onepush({__func__, isp_id}, para_get_isp_rgain_onepush_cur);
}

int get_onepush_bgain(int isp_id)
{
    return onepush({__func__, isp_id}, para_get_isp_bgain_onepush_cur);
}

int get_onepush_ggain(int /*isp_id*/)
{
    return isp::truncated(isp::shared_get(cam_onepush_ggain));
}

void set_onepush_rgain(int isp_id, int val)
{
    set_onepush({__func__, isp_id}, para_set_isp_rgain_onepush_cur, val);
}

void set_onepush_bgain(int isp_id, int val)
{
    set_onepush({__func__, isp_id}, para_set_isp_bgain_onepush_cur, val);
}

void set_onepush_ggain(int /*isp_id*/, int val)
{
    isp::shared_set(cam_onepush_ggain, static_cast<float>(val));
}

float get_colortemp_rgain(int isp_id)
{
    return colortemp({__func__, isp_id}, cam_colortemp_rgain);
}

float get_colortemp_ggain(int isp_id)
{
    return colortemp({__func__, isp_id}, cam_colortemp_ggain);
}

float get_colortemp_bgain(int isp_id)
{
    return colortemp({__func__, isp_id}, cam_colortemp_bgain);
}

void set_colortemp_rgain(int isp_id, float val)
{
    set_colortemp({__func__, isp_id}, cam_colortemp_rgain, val);
}

void set_colortemp_ggain(int isp_id, float val)
{
    set_colortemp({__func__, isp_id}, cam_colortemp_ggain, val);
}

void set_colortemp_bgain(int isp_id, float val)
{
    set_colortemp({__func__, isp_id}, cam_colortemp_bgain, val);
}
