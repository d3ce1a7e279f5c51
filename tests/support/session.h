// A session in a folder of its own, and clients of what it serves.
#pragma once

#include "session/session.h"

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <sys/time.h>

namespace bench
{

/// One per process.
class OpenSession : public testing::Test
{
protected:
    OpenSession()
    {
        session::open_session(folder);
    }
    ~OpenSession() override
    {
        std::filesystem::remove_all(folder);
    }

    const std::string folder = mkdtemp((std::filesystem::temp_directory_path() / "isp_test_XXXXXX").string().data());
};

/// A client of a port of this machine. It gives up reading after twenty seconds.
inline int client_of(int port, int type = SOCK_STREAM, int receive_buffer = 0)
{
    const int sock = socket(AF_INET, type, 0);
    const timeval patience{.tv_sec = 20, .tv_usec = 0};
    setsockopt(sock, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    if (receive_buffer > 0) {
        setsockopt(sock, SOL_SOCKET, SO_RCVBUF, &receive_buffer, sizeof receive_buffer);
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(connect(sock, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    return sock;
}

} // namespace bench
