// isp_bench: every setter, the restore, a style and one cycle of each loop through the simulated engine, each beside
// the same work by hand in the same run; the ratio of the two medians is the figure.
//   isp_bench [--benchmark_filter=NAME ...]  measures
//   isp_bench --once                         calls each setter once inside measured_call() and prints its name
//   isp_bench --hour                         processor time of the loops over a simulated hour
#include "base/calls.h"
#include "engine/engine.h"
#include "hand/hand.h"
#include "host/shading_file.h"
#include "host/store.h"
#include "isp_ctrl.h"
#include "isp_ctrl/frame/context.h"
#include "isp_ctrl/frame/seam.h"
#include "isp_ctrl/frame/setting_step.h"
#include "loops.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <string>

namespace
{

using Function = int (*)(int id, int value);

struct Row {
    const char* name;
    Function library;
    Function hand;
    int value;
    int exposure_mode;
    int wb_mode;
};

// The library's form of a setter as a plain one.
#define LEVEL(name) [](int id, int value) { return isp::apply_setting<KIV_Set_##name>(id, value); }
#define ROW(name, library, value, mode, wb)                                                                            \
    {                                                                                                                  \
#name, library, [](int id, int v) { return hand::name(id, v); }, value, mode, wb                               \
    }

constexpr Row kRows[] = {
    ROW(saturation, LEVEL(saturation), 9, AUTO_EXPOSURE, AUTO_WHITE_BALANCE),
    ROW(hue, LEVEL(hue), 9, AUTO_EXPOSURE, AUTO_WHITE_BALANCE),
    ROW(luminance, LEVEL(luminance), 9, AUTO_EXPOSURE, AUTO_WHITE_BALANCE),
    ROW(contrast, LEVEL(contrast), 9, AUTO_EXPOSURE, AUTO_WHITE_BALANCE),
    ROW(blackwhite_mode, LEVEL(blackwhite_mode), BlackWhite_Mode_ON, AUTO_EXPOSURE, AUTO_WHITE_BALANCE),
    ROW(sharpness, LEVEL(sharpness), 9, AUTO_EXPOSURE, AUTO_WHITE_BALANCE),
    ROW(gamma, LEVEL(gamma), 3, AUTO_EXPOSURE, AUTO_WHITE_BALANCE),
    ROW(drc, LEVEL(drc), 3, AUTO_EXPOSURE, AUTO_WHITE_BALANCE),
    ROW(nr3d, LEVEL(nr3d), 3, AUTO_EXPOSURE, AUTO_WHITE_BALANCE),
    ROW(
        csc_mode,
        [](int id, int value) {
            KIV_Set_csc_mode(id, CSC_Mode_E{value});
            return 0;
        },
        CSC_BT709_full_range, AUTO_EXPOSURE, AUTO_WHITE_BALANCE),
    ROW(meter, LEVEL(meter), Meter_Mode_Centor, AUTO_EXPOSURE, AUTO_WHITE_BALANCE),
    ROW(antiflicker, LEVEL(antiflicker), FLICKER_60HZ, AUTO_EXPOSURE, AUTO_WHITE_BALANCE),
    ROW(bright, LEVEL(bright), 9, BRIGHT_PRIORITY, AUTO_WHITE_BALANCE),
    ROW(expcomp_mode, LEVEL(expcomp_mode), Expcomp_Mode_ON, AUTO_EXPOSURE, AUTO_WHITE_BALANCE),
    ROW(expcomp_level, LEVEL(expcomp_level), 9, AUTO_EXPOSURE, AUTO_WHITE_BALANCE),
    ROW(backlight, LEVEL(backlight), Backlight_Mode_ON, AUTO_EXPOSURE, AUTO_WHITE_BALANCE),
    ROW(gain_limit, LEVEL(gain_limit), 5, AUTO_EXPOSURE, AUTO_WHITE_BALANCE),
    ROW(manual_gain, LEVEL(manual_gain), 5, MANUAL_EXPOSURE, AUTO_WHITE_BALANCE),
    ROW(iris, LEVEL(iris), 9, MANUAL_EXPOSURE, AUTO_WHITE_BALANCE),
    ROW(shutter, LEVEL(shutter), 9, MANUAL_EXPOSURE, AUTO_WHITE_BALANCE),
    ROW(exposure_mode, LEVEL(exposure_mode), AUTO_EXPOSURE, AUTO_EXPOSURE, AUTO_WHITE_BALANCE),
    ROW(rgain, LEVEL(rgain), 99, AUTO_EXPOSURE, MANUAL_WHITE_BALANCE),
    ROW(bgain, LEVEL(bgain), 99, AUTO_EXPOSURE, MANUAL_WHITE_BALANCE),
    ROW(temperature, LEVEL(temperature), 40, AUTO_EXPOSURE, TEMPERATURE),
    ROW(
        wb_mode_onepush, [](int id, int) { return KIV_Set_wb_mode_onepush(id); }, 0, AUTO_EXPOSURE,
        ONE_PUSH_WHITE_BALANCE),
    // These ask for the lens.
    ROW(wb_mode, LEVEL(wb_mode), AUTO_WHITE_BALANCE, AUTO_EXPOSURE, AUTO_WHITE_BALANCE),
    ROW(rgain_tuning, LEVEL(rgain_tuning), 5, AUTO_EXPOSURE, AUTO_WHITE_BALANCE),
    ROW(bgain_tuning, LEVEL(bgain_tuning), 5, AUTO_EXPOSURE, AUTO_WHITE_BALANCE),
    ROW(
        shading, [](int id, int) { return KIV_Set_shading(id); }, 0, AUTO_EXPOSURE, AUTO_WHITE_BALANCE),
    ROW(nr2d, LEVEL(nr2d), 3, AUTO_EXPOSURE, AUTO_WHITE_BALANCE),
    ROW(style, LEVEL(style), style_clarity, AUTO_EXPOSURE, AUTO_WHITE_BALANCE),
    ROW(
        restore,
        [](int id, int) {
            KIV_load_isp_para(id);
            return 0;
        },
        0, AUTO_EXPOSURE, AUTO_WHITE_BALANCE),
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

std::vector<sim::Call> calls_of(Function function, const Row& row, int camera)
{
    prepare(row, camera);
    sim::start_recording();
    function(camera, row.value);
    sim::stop_recording();
    std::vector<sim::Call> calls = sim::recorded_calls();
    for (sim::Call& call : calls) {
        call.id = call.id == camera ? 0 : call.id;
    }
    return calls;
}

/// Whether library and hand make the same calls and leave engine and store alike.
bool same_work(const Row& row)
{
    const auto made = calls_of(row.library, row, kLibraryCamera);
    const auto wanted = calls_of(row.hand, row, kHandCamera);
    const kiv_isp_param_s stored[] = {sim::host::stored_record(kLibraryCamera), sim::host::stored_record(kHandCamera)};
    const auto changes = sim::engine::changes(sim::engine::snapshot(rkipc_aiq_get_ctx(kLibraryCamera)),
                                              sim::engine::snapshot(rkipc_aiq_get_ctx(kHandCamera)));
    const auto [call, other] = std::mismatch(made.begin(), made.end(), wanted.begin(), wanted.end());
    if (call != made.end() || other != wanted.end()) {
        std::fprintf(stderr, "%s: call %td is %s, by hand %s\n", row.name, call - made.begin(),
                     call != made.end() ? call->function.c_str() : "-",
                     other != wanted.end() ? other->function.c_str() : "-");
    }
    for (const auto& change : changes) {
        std::fprintf(stderr, "%s: by hand %s is %s\n", row.name, change.name.c_str(), change.value.c_str());
    }
    return made == wanted && changes.empty() && std::memcmp(&stored[0], &stored[1], sizeof stored[0]) == 0;
}

// ---- Measuring ------------------------------------------------------------------------------------------------------

void register_pair(const std::string& name, auto library, auto hand, bool own_time)
{
    for (auto* benchmark : {benchmark::RegisterBenchmark(name.c_str(), library),
                            benchmark::RegisterBenchmark((name + "/hand").c_str(), hand)}) {
        if (own_time) {
            benchmark->UseManualTime();
        }
    }
}

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
        const auto loop = [&row](Function function, int camera) {
            return [&row, function, camera, run = 0U](benchmark::State& state) mutable {
                prepare(row, camera);
                repeat(state, function, camera, row.value, 16 * (run++ % 4));
            };
        };
        register_pair(row.name, loop(row.library, kLibraryCamera), loop(row.hand, kHandCamera), false);
    }
}

