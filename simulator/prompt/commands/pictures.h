// Pictures that commands write.
#pragma once

#include "picture/picture.h"
#include "prompt/commands.h"
#include "prompt/json.h"
#include "session/figures.h"

#include <string>

namespace prompt
{

/// Takes an option and so many words after it out of `words`; nothing where it is not there. Throws BadInput that says
/// what it needs.
Words take(Words& words, const std::string& option, std::size_t count, const std::string& needs);

/// Takes "--frames N" out of the words: how many frames are averaged, 1 unless given. Throws BadInput.
int frames_option(Words& words);

/// A region by its four words, within a picture of the usual size. Throws BadInput.
sim::picture::Area region_argument(std::span<const std::string> words);

Json figures_json(const session::Figures& figures);

/// A line per figure; a list of figures has a line of their names above it.
std::string table_of(const Json& figures, bool csv);

/// The path of a picture to write. Throws BadInput for a name that is none of a PNG or JPEG file.
std::string picture_argument(const std::string& word);

/// Writes pictures beside each other and says so. Throws BadInput when the file cannot be written.
void write_sheet(const std::string& path, const std::vector<sim::picture::Panel>& panels, int columns);

} // namespace prompt
