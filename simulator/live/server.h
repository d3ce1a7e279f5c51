// The HTTP server under the pages: many clients at once, of which none can harm the program or the others. See
// docs/live.md.
#pragma once

#include "session/listen.h"

#include <chrono>
#include <string>

namespace live
{

using session::Address;

/// What clients may cost. What is beyond is refused with 503.
struct Limits {
    int connections = 128;
    int of_address = 64;                      ///< connections from one address
    int streams = 40;                         ///< of pictures and events, so that connections for requests are left
    int commands = 8;                         ///< at once
    int settings = 16;                        ///< changes of settings at once
    std::chrono::milliseconds request{10000}; ///< in which a body arrives, and an answer is taken
    std::chrono::milliseconds idle{15000};    ///< until the next head has arrived
    std::chrono::milliseconds stall{3000};    ///< in which a client takes nothing of a stream
};

/// Starts to serve and returns the address for a browser: "http://HOST:PORT/". Throws BadInput when the address cannot
/// be had. Once per program, after open_session(), in paced time.
std::string start_serving(const Address& address, const Limits& limits = {});

/// Ends all connections.
void stop_serving();

} // namespace live
