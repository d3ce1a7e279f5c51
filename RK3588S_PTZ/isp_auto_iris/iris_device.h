// The shared iris record that lens control publishes as a device file.
#pragma once

#include "isp_auto_iris.h"

namespace isp::iris
{

/// The device file and its mapping. It may be absent, appear later, be too short, or be replaced; a record is only ever
/// read through a mapping that succeeded and still belongs to the file.
struct Device {
    int fd = -1;
    const Iris_Info_Param* record = nullptr; // null while not mapped
};

/// Opens the device, without mapping it.
void open_device(Device& device);

/// Brings an unmapped device one step nearer: opens it, or maps what is open.
void advance_device(Device& device);

/// Reads the record, each field at once. False when it is not mapped, or no longer the file's.
bool read_record(Device& device, Iris_Info_Param& record);

} // namespace isp::iris
