#include "live/log_lines.h"

#include "host/log.h"
#include "session/cameras.h"
#include "session/lanes.h"

#include <algorithm>
#include <cctype>
#include <deque>
#include <mutex>
#include <string_view>

namespace live
{

namespace
{

constexpr std::size_t kKept = 1000;
constexpr std::size_t kAtOnce = 200;
constexpr int kTraceLevel = 6;

// Never destroyed: threads may still write while the process ends.
std::mutex& lines_mutex = *new std::mutex;
std::deque<prompt::Json>& program_lines = *new std::deque<prompt::Json>;
std::deque<prompt::Json>& messages =
    *new std::deque<prompt::Json>; // of the control protocol, so that many of these displace no others
std::uint64_t last_number = 0;

/// The camera that a line names, or else the one for which the thread that writes it acts; null for none.
prompt::Json camera_of(const std::string& text)
{
    for (const std::string_view name : {"cam_id is ", "camera_id is ", "ID: "}) {
        const std::size_t place = text.find(name);
        const char* const number = text.c_str() + (place == std::string::npos ? text.size() : place + name.size());
        if (number[0] >= '0' && number[0] <= '7' && (number[1] < '0' || number[1] > '9')) {
            return number[0] - '0';
        }
    }
    const int acting = session::acting_camera();
    return acting >= 0 ? prompt::Json(acting) : prompt::Json();
}

/// "[module KIV_Set_hue +88  ]hue:3\n\n" becomes "KIV_Set_hue: hue:3".
std::string plain(std::string text)
{
    constexpr std::string_view kPrefix = "[module ";
    if (const std::size_t end = text.find(']'); text.starts_with(kPrefix) && end != std::string::npos) {
        const std::string function = text.substr(kPrefix.size(), text.find(' ', kPrefix.size()) - kPrefix.size());
        text = function + ": " + text.substr(end + 1);
    }
    std::replace_if(text.begin(), text.end(), [](unsigned char c) { return std::iscntrl(c) != 0; }, ' ');
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

void keep(int level, const char* text)
{
    const std::lock_guard lock(lines_mutex);
    std::deque<prompt::Json>& kept = level == sim::host::kControlLevel ? messages : program_lines;
    kept.push_back({{"number", ++last_number},
                    {"time", session::seconds_now()},
                    {"camera", camera_of(text)},
                    {"level", level},
                    {"text", plain(text)}});
    if (kept.size() > kKept) {
        kept.pop_front();
    }
}

} // namespace

void keep_log_lines()
{
    sim::host::set_module_level(kTraceLevel);
    sim::host::set_log_callback(keep);
}

prompt::Json log_lines_after(std::uint64_t number)
{
    const std::lock_guard lock(lines_mutex);
    const auto number_of = [](const prompt::Json& line) { return line["number"].get<std::uint64_t>(); };
    std::vector<prompt::Json> found;
    for (const auto* kept : {&program_lines, &messages}) {
        const auto first = std::ranges::upper_bound(*kept, number, {}, number_of);
        found.insert(found.end(), first, kept->end());
    }
    std::ranges::sort(found, {}, number_of);
    found.resize(std::min(found.size(), kAtOnce));
    return found;
}

} // namespace live
