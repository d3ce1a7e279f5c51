// isp_bench: every setter, the restore, a style and one cycle of each loop through the simulated engine. A setter of
// each shape and each cycle runs beside the same work by hand in the same run; the ratio of the two medians is the
// figure.
//   isp_bench [--markdown] [--benchmark_filter=NAME ...]  measures, once all of --check holds
//   isp_bench --check                                     whether library and hand do the same work
//   isp_bench --once     calls each setter once inside measured_call() and prints its name
//   isp_bench --hour     processor time of the loops over a simulated hour
#include "base/calls.h"
#include "engine/engine.h"
#include "hand/hand.h"
#include "host/shading_file.h"
#include "host/store.h"
#include "isp_ctrl.h"
#include "isp_ctrl/core/context.h"
#include "isp_ctrl/core/seam.h"
#include "isp_ctrl/presets/setting_step.h"
#include "loops.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <map>
#include <string>
#include <vector>

namespace
{

using Function = int (*)(int id, int value);

struct Row {
    const char* name;
    Function library;
    Function hand; // null: the library's alone
    int value;
    int exposure_mode;
    int wb_mode;
};

// The library's form of a setter as a plain one.
#define LEVEL(name) isp::apply_setting<KIV_Set_##name>

constexpr Row kRows[] = {
    {"saturation", LEVEL(saturation), nullptr, 9, AUTO_EXPOSURE, AUTO_WHITE_BALANCE},
    {"hue", LEVEL(hue), hand::hue, 9, AUTO_EXPOSURE, AUTO_WHITE_BALANCE},
    {"luminance", LEVEL(luminance), nullptr, 9, AUTO_EXPOSURE, AUTO_WHITE_BALANCE},
    {"contrast", LEVEL(contrast), nullptr, 9, AUTO_EXPOSURE, AUTO_WHITE_BALANCE},
    {"blackwhite_mode", LEVEL(blackwhite_mode), nullptr, BlackWhite_Mode_ON, AUTO_EXPOSURE, AUTO_WHITE_BALANCE},
    {"sharpness", LEVEL(sharpness), hand::sharpness, 9, AUTO_EXPOSURE, AUTO_WHITE_BALANCE},
    {"gamma", LEVEL(gamma), nullptr, 3, AUTO_EXPOSURE, AUTO_WHITE_BALANCE},
    {"drc", LEVEL(drc), hand::drc, 3, AUTO_EXPOSURE, AUTO_WHITE_BALANCE},
    {"nr3d", LEVEL(nr3d), nullptr, 3, AUTO_EXPOSURE, AUTO_WHITE_BALANCE},
    {"csc_mode",
     [](int id, int value) {
         KIV_Set_csc_mode(id, CSC_Mode_E{value});
         return 0;
     },
     nullptr, CSC_BT709_full_range, AUTO_EXPOSURE, AUTO_WHITE_BALANCE},
    {"meter", LEVEL(meter), nullptr, Meter_Mode_Centor, AUTO_EXPOSURE, AUTO_WHITE_BALANCE},
    {"antiflicker", LEVEL(antiflicker), nullptr, FLICKER_60HZ, AUTO_EXPOSURE, AUTO_WHITE_BALANCE},
    {"bright", LEVEL(bright), nullptr, 9, BRIGHT_PRIORITY, AUTO_WHITE_BALANCE},
    {"expcomp_mode", LEVEL(expcomp_mode), nullptr, Expcomp_Mode_ON, AUTO_EXPOSURE, AUTO_WHITE_BALANCE},
    {"expcomp_level", LEVEL(expcomp_level), nullptr, 9, AUTO_EXPOSURE, AUTO_WHITE_BALANCE},
    {"backlight", LEVEL(backlight), nullptr, Backlight_Mode_ON, AUTO_EXPOSURE, AUTO_WHITE_BALANCE},
    {"gain_limit", LEVEL(gain_limit), nullptr, 5, AUTO_EXPOSURE, AUTO_WHITE_BALANCE},
    {"manual_gain", LEVEL(manual_gain), nullptr, 5, MANUAL_EXPOSURE, AUTO_WHITE_BALANCE},
    {"iris", LEVEL(iris), nullptr, 9, MANUAL_EXPOSURE, AUTO_WHITE_BALANCE},
    {"shutter", LEVEL(shutter), hand::shutter, 9, MANUAL_EXPOSURE, AUTO_WHITE_BALANCE},
    {"exposure_mode", LEVEL(exposure_mode), hand::exposure_mode, AUTO_EXPOSURE, AUTO_EXPOSURE, AUTO_WHITE_BALANCE},
    {"rgain", LEVEL(rgain), nullptr, 99, AUTO_EXPOSURE, MANUAL_WHITE_BALANCE},
    {"bgain", LEVEL(bgain), nullptr, 99, AUTO_EXPOSURE, MANUAL_WHITE_BALANCE},
    {"temperature", LEVEL(temperature), nullptr, 40, AUTO_EXPOSURE, TEMPERATURE},
    {"wb_mode_onepush", [](int id, int) { return KIV_Set_wb_mode_onepush(id); }, nullptr, 0, AUTO_EXPOSURE,
     ONE_PUSH_WHITE_BALANCE},
    // These ask for the lens.
    {"wb_mode", LEVEL(wb_mode), hand::wb_mode, AUTO_WHITE_BALANCE, AUTO_EXPOSURE, AUTO_WHITE_BALANCE},
    {"rgain_tuning", LEVEL(rgain_tuning), nullptr, 5, AUTO_EXPOSURE, AUTO_WHITE_BALANCE},
    {"bgain_tuning", LEVEL(bgain_tuning), nullptr, 5, AUTO_EXPOSURE, AUTO_WHITE_BALANCE},
    {"shading", [](int id, int) { return KIV_Set_shading(id); }, hand::shading, 0, AUTO_EXPOSURE, AUTO_WHITE_BALANCE},
    {"nr2d", LEVEL(nr2d), nullptr, 3, AUTO_EXPOSURE, AUTO_WHITE_BALANCE},
    {"style", LEVEL(style), hand::style, style_clarity, AUTO_EXPOSURE, AUTO_WHITE_BALANCE},
    {"restore",
     [](int id, int) {
         KIV_load_isp_para(id);
         return 0;
     },
     nullptr, 0, AUTO_EXPOSURE, AUTO_WHITE_BALANCE},
};

constexpr int kLibraryCamera = 4;
constexpr int kHandCamera = 5;

void prepare(const Row& row, int camera)
{
    sim::host::store_record(camera, sim::host::initial_record());
    para_set_isp_exposure_mode_cur(camera, row.exposure_mode);
    para_set_isp_wb_mode_cur(camera, row.wb_mode);
}

// ---- The same work --------------------------------------------------------------------------------------------------

template <typename Action>
std::vector<sim::Call> calls_of(Action action, int camera)
{
    sim::start_recording();
    action();
    sim::stop_recording();
    std::vector<sim::Call> calls = sim::recorded_calls();
    for (sim::Call& call : calls) {
        call.id = call.id == camera ? 0 : call.id;
    }
    return calls;
}

/// Whether both made the same calls; if not, prints the first difference.
bool same_calls(const char* name, const std::vector<sim::Call>& made, const std::vector<sim::Call>& wanted)
{
    const auto [one, other] = std::mismatch(made.begin(), made.end(), wanted.begin(), wanted.end());
    if (one == made.end() && other == wanted.end()) {
        return true;
    }
    const auto text = [](auto call, auto end) {
        return call == end ? std::string("none")
                           : call->function + '(' + std::to_string(call->id) + ") " + std::to_string(call->value);
    };
    std::fprintf(stderr, "%s: call %td is %s, by hand %s\n", name, one - made.begin(), text(one, made.end()).c_str(),
                 text(other, wanted.end()).c_str());
    return false;
}

/// Whether library and hand make the same calls and leave engine and store alike.
bool same_work(const Row& row)
{
    const auto work = [&](Function function, int camera) {
        rk_isp_init(camera, nullptr); // a new engine, in which nothing is set yet
        prepare(row, camera);
        return calls_of([&] { function(camera, row.value); }, camera);
    };
    const auto made = work(row.library, kLibraryCamera);
    const auto wanted = work(row.hand, kHandCamera);
    const kiv_isp_param_s stored[] = {sim::host::stored_record(kLibraryCamera), sim::host::stored_record(kHandCamera)};
    const auto changes = sim::engine::changes(sim::engine::snapshot(rkipc_aiq_get_ctx(kLibraryCamera)),
                                              sim::engine::snapshot(rkipc_aiq_get_ctx(kHandCamera)));
    for (const auto& change : changes) {
        std::fprintf(stderr, "%s: by hand %s is %s\n", row.name, change.name.c_str(), change.value.c_str());
    }
    const bool alike = std::memcmp(&stored[0], &stored[1], sizeof stored[0]) == 0;
    if (!alike) {
        std::fprintf(stderr, "%s: the store is not the same\n", row.name);
    }
    return same_calls(row.name, made, wanted) && changes.empty() && alike;
}

bool same_setters()
{
    return std::all_of(std::begin(kRows), std::end(kRows),
                       [](const Row& row) { return row.hand == nullptr || same_work(row); });
}

bool same_loops(const std::vector<loops::Pair>& pairs)
{
    return std::all_of(pairs.begin(), pairs.end(), [](const loops::Pair& pair) {
        const auto work = [](loops::Loop* loop) { return calls_of([=] { loops::run(*loop, 3); }, -1); };
        pair.prepare();
        const auto made = work(pair.library);
        return same_calls(pair.name, made, work(pair.hand));
    });
}

// ---- Measuring ------------------------------------------------------------------------------------------------------

// What is measured beside each other, told apart by the ending of a benchmark's name.
constexpr const char* kEndings[] = {"", "/hand"};
constexpr int kForms = std::size(kEndings);

// Copying a block costs more or less with the place of its copy on the stack, which is another in every process: each
// run takes the next of the four places within a cache line.
[[gnu::noinline]] void repeat(benchmark::State& state, Function function, int camera, int value, std::size_t shift)
{
    benchmark::DoNotOptimize(__builtin_alloca(shift + 1));
    for (auto _ : state) {
        benchmark::DoNotOptimize(function(camera, value));
    }
}

void register_setters()
{
    for (const Row& row : kRows) {
        const Function functions[kForms] = {row.library, row.hand};
        for (int form = 0; form < kForms && functions[form] != nullptr; ++form) {
            const int camera = form == 0 ? kLibraryCamera : kHandCamera;
            const auto run = [&row, function = functions[form], camera, runs = 0U](benchmark::State& state) mutable {
                prepare(row, camera);
                repeat(state, function, camera, row.value, 16 * (runs++ % 4));
            };
            benchmark::RegisterBenchmark((std::string(row.name) + kEndings[form]).c_str(), run);
        }
    }
}

void register_loops(const std::vector<loops::Pair>& pairs)
{
    for (const loops::Pair& pair : pairs) {
        loops::Loop* const of_form[] = {pair.library, pair.hand};
        for (int form = 0; form < 2; ++form) {
            const auto run = [pair, loop = of_form[form]](benchmark::State& state) {
                pair.prepare();
                constexpr long kBatch = 1000;
                while (state.KeepRunningBatch(kBatch)) {
                    state.SetIterationTime(loops::run(*loop, kBatch));
                }
            };
            benchmark::RegisterBenchmark((std::string(pair.name) + kEndings[form]).c_str(), run)->UseManualTime();
        }
    }
}

/// Prints one line per setter or loop when all repetitions are done.
class RatioReporter : public benchmark::BenchmarkReporter
{
public:
    explicit RatioReporter(bool markdown) : markdown_(markdown) {}

