// What every exported function traces and calls, in order, what it changes in the engine and what it returns, against
// the page of the field log: with an engine and without one, in every mode, and when it is refused.
#include "torture/operations.h"
#include "torture/world.h"

#include <cstdio>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <set>
#include <sys/socket.h>
#include <thread>

namespace
{

using torture::kVariants;
using torture::Operation;

const std::set<std::string> kSystem = {"open", "read", "write", "fopen", "popen", "mmap", "socket", "pthread_create"};

using Lines = std::vector<std::string>;

std::mutex logged_mutex;
Lines logged, logged_by_threads;
const std::thread::id main_thread = std::this_thread::get_id();

void note_line(int /*level*/, const char* text)
{
    const std::lock_guard lock(logged_mutex);
    const bool main = std::this_thread::get_id() == main_thread;
    (main ? logged : logged_by_threads).push_back(text);
    if (main) {
        sim::note_call("line");
    }
}

void replace(std::string& text, const std::string& what, const std::string& by)
{
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += by.size()) {
        text.replace(at, what.size(), by);
    }
}

/// Puts N for the source line that follows a marker.
void hide_line(std::string& text, const std::string& marker)
{
    if (const std::size_t at = text.find(marker); at != std::string::npos) {
        const std::size_t number = at + marker.size();
        const std::size_t end = std::min(text.find_first_not_of("0123456789", number), text.size());
        text.replace(number, end - number, "N");
    }
}

std::set<std::pair<std::string, int>> logged_at; // functions and source lines that were logged

/// The places that are not within the function that they name.
std::vector<std::string> places_elsewhere()
{
    std::multimap<std::string, std::pair<int, int>> texts; // of the library's functions: first and last line
    for (const auto& file : std::filesystem::recursive_directory_iterator(LIBRARY_SOURCES)) {
        std::ifstream source(file.path());
        std::string line, name;
        for (int number = 1, first = 1; std::getline(source, line); ++number) {
            const std::size_t end = line.find('(');
            if (end != std::string::npos && line.find_first_of(" #/}") != 0 && line.back() != ';') {
                name = line.substr(0, end);
                name = name.substr(name.find_last_of(" :*&") + 1);
                first = number;
            } else if (line == "}") {
                texts.insert({name, {first, number}});
            }
        }
    }
    std::vector<std::string> elsewhere;
    for (const auto& [function, line] : logged_at) {
        const auto [from, to] = texts.equal_range(function);
        if (std::none_of(from, to,
                         [=](const auto& text) { return text.second.first < line && line < text.second.second; })) {
            elsewhere.push_back(function + " +" + std::to_string(line));
        }
    }
    return elsewhere;
}

/// "[module FUNCTION +LINE]MESSAGE", or "LINE FUNCTION MESSAGE", as "FUNCTION: MESSAGE" without source lines.
std::string shown(const std::string& line, const std::string& folder)
{
    int source_line = 0, end = 0;
    char function[64] = {};
    if (std::sscanf(line.c_str(), "[module %63s +%d ]%n", function, &source_line, &end) < 2 || end == 0) {
        std::sscanf(line.c_str(), "%d %63s%n", &source_line, function, &end);
        ++end; // the blank
    }
    const std::string name = function;
    logged_at.insert({name, source_line});
    std::string message = line.substr(static_cast<std::size_t>(end));
    replace(message, "[" + name + "_" + std::to_string(source_line) + "]", "[" + name + "_N]");
    hide_line(message, "quenvar " + name + ":");
    hide_line(message, "quenvar  " + name + ":");
    hide_line(message, "line ");
    replace(message, folder, "FOLDER");
    replace(message, "\n", "\\n");
    return name + ": " + message;
}

/// A call of the engine, the store, another function of the host's or the system, in short.
std::string shown(const sim::Call& call)
{
    const std::string camera = call.id > 0 ? "@" + std::to_string(call.id) : "";
    const std::string value = std::to_string(call.value);
    std::string name = call.function;
    if (name.starts_with("para_") && (name.ends_with("_cur") || name.ends_with("_max"))) {
        const std::string setting = name.substr(13, name.size() - 17) + camera;
        return name.ends_with("_max") ? setting + " max?" : name[5] == 's' ? setting + " = " + value : setting + "?";
    }
    if (name.starts_with("rk_aiq_")) {
        return name.substr(name.find("api2_") + 5) + camera;
    }
    return name + "(" + (call.value != 0 ? value : "") + ")" + camera;
}

struct Log {
    Lines lines;                    // the threads' behind those of others
    Lines in_full;                  // with the calls between them; those that threads take part in stand at the end
    std::vector<std::string> calls; // that can fail
    std::string end;
};

