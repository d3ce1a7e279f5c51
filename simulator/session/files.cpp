#include "session/files.h"

#include "host/settings.h"
#include "host/shading_file.h"
#include "host/store.h"
#include "host/vendor_storage.h"
#include "isp_ctrl/core/seam.h"
#include "session/bad_input.h"
#include "session/state_folder.h"
#include "session/text.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <iostream>
#include <mutex>
#include <sys/stat.h>

namespace session
{

namespace
{

/// Where the files are. The library keeps pointers into these.
struct Files {
    std::string folder;
    std::string calibration;
    std::string shading;
    std::string iris;
    std::string otp;
    std::string lens_command;
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
        const std::string path = folder + "/" + std::string(name);
        struct stat status{};
        const bool followed = name == "settings.ini";
        const bool there = (followed ? stat(path.c_str(), &status) : lstat(path.c_str(), &status)) == 0;
        if (there && !(name == "files" ? S_ISDIR(status.st_mode) : S_ISREG(status.st_mode))) {
            throw BadInput(path + ": not a " + (name == "files" ? "folder" : "regular file"));
        }
    }
}

std::string store_as_text()
{
    std::string text;
    for (int camera = 0; camera < sim::host::kCameras; ++camera) {
        for (const sim::host::Setting& setting : sim::host::kSettings) {
            text += std::to_string(sim::host::stored(camera, setting)) + ' ';
        }
    }
    return text;
}

/// Points the library's fixed paths into the session's folder.
void point_library_at_folder()
{
    files.calibration = files.folder + "/wb.dat";
    files.shading = files.folder + "/shading.data";
    files.iris = files.folder + "/sm_af_iris_value";
    files.otp = files.folder + "/otp_eeprom";
    isp::seam.wb_calibration_file = files.calibration.c_str();
    isp::seam.shading_file = files.shading.c_str();
    isp::seam.iris_device = files.iris.c_str();
    isp::seam.otp_file = files.otp.c_str();
    fit_lens("none");
}

/// Writes what is written at start, to learn whether the folder is writable.
void prepare_files()
{
    point_library_at_folder();
    std::error_code error;
    if (!std::filesystem::exists(files.shading, error)) {
        const std::string failed = sim::host::write_shading_file(files.shading);
        if (!failed.empty()) {
            throw BadInput(failed);
        }
    }
}

} // namespace

bool is_own_file(const std::string& path)
{
    std::error_code error;
    const std::filesystem::path file = std::filesystem::weakly_canonical(std::filesystem::absolute(path, error), error);
    const std::filesystem::path folder = std::filesystem::weakly_canonical(files.folder, error);
    const std::string name = file.filename().string();
    return file.parent_path() == folder &&
           (std::ranges::find(kOwnFiles, name) != std::end(kOwnFiles) || name.find(".tmp-") != std::string::npos);
}

std::string named_files_folder()
{
    const std::string folder = files.folder + "/files";
    struct stat status{};
    if ((mkdir(folder.c_str(), 0777) != 0 && errno != EEXIST) || lstat(folder.c_str(), &status) != 0 ||
        !S_ISDIR(status.st_mode)) {
        throw BadInput("cannot use the folder " + folder);
    }
    return folder;
}

void enter_files(const std::string& folder, bool look_only)
{
    std::error_code missing;
    if (std::filesystem::is_directory(folder, missing)) {
        check_own_files(folder);
    }
    StateFolder state = look_only ? copy_of_folder(folder, "") : enter_folder(folder);
    files.folder = state.path;
    try {
        prepare_files();
    } catch (const BadInput& error) {
        if (state.copied) {
            throw;
        }
        state = copy_of_folder(folder, error.what());
        files.folder = state.path;
        prepare_files();
    }
    files.in_copy = state.copied && !look_only;
    if (!state.note.empty()) {
        std::cerr << "isp-sim: " << printable(state.note) << '\n';
    }
}

void load_settings()
{
    const std::string path = store_path();
    std::error_code error;
    if (std::filesystem::file_size(path, error) == 0 && !error) {
        std::filesystem::rename(path, path + ".empty", error);
        std::cerr << "isp-sim: settings.ini is empty, as after a crash: every setting has its initial value"
                  << (error ? "" : "; it is kept as settings.ini.empty") << '\n';
    }
    const sim::host::FileResult loaded = sim::host::load_store(path);
    if (!loaded && loaded.status != sim::host::FileResult::Status::missing) {
        throw BadInput(loaded.message);
    }
    files.saved_store = loaded ? store_as_text() : std::string();
}

void save_settings()
{
    static std::mutex saving;
    const std::lock_guard lock(saving);
    std::string text = store_as_text();
    if (text == files.saved_store) {
        return;
    }
    const sim::host::FileResult saved = sim::host::save_store(store_path());
    if (!saved) {
        throw BadInput(saved.message);
    }
    files.saved_store = std::move(text);
    files.changed = true;
}

bool settings_are_lost()
{
    return files.in_copy && files.changed;
}

std::string session_folder()
{
    return files.folder;
}

std::string store_path()
{
    return files.folder + "/settings.ini";
}

std::string shading_path()
{
    return files.shading;
}

std::string calibration_path()
{
    return files.calibration;
}

std::string iris_path()
{
    return files.iris;
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

} // namespace session
