#include "isp_ctrl/core/record_file.h"

#include "isp_ctrl/core/close_on_exec.h"
#include "isp_ctrl/core/trace.h"

#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

ssize_t isp::load_record(const Place& place, const char* path, void* buf, int size)
{
    ISP_TRACE_AT(place, "Enter\n\n");
    if (buf == nullptr || size < 0) {
        ISP_TRACE_AT(place, "no room for %d bytes\n\n", size);
        return -1;
    }
    const int fd = open(path, O_RDONLY);
    if (fd < 0) {
        std::perror("open reg_file fail:");
        return -1;
    }
    close_on_exec(fd);
    const ssize_t count = read(fd, buf, static_cast<std::size_t>(size));
    if (count < 0) {
        std::perror("open reg_file fail:");
        close(fd);
        return -1;
    }
    close(fd);
    ISP_TRACE_AT(place, "Leave %d %d\n\n", static_cast<int>(count), size);
    return count;
}
