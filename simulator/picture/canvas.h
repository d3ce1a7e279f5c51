// Drawing on images with cairo.
#pragma once

#include "picture/picture.h"

#include <cairo.h>
#include <memory>
#include <string>

namespace sim::picture
{

using Surface = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;
using Context = std::unique_ptr<cairo_t, decltype(&cairo_destroy)>;

/// An image as cairo holds it, 8 bits per channel, and back; cairo's error surface when it has no memory.
Surface to_surface(const Image& image);
Image from_surface(cairo_surface_t* surface);

/// Writes a line with its baseline start at (x, y); one that is wider than `width` is cut with an ellipsis.
void draw_text(cairo_t* context, const std::string& text, double x, double y, double size, double width);

} // namespace sim::picture
