// File calls that tests watch and make fail. For an executable that links this file with
// -Wl,--wrap=open,--wrap=read,--wrap=write,--wrap=unlink they are recorded and take faults like every simulated call,
// as "open", "read", "write" and "unlink": a positive code is the errno of the failure, a negative one lets a read or
// write transfer only so many bytes.
#include "base/calls.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <fcntl.h>
#include <unistd.h>

namespace
{

bool fails(int code)
{
    if (code > 0) {
        errno = code;
    }
    return code > 0;
}

std::size_t transferred(std::size_t count, int code)
{
    return code < 0 ? std::min(count, static_cast<std::size_t>(-code)) : count;
}

} // namespace

extern "C" {

int __real_open(const char* path, int flags, ...);
ssize_t __real_read(int fd, void* buf, std::size_t count);
ssize_t __real_write(int fd, const void* buf, std::size_t count);
int __real_unlink(const char* path);

int __wrap_open(const char* path, int flags, ...)
{
    if (fails(sim::note_call("open"))) {
        return -1;
    }
    if ((flags & O_CREAT) == 0) {
        return __real_open(path, flags);
    }
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = va_arg(arguments, mode_t);
    va_end(arguments);
    return __real_open(path, flags, mode);
}

ssize_t __wrap_read(int fd, void* buf, std::size_t count)
{
    const int code = sim::note_call("read");
    return fails(code) ? -1 : __real_read(fd, buf, transferred(count, code));
}

ssize_t __wrap_write(int fd, const void* buf, std::size_t count)
{
    const int code = sim::note_call("write");
    return fails(code) ? -1 : __real_write(fd, buf, transferred(count, code));
}

int __wrap_unlink(const char* path)
{
    return fails(sim::note_call("unlink")) ? -1 : __real_unlink(path);
}
}
