// The sensor's rows.
#include "picture/sensor.h"

#include "picture/colour.h"
#include "picture/flicker.h"

namespace sim::picture
{

ConstRow row_of(const Planes& planes, int y)
{
    const std::size_t first = index_of(0, y, planes.width);
    return {planes.channel[0].data() + first, planes.channel[1].data() + first, planes.channel[2].data() + first};
}

void expose(const Look& look, ConstRow scene, int y, int x0, int x1, int width, int height, Row row)
{
    constexpr float kFullWell = 1.5F; // signal at gain 1 that a pixel holds, white being 1
    const float v = (2.0F * static_cast<float>(y) + 1.0F) / static_cast<float>(height) - 1.0F;
    const auto gain = static_cast<float>(look.sensor_gain);
    const float light = static_cast<float>(look.exposure / look.sensor_gain) *
                        row_light(look.lamp, look.exposure_time, look.frame, (y + 0.5) / height);
    const float step = 2.0F / static_cast<float>(width);
    const std::array response = {light / static_cast<float>(look.neutral_red), light,
                                 light / static_cast<float>(look.neutral_blue)};
    const std::array k = {look.vignetting.red, look.vignetting.green, look.vignetting.blue};
    for (std::size_t c = 0; c < 3; ++c) {
        const float half_k = 0.5F * k[c];
        const float middle = 1.0F + half_k * v * v;
        const float factor = response[c];
        for (int x = x0; x < x1; ++x) {
            const float u = step * static_cast<float>(x) + (0.5F * step - 1.0F);
            const float root = middle + half_k * u * u;
            const float charge = scene[c][x] * factor / (root * root);
            row[c][x] = (charge < kFullWell ? charge : kFullWell) * gain;
        }
    }
}

Sensor::Sensor(const Look& look, int width, int height)
    : look_(look), width_(width), height_(height), noise_(noise_of(look)), filter_(temporal_filter_of(look)),
      drawn_(draw_scene(look.scene, look.magnification, width, height, look.moving)),
      scratch_(static_cast<std::size_t>(width)), rows_(width)
{
    for (std::size_t k = 0; drawn_->cutout && k < places_.size(); ++k) {
        places_[k] = place_of(*drawn_->cutout, look.frame - static_cast<std::int64_t>(k));
    }
}

void Sensor::read(int y, Row row)
{
    const ConstRow scene = row_of(drawn_->planes, y);
    expose(look_, scene, y, 0, width_, width_, height_, row);
    add_noise(look_, noise_, filter_, y, width_, row, scratch_.data());
    if (const auto [x0, x1] = moving_columns(y); x0 < x1) {
        read_moving(scene, y, x0, x1, row);
    }
}

Noise Sensor::noise_left() const
{
    const float part = filter_.on() ? filter_.rest * filter_.rest : 1.0F;
    return {noise_.shot * part, noise_.read * part};
}

bool Sensor::covers(const Place& at, int y) const
{
    return y >= at.y && y < at.y + drawn_->cutout->light.height;
}

/// The columns in which a row differs from the scene in any of the frames that the filter sees.
std::pair<int, int> Sensor::moving_columns(int y) const
{
    std::pair<int, int> columns{width_, 0};
    for (std::size_t k = 0; drawn_->cutout && k < (filter_.on() ? places_.size() : 1U); ++k) {
        if (covers(places_[k], y)) {
            columns.first = std::min(columns.first, std::max(places_[k].x, 0));
            columns.second = std::max(columns.second, std::min(places_[k].x + drawn_->cutout->light.width, width_));
        }
    }
    return columns;
}

/// The scene with the cut-out of a frame before it.
void Sensor::compose(ConstRow scene, const Place& at, int y, int x0, int x1, Row row) const
{
    const Cutout& cutout = *drawn_->cutout;
    for (std::size_t c = 0; c < 3; ++c) {
        std::copy(scene[c] + x0, scene[c] + x1, row[c] + x0);
    }
    if (!covers(at, y)) {
        return;
    }
    const std::size_t first = index_of(0, y - at.y, cutout.light.width);
    for (int x = std::max(x0, at.x); x < std::min(x1, at.x + cutout.light.width); ++x) {
        const std::size_t i = first + static_cast<std::size_t>(x - at.x);
        for (std::size_t c = 0; c < 3; ++c) {
            row[c][x] = row[c][x] * (1.0F - cutout.cover[i]) + cutout.light.channel[c][i];
        }
    }
}

void Sensor::read_moving(ConstRow scene, int y, int x0, int x1, Row row)
{
    for (std::size_t k = 0; k < places_.size(); ++k) {
        const Row seen = rows_.row(static_cast<int>(k));
        compose(scene, places_[k], y, x0, x1, seen);
        expose(look_, {seen[0], seen[1], seen[2]}, y, x0, x1, width_, height_, seen);
    }
    for (std::size_t c = 0; c < 3; ++c) {
        std::array<const float*, TemporalFilter::kFrames> light{};
        for (std::size_t k = 0; k < light.size(); ++k) {
            light[k] = rows_.row(static_cast<int>(k))[c] + x0;
        }
        filter_moving(look_, noise_, filter_, y, c, x0, x1, light, row[c] + x0, scratch_.data());
    }
}

} // namespace sim::picture
