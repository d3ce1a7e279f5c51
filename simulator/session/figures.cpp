#include "session/figures.h"

#include "session/cameras.h"
#include "session/look.h"

#include <algorithm>
#include <cmath>

namespace session
{

namespace
{

using namespace sim::picture;

constexpr double kLevels = 255.0;

void add_noise(Figures& figures, const Image& image, const Area& area)
{
    constexpr double kLeast = 1.0e-6; // of noise, for a ratio that is a number
    const double noise = luma_deviation(image, area);
    figures.emplace_back("noise", kLevels * noise);
    figures.emplace_back("snr_db",
                         20.0 * std::log10(std::max(mean_luma(image, area), kLeast) / std::max(noise, kLeast)));
}

/// What of the chart is in view.
void add_chart(Figures& figures, const Image& image, float magnification)
{
    const auto in_view = [&](const Area& area) {
        return area.x0 >= 0 && area.y0 >= 0 && area.x1 <= image.width && area.y1 <= image.height;
    };
    double sum = 0.0;
    double most = 0.0;
    double cast = 0.0;
    int patches = 0;
    int greys = 0;
    for (int i = 0; i < kPatches; ++i) {
        const Area area = patch_area(image, i, magnification);
        if (in_view(area)) {
            const Colour mean = mean_colour(image, area);
            const double difference = colour_difference(mean, patch_reflectance(i));
            sum += difference;
            most = std::max(most, difference);
            ++patches;
            cast += i >= kWhitePatch ? chroma(mean) : 0.0;
            greys += i >= kWhitePatch ? 1 : 0;
        }
    }
    if (patches > 0) {
        figures.emplace_back("ciede2000_mean", sum / patches);
        figures.emplace_back("ciede2000_max", most);
    }
    if (greys > 0) {
        figures.emplace_back("wb_error", cast / greys);
    }
    if (const Area grey = patch_area(image, kMidGreyPatch, magnification); in_view(grey)) {
        add_noise(figures, image, grey);
    }
    if (const Area edge = region_area(image, Region::edge, magnification); in_view(edge)) {
        figures.emplace_back("edge_contrast", kLevels * steepest_edge(image, edge));
    }
}

Figures figures_in(const Image& image, const std::optional<Area>& region, bool chart, float magnification)
{
    const Area area = region.value_or(Area{0, 0, image.width, image.height});
    const Colour mean = mean_colour(image, area);
    const Histogram levels = histogram(image, area);
    Figures figures = {{"red", kLevels * double{mean.red}},         {"green", kLevels * double{mean.green}},
                       {"blue", kLevels * double{mean.blue}},       {"luma", kLevels * mean_luma(image, area)},
                       {"clipped_percent", 100.0 * levels.clipped}, {"black_percent", 100.0 * levels.black}};
    if (region) {
        add_noise(figures, image, area);
    } else if (chart) {
        add_chart(figures, image, magnification);
    }
    return figures;
}

} // namespace

Figures figures_of(int camera, const std::optional<Area>& region, int frames)
{
    Look look = look_of(camera);
    const bool chart = look.scene->name == "chart";
    Figures mean;
    for (int i = 1; i <= frames; ++i, ++look.frame) {
        const Figures figures =
            figures_in(render(look, kPictureWidth, kPictureHeight), region, chart, look.magnification);
        if (i == 1) {
            mean = figures;
        }
        for (std::size_t f = 0; f < mean.size(); ++f) {
            mean[f].second += (figures[f].second - mean[f].second) / i;
        }
    }
    const sim::engine::Readings live = readings_of(camera);
    mean.emplace_back("exposure_error_ev", std::log2(std::max(live.mean_luma, 0.01) / live.target_luma));
    mean.emplace_back("exposure_time", live.time);
    mean.emplace_back("gain", live.analog_gain * live.isp_dgain);
    return mean;
}

} // namespace session
