#include "prompt/line_reader.h"

#include "prompt/interrupt.h"
#include "session/bad_input.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace prompt
{

LineReader::LineReader(const std::optional<std::string>& path)
    : descriptor_(path ? open(path->c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC) : STDIN_FILENO),
      name_(path.value_or("standard input"))
{
    if (descriptor_ < 0) {
        throw session::BadInput(name_ + ": " + std::strerror(errno));
    }
}

LineReader::~LineReader()
{
    if (descriptor_ != STDIN_FILENO) {
        close(descriptor_);
    }
}

bool LineReader::read_more()
{
    wait_readable(descriptor_);
    throw_if_interrupted();
    char bytes[4096];
    const ssize_t count = read(descriptor_, bytes, sizeof bytes);
    if (count < 0) {
        throw session::BadInput(place() + std::strerror(errno));
    }
    pending_.append(bytes, static_cast<std::size_t>(count));
    return count > 0;
}

std::optional<std::string> LineReader::next()
{
    constexpr std::size_t kLongestLine = 65536;
    ++number_;
    std::size_t end = pending_.find('\n');
    while (end == std::string::npos && !ended_) {
        const std::size_t searched = pending_.size();
        ended_ = !read_more();
        end = pending_.find('\n', searched);
        if (end == std::string::npos && pending_.size() > kLongestLine) {
            ended_ = true;
            pending_.clear();
            throw session::BadInput(place() + "the line is longer than " + std::to_string(kLongestLine) + " bytes");
        }
    }
    if (end == std::string::npos && pending_.empty()) {
        return std::nullopt;
    }
    std::string line = pending_.substr(0, end);
    pending_.erase(0, end == std::string::npos ? end : end + 1);
    constexpr const char* kByteOrderMark = "\xEF\xBB\xBF";
    if (number_ == 1 && line.starts_with(kByteOrderMark)) {
        line.erase(0, std::strlen(kByteOrderMark));
    }
    return line;
}

std::string LineReader::place() const
{
    return name_ + ":" + std::to_string(number_) + ": ";
}

} // namespace prompt
