// Lines of a script or of standard input, read so that a signal ends the wait for more.
#pragma once

#include <optional>
#include <string>

namespace prompt
{

class LineReader
{
public:
    /// Reads standard input where no path is given. Throws BadInput when the file cannot be opened.
    explicit LineReader(const std::optional<std::string>& path);
    ~LineReader();
    LineReader& operator=(LineReader&&) = delete;

    /// The next line without its end, nothing at the end of the file. A byte-order mark is skipped. Throws BadInput,
    /// with the place, for what cannot be read and for a line longer than 65536 bytes; Interrupted for a signal.
    std::optional<std::string> next();

    /// "NAME:LINE: " of the line that next() returned.
    std::string place() const;

private:
    bool read_more();

    int descriptor_;
    std::string name_;
    std::string pending_;
    int number_ = 0;
    bool ended_ = false;
};

} // namespace prompt
