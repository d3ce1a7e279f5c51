// isp_bench: processor time of every setter, the restore and a style through the simulated engine.
//   isp_bench [--benchmark_filter=NAME ...]  measures
//   isp_bench --once     calls each setter once inside measured_call() and prints its name
#include "host/setters.h"
#include "host/shading_file.h"
#include "host/store.h"
#include "isp_ctrl.h"
#include "isp_ctrl/core/seam.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

namespace
{

using Function = int (*)(int id, int value);

struct Row {
    const char* name; // of a setting or command, or "restore"
    int value;
    int exposure_mode = AUTO_EXPOSURE;
    int wb_mode = AUTO_WHITE_BALANCE;
};

// clang-format off
constexpr Row kRows[] = {
    {"saturation", 9}, {"hue", 9}, {"luminance", 9}, {"contrast", 9}, {"blackwhite_mode", BlackWhite_Mode_ON},
    {"sharpness", 9}, {"gamma", 3}, {"drc", 3}, {"nr3d", 3}, {"csc_mode", CSC_BT709_full_range},
    {"meter", Meter_Mode_Centor}, {"antiflicker", FLICKER_60HZ},
    {"bright", 9, BRIGHT_PRIORITY}, {"expcomp_mode", Expcomp_Mode_ON}, {"expcomp_level", 9},
    {"backlight", Backlight_Mode_ON}, {"gain_limit", 5}, {"manual_gain", 5, MANUAL_EXPOSURE},
    {"iris", 9, MANUAL_EXPOSURE}, {"shutter", 9, MANUAL_EXPOSURE}, {"exposure_mode", AUTO_EXPOSURE},
    {"rgain", 99, AUTO_EXPOSURE, MANUAL_WHITE_BALANCE}, {"bgain", 99, AUTO_EXPOSURE, MANUAL_WHITE_BALANCE},
    {"temperature", 40, AUTO_EXPOSURE, TEMPERATURE},
    {"wb_mode_onepush", 0, AUTO_EXPOSURE, ONE_PUSH_WHITE_BALANCE},
    // These ask for the lens.
    {"wb_mode", AUTO_WHITE_BALANCE}, {"rgain_tuning", 5}, {"bgain_tuning", 5}, {"shading", 0}, {"nr2d", 3},
    {"style", style_clarity}, {"restore", 0},
};
// clang-format on

constexpr int kCamera = 4;

Function function_of(const Row& row)
{
    const auto* const setter = std::ranges::find(sim::host::kSetters, row.name, &sim::host::NamedSetter::name);
    return setter != std::end(sim::host::kSetters) ? setter->set : [](int id, int) { return KIV_load_isp_para(id), 0; };
}

void prepare(const Row& row)
{
    sim::host::store_record(kCamera, sim::host::initial_record());
    para_set_isp_exposure_mode_cur(kCamera, row.exposure_mode);
    para_set_isp_wb_mode_cur(kCamera, row.wb_mode);
}

// Copying a block costs more or less with the place of its copy on the stack, which is another in every process: each
// run takes the next of the four places within a cache line.
[[gnu::noinline]] void repeat(benchmark::State& state, Function call, int value, std::size_t shift)
{
    benchmark::DoNotOptimize(__builtin_alloca(shift + 1));
    for (auto _ : state) {
        benchmark::DoNotOptimize(call(kCamera, value));
    }
}

void register_setters()
{
    for (const Row& row : kRows) {
        benchmark::RegisterBenchmark(row.name, [&row, runs = 0U](benchmark::State& state) mutable {
            prepare(row);
            repeat(state, function_of(row), row.value, 16 * (runs++ % 4));
        });
    }
}

int measure(int argc, char** argv)
{
    // Repetitions take turns at random, so that a slow moment of the machine meets all.
    std::vector<std::string> words{argv[0], "--benchmark_repetitions=32", "--benchmark_min_time=0.01",
                                   "--benchmark_enable_random_interleaving=true",
                                   "--benchmark_report_aggregates_only=true"};
    words.insert(words.end(), argv + 1, argv + argc);
    std::vector<char*> arguments;
    std::ranges::transform(words, std::back_inserter(arguments), [](std::string& word) { return word.data(); });
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) {
        return 2;
    }
    register_setters();
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}

} // namespace

/// What scripts/count-instructions.sh lets valgrind look into.
extern "C" [[gnu::noinline]] void measured_call(Function function, int value)
{
    function(kCamera, value);
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
    rk_isp_init(kCamera, nullptr);
    KIV_Set_exposure_mode(kCamera, AUTO_EXPOSURE); // the process's first change of mode does more than later ones
    isp::seam.sleep = [](unsigned) { return 0U; };
    isp::seam.usleep = [](useconds_t) { return 0; };

    const std::string mode = argc > 1 ? argv[1] : "";
    int result = 0;
    if (mode == "--once") {
        for (const Row& row : kRows) {
            prepare(row);
            function_of(row)(kCamera, row.value);
            measured_call(function_of(row), row.value);
            std::puts(row.name);
        }
    } else {
        result = measure(argc, argv);
    }
    std::filesystem::remove_all(folder);
    return result;
}
