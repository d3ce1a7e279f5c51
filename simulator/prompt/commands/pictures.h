// Pictures that commands write.
#pragma once

#include "picture/picture.h"

#include <string>

namespace prompt
{

/// The path of a picture to write, by a word of a command. Throws BadInput for a name that is none of a PNG or JPEG
/// file.
std::string picture_argument(const std::string& word);

/// Writes a picture and says so. Throws BadInput when it cannot be written.
void write_picture(const std::string& path, const sim::picture::Image& image);

} // namespace prompt
