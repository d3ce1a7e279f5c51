// What every exported function traces and calls, in order, what it changes in the engine and what it returns, against
// the page of the field log: with an engine and without one, in every mode, and when it is refused.
#include "torture/operations.h"
#include "torture/world.h"

#include <map>
#include <mutex>
#include <numeric>
#include <regex>
#include <set>
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

using Places = std::set<std::pair<std::string, int>>; // functions and source lines
Places logged_at;

/// The logged places that are not within the function that they name.
Places places_elsewhere()
{
    static const std::regex kBegin(R"([^ #/}].*?(\w+)\(.*[^;])"); // of a function
    Places elsewhere = logged_at;
    for (const auto& file : std::filesystem::recursive_directory_iterator(LIBRARY_SOURCES)) {
        std::ifstream source(file.path());
        std::string line, name;
        std::smatch begin;
        for (int number = 1; std::getline(source, line); ++number) {
            if (std::regex_match(line, begin, kBegin)) {
                name = begin[1];
            }
            elsewhere.erase({name, number});
        }
    }
    return elsewhere;
}

/// "[module FUNCTION +LINE]MESSAGE", or "LINE FUNCTION MESSAGE", as "FUNCTION: MESSAGE" without source lines.
std::string shown(const std::string& line, const std::string& folder)
{
    static const std::regex kLine(R"((?:\[module (\w+) \+(\d+) *\]|(\d+) +(\w+) )([^]*))");
    static const std::regex kSourceLine(R"((\[\w+_|quenvar  ?\w+:|line )\d+)");
    std::smatch match;
    EXPECT_TRUE(std::regex_match(line, match, kLine)) << line;
    const std::string name = match.str(1) + match.str(4);
    logged_at.insert({name, std::stoi(match.str(2) + match.str(3))});
    std::string message = std::regex_replace(match.str(5), kSourceLine, "$1N");
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
    Lines lines;       // the threads' behind those of others
    std::string entry; // with the calls between them; those that threads take part in stand at the end
    Lines calls;       // that can fail
    std::string end;
};

/// What has changed in an engine, field by field; of many values their number and one that stands for all.
Lines changed_fields(const sim::engine::Snapshot& before)
{
    Lines lines;
    std::size_t count = 0;
    for (const sim::engine::Field& change : sim::engine::changes(before, sim::engine::snapshot(g_aiq_ctx[0]))) {
        std::string line = "* " + change.name + " =";
        for (const sim::engine::Value& value : change.values) {
            line += " " + sim::engine::text_of(value);
            ++count;
        }
        lines.push_back(line);
    }
    if (count > 30) {
        const std::string all = std::accumulate(lines.begin(), lines.end(), std::string());
        return {"* " + std::to_string(count) + " values, " + std::to_string(bench::fingerprint(all))};
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
    if (with_threads) { // the lines first
        std::vector<sim::Call> others;
        std::ranges::remove_copy_if(calls, std::back_inserter(others), is_line);
        std::erase_if(calls, [&](const sim::Call& call) { return !is_line(call); });
        std::ranges::move(others, std::back_inserter(calls));
    }
    Lines in_full;
    auto line = log.lines.begin();
    bool appends = false; // to a row of calls
    for (const sim::Call& call : calls) {
        if (is_line(call)) {
            in_full.push_back(*line++);
            appends = false;
            continue;
        }
        const std::string text = shown(call);
        appends = appends && in_full.back().size() + text.size() < 110;
        if (appends) {
            in_full.back() += ", " + text;
        } else {
            in_full.push_back("> " + text);
        }
        appends = true;
        if (call.function.starts_with("rk_aiq") || kSystem.contains(call.function)) {
            log.calls.push_back(call.function);
        }
    }
    in_full.insert(in_full.end(), line, log.lines.end());
    if (!with_threads && context != nullptr && context == g_aiq_ctx[0]) {
        std::ranges::move(changed_fields(before), std::back_inserter(in_full));
    }
    const auto to_engine =
        std::ranges::count_if(log.calls, [](const std::string& function) { return function.starts_with("rk_aiq"); });
    log.end = "    returns " + std::to_string(result) + " after " + std::to_string(to_engine) + " engine calls\n";
    for (const std::string& text : in_full) {
        log.entry += "    " + text + "\n";
    }
    log.entry += log.end;
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

using Found = std::vector<std::pair<std::string, std::string>>; // texts, each with the places where it was found

void add(Found& found, const std::string& text, const std::string& place)
{
    auto known = std::ranges::find(found, text, &Found::value_type::first);
    if (known == found.end()) {
        known = found.insert(found.end(), {text, {}});
    }
    if (known->second.find(", " + place) == std::string::npos) {
        known->second += ", " + place;
    }
}

/// The texts under headings, with the places or without.
std::string page_of(const Found& found, const std::string& name, bool with_places)
{
    std::string page;
    for (const auto& [text, places] : found) {
        page += text.empty() ? "" : "\n" + name + (with_places ? places : "") + "\n" + text;
    }
    return page;
}

/// The page's entries of an operation: each different log with the modes in which it is like this, and what is
/// different when a call fails.
std::string entries(const Operation& operation)
{
    const bool sequence = operation.name == "KIV_Set_style" || operation.name == "KIV_load_isp_para"; // of setters
    const bool calibration = operation.name == "Awb_Calibration"; // one for each light
    const bool starts_once = operation.once && !calibration;
    const int variants = calibration ? 2 : sequence || starts_once ? 1 : kVariants;
    Found sound, failed;
    for (const bool engines : {true, false}) {
        for (int variant = 0; variant < variants; ++variant) {
            const Log log = log_of(operation, variant, engines);
            add(sound, log.entry, torture::modes_of(variant) + (engines ? "" : " and no engine"));
            std::map<std::string, int> made;
            for (const std::string& function : sequence || starts_once || !engines ? Lines{} : log.calls) {
                const int nth = ++made[function];
                const Log disturbed = log_of(operation, variant, engines, function, nth);
                add(failed, difference(log.lines, disturbed.lines) + (disturbed.end != log.end ? disturbed.end : ""),
                    (nth > 1 ? "call " + std::to_string(nth) + " of " : "") + function + " fails");
            }
        }
    }
    return page_of(sound, operation.name, sound.size() > 1) + page_of(failed, operation.name, true);
}

/// The same of one that is refused, for several bad ids, of which ID stands for each.
std::string refused_entries(const Operation& operation)
{
    Found found;
    for (const int id : {-1, 8, INT_MIN, INT_MAX}) {
        Log log = log_of({.name = operation.name, .run = [&](int) { return operation.run(id); }}, 0, true);
        for (const std::string before : {"id ", "id is "}) {
            replace(log.entry, before + std::to_string(id), before + "ID");
        }
        add(found, log.entry, "refused");
    }
    return page_of(found, operation.name, true);
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
