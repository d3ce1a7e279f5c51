#include "isp_auto_iris/iris_device.h"

#include "isp_ctrl/frame/seam.h"

#include <cstddef>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

namespace isp::iris
{

namespace
{

constexpr std::size_t kRecordSize = sizeof(Iris_Info_Param);

/// Whether the open file can be read through a mapping: a regular file that is too short cannot.
bool long_enough(const struct stat& status)
{
    return !S_ISREG(status.st_mode) || status.st_size >= off_t{kRecordSize};
}

/// Whether the path still leads to the open file, and the file still holds a record.
bool still_there(int fd)
{
    struct stat open_file;
    struct stat at_path;
    return fstat(fd, &open_file) == 0 && stat(seam.iris_device, &at_path) == 0 && open_file.st_dev == at_path.st_dev &&
           open_file.st_ino == at_path.st_ino && long_enough(open_file);
}

void close_device(Device& device)
{
    if (device.record != nullptr) {
        munmap(const_cast<Iris_Info_Param*>(device.record), kRecordSize);
    }
    close(device.fd);
    device = {};
}

} // namespace

void open_device(Device& device)
{
    device.fd = open(seam.iris_device, O_RDONLY | O_CLOEXEC);
}

void advance_device(Device& device)
{
    if (device.fd < 0) {
        open_device(device);
        return;
    }
    if (!still_there(device.fd)) {
        close_device(device);
        return;
    }
    lseek(device.fd, off_t{kRecordSize}, SEEK_SET);
    void* mapping = mmap(nullptr, kRecordSize, PROT_READ, MAP_SHARED, device.fd, 0);
    if (mapping != MAP_FAILED) {
        device.record = static_cast<const Iris_Info_Param*>(mapping);
    }
}

bool read_record(Device& device, Iris_Info_Param& record)
{
    if (device.record == nullptr) {
        return false;
    }
    if (!still_there(device.fd)) {
        close_device(device);
        return false;
    }
    const auto* from = reinterpret_cast<const int16_t*>(device.record);
    auto* to = reinterpret_cast<int16_t*>(&record);
    for (std::size_t i = 0; i < kRecordSize / sizeof(int16_t); ++i) {
        to[i] = __atomic_load_n(&from[i], __ATOMIC_RELAXED);
    }
    return true;
}

} // namespace isp::iris
