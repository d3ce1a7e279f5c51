// isp_picture_bench: the way of a picture of 640 x 480 from the scene to a file. The pipeline at rest, with its
// temporal filter, with all stages at work, and the two writers.
#include "picture/picture.h"

#include <algorithm>
#include <benchmark/benchmark.h>

namespace
{

using namespace sim::picture;

constexpr int kWidth = 640;
constexpr int kHeight = 480;

void filter_in_time(Look& look)
{
    look.nr3d.eMode = ABAYERTNRV2_OP_MODE_AUTO;
    look.nr3d.stAuto.st3DParams.enable = 1;
    std::ranges::fill(look.nr3d.stAuto.st3DParams.lo_filter_strength, 6.0F);
    std::ranges::fill(look.nr3d.stAuto.st3DParams.hi_filter_strength, 6.0F);
}

void put_all_to_work(Look& look)
{
    filter_in_time(look);
    look.nr2d.eMode = ABAYER2DNR_OP_MODE_AUTO;
    look.nr2d.stAuto.st2DParams.enable = 1;
    std::ranges::fill(look.nr2d.stAuto.st2DParams.filter_strength, 3.0F);
    std::ranges::fill(look.nr2d.stAuto.st2DParams.edgesofts, 3.0F);
    look.vignetting = {0.58F, 0.55F, 0.53F};
    look.lsc.byPass = false;
    look.lsc.mode = RK_AIQ_LSC_MODE_MANUAL;
    auto& grids = look.lsc.stManual;
    for (auto* grid :
         {&grids.lsc_samples_red, &grids.lsc_samples_greenR, &grids.lsc_samples_greenB, &grids.lsc_samples_blue}) {
        std::ranges::fill(grid->uCoeff, uint16_t{1500});
    }
    look.drc.stAutoV30.DrcTuningPara.Enable = true;
    std::ranges::fill(look.drc.stAutoV30.DrcTuningPara.DrcGain.DrcGain, 2.0F);
    look.sharp.eMode = ASHARP4_OP_MODE_AUTO;
    look.sharp.stAuto.stParams.enable = 1;
    std::ranges::fill(look.sharp.stAuto.stParams.sharp_ratio, 3.0F);
    constexpr float kFullRange[] = {0.2126F, 0.7152F, 0.0722F, -0.1146F, -0.3854F, 0.5F, 0.5F, -0.4542F, -0.0458F};
    look.csm.param.op_mode = RK_AIQ_OP_MODE_MANUAL;
    look.csm.param.c_offset = 128;
    std::ranges::copy(kFullRange, look.csm.param.coeff);
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
    Look rest = neutral_look();
    rest.sensor_gain = 4.0;
    Look filtered = rest;
    filter_in_time(filtered);
    Look moving = filtered;
    moving.scene = find_scene("stage");
    moving.moving = true;
    Look all = rest;
    put_all_to_work(all);
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
