// Pictures that commands write.
#pragma once

#include "picture/picture.h"

#include <string>

namespace app
{

/// Writes a picture and says so. Throws BadInput when it cannot be written.
void write_picture(const std::string& path, const sim::picture::Image& image);

} // namespace app