    bool ReportContext(const Context&) override
    {
        return true;
    }

    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration) {
                continue;
            }
            const std::string& full = run.run_name.function_name;
            const std::string name = full.substr(0, full.find('/'));
            const auto* ending = std::find(std::begin(kEndings), std::end(kEndings), full.substr(name.size()));
            const bool own_time = run.run_name.time_type == "manual_time";
            times_[name][ending - std::begin(kEndings)].push_back(own_time ? run.GetAdjustedRealTime()
                                                                           : run.GetAdjustedCPUTime());
        }
    }

    void Finalize() override
    {
        if (!times_.empty() && !headed_) {
            std::puts(markdown_ ? "| Call | Library, ns | By hand, ns | Ratio |\n|---|--:|--:|--:|"
                                : "                  library, ns  by hand, ns    ratio");
            headed_ = true;
        }
        for (auto& [name, times] : times_) {
            const double library = median(times[0]);
            const double hand = median(times[1]);
            char beside[2][16] = {"", ""};
            if (hand > 0.0) {
                std::snprintf(beside[0], sizeof beside[0], "%.1f", hand);
                std::snprintf(beside[1], sizeof beside[1], "%.2f", library / hand);
            }
            std::printf(markdown_ ? "| %s | %.1f | %s | %s |\n" : "%-16s %12.1f %12s %8s\n", name.c_str(), library,
                        beside[0], beside[1]);
        }
        times_.clear();
    }

