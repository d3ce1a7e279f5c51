// Small files, read and replaced whole.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace sim::host
{

/// Replaces a file so that, whenever the machine stops, it holds either its old or its new contents: a temporary beside
/// it is written, brought to the disk and renamed. A link's target is replaced, the mode of an existing file stays;
/// what is no regular file is refused.
/// Returns "PATH: why" when the file is unchanged, or nothing.
std::string write_durably(const std::string& path, std::string_view contents);

/// Removes the temporaries that killed programs left in a folder; while nobody else writes there.
void remove_temporaries(const std::string& folder);

/// Writes all bytes to a descriptor; a write that was cut short is continued. Returns 0 or an errno value.
int write_all(int descriptor, std::string_view contents);

/// Reads a whole file of at most `most` bytes. Returns 0 or an errno value, EFBIG for a larger file.
int read_file(const std::string& path, std::size_t most, std::string& contents);

} // namespace sim::host
