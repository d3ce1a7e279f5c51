// Files, pipes and sockets that a program which the host starts does not inherit.
#pragma once

#include <fcntl.h>

namespace isp
{

/// For what is opened by a call that takes no such flag. A program that another thread starts between the two calls
/// still inherits it.
inline void close_on_exec(int fd)
{
    fcntl(fd, F_SETFD, FD_CLOEXEC);
}

} // namespace isp
