#include "session/files.h"

#include "host/durable_file.h"
#include "host/shading_file.h"
#include "host/store.h"
#include "host/vendor_storage.h"
#include "isp_ctrl/core/seam.h"
#include "session/bad_input.h"
#include "session/text.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <iostream>
#include <mutex>
#include <sys/file.h>
#include <unistd.h>
#include <utility>

namespace session
{

namespace
{

namespace fs = std::filesystem;

struct Files : FilePaths {
    std::string otp;
    std::string lens_command;
    int lock = -1;           ///< open as long as the process runs
    std::string copy;        ///< the folder, where that is a copy
    bool in_copy = false;    ///< though the folder's own were meant
    bool changed = false;    ///< since they were loaded
    std::string saved_store; ///< as last loaded or saved, to write only what changed
} files;

constexpr std::string_view kOwnFiles[] = {
    "settings.ini", "settings.ini.empty",  "lock",    "shading.data", "wb.dat", "sm_af_iris_value",
    "otp_eeprom",   "vendor_storage.item", "history", "files"};

/// Throws BadInput where one of them is there and not a regular file: waiting for what comes out of a FIFO has no end,
/// and a link in somebody else's folder may lead to a file that must not be written. Settings may be elsewhere.
void check_own_files(const std::string& folder)
{
    for (const std::string_view name : kOwnFiles) {
        const fs::path path = folder + "/" + std::string(name);
        std::error_code missing;
        const fs::file_status status =
            name == "settings.ini" ? fs::status(path, missing) : fs::symlink_status(path, missing);
        if (fs::exists(status) &&
            status.type() != (name == "files" ? fs::file_type::directory : fs::file_type::regular)) {
            throw BadInput(path.string() + ": not a " + (name == "files" ? "folder" : "regular file"));
        }
    }
}

/// The stored settings of all cameras, to be compared.
std::string stored_bytes()
{
    std::string bytes;
    for (int camera = 0; camera < sim::host::kCameras; ++camera) {
        const kiv_isp_param_s record = sim::host::stored_record(camera);
        bytes.append(reinterpret_cast<const char*>(&record), sizeof record);
    }
    return bytes;
}

/// Points the library's fixed paths into a folder, and writes what is written at start, to learn whether the folder is
/// writable.
void prepare_files(const std::string& folder)
{
    files.folder = folder;
    files.store = folder + "/settings.ini";
    files.calibration = folder + "/wb.dat";
    files.shading = folder + "/shading.data";
    files.iris = folder + "/sm_af_iris_value";
    files.otp = folder + "/otp_eeprom";
    isp::seam.wb_calibration_file = files.calibration.c_str();
    isp::seam.shading_file = files.shading.c_str();
    isp::seam.iris_device = files.iris.c_str();
    isp::seam.otp_file = files.otp.c_str();
    fit_lens("none");
    std::error_code error;
    if (!fs::exists(files.shading, error)) {
        throw_if(sim::host::write_shading_file(files.shading));
    }
}

/// The folder's absolute name. Throws BadInput unless it is there and may be entered.
std::string usable(const std::string& path)
{
    std::error_code error;
    const std::string folder = fs::absolute(path, error).string();
    if (error || !fs::is_directory(folder, error)) {
        throw BadInput("cannot use the folder " + path + ": " + (error ? error.message() : "it is something else"));
    }
    if (access(folder.c_str(), R_OK | X_OK) != 0) {
        throw BadInput("cannot use the folder " + path + ": " + std::strerror(errno));
    }
    return folder;
}

/// Takes the lock; false where no lock can be written.
bool take_lock(const std::string& folder)
{
    files.lock = sim::host::open_regular(folder + "/lock", O_RDWR | O_CREAT | O_NOFOLLOW);
    if (files.lock < 0) {
        return false;
    }
    const bool locked = flock(files.lock, LOCK_EX | LOCK_NB) == 0;
    char holder[32] = "";
    const ssize_t size = read(files.lock, holder, sizeof holder);
    const std::string process(holder, size > 0 ? static_cast<std::size_t>(size) : 0);
    if (process.find_first_not_of("0123456789\n") != std::string::npos || process.size() == sizeof holder) {
        throw BadInput(folder + "/lock: not the lock of a session"); // and not overwritten by one
    }
    if (!locked) {
        throw BadInput(folder + " is in use by process " + process.substr(0, process.find('\n')) +
                       "; --read-only looks without writing");
    }
    const std::string own = std::to_string(getpid()) + '\n';
    return ftruncate(files.lock, 0) == 0 && lseek(files.lock, 0, SEEK_SET) == 0 &&
           sim::host::write_all(files.lock, own) == 0;
}

/// Makes a temporary folder with copies of settings, shading and calibration. `reason` says why nothing can be written
/// to the original; empty where that is the user's wish.
void copy_folder(const std::string& path, const std::string& reason)
{
    const std::string folder = usable(path);
    std::error_code error;
    std::string pattern = (fs::temp_directory_path(error) / "isp-sim.XXXXXX").string();
    if (error || mkdtemp(pattern.data()) == nullptr) {
        throw BadInput((reason.empty() ? "" : reason + "; ") +
                       "cannot make a folder for a copy: " + (error ? error.message() : std::strerror(errno)));
    }
    files.copy = pattern;
    for (const char* file : {"settings.ini", "shading.data", "wb.dat"}) {
        const fs::path from = fs::path(folder) / file;
        std::error_code missing;
        if (fs::exists(from, missing) && !fs::copy_file(from, fs::path(pattern) / file, error)) {
            throw BadInput(from.string() + ": " + error.message());
        }
    }
}

/// Enters the folder itself. Returns why nothing can be written there, or nothing.
std::string enter_folder(const std::string& path)
{
    std::error_code error;
    if (!fs::exists(path, error) && !error) {
        fs::create_directories(path, error);
    }
    if (error) {
        throw BadInput("cannot use the folder " + path + ": " + error.message());
    }
    const std::string folder = usable(path);
    if (!take_lock(folder)) {
        return folder + ": " + sim::host::error_text(errno);
    }
    sim::host::remove_temporaries(folder);
    try {
        prepare_files(folder);
    } catch (const BadInput& failed) {
        return failed.what();
    }
    return {};
}

} // namespace

bool is_own_file(const std::string& path)
{
    std::error_code error;
    const fs::path file = fs::weakly_canonical(fs::absolute(path, error), error);
    const fs::path folder = fs::weakly_canonical(files.folder, error);
    const std::string name = file.filename().string();
    return file.parent_path() == folder &&
           (std::ranges::find(kOwnFiles, name) != std::end(kOwnFiles) || name.find(".tmp-") != std::string::npos);
}

std::string named_files_folder()
{
    const std::string folder = files.folder + "/files";
    std::error_code error;
    fs::create_directory(folder, error);
    if (fs::symlink_status(folder, error).type() != fs::file_type::directory) {
        throw BadInput("cannot use the folder " + folder);
    }
    return folder;
}

void enter_files(const std::string& folder, bool look_only)
{
    std::error_code missing;
    if (fs::is_directory(folder, missing)) {
        check_own_files(folder);
    }
    const std::string unwritable = look_only ? "" : enter_folder(folder);
    if (look_only || !unwritable.empty()) {
        copy_folder(folder, unwritable);
        prepare_files(files.copy);
    }
    files.in_copy = !unwritable.empty();
    if (files.in_copy) {
        std::cerr << "isp-sim: " << printable(unwritable + "; looking at a copy, what you change is not kept") << '\n';
    }
}

void load_settings()
{
    const std::string& path = files.store;
    std::error_code error;
    if (fs::file_size(path, error) == 0 && !error) {
        fs::rename(path, path + ".empty", error);
        std::cerr << "isp-sim: settings.ini is empty, as after a crash: every setting has its initial value"
                  << (error ? "" : "; it is kept as settings.ini.empty") << '\n';
    }
    const sim::host::FileResult loaded = sim::host::load_store(path);
    if (!loaded && loaded.status != sim::host::FileResult::Status::missing) {
        throw BadInput(loaded.message);
    }
    files.saved_store = loaded ? stored_bytes() : std::string();
}

void save_settings()
{
    static std::mutex saving;
    const std::lock_guard lock(saving);
    std::string bytes = stored_bytes();
    if (bytes == files.saved_store) {
        return;
    }
    const sim::host::FileResult saved = sim::host::save_store(files.store);
    if (!saved) {
        throw BadInput(saved.message);
    }
    files.saved_store = std::move(bytes);
    files.changed = true;
}

bool settings_are_lost()
{
    return files.in_copy && files.changed;
}

const FilePaths& paths()
{
    return files;
}

void fit_lens(const std::string& model)
{
    std::string failed;
    files.lens_command = sim::host::lens_command_for(model == "none" ? std::string() : model, files.folder, &failed);
    if (files.lens_command.empty()) {
        throw BadInput("cannot write the lens model: " + failed);
    }
    isp::seam.lens_command = files.lens_command.c_str();
}

void leave_folder()
{
    if (!files.copy.empty()) {
        std::error_code ignored;
        fs::remove_all(std::exchange(files.copy, {}), ignored);
    }
}

} // namespace session
