// The item is a file that the command prints. The model stands in that file alone, never in a command, so that no
// character of it means anything to the shell.
#include "host/vendor_storage.h"

#include "host/durable_file.h"

#include <filesystem>
#include <system_error>
#include <utility>

namespace sim::host
{

namespace
{

std::string single_quoted(const std::string& text)
{
    std::string quoted = "'";
    for (const char c : text) {
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return quoted + '\'';
}

} // namespace

std::string lens_command_for(const std::string& model, const std::string& directory, std::string* failed)
{
    std::error_code error;
    const std::filesystem::path folder = std::filesystem::absolute(directory, error);
    const std::string file = (folder / "vendor_storage.item").string();
    const std::string item = model.empty() ? std::string() : "VENDOR_CUSTOM_ID:" + model + '\n';
    std::string wrong = error ? directory + ": " + error.message() : write_durably(file, item, Links::replaced);
    const bool written = wrong.empty();
    if (failed != nullptr) {
        *failed = std::move(wrong);
    }
    // How the board's command reads the item: of what the tool prints, what follows the item's name in its line. Every
    // byte counts as a character.
    return written ? "export LC_ALL=C; cat " + single_quoted(file) +
                         " 2>/dev/null | grep \"VENDOR_CUSTOM_ID\" | sed 's/.*VENDOR_CUSTOM_ID://'"
                   : std::string();
}

} // namespace sim::host
