// isp_picture_bench: the way of a picture of 640 x 480 from the scene to a file. The pipeline at rest, with its
// temporal filter, with all stages at work as the library sets them, and the two writers.
#include "host/setters.h"
#include "session/cameras.h"
#include "session/look.h"
#include "session/session.h"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <filesystem>

namespace
{

using namespace sim::picture;

constexpr int kWidth = 640;
constexpr int kHeight = 480;

constexpr std::pair<const char*, int> kStrong[] = {
    {"nr2d", NR2D_5}, {"nr3d", NR3D_8}, {"drc", DRC_MAX}, {"sharpness", 14}, {"csc_mode", CSC_BT709_full_range}};

Look busy_look()
{
    std::string folder = (std::filesystem::temp_directory_path() / "isp_picture_bench_XXXXXX").string();
    session::open_session(mkdtemp(folder.data()));
    session::start_camera(0);
    for (const auto& [name, value] : kStrong) {
        sim::host::set(0, name, value);
    }
    std::filesystem::remove_all(folder);
    return session::look_of(0);
}

template <typename Work>
void add(const char* name, Work work)
{
    benchmark::RegisterBenchmark(name, [work](benchmark::State& state) {
        for (auto _ : state) {
            benchmark::DoNotOptimize(work());
        }
    })->Unit(benchmark::kMillisecond);
}

} // namespace

int main(int argc, char** argv)
{
    Look all = busy_look();
    Look rest = neutral_look();
    all.sensor_gain = rest.sensor_gain = 4.0;
    Look filtered = rest;
    filtered.nr3d = all.nr3d;
    Look moving = filtered;
    moving.scene = find_scene("stage");
    moving.moving = true;
    for (const auto& [name, look] : {std::pair{"pipeline/at_rest", rest},
                                     {"pipeline/temporal_filter", filtered},
                                     {"pipeline/and_something_moves", moving},
                                     {"pipeline/all", all}}) {
        add(name, [shown = look] { return render(shown, kWidth, kHeight).pixels.size(); });
    }
    const Image image = render(all, kWidth, kHeight);
    add("metering", [all] { return metering(all)[0]; });
    add("write/png", [&image] { return encode_png(image).size(); });
    add("write/jpeg", [&image] { return encode_jpeg(image, 85).size(); });
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
