// Files, pipes and sockets that a program which the host starts does not inherit.
#pragma once

#include <fcntl.h>

namespace isp
{

/// Follows every call that opens something: those have the arguments that whoever stands in for them expects. A program
/// that another thread starts between the two calls inherits it all the same.
inline void close_on_exec(int fd)
{
    fcntl(fd, F_SETFD, FD_CLOEXEC);
}

} // namespace isp
