// The board's one-time-programmable flag, which tells the host which of two plans to follow.
#include "isp_ctrl/core/close_on_exec.h"
#include "isp_ctrl/core/seam.h"
#include "isp_ctrl/core/trace.h"
#include "isp_ctrl/isp_ctrl.h"

#include <cstdio>
#include <cstring>

int getreadotp(void)
{
    std::FILE* file = std::fopen(isp::seam.otp_file, "r");
    if (file == nullptr) {
        ISP_TRACE(__func__, "erro dont open！\n\n");
        return 1;
    }
    isp::close_on_exec(fileno(file));
    int flag = 0;
    char line[100];
    while (std::fgets(line, sizeof line, file) != nullptr) {
        if (std::strstr(line, "flag") != nullptr &&
            (std::sscanf(line, "flag = %d", &flag) == 1 || std::sscanf(line, "flag%d", &flag) == 1)) {
            break;
        }
    }
    std::fclose(file);
    if (flag == 1) {
        ISP_TRACE(__func__, "flag==1，planA\n\n");
        return 1;
    }
    ISP_TRACE(__func__, "flag!=1，planB\n\n");
    return 0;
}
