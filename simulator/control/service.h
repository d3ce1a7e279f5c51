// Lets controllers steer the cameras with VISCA over TCP and UDP: any number of them, none of which can hold up the
// others or the program. See docs/visca.md.
#pragma once

#include "session/listen.h"

namespace control
{

/// Listens at the address, port + n, for camera n; 0 takes eight free ports. Returns the port of camera 0. Throws
/// BadInput when the ports cannot be had. Once per program, after open_session(), in paced time.
int start_service(const session::Address& address);

/// Ends all connections.
void stop_service();

} // namespace control
