// The version in the library's file, for `strings` on a camera.
#include "isp_ctrl/isp_ctrl.h"

[[gnu::used]] static const char kVersion[] = "isp_ctrl " ISP_CTRL_VERSION;
