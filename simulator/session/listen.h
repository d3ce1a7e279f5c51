// The sockets that servers listen at.
#pragma once

#include <string>
#include <sys/socket.h>

namespace session
{

struct Address {
    std::string host = "127.0.0.1"; ///< a name, an address or an IPv6 address in brackets
    int port = 0;
};

/// [HOST:]PORT. Throws BadInput for other text.
Address address_of(const std::string& text);

/// A socket that listens at an address, or with SOCK_DGRAM receives there; 0 for a port takes any free one and puts it
/// there. No second program can listen at the same port. Throws BadInput.
int listen_at(Address& address, int type = SOCK_STREAM);

} // namespace session
