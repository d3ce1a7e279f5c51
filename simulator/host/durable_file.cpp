// Replacing a file through a temporary beside it, with what reaches the disk in order: contents, then name.
#include "host/durable_file.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <random>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace sim::host
{

namespace
{

constexpr std::string_view kTemporaryEnding = ".tmp-"; // and six letters and digits

/// Makes a file beside another, which nobody else has; -1 with errno.
int make_temporary(const std::string& target, std::string& temporary)
{
    constexpr std::string_view kCharacters = "abcdefghijklmnopqrstuvwxyz0123456789";
    std::random_device random;
    for (int attempt = 0; attempt < 100; ++attempt) {
        temporary = target + std::string(kTemporaryEnding);
        for (int i = 0; i < 6; ++i) {
            temporary += kCharacters[random() % kCharacters.size()];
        }
        const int fd = open(temporary.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd >= 0 || errno != EEXIST) {
            return fd;
        }
    }
    return -1;
}

/// `existing` tells the mode of the file that is replaced; null for a new one.
int write_temporary(const std::string& target, std::string& temporary, const struct stat* existing,
                    std::string_view contents)
{
    const int fd = make_temporary(target, temporary);
    if (fd < 0) {
        temporary.clear();
        return errno;
    }
    int error = write_all(fd, contents);
    const bool mode_kept = existing == nullptr || fchmod(fd, existing->st_mode & 07777U) == 0;
    if (error == 0 && (!mode_kept || fsync(fd) != 0)) {
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

std::string write_durably(const std::string& path, std::string_view contents, Links links)
{
    std::error_code unresolved;
    const std::filesystem::path resolved = std::filesystem::weakly_canonical(path, unresolved);
    const bool followed = links == Links::followed && !unresolved;
    const std::filesystem::path target = followed ? resolved : std::filesystem::path(path);

    struct stat existing;
    const bool exists = lstat(target.c_str(), &existing) == 0;
    if (exists && !S_ISREG(existing.st_mode) && !(links == Links::replaced && S_ISLNK(existing.st_mode))) {
        return path + ": " + error_text(kNotRegular); // a device, say, that a rename would replace
    }
    const bool keeps_mode = exists && S_ISREG(existing.st_mode);
    std::string temporary;
    int error = write_temporary(target.string(), temporary, keeps_mode ? &existing : nullptr, contents);
    if (error == 0 && std::rename(temporary.c_str(), target.c_str()) != 0) {
        error = errno;
    }
    if (error != 0) {
        if (!temporary.empty()) {
            unlink(temporary.c_str());
        }
        return path + ": " + error_text(error);
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

std::string error_text(int error)
{
    return error == kNotRegular ? "not a regular file" : std::generic_category().message(error);
}

int open_regular(const std::string& path, int flags)
{
    const int fd = open(path.c_str(), flags | O_NONBLOCK | O_CLOEXEC, 0666);
    if (fd < 0) {
        errno = errno == ENXIO ? kNotRegular : errno; // a FIFO that nobody reads
        return -1;
    }
    struct stat status;
    if (fstat(fd, &status) == 0 && S_ISREG(status.st_mode)) {
        return fd;
    }
    close(fd);
    errno = kNotRegular;
    return -1;
}

int read_file(const std::string& path, std::size_t most, std::string& contents, int flags)
{
    const int fd = open_regular(path, O_RDONLY | flags);
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
