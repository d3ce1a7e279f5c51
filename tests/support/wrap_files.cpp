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

/// What a call does under the fault that takes it, if one does.
template <typename Real>
auto watched(const char* function, std::size_t count, Real real)
{
    const int code = sim::note_call(function);
    if (code > 0) {
        errno = code;
        return decltype(real(count)){-1};
    }
    return real(code < 0 ? std::min(count, static_cast<std::size_t>(-code)) : count);
}

} // namespace

extern "C" {

int __real_open(const char* path, int flags, ...);
ssize_t __real_read(int fd, void* buf, std::size_t count);
ssize_t __real_write(int fd, const void* buf, std::size_t count);
int __real_unlink(const char* path);

int __wrap_open(const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return watched("open", 0, [=](std::size_t) { return __real_open(path, flags, mode); });
}

ssize_t __wrap_read(int fd, void* buf, std::size_t count)
{
    return watched("read", count, [=](std::size_t n) { return __real_read(fd, buf, n); });
}

ssize_t __wrap_write(int fd, const void* buf, std::size_t count)
{
    return watched("write", count, [=](std::size_t n) { return __real_write(fd, buf, n); });
}

int __wrap_unlink(const char* path)
{
    return watched("unlink", 0, [=](std::size_t) { return __real_unlink(path); });
}
}
