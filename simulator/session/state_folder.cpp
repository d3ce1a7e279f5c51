#include "session/state_folder.h"

#include "host/durable_file.h"
#include "session/bad_input.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <unistd.h>

namespace session
{

namespace
{

namespace fs = std::filesystem;

int lock_file = -1; // open as long as the process runs
std::string copy;

/// The folder's absolute name. Throws BadInput unless it is there and may be entered.
std::string usable(const std::string& path)
{
    std::error_code error;
    const std::string folder = fs::absolute(path, error).string();
    const bool is_folder = !error && fs::is_directory(folder, error);
    if (!is_folder) {
        throw BadInput("cannot use the folder " + path + ": " + (error ? error.message() : "it is something else"));
    }
    if (access(folder.c_str(), R_OK | X_OK) != 0) {
        throw BadInput("cannot use the folder " + path + ": " + std::strerror(errno));
    }
    return folder;
}

/// Takes the lock; false where no lock can be written.
bool lock(const std::string& folder)
{
    lock_file = sim::host::open_regular(folder + "/lock", O_RDWR | O_CREAT | O_NOFOLLOW);
    if (lock_file < 0) {
        return false;
    }
    const bool locked = flock(lock_file, LOCK_EX | LOCK_NB) == 0;
    char holder[32] = "";
    const ssize_t size = read(lock_file, holder, sizeof holder);
    const std::string process(holder, size > 0 ? static_cast<std::size_t>(size) : 0);
    if (process.find_first_not_of("0123456789\n") != std::string::npos || process.size() == sizeof holder) {
        throw BadInput(folder + "/lock: not the lock of a session"); // and not overwritten by one
    }
    if (!locked) {
        throw BadInput(folder + " is in use by process " + process.substr(0, process.find('\n')) +
                       "; --read-only looks without writing");
    }
    const std::string own = std::to_string(getpid()) + '\n';
    return ftruncate(lock_file, 0) == 0 && lseek(lock_file, 0, SEEK_SET) == 0 &&
           sim::host::write_all(lock_file, own) == 0;
}

} // namespace

StateFolder enter_folder(const std::string& path)
{
    std::error_code error;
    if (!fs::exists(path, error) && !error) {
        fs::create_directories(path, error);
    }
    if (error) {
        throw BadInput("cannot use the folder " + path + ": " + error.message());
    }
    const std::string folder = usable(path);
    if (!lock(folder)) {
        return copy_of_folder(path, folder + ": " + sim::host::error_text(errno));
    }
    sim::host::remove_temporaries(folder);
    return {.path = folder, .copied = false, .note = {}};
}

StateFolder copy_of_folder(const std::string& path, const std::string& reason)
{
    const std::string folder = usable(path);
    std::error_code error;
    std::string pattern = (fs::temp_directory_path(error) / "isp-sim.XXXXXX").string();
    if (error || mkdtemp(pattern.data()) == nullptr) {
        throw BadInput((reason.empty() ? "" : reason + "; ") +
                       "cannot make a folder for a copy: " + (error ? error.message() : std::strerror(errno)));
    }
    copy = pattern;
    for (const char* file : {"settings.ini", "shading.data", "wb.dat"}) {
        const fs::path from = fs::path(folder) / file;
        std::error_code missing;
        if (fs::exists(from, missing) && !fs::copy_file(from, fs::path(copy) / file, error)) {
            throw BadInput(from.string() + ": " + error.message());
        }
    }
    return {.path = copy,
            .copied = true,
            .note = reason.empty() ? "" : reason + "; looking at a copy, what you change is not kept"};
}

void leave_folder()
{
    if (!copy.empty()) {
        std::error_code ignored;
        fs::remove_all(copy, ignored);
        copy.clear();
    }
}

} // namespace session
