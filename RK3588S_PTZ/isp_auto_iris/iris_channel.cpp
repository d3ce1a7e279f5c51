// The channel of iris commands: the sender to the lens service, and two flags that the host keeps here.
#include "isp_auto_iris/isp_auto_iris.h"
#include "isp_ctrl/core/atomic.h"
#include "isp_ctrl/core/close_on_exec.h"
#include "isp_ctrl/core/seam.h"
#include "isp_ctrl/core/trace.h"

#include <arpa/inet.h>
#include <cstring>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace
{

// Datagram: two bytes of header, then the command's six bytes as they are.
constexpr unsigned char kHeader[2] = {0x77, 0x17};
constexpr std::size_t kDatagramSize = sizeof kHeader + sizeof(iris_ctrl_param_t);

int flag_explock_mode = 0;
int flag_iris_mode = 0;

} // namespace

int set_auto_iris(iris_ctrl_param_t* param)
{
    if (param == nullptr) {
        ISP_TRACE(__func__, "param == NULL\n");
        return -1;
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = inet_addr("127.0.0.1");
    address.sin_port = htons(isp::seam.lens_service_port);
    const int fd = socket(AF_INET, SOCK_DGRAM, 0);
    if (fd < 0) {
        ISP_TRACE(__func__, "socket error\n\n");
        return -1;
    }
    isp::close_on_exec(fd);
    unsigned char datagram[kDatagramSize] = {};
    std::memcpy(datagram, kHeader, sizeof kHeader);
    std::memcpy(datagram + sizeof kHeader, param, sizeof *param);
    sendto(fd, datagram, sizeof datagram, 0, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    close(fd);
    return 0;
}

void set_flag_exp_lock(int flagexpLock)
{
    isp::shared_set(flag_explock_mode, flagexpLock);
}

int get_flag_exp_lock(void)
{
    return isp::shared_get(flag_explock_mode);
}

void set_iris_manu(int mode)
{
    isp::shared_set(flag_iris_mode, mode);
}

int get_iris_manu(void)
{
    return isp::shared_get(flag_iris_mode);
}