private:
    static double median(std::vector<double>& times)
    {
        if (times.empty()) {
            return 0.0;
        }
        const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
        std::nth_element(times.begin(), middle, times.end());
        return *middle;
    }

    bool markdown_;
    bool headed_ = false;
    std::map<std::string, std::vector<double>[kForms]> times_;
};

int measure(int argc, char** argv, bool markdown)
{
    if (!same_setters()) {
        return 1;
    }
    // Repetitions of library and hand alternate at random, so that a slow moment of the machine meets both.
    std::string defaults[] = {"--benchmark_repetitions=32", "--benchmark_min_time=0.01",
                              "--benchmark_enable_random_interleaving=true"};
    std::vector<char*> arguments{argv[0]};
    for (std::string& argument : defaults) {
        arguments.push_back(argument.data());
    }
    arguments.insert(arguments.end(), argv + 1, argv + argc);
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) {
        return 2;
    }
    RatioReporter reporter(markdown);
    register_setters();
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::ClearRegisteredBenchmarks();
    const std::vector<loops::Pair> pairs = loops::start_all();
    if (!same_loops(pairs)) {
        return 1;
    }
    register_loops(pairs);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}

} // namespace

/// What scripts/count-instructions.sh lets valgrind look into.
extern "C" [[gnu::noinline]] void measured_call(Function function, int value)
{
    function(kLibraryCamera, value);
    asm volatile("" ::: "memory");
}

