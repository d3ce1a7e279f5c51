// Calls of the system, for an executable that links sim_system: recorded under their own names and taking faults like
// every simulated call. The record's value holds the flags of open(), the type of socket(), where the file of mmap()
// would be read next and the mode of fopen() and popen(), whose first character is its lowest byte; its id is the
// protocol of socket(). To open(), read(), write() and unlink() a positive code is the errno of the failure, a negative
// one lets a read or write transfer only so many bytes; the others fail whatever the code. No process is started and
// nothing is sent: popen() returns the name of a lens, sendto() drops the datagram.
#include "base/calls.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <fcntl.h>
#include <memory>
#include <pthread.h>
#include <string_view>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

namespace
{

/// What a call does under the fault that takes it, if one does.
template <typename Real>
auto watched(const char* function, std::size_t count, Real real, long value = 0)
{
    const int code = sim::note_call(function, -1, value);
    if (code > 0) {
        errno = code;
        return decltype(real(count)){-1};
    }
    return real(code < 0 ? std::min(count, static_cast<std::size_t>(-code)) : count);
}

/// Whether a fault takes the call; errno then says so.
bool fails(const char* function, int error, int id = -1, long value = 0)
{
    const bool struck = sim::note_call(function, id, value) != 0;
    errno = struck ? error : errno;
    return struck;
}

/// A mode as a number: 'r' for "r", 'r' + 256 * 'e' for "re".
long number_of(std::string_view mode)
{
    long number = 0;
    std::for_each(mode.rbegin(), mode.rend(), [&](char c) { number = number * 256 + c; });
    return number;
}

} // namespace

extern "C" {

int __real_open(const char* path, int flags, ...);
ssize_t __real_read(int fd, void* buf, std::size_t count);
ssize_t __real_write(int fd, const void* buf, std::size_t count);
int __real_unlink(const char* path);
std::FILE* __real_fopen(const char* path, const char* mode);
void* __real_mmap(void* address, std::size_t size, int protection, int flags, int fd, off_t offset);
int __real_socket(int domain, int type, int protocol);
int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument);

int __wrap_open(const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return watched("open", 0, [=](std::size_t) { return __real_open(path, flags, mode); }, flags);
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

std::FILE* __wrap_fopen(const char* path, const char* mode)
{
    return fails("fopen", EIO, -1, number_of(mode)) ? nullptr : __real_fopen(path, mode);
}

std::FILE* __wrap_popen(const char*, const char* mode)
{
    static char answer[] = "SR1053-50IRC-8M-F20\n";
    // One stream a thread, made at its first call: later ones allocate nothing.
    thread_local const std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(fmemopen(answer, sizeof answer - 1, "r"),
                                                                              std::fclose);
    std::rewind(stream.get());
    return fails("popen", ENOMEM, -1, number_of(mode)) ? nullptr : stream.get();
}

int __wrap_pclose(std::FILE*)
{
    return 0;
}

void* __wrap_mmap(void* address, std::size_t size, int protection, int flags, int fd, off_t offset)
{
    return fails("mmap", ENOMEM, -1, lseek(fd, 0, SEEK_CUR))
               ? MAP_FAILED
               : __real_mmap(address, size, protection, flags, fd, offset);
}

int __wrap_socket(int domain, int type, int protocol)
{
    return fails("socket", EMFILE, protocol, type) ? -1 : __real_socket(domain, type, protocol);
}

ssize_t __wrap_sendto(int, const void*, std::size_t size, int, const sockaddr*, socklen_t)
{
    return fails("sendto", ENOBUFS) ? -1 : static_cast<ssize_t>(size);
}

int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument)
{
    return fails("pthread_create", EAGAIN) ? EAGAIN : __real_pthread_create(thread, attributes, body, argument);
}
}
