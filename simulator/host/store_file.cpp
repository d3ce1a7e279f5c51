// The text file of the parameter store: a section "[camera N]" per camera, in it "setting = value" with values by name
// where they have one; "#" starts a comment.
#include "host/durable_file.h"
#include "host/store.h"

#include <array>
#include <bitset>
#include <cerrno>
#include <filesystem>
#include <mutex>
#include <set>
#include <system_error>

namespace sim::host
{

namespace
{

using Status = FileResult::Status;

constexpr std::size_t kLongestLine = 200;
constexpr std::size_t kLargestFile = 1 << 20;

// Files that could not be loaded, by their canonical path: what a user wrote there must not be lost.
std::mutex g_refused_mutex;
std::set<std::string> g_refused;

std::string canonical(const std::string& path)
{
    std::error_code error;
    const std::filesystem::path resolved = std::filesystem::weakly_canonical(path, error);
    return error ? path : resolved.string();
}

// A file that begins with the heading ends with the closing line, so that one that was cut is noticed.
constexpr std::string_view kHeading =
    "# Image settings of each camera, to the last line. Settings that are not mentioned have their initial value.\n";
constexpr std::string_view kClosing = "\n# The last line.\n";

std::string section(int camera, const kiv_isp_param_s& record)
{
    std::string text = "\n[camera " + std::to_string(camera) + "]\n";
    for (const Setting& setting : kSettings) {
        text.append(setting.name).append(" = ");
        text += name_of(setting, record.*setting.member) + '\n';
    }
    return text;
}

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view kBlanks = " \t\r";
    const std::size_t first = text.find_first_not_of(kBlanks);
    return first == text.npos ? std::string_view{} : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// Text of the file as a message shows it: short, and harmless on a terminal.
std::string quoted(std::string_view text)
{
    std::string shown = "'";
    for (const char c : text.substr(0, 40)) {
        shown += c >= ' ' && c <= '~' ? c : '?';
    }
    return shown + (text.size() > 40 ? "...'" : "'");
}

// Reads line by line; what is wrong with a line is the text that take() returns.
struct Parser {
    std::array<kiv_isp_param_s, kCameras> records;
    int camera = -1;
    std::bitset<kCameras> cameras_seen;
    std::bitset<kFields> fields_seen;

    std::string take_section(std::string_view line)
    {
        constexpr std::string_view kOpening = "[camera ";
        if (line.back() != ']') {
            return "']' is missing at the end of " + quoted(line);
        }
        camera = line[line.size() - 2] - '0';
        if (!line.starts_with(kOpening) || line.size() != kOpening.size() + 2 || camera < 0 || camera >= kCameras) {
            return "expected [camera 0] to [camera 7], not " + quoted(line);
        }
        if (cameras_seen.test(static_cast<std::size_t>(camera))) {
            return "camera " + std::to_string(camera) + " has a section already";
        }
        cameras_seen.set(static_cast<std::size_t>(camera));
        fields_seen.reset();
        return {};
    }

    std::string take_value(std::string_view line)
    {
        const std::size_t equals = line.find('=');
        if (equals == line.npos) {
            return "expected SETTING = VALUE, not " + quoted(line);
        }
        if (camera < 0) {
            return "a setting before the first [camera N]";
        }
        const std::string_view name = trimmed(line.substr(0, equals));
        const std::string_view text = trimmed(line.substr(equals + 1));
        const Setting* setting = find_setting(name);
        if (setting == nullptr || setting->member == nullptr) {
            return "unknown setting " + quoted(name);
        }
        const auto field = static_cast<std::size_t>(setting - kSettings.data());
        if (fields_seen.test(field)) {
            return std::string(name) + " is there twice";
        }
        fields_seen.set(field);
        const std::optional<int> value = value_of(*setting, text);
        if (!value) {
            return std::string(name) + " has no value " + quoted(text);
        }
        if (!setting->storable(*value)) {
            return std::string(name) + " is " + std::to_string(setting->lowest) + " to " +
                   std::to_string(setting->highest) + ", not " + std::to_string(*value);
        }
        records[static_cast<std::size_t>(camera)].*setting->member = *value;
        return {};
    }