/// What has changed in an engine, field by field; of a table the number of its elements and one that stands for all.
Lines changed_fields(const sim::engine::Snapshot& before)
{
    Lines lines;
    if (g_aiq_ctx[0] == nullptr || before.empty()) {
        return lines;
    }
    const auto changes = sim::engine::changes(before, sim::engine::snapshot(g_aiq_ctx[0]));
    std::string values;
    for (const sim::engine::Field& change : changes) {
        const std::size_t dots = change.name.find("..");
        const std::size_t open = change.name.rfind('[', dots) + 1; // of the elements' indexes, if there are some
        for (std::size_t i = 0; i < change.values.size(); ++i) {
            std::string line = change.name;
            if (dots != std::string::npos) {
                const std::size_t index = std::stoul(line.substr(open)) + i;
                line.replace(open, line.find(']', dots) - open, std::to_string(index));
            }
            const std::string value = sim::engine::text_of(change.values[i]);
            values += line + "=" + value + "\n";
            lines.push_back("* " + line + " = " + value);
        }
    }
    if (lines.size() > 30) {
        return {"* " + std::to_string(lines.size()) + " fields, " + std::to_string(bench::fingerprint(values))};
    }
    return lines;
}

/// What an operation logs in the modes of a variant, the nth call of a function failing if one is named.
Log log_of(const Operation& operation, int variant, bool engines, const std::string& failing = {}, int nth = 1)
{
    torture::World world(variant, engines);
    const long threads = bench::threads();
    const void* const context = g_aiq_ctx[0];
    const auto before = context != nullptr ? sim::engine::snapshot(context) : sim::engine::Snapshot{};
    sim::host::set_module_level(6);
    sim::host::set_log_callback(note_line);
    sim::start_recording();
    if (!failing.empty()) {
        sim::inject_fault(failing, nth, failing.starts_with("rk_aiq") ? -7 : EIO);
    }
    const int result = operation.run(variant);
    EXPECT_TRUE(bench::eventually([&] { return bench::threads() <= threads; })) << operation.name;
    sim::stop_recording();
    sim::host::set_log_callback(nullptr);
    sim::host::set_module_level(0);
    Log log;
    {
        const std::lock_guard lock(logged_mutex);
        log.lines = std::exchange(logged, {});
        std::ranges::move(std::exchange(logged_by_threads, {}), std::back_inserter(log.lines));
    }
    for (std::string& line : log.lines) {
        line = shown(line, world.folder);
    }
    std::vector<sim::Call> calls = sim::recorded_calls();
    const auto is_line = [](const sim::Call& call) { return call.function == "line"; };
    const bool with_threads = std::ranges::find(calls, "pthread_create", &sim::Call::function) != calls.end();
    if (with_threads) {
        std::vector<sim::Call> others;
        std::ranges::copy_if(calls, std::back_inserter(others), std::not_fn(is_line));
        std::erase_if(calls, std::not_fn(is_line));
        calls.insert(calls.end(), others.begin(), others.end());
    }
    auto line = log.lines.begin();
    bool appends = false; // to a row of calls
    for (const sim::Call& call : calls) {
        if (is_line(call)) {
            log.in_full.push_back(*line++);
            appends = false;
            continue;
        }
        const std::string text = shown(call);
        appends = appends && log.in_full.back().size() + text.size() < 110;
        if (appends) {
            log.in_full.back() += ", " + text;
        } else {
            log.in_full.push_back("> " + text);
        }
        appends = true;
        if (call.function.starts_with("rk_aiq") || kSystem.contains(call.function)) {
            log.calls.push_back(call.function);
        }
    }
    log.in_full.insert(log.in_full.end(), line, log.lines.end());
    if (!with_threads && context == g_aiq_ctx[0]) {
        std::ranges::move(changed_fields(before), std::back_inserter(log.in_full));
    }
    const auto to_engine =
        std::ranges::count_if(log.calls, [](const std::string& function) { return function.starts_with("rk_aiq"); });
    log.end = "    returns " + std::to_string(result) + " after " + std::to_string(to_engine) + " engine calls\n";
    return log;
}

/// Where two logs differ: the lines of the one with a minus, those of the other with a plus.
std::string difference(const Lines& sound, const Lines& failed)
{
    const auto [from, failed_from] = std::ranges::mismatch(sound, failed);
    const auto [to, failed_to] = std::mismatch(sound.rbegin(), std::make_reverse_iterator(from), failed.rbegin(),
                                               std::make_reverse_iterator(failed_from));
    std::string text;
    std::for_each(from, to.base(), [&](const std::string& line) { text += "  - " + line + "\n"; });
    std::for_each(failed_from, failed_to.base(), [&](const std::string& line) { text += "  + " + line + "\n"; });
    return text;
}

