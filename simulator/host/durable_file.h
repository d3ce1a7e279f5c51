// Small files, read and replaced whole.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace sim::host
{

enum class Links { followed, replaced };

/// Replaces a file so that, whenever the machine stops, it holds either its old or its new contents: a temporary beside
/// it is written, brought to the disk and renamed. The mode of an existing file stays, a new one has that of the umask;
/// a link's target is replaced, or the link itself; what is no regular file is refused.
/// Returns "PATH: why" when the file is unchanged, or nothing.
std::string write_durably(const std::string& path, std::string_view contents, Links links = Links::followed);

/// Removes the temporaries that killed programs left in a folder; while nobody else writes there.
void remove_temporaries(const std::string& folder);

/// Writes all bytes to a descriptor; a write that was cut short is continued. Returns 0 or an errno value.
int write_all(int descriptor, std::string_view contents);

/// Opens a file without waiting for anything; what is no regular file is refused, and so is a link with O_NOFOLLOW in
/// `flags`. Returns -1 with errno for a failure.
int open_regular(const std::string& path, int flags);

/// Why a file could not be opened or read: `error` is an errno value, which for what is no regular file is kNotRegular.
inline constexpr int kNotRegular = -1;
std::string error_text(int error);

/// Reads a whole regular file of at most `most` bytes; `flags` for open(). Returns 0, kNotRegular or an errno value,
/// EFBIG for a larger file.
int read_file(const std::string& path, std::size_t most, std::string& contents, int flags = 0);

} // namespace sim::host
