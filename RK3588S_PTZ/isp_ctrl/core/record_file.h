// Files that are the raw image of a record: read with one call, without header or checksum.
#pragma once

#include <sys/types.h>

namespace isp
{

/// Reads up to `size` bytes of a file for `function`, which its traces name. The number of bytes read, which may be
/// short, or -1: `buf` is null, `size` negative, or the file cannot be opened or read (printed to standard error).
ssize_t load_record(const char* function, const char* path, void* buf, int size);

} // namespace isp
