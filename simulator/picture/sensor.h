// What the sensor delivers, row by row: the scene's light through the lens, what moves in front of it, flicker, noise,
// and what the temporal filter makes of it all.
#pragma once

#include "picture/noise.h"
#include "picture/stages.h"

namespace sim::picture
{

ConstRow row_of(const Planes& planes, int y);

/// Light on the sensor = scene * lamp * response to the illuminant / (1 + k r^2)^2, r being 1 in the corners: the
/// fourth power of the cosine of the field angle. A pixel holds so much of it; then the gain. From x0 to x1.
void expose(const Look& look, ConstRow scene, int y, int x0, int x1, int width, int height, Row row);

class Sensor
{
public:
    Sensor(const Look& look, int width, int height);

    void read(int y, Row row);

    /// The noise after the filter where nothing moves.
    Noise noise_left() const;

private:
    bool covers(const Place& at, int y) const;
    std::pair<int, int> moving_columns(int y) const;
    void compose(ConstRow scene, const Place& at, int y, int x0, int x1, Row row) const;
    void read_moving(ConstRow scene, int y, int x0, int x1, Row row);

    const Look& look_;
    int width_;
    int height_;
    Noise noise_;
    TemporalFilter filter_;
    std::shared_ptr<const Drawn> drawn_;
    std::array<Place, TemporalFilter::kFrames> places_{}; // of the cut-out, the present frame first
    std::vector<float> scratch_;
    Ring<TemporalFilter::kFrames> rows_;
};

} // namespace sim::picture
