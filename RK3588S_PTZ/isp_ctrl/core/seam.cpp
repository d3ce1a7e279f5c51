#include "isp_ctrl/core/seam.h"

namespace isp
{

Seam seam = {
    .wb_calibration_file = "/data/wb.dat",
    .shading_file = "/nvdata/shading.data",
    .iris_device = "/dev/sm_af_iris_value",
    .otp_file = "/proc/otp_eeprom-7-50",
    .lens_command = "/usr/bin/vendor_storage -r VENDOR_CUSTOM_ID_1A -t string | grep \"VENDOR_CUSTOM_ID\" | "
                    "sed 's/.*VENDOR_CUSTOM_ID://'",
    .lens_service_port = 6789,
    .sleep = ::sleep,
    .usleep = ::usleep,
    .create_thread = ::pthread_create,
};

} // namespace isp
