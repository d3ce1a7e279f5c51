// Pictures that commands write.
#pragma once

#include "picture/picture.h"
#include "prompt/commands.h"
#include "prompt/json.h"
#include "session/figures.h"

#include <string>

namespace prompt
{

/// Takes "--frames N" out of the words: how many frames are averaged, 1 unless given. Throws BadInput.
int frames_option(Words& words);

/// A region by its four words, within a picture of the usual size. Throws BadInput.
sim::picture::Area region_argument(std::span<const std::string> words);

Json figures_json(const session::Figures& figures);

/// The path of a picture to write. Throws BadInput for a name that is none of a PNG or JPEG file.
std::string picture_argument(const std::string& word);

/// Writes a picture and says so. Throws BadInput when it cannot be written.
void write_picture(const std::string& path, const sim::picture::Image& image);

} // namespace prompt