void register_loops()
{
    for (const loops::Pair& pair : loops::start_all()) {
        const auto cycles = [pair](loops::Loop* loop) {
            return [=](benchmark::State& state) {
                pair.prepare();
                constexpr long kBatch = 1000;
                while (state.KeepRunningBatch(kBatch)) {
                    state.SetIterationTime(loops::run(*loop, kBatch));
                }
            };
        };
        register_pair(pair.name, cycles(pair.library), cycles(pair.hand), true);
    }
}

/// Prints one line per pair when all repetitions are done.
class RatioReporter : public benchmark::BenchmarkReporter
{
public:
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
            std::string name = run.run_name.function_name;
            const bool by_hand = name.ends_with("/hand");
            if (by_hand) {
                name.resize(name.size() - 5);
            }
            const bool own_time = run.run_name.time_type == "manual_time";
            times_[name][by_hand].push_back(own_time ? run.GetAdjustedRealTime() : run.GetAdjustedCPUTime());
        }
    }

    void Finalize() override
    {
        if (!times_.empty()) {
            std::printf("%-16s %12s %12s %8s\n", "", "library, ns", "by hand, ns", "ratio");
        }
        for (auto& [name, times] : times_) {
            const double library = median(times[0]);
            const double hand = median(times[1]);
            std::printf("%-16s %12.1f %12.1f %8.3f\n", name.c_str(), library, hand, library / hand);
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

    std::map<std::string, std::vector<double>[2]> times_;
};

int measure(int argc, char** argv)
{
    for (const Row& row : kRows) {
        if (!same_work(row)) {
            return 1;
        }
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
    RatioReporter reporter;
    register_setters();
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::ClearRegisteredBenchmarks();
    register_loops();
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
    } else {
        result = measure(argc, argv);
    }
    std::filesystem::remove_all(folder);
    std::fflush(stdout);
    std::_Exit(result); // the loops' threads still wait
}