    std::string take(std::string_view line)
    {
        if (line.size() > kLongestLine) {
            return "line longer than " + std::to_string(kLongestLine) + " bytes";
        }
        if (line.find('\0') != line.npos) {
            return "a NUL byte";
        }
        line = trimmed(line.substr(0, line.find('#')));
        if (line.empty()) {
            return {};
        }
        return line.front() == '[' ? take_section(line) : take_value(line);
    }
};

// Returns nothing, or "LINE: what is wrong".
std::string parse(std::string_view text, Parser& parser)
{
    parser.records.fill(initial_record());
    const bool cut = text.starts_with(kHeading) && text.find(kClosing) == text.npos;
    for (int number = 1; !text.empty() || cut; ++number) {
        const std::size_t end = text.find('\n');
        std::string wrong = parser.take(text.substr(0, end));
        if (text.empty()) {
            wrong = "the file was cut: its last line is missing";
        } else if (wrong.empty() && end == text.npos) {
            wrong = "the file ends in the middle of a line"; // cut off, perhaps in the middle of a number
        }
        if (!wrong.empty()) {
            return std::to_string(number) + ": " + wrong;
        }
        text.remove_prefix(end + 1);
    }
    return {};
}

// Reads a file; what is wrong with it has its line.
FileResult read(const std::string& path, Parser& parser)
{
    std::string text;
    if (const int error = read_file(path, kLargestFile, text); error != 0) {
        return {error == ENOENT ? Status::missing : Status::failed, path + ": " + error_text(error)};
    }
    const std::string wrong = parse(text, parser);
    return wrong.empty() ? FileResult{} : FileResult{Status::damaged, path + ":" + wrong};
}

} // namespace

std::string write_settings(const std::string& path, int camera, const kiv_isp_param_s& record)
{
    return write_durably(path, std::string(kHeading) + section(camera, record) + std::string(kClosing));
}

std::string read_settings(const std::string& path, int camera, kiv_isp_param_s& record)
{
    Parser parser;
    if (FileResult result = read(path, parser); !result) {
        return result.message;
    }
    auto from = static_cast<std::size_t>(camera);
    if (!parser.cameras_seen.test(from)) {
        if (parser.cameras_seen.count() != 1) {
            return path + ": holds no settings of camera " + std::to_string(camera);
        }
        from = static_cast<std::size_t>(parser.camera);
    }
    record = parser.records[from];
    return {};
}

void forget_refused_files()
{
    const std::lock_guard lock(g_refused_mutex);
    g_refused.clear();
}

FileResult save_store(const std::string& path)
{
    const std::string file = canonical(path);
    {
        const std::lock_guard lock(g_refused_mutex);
        std::error_code error;
        if (g_refused.contains(file) && std::filesystem::exists(file, error)) {
            return {Status::failed, path + ": could not be loaded, so it is not replaced"};
        }
    }
    std::string text(kHeading);
    for (int camera = 0; camera < kCameras; ++camera) {
        const kiv_isp_param_s record = stored_record(camera);
        for (const Setting& setting : kSettings) {
            const int value = record.*setting.member;
            if (!setting.storable(value)) {
                return {Status::failed, path + ": not written, camera " + std::to_string(camera) + " has " +
                                            std::string(setting.name) + " = " + std::to_string(value)};
            }
        }
        text += section(camera, record);
    }
    const std::string wrong = write_durably(file, text.append(kClosing));
    return wrong.empty() ? FileResult{} : FileResult{Status::failed, wrong};
}

FileResult load_store(const std::string& path)
{
    Parser parser;
    FileResult result = read(path, parser);
    if (result.status == Status::missing) {
        result.message = path + ": no such file";
        return result;
    }
    for (std::size_t camera = 0; result && camera < parser.records.size(); ++camera) {
        store_record(static_cast<int>(camera), parser.records[camera]);
    }
    const std::lock_guard lock(g_refused_mutex);
    if (result) {
        g_refused.erase(canonical(path));
    } else {
        g_refused.insert(canonical(path));
    }
    return result;
}

} // namespace sim::host
