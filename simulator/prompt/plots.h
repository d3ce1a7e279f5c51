// What gnuplot draws, as an SVG or PNG picture by the name's ending. All throw BadInput when that fails.
#pragma once

#include "picture/picture.h"

#include <string>

namespace prompt
{

/// A recorded run; BadInput too when the file holds none.
void plot_run(const std::string& csv, const std::string& picture);

/// How often each level of red, green, blue and luma occurs; and the luma levels of each column of the image.
void plot_histogram(const sim::picture::Image& image, const std::string& title, const std::string& picture);
void plot_waveform(const sim::picture::Image& image, const std::string& title, const std::string& picture);

} // namespace prompt
