// The channel to the lens service, whose datagrams are taken in the system's place; and the two flags.
#include "isp_auto_iris.h"

#include <arpa/inet.h>
#include <cstring>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <vector>

using Bytes = std::vector<unsigned char>;

static sockaddr_in sent_to;
static Bytes sent;

extern "C" ssize_t sendto(int fd, const void* data, std::size_t size, int flags, const sockaddr* address,
                          socklen_t length)
{
    int type = 0;
    socklen_t type_size = sizeof type;
    EXPECT_EQ(getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &type_size), 0);
    EXPECT_EQ(type, SOCK_DGRAM);
    EXPECT_EQ(flags, 0);
    EXPECT_EQ(length, sizeof sent_to);
    std::memcpy(&sent_to, address, sizeof sent_to);
    const auto* const bytes = static_cast<const unsigned char*>(data);
    sent.assign(bytes, bytes + size);
    return static_cast<ssize_t>(size);
}

TEST(IrisChannel, SendsTheRecordBehindTwoBytes)
{
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
        EXPECT_EQ(set_auto_iris(&command), 0);
        EXPECT_EQ(sent_to.sin_family, AF_INET);
        EXPECT_EQ(sent_to.sin_addr.s_addr, htonl(INADDR_LOOPBACK));
        EXPECT_EQ(ntohs(sent_to.sin_port), 6789);
        EXPECT_EQ(sent, row.bytes);
    }
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
