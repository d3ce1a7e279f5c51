// Lines of a script or of standard input, read so that a signal ends the wait for more.
#pragma once

#include <optional>
#include <string>

namespace prompt
{

class LineReader
{
public:
    /// Throws BadInput when the file cannot be opened.
    explicit LineReader(const std::string& path);

    /// Reads a descriptor that is open already.
    LineReader(int descriptor, std::string name);
    ~LineReader();
    LineReader(const LineReader&) = delete;
    LineReader& operator=(const LineReader&) = delete;

    /// The next line without its end, nothing at the end of the file. A byte-order mark is skipped. Throws BadInput
    /// for what cannot be read and for a line longer than kLongestLine, Interrupted for a signal.
    std::optional<std::string> next();

    /// "NAME:LINE: " of the line that next() returned or failed at.
    std::string place() const;

    static constexpr std::size_t kLongestLine = 65536;

private:
    bool read_more();

    int descriptor_;
    bool owned_;
    std::string name_;
    std::string pending_;
    int number_ = 0;
    bool ended_ = false;
};

} // namespace prompt
