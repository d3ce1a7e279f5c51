// The shared iris record that lens control publishes as a device file.
#pragma once

#include "isp_auto_iris/isp_auto_iris.h"

namespace isp::iris
{

/// The device file and its mapping. It may be absent and appear later; once mapped it stays mapped, also when the loop
/// has ended.
struct Device {
    int fd = -1;
    const Iris_Info_Param* record = nullptr; // null while not mapped
};

/// Opens the device, without mapping it.
void open_device(Device& device);

/// Brings an unmapped device one step nearer: opens it, or maps what is open.
void advance_device(Device& device);

/// Reads the record, each field at once. False when it is not mapped.
bool read_record(const Device& device, Iris_Info_Param& record);

} // namespace isp::iris
