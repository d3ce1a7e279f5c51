#include "isp_auto_iris/iris_device.h"

#include "isp_ctrl/core/close_on_exec.h"
#include "isp_ctrl/core/seam.h"

#include <cstddef>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

namespace isp::iris
{

namespace
{

constexpr std::size_t kRecordSize = sizeof(Iris_Info_Param);

/// Whether the open file is too short to be read through a mapping.
bool too_short(int fd)
{
    struct stat status{};
    fstat(fd, &status);
    return S_ISREG(status.st_mode) && status.st_size < off_t{kRecordSize};
}

} // namespace

void open_device(Device& device)
{
    device.fd = open(seam.iris_device, O_RDONLY);
    close_on_exec(device.fd);
}

void advance_device(Device& device)
{
    if (device.fd < 0) {
        open_device(device);
        return;
    }
    lseek(device.fd, off_t{kRecordSize}, SEEK_SET);
    if (too_short(device.fd)) {
        return;
    }
    void* mapping = mmap(nullptr, kRecordSize, PROT_READ, MAP_SHARED, device.fd, 0);
    if (mapping != MAP_FAILED) {
        device.record = static_cast<const Iris_Info_Param*>(mapping);
    }
}

bool read_record(const Device& device, Iris_Info_Param& record)
{
    if (device.record == nullptr) {
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
