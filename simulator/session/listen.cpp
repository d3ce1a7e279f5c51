#include "session/listen.h"

#include "base/number.h"
#include "session/bad_input.h"

#include <cerrno>
#include <cstring>
#include <memory>
#include <netdb.h>
#include <netinet/in.h>
#include <unistd.h>

namespace session
{

namespace
{

/// A socket at an address, or -1 with errno.
int bound(const addrinfo& at)
{
    const int sock = socket(at.ai_family, at.ai_socktype | SOCK_CLOEXEC | SOCK_NONBLOCK, at.ai_protocol);
    if (sock < 0) {
        return -1;
    }
    const bool stream = at.ai_socktype == SOCK_STREAM;
    const int on = 1; // a port whose former connections still wait for their end can be had
    if (stream) {
        setsockopt(sock, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    }
    if (bind(sock, at.ai_addr, at.ai_addrlen) == 0 && (!stream || listen(sock, SOMAXCONN) == 0)) {
        return sock;
    }
    const int error = errno;
    close(sock);
    errno = error;
    return -1;
}

} // namespace

Address address_of(const std::string& text)
{
    Address address;
    const std::size_t colon = text.rfind(':');
    const std::string port = colon == std::string::npos ? text : text.substr(colon + 1);
    if (colon != std::string::npos) {
        address.host = text.substr(0, colon);
    }
    const bool v6 = address.host.starts_with('[') && address.host.ends_with(']');
    if (!v6 && address.host.find(':') != std::string::npos) {
        throw BadInput("an IPv6 address to serve at stands in brackets: [" + address.host + "]:" + port);
    }
    address.port = sim::number_in<int>(port).value_or(-1);
    if (address.port < 0 || address.port > 65535 || address.host.empty()) {
        throw BadInput("an address to serve at is [HOST:]PORT, not " + text);
    }
    return address;
}

int listen_at(Address& address, int type)
{
    const bool v6 = address.host.front() == '[';
    const std::string host = v6 ? address.host.substr(1, address.host.size() - 2) : address.host;
    addrinfo hints{};
    hints.ai_family = v6 ? AF_INET6 : AF_UNSPEC;
    hints.ai_socktype = type;
    hints.ai_flags = AI_PASSIVE | AI_NUMERICSERV;
    addrinfo* list = nullptr;
    const int failed = getaddrinfo(host.c_str(), std::to_string(address.port).c_str(), &hints, &list);
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> found(list, freeaddrinfo);
    int sock = -1;
    for (const addrinfo* one = list; failed == 0 && one != nullptr && sock < 0; one = one->ai_next) {
        sock = bound(*one);
    }
    if (sock < 0) {
        throw BadInput("cannot serve at " + address.host + ":" + std::to_string(address.port) + ": " +
                       (failed != 0 ? gai_strerror(failed) : std::strerror(errno)));
    }
    sockaddr_storage own{};
    socklen_t length = sizeof own;
    getsockname(sock, reinterpret_cast<sockaddr*>(&own), &length);
    address.port = ntohs(reinterpret_cast<const sockaddr_in&>(own).sin_port); // at the same place for IPv6
    return sock;
}

} // namespace session