/// Texts, each of them with all the places where it was found.
class Found
{
public:
    void add(const std::string& text, const std::string& place)
    {
        auto known = std::ranges::find(texts_, text, [](const auto& found) { return found.first; });
        if (known == texts_.end()) {
            known = texts_.insert(texts_.end(), {text, {}});
        }
        if (std::ranges::find(known->second, place) == known->second.end()) {
            known->second.push_back(place);
        }
    }
    /// The texts under headings, which name the places if there is more than one text.
    std::string page(const std::string& name, bool places) const
    {
        std::string page;
        for (const auto& [text, found_in] : texts_) {
            page += text.empty() ? "" : "\n" + name;
            for (const std::string& place : found_in) {
                page += text.empty() || !places ? "" : ", " + place;
            }
            page += text.empty() ? "" : "\n" + text;
        }
        return page;
    }
    std::size_t count() const
    {
        return texts_.size();
    }

private:
    std::vector<std::pair<std::string, std::vector<std::string>>> texts_;
};

/// The page's entries of an operation: each different log with the modes in which it is like this, and what is
/// different when a call fails.
std::string entries(const Operation& operation)
{
    const bool sequence = operation.name == "KIV_Set_style" || operation.name == "KIV_load_isp_para"; // of setters
    const int variants = operation.name == "Awb_Calibration" ? 2 : sequence || operation.once ? 1 : kVariants;
    Found sound, failed;
    for (const bool engines : {true, false}) {
        for (int variant = 0; variant < variants; ++variant) {
            const Log log = log_of(operation, variant, engines);
            std::string lines;
            for (const std::string& line : log.in_full) {
                lines += "    " + line + "\n";
            }
            sound.add(lines + log.end, torture::modes_of(variant) + (engines ? "" : " and no engine"));
            std::map<std::string, int> made;
            for (const std::string& function : sequence || operation.once || !engines ? Lines{} : log.calls) {
                const int nth = ++made[function];
                const Log disturbed = log_of(operation, variant, engines, function, nth);
                failed.add(difference(log.lines, disturbed.lines) + (disturbed.end != log.end ? disturbed.end : ""),
                           (nth > 1 ? "call " + std::to_string(nth) + " of " : "") + function + " fails");
            }
        }
    }
    return sound.page(operation.name, sound.count() > 1) + failed.page(operation.name, true);
}

/// The same of one that is refused, for several bad ids, of which ID stands for each.
std::string refused_entries(const Operation& operation)
{
    Found found;
    for (const int id : {-1, 8, INT_MIN, INT_MAX}) {
        const Log log = log_of({.name = operation.name, .run = [&](int) { return operation.run(id); }}, 0, true);
        std::string lines;
        for (std::string line : log.in_full) {
            replace(line, "id " + std::to_string(id), "id ID");
            lines += "    " + line + "\n";
        }
        found.add(lines + log.end, "refused");
    }
    return found.page(operation.name, true);
}

TEST(FieldLog, IsWhatThePageSays)
{
    std::string every_mode, every_mode_without;
    for (int variant = 0; variant < kVariants; ++variant) {
        every_mode += ", " + torture::modes_of(variant);
        every_mode_without += ", " + torture::modes_of(variant) + " and no engine";
    }
    std::string text;
    for (const Operation& operation : torture::operations()) {
        text += entries(operation);
    }
    for (const Operation& operation : torture::refused()) {
        text += refused_entries(operation);
    }
    for (const auto& [modes, shorter] : {std::pair{every_mode, ", any mode"}, {every_mode_without, ", no engine"}}) {
        replace(text, modes, shorter);
    }
    std::ofstream("field-log.txt") << text;
    EXPECT_GT(logged_at.size(), 100U);
    EXPECT_THAT(places_elsewhere(), testing::IsEmpty());

    std::ifstream page(FIELD_LOG);
    std::istringstream log(text);
    std::string wanted, line, heading;
    while (std::getline(page, wanted) && wanted.starts_with('#')) {
    }
    for (; std::getline(log, line); std::getline(page, wanted)) {
        heading = line.starts_with(' ') ? heading : line;
        ASSERT_EQ(line, wanted) << "in " << heading << "; the whole log is in field-log.txt in the test's folder";
    }
    EXPECT_TRUE(page.eof()) << wanted << " is not logged";
}

} // namespace
