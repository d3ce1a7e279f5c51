// Calls of the system beside those of wrap_files.cpp, for an executable that links with --wrap for each of them:
// recorded under their own names and made to fail by a fault of any code. No process is started and nothing is sent:
// popen() answers with the name of a lens, sendto() drops the datagram.
#include "base/calls.h"

#include <cerrno>
#include <cstdio>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/socket.h>

namespace
{

bool fails(const char* function, int error)
{
    const bool struck = sim::note_call(function) != 0;
    errno = struck ? error : errno;
    return struck;
}

} // namespace

extern "C" {

std::FILE* __real_fopen(const char* path, const char* mode);
void* __real_mmap(void* address, std::size_t size, int protection, int flags, int fd, off_t offset);
int __real_socket(int domain, int type, int protocol);
int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument);

std::FILE* __wrap_fopen(const char* path, const char* mode)
{
    return fails("fopen", EIO) ? nullptr : __real_fopen(path, mode);
}

std::FILE* __wrap_popen(const char*, const char*)
{
    static char answer[] = "SR1053-50IRC-8M-F20\n";
    return fails("popen", ENOMEM) ? nullptr : fmemopen(answer, sizeof answer - 1, "r");
}

int __wrap_pclose(std::FILE* pipe)
{
    return std::fclose(pipe);
}

void* __wrap_mmap(void* address, std::size_t size, int protection, int flags, int fd, off_t offset)
{
    return fails("mmap", ENOMEM) ? MAP_FAILED : __real_mmap(address, size, protection, flags, fd, offset);
}

int __wrap_socket(int domain, int type, int protocol)
{
    return fails("socket", EMFILE) ? -1 : __real_socket(domain, type, protocol);
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
