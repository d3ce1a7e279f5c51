// The HTTP server under the pages: many clients at once, of which none can harm the program or the others. See
// docs/live.md.
#pragma once

#include <chrono>
#include <string>

namespace live
{

struct Address {
    std::string host = "127.0.0.1";
    int port = 0;
};

/// What a client may cost.
struct Limits {
    int connections = 64;                 ///< further ones are refused with 503
    int streams = 40;                     ///< of pictures and events, so that connections for requests are left
    int requests = 10000;                 ///< of one connection
    std::size_t request_bytes = 96 << 10; ///< head and body
    std::chrono::milliseconds request{10000};
    std::chrono::milliseconds idle{15000};
    std::chrono::milliseconds stall{3000}; ///< in which a client takes nothing of what it is sent
};

/// [HOST:]PORT, HOST being a name, an address or an IPv6 address in brackets. Throws BadInput for other text.
Address address_of(const std::string& text);

/// Starts to serve and returns the address for a browser: "http://HOST:PORT/". Throws BadInput when the address cannot
/// be had. Once per program, after open_session(), in paced time.
std::string start_serving(const Address& address, const Limits& limits = {});

/// Ends all connections.
void stop_serving();

} // namespace live
