// Every exported function under faults: each fallible call that it makes fails once, and then from that call on.
// Whatever fails, the library returns a documented result and leaves nothing behind.
#include "torture/operations.h"
#include "torture/world.h"

#include "isp_ctrl/core/atomic.h"
#include "support/threads.h"

#include <cstring>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <sys/mman.h>
#include <sys/wait.h>

#ifdef WRITE_COVERAGE
extern "C" int WRITE_COVERAGE();
#endif

namespace
{

using torture::kVariants;
using torture::Operation;
using torture::World;

/// Fault codes of a call: what the store's getters answer with, an errno and a short transfer, an engine's code. The
/// lens calibration flag asks threads to end.
std::vector<int> codes_of(const std::string& function)
{
    if (function.starts_with("para_")) {
        return {INT_MIN, INT_MAX};
    }
    if (function == "open" || function == "read" || function == "write" || function == "unlink") {
        return {EIO, -3};
    }
    return {function == "get_lens_calibration_flag" ? 4 : -1};
}

constexpr int kVanish = 0; // instead of failing: the cameras' contexts vanish from their slots before the call

struct Fault {
    std::string function;
    int nth;
    int code;
    bool from_then_on;
};

struct Outcome {
    std::vector<std::string> calls;
    std::array<kiv_isp_param_s, 8> store;
    std::string problems;
};

bool engine_function(const std::string& function)
{
    return function.starts_with("rk_aiq");
}

/// The call that writes what a failing call reads; empty when the call reads no block.
std::string counterpart(std::string function)
{
    for (const auto& [get, set] : {std::pair{"_Get", "_Set"}, {"_get", "_set"}}) {
        if (const std::size_t at = function.find(get); engine_function(function) && at != std::string::npos) {
            return function.replace(at, 4, set);
        }
    }
    return {};
}

int slots_in_use()
{
    return static_cast<int>(8 - std::ranges::count(g_aiq_ctx, nullptr) + 8 -
                            std::ranges::count(g_camera_group_ctx, nullptr));
}

void vanish()
{
    for (rk_aiq_sys_ctx_t*& slot : g_aiq_ctx) {
        isp::shared_set<rk_aiq_sys_ctx_t*>(slot, nullptr);
    }
}

/// Runs an operation in a world of its own, under a fault if there is one, and checks what it leaves.
Outcome run(const Operation& operation, int variant, const Fault* fault, bool engines, bool traces)
{
    World world(variant, engines);
    sim::host::set_module_level(traces ? INT_MAX : 5);
    sim::host::start_log_capture();
    const long threads = bench::threads();
    const long files = bench::entries("/proc/self/fd");
    sim::start_recording();
    if (fault != nullptr) {
        if (fault->code == kVanish) {
            sim::at_call(fault->function, fault->nth, vanish);
        } else {
            sim::inject_fault(fault->function, fault->nth, fault->code, fault->from_then_on);
        }
    }
    const int result = operation.run(variant);
    const bool ended = bench::eventually([&] { return bench::threads() <= threads; });
    sim::stop_recording();
    sim::clear_faults();
    sim::host::stop_log_capture();
    sim::host::set_module_level(0);

    Outcome outcome;
    std::ostringstream problems;
    for (const sim::Call& call : sim::recorded_calls()) {
        outcome.calls.push_back(call.function);
    }
    for (int camera = 0; camera < 8; ++camera) {
        outcome.store[static_cast<std::size_t>(camera)] = sim::host::stored_record(camera);
    }
    if (!ended) {
        problems << " a thread runs on;";
    }
    if (std::ranges::find(operation.results, result) == operation.results.end()) {
        problems << " result " << result << ";";
    }
    const std::string function = fault != nullptr ? fault->function : "";
    for (const std::string& line : sim::engine::misuses()) {
        // An engine that refuses to stop, or to go, is left all the same.
        if (!(function.ends_with("_stop") && line.find("is running") != std::string::npos) &&
            !(function.ends_with("_destroy") && line.ends_with("has a context already"))) {
            problems << " " << line << ";";
        }
    }
    for (const std::string& line : sim::host::misuses()) {
        problems << " " << line << ";";
    }
    for (const sim::host::LogLine& line : sim::host::captured_log()) {
        if (line.level == 6 && (!traces || !line.text.starts_with("[module ") || !line.text.ends_with('\n'))) {
            problems << " traced: " << line.text << ";";
        }
    }
    const bool vanished = fault != nullptr && fault->code == kVanish;
    if (!vanished && !function.ends_with("_destroy") && sim::engine::live_contexts() != slots_in_use()) {
        problems << " " << sim::engine::live_contexts() << " contexts in " << slots_in_use() << " slots;";
    }
    if (pthread_mutex_trylock(&g_aiq_mtx) == 0) {
        pthread_mutex_unlock(&g_aiq_mtx);
    } else {
        problems << " the engine lock is held;";
    }
    if (bench::entries("/proc/self/fd") > files + operation.kept_files) {
        problems << " a file is open;";
    }
    if (fault != nullptr && fault->from_then_on && result == -1) {
        // A function that reports the failure of a read does not write what it could not read.
        auto failed = outcome.calls.begin();
        for (int n = fault->nth; n > 0 && failed != outcome.calls.end(); ++failed) {
            n -= *failed == function ? 1 : 0;
        }
        if (std::find(failed, outcome.calls.end(), counterpart(function)) != outcome.calls.end()) {
            problems << " written without having been read;";
        }
    }
    outcome.problems = problems.str();
    return outcome;
}

/// The same, every second time with trace lines; what leaves its marks in the process runs in a child, of which calls
/// and problems come back.
Outcome run_apart(const Operation& operation, int variant, const Fault* fault, bool engines = true)
{
    static bool traces = false;
    traces = !traces;
    if (!operation.once) {
        return run(operation, variant, fault, engines, traces);
    }
    constexpr std::size_t kRoom = 1 << 20;
    static char* const text = static_cast<char*>(
        mmap(nullptr, kRoom, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)); // of both processes
    const pid_t child = fork();
    if (child == 0) {
        const Outcome outcome = run(operation, variant, fault, engines, traces);
        std::string lines = outcome.problems;
        for (const std::string& call : outcome.calls) {
            lines += "\n" + call;
        }
        text[lines.copy(text, kRoom - 1)] = '\0';
#ifdef WRITE_COVERAGE
        WRITE_COVERAGE(); // what it reached is written at an exit that this child must not take
#endif
        std::_Exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    Outcome outcome{};
    std::istringstream lines(text);
    std::getline(lines, outcome.problems);
    for (std::string call; std::getline(lines, call);) {
        outcome.calls.push_back(call);
    }
    if (status != 0) {
        outcome.problems += " the process ended with status " + std::to_string(status);
    }
    return outcome;
}

class Torture : public ::testing::TestWithParam<Operation>
{
};

TEST_P(Torture, LeavesNothingBehind)
{
    const Operation& operation = GetParam();
    std::set<std::vector<std::string>> seen;
    for (int variant = 0; variant < kVariants; ++variant) {
        const Outcome sound = run_apart(operation, variant, nullptr);
        EXPECT_EQ(sound.problems, "") << operation.name << ", variant " << variant;
        EXPECT_EQ(run_apart(operation, variant, nullptr, false).problems, "") << operation.name << " without engines";
        if (!seen.insert(sound.calls).second) {
            continue;
        }
        std::map<std::string, int> made;
        for (const std::string& function : sound.calls) {
            const int nth = ++made[function];
            std::vector<int> codes = codes_of(function);
            if (engine_function(function) && function.find("sysctl") == std::string::npos &&
                function.find("camgroup") == std::string::npos) { // of a module
                codes.push_back(kVanish);
            }
            for (const int code : codes) {
                for (const bool from_then_on : {false, true}) {
                    const Fault fault{function, nth, code, from_then_on};
                    Outcome outcome = run_apart(operation, variant, &fault);
                    if (operation.stores && engine_function(function) &&
                        std::memcmp(&outcome.store, &sound.store, sizeof sound.store) != 0) {
                        outcome.problems += " the store depends on the engine;";
                    }
                    ASSERT_EQ(outcome.problems, "") << operation.name << ", variant " << variant << ", " << function
                                                    << " call " << nth << " code " << code << " on " << from_then_on;
                }
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, Torture, ::testing::ValuesIn(torture::operations()),
                         [](const auto& parameter) { return parameter.param.name; });

TEST(Torture, CoversEveryExportedFunction)
{
    const bench::Words data = bench::words(
        "AE_average_Weight_GridWeights AE_bottom_Weight_GridWeights AE_center_Weight_GridWeights g_WDRMode "
        "g_aiq_ctx g_aiq_mtx g_camera_group_ctx g_iq_file_dir_ gamma_1_1 gamma_1_2 gamma_1_3 gamma_1_4 "
        "gamma_1_5 gamma_1_6 gamma_ext gamma_haisi gs_wb_gain kiv_auto_iris_cb rkipc_aiq_use_group "
        "sensor_vpss_group");
    std::set<std::string> known(data.begin(), data.end());
    for (const Operation& operation : torture::operations()) {
        known.insert(operation.name);
    }
    std::set<std::string> exported;
    std::ifstream list(EXPORTED_LIST);
    for (std::string name; std::getline(list, name);) {
        exported.insert(name);
    }
    EXPECT_EQ(known, exported);
}

} // namespace
