// The host's parameter store: eight cameras' settings, their maxima and a text file that they are kept in. The
// accessors themselves are those of platformpara/para_isp.h; they are thread-safe without a lock, store what they are
// passed, and note a wrong use instead of failing.
#pragma once

#include "host/settings.h"

#include <string>
#include <vector>

namespace sim::host
{

inline constexpr int kCameras = 8; // records 0 to 7

/// Initial values, maxima and presets everywhere, no misuses, no protected file.
void reset_store();

/// A stored value without a call of the store's interface, so neither recorded nor checked; camera 0 to 7 and a
/// setting of the record. Any thread.
int stored(int camera, const Setting& setting);
void store(int camera, const Setting& setting, int value);

/// A camera's whole record. Any thread.
kiv_isp_param_s stored_record(int camera);
void store_record(int camera, const kiv_isp_param_s& record);

/// The maximum that the store reports for every camera; only for settings that have one. Any thread.
void set_maximum(const Setting& setting, int value);

/// Wrong uses of the store's interface so far, oldest first, one line each, at most 1000: a record id outside 0 to 7; a
/// level below the lowest or above the maximum, except for settings that are stored as passed. Any thread.
std::vector<std::string> misuses();
void note_misuse(std::string line);

struct FileResult {
    enum class Status {
        done,
        missing, // load: there is no such file
        damaged, // load: the message names file and line
        failed,  // the system refused, or the file is protected
    };
    Status status = Status::done;
    std::string message; // one line without line feed; empty when done

    explicit operator bool() const
    {
        return status == Status::done;
    }
};

/// Writes all cameras, so that the file holds either its old or its new contents whenever the machine stops. Refuses
/// to replace a file that load_store() could not take, and to write a value that load_store() would refuse.
FileResult save_store(const std::string& path);

/// Reads a file and replaces all cameras: what the file does not mention gets its initial value. A file that is not
/// right from end to end changes nothing, and save_store() leaves it alone until it is loaded or gone.
FileResult load_store(const std::string& path);

/// One camera's settings as a file of the same format. Returns what went wrong, or nothing.
std::string write_settings(const std::string& path, int camera, const kiv_isp_param_s& record);

/// Reads the section of a camera, or the only one of a file. Returns what is wrong, with the line, or nothing.
std::string read_settings(const std::string& path, int camera, kiv_isp_param_s& record);

void forget_refused_files(); ///< part of reset_store()

} // namespace sim::host
