// Hot-pixel correction: accepted, without effect.
#include "isp_ctrl/isp_ctrl.h"

int KIV_Set_hotpixel(int /*isp_id*/)
{
    return 0;
}
