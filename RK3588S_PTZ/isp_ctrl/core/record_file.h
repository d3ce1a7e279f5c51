// Files that are the raw image of a record: read with one call, without header or checksum.
#pragma once

#include "isp_ctrl/core/trace.h"

#include <sys/types.h>

namespace isp
{

/// Reads up to `size` bytes of a file, for the function that `place` names. The number of bytes read, which may be
/// short, or -1: `buf` is null, `size` negative, or the file cannot be opened or read (printed to standard error).
ssize_t load_record(const Place& place, const char* path, void* buf, int size);

} // namespace isp
