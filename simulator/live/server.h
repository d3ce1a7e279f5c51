// The HTTP server under the pages: many clients at once, of which none can harm the program or the others. See
// docs/live.md.
#pragma once

#include <string>

namespace live
{

struct Address {
    std::string host = "127.0.0.1";
    int port = 0;
};

/// [HOST:]PORT, HOST being a name, an address or an IPv6 address in brackets. Throws BadInput for other text.
Address address_of(const std::string& text);

/// Starts to serve and returns the address for a browser: "http://HOST:PORT/". Throws BadInput when the address cannot
/// be had. Once per program, after open_session(), in paced time.
std::string start_serving(const Address& address);

/// Ends all connections.
void stop_serving();

} // namespace live
