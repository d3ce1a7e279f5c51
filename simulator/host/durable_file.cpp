// Replacing a file through a temporary beside it, with what reaches the disk in order: contents, then name.
#include "host/durable_file.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace sim::host
{

namespace
{

constexpr std::string_view kTemporaryEnding = ".tmp-"; // and six letters and digits

int write_temporary(std::string& temporary, mode_t mode, std::string_view contents)
{
    const int fd = mkostemp(temporary.data(), O_CLOEXEC);
    if (fd < 0) {
        temporary.clear();
        return errno;
    }
    int error = write_all(fd, contents);
    if (error == 0 && (fchmod(fd, mode) != 0 || fsync(fd) != 0)) {
        error = errno;
    }
    if (close(fd) != 0 && error == 0) {
        error = errno;
    }
    return error;
}

// Brings the new name to the disk. The file is whole with or without it, so a failure is not reported.
void sync_directory(const std::filesystem::path& directory)
{
    const int fd = open(directory.empty() ? "." : directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0) {
        fsync(fd);
        close(fd);
    }
}

} // namespace

int write_all(int fd, std::string_view contents)
{
    while (!contents.empty()) {
        const ssize_t written = write(fd, contents.data(), contents.size());
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written < 0) {
            return errno;
        }
        contents.remove_prefix(static_cast<std::size_t>(written));
    }
    return 0;
}

std::string write_durably(const std::string& path, std::string_view contents)
{
    std::error_code unresolved;
    const std::filesystem::path resolved = std::filesystem::weakly_canonical(path, unresolved);
    const std::filesystem::path target = unresolved ? std::filesystem::path(path) : resolved;

    struct stat existing;
    const bool exists = stat(target.c_str(), &existing) == 0;
    if (exists && !S_ISREG(existing.st_mode)) {
        return path + ": not a regular file"; // a device, say, that a rename would replace
    }
    const mode_t mode = exists ? existing.st_mode & 07777U : 0644U;
    std::string temporary = target.string() + std::string(kTemporaryEnding) + "XXXXXX";
    int error = write_temporary(temporary, mode, contents);
    if (error == 0 && std::rename(temporary.c_str(), target.c_str()) != 0) {
        error = errno;
    }
    if (error != 0) {
        if (!temporary.empty()) {
            unlink(temporary.c_str());
        }
        return path + ": " + std::generic_category().message(error);
    }
    sync_directory(target.parent_path());
    return {};
}

void remove_temporaries(const std::string& folder)
{
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        const std::size_t ending = name.rfind(kTemporaryEnding);
        std::error_code ignored;
        if (ending != std::string::npos && name.size() == ending + kTemporaryEnding.size() + 6 &&
            entry->is_regular_file(ignored)) {
            std::filesystem::remove(entry->path(), ignored);
        }
    }
}

int read_file(const std::string& path, std::size_t most, std::string& contents)
{
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return errno;
    }
    int error = 0;
    contents.clear();
    char buffer[4096];
    while (true) {
        const ssize_t count = read(fd, buffer, sizeof buffer);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            error = count < 0 ? errno : 0;
            break;
        }
        contents.append(buffer, static_cast<std::size_t>(count));
        if (contents.size() > most) {
            error = EFBIG;
            break;
        }
    }
    close(fd);
    return error;
}

} // namespace sim::host