int main(int argc, char** argv)
{
    std::string folder = (std::filesystem::temp_directory_path() / "isp_bench_XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr) {
        std::perror("mkdtemp");
        return 1;
    }
    const std::string shading_file = folder + "/shading.data";
    sim::host::write_shading_file(shading_file);
    isp::seam.shading_file = shading_file.c_str();
    loops::write_files(folder);
    loops::start_cameras();
    rk_isp_init(kLibraryCamera, nullptr);
    rk_isp_init(kHandCamera, nullptr);
    KIV_Set_exposure_mode(3, AUTO_EXPOSURE); // the process's first change of mode does more than later ones
    isp::seam.sleep = [](unsigned) { return 0U; };
    isp::seam.usleep = [](useconds_t) { return 0; };

    const std::string mode = argc > 1 ? argv[1] : "";
    int result = 0;
    if (mode == "--hour") {
        loops::play_hour();
    } else if (mode == "--once") {
        for (const Row& row : kRows) {
            prepare(row, kLibraryCamera);
            row.library(kLibraryCamera, row.value);
            measured_call(row.library, row.value);
            std::puts(row.name);
        }
    } else if (mode == "--check") {
        result = same_setters() && same_loops(loops::start_all()) ? 0 : 1;
    } else if (mode == "--markdown") {
        result = measure(argc - 1, argv + 1, true);
    } else {
        result = measure(argc, argv, false);
    }
    std::filesystem::remove_all(folder);
    std::fflush(stdout);
    std::_Exit(result); // the loops' threads still wait
}
