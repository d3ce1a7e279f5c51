// The channel to the lens service, received by a real socket; and the two flags.
#include "isp_auto_iris.h"
#include "support/threads.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstring>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

static sockaddr_in sent_to;
static in_port_t service_port; // where datagrams go instead, unless it is 0

extern "C" {
ssize_t __real_sendto(int fd, const void* data, std::size_t size, int flags, const sockaddr* address, socklen_t length);

ssize_t __wrap_sendto(int fd, const void* data, std::size_t size, int flags, const sockaddr* address, socklen_t length)
{
    std::memcpy(&sent_to, address, sizeof sent_to);
    sockaddr_in redirected = sent_to;
    redirected.sin_port = service_port != 0 ? service_port : sent_to.sin_port;
    return __real_sendto(fd, data, size, flags, reinterpret_cast<const sockaddr*>(&redirected), length);
}
}

namespace
{

using Bytes = std::vector<unsigned char>;

/// A socket that takes the lens service's place, on any port.
int listen_as_lens_service()
{
    sockaddr_in address{};
    socklen_t size = sizeof address;
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const timeval timeout{5, 0};
    const int fd = socket(AF_INET, SOCK_DGRAM, 0);
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
    EXPECT_EQ(bind(fd, reinterpret_cast<const sockaddr*>(&address), size), 0);
    EXPECT_EQ(getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size), 0);
    service_port = address.sin_port;
    return fd;
}

} // namespace

TEST(IrisChannel, SendsTheRecordBehindTwoBytes)
{
    const int service = listen_as_lens_service();
    const struct {
        unsigned char padding;
        char toDst;
        short dstIris, steps;
        Bytes bytes;
    } rows[] = {
        {0, 0, 800, -3, {0x77, 0x17, 0x00, 0x00, 0x20, 0x03, 0xFD, 0xFF}},
        {0, 1, 690, 0, {0x77, 0x17, 0x01, 0x00, 0xB2, 0x02, 0x00, 0x00}},
        {0xA5, 1, INT16_MIN, INT16_MAX, {0x77, 0x17, 0x01, 0xA5, 0x00, 0x80, 0xFF, 0x7F}},
    };
    for (const auto& row : rows) {
        iris_ctrl_param_t command;
        std::memset(&command, row.padding, sizeof command);
        command.toDst = row.toDst;
        command.dstIris = row.dstIris;
        command.steps = row.steps;
        sent_to = {};
        EXPECT_EQ(set_auto_iris(&command), 0);
        EXPECT_EQ(sent_to.sin_family, AF_INET); // any other and no address would reach this machine too
        EXPECT_EQ(sent_to.sin_addr.s_addr, htonl(INADDR_LOOPBACK));
        EXPECT_EQ(ntohs(sent_to.sin_port), 6789);
        Bytes received(64);
        received.resize(static_cast<std::size_t>(std::max<ssize_t>(recv(service, received.data(), 64, 0), 0)));
        EXPECT_EQ(received, row.bytes);
    }
    close(service);
    service_port = 0;
}

TEST(IrisChannel, KeepsTwoFlagsForTheHost)
{
    EXPECT_EQ(get_flag_exp_lock(), 0);
    EXPECT_EQ(get_iris_manu(), 0);
    set_flag_exp_lock(1);
    EXPECT_EQ(get_iris_manu(), 0);
    set_iris_manu(-7);
    EXPECT_EQ(get_flag_exp_lock(), 1);
    EXPECT_EQ(get_iris_manu(), -7);
}
