#include "session/text.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>

namespace session
{

namespace
{

/// How many bytes a printable character has at the beginning of a text; 0 where there is none.
std::size_t printable_bytes(std::string_view text)
{
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char first = byte(0);
    if (first < 0x80) {
        return first >= 0x20 && first != 0x7F ? 1 : 0;
    }
    const std::size_t size = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : first >= 0xC2 ? 2 : 0;
    if (size == 0 || first > 0xF4 || text.size() < size) {
        return 0;
    }
    for (std::size_t i = 1; i < size; ++i) {
        if ((byte(i) & 0xC0U) != 0x80) {
            return 0;
        }
    }
    const bool control = first == 0xC2 && byte(1) < 0xA0; // C1
    return control ? 0 : size;
}

} // namespace

std::string printable(std::string_view text, std::size_t most)
{
    std::string shown;
    while (!text.empty()) {
        if (shown.size() >= most) {
            return shown + "...";
        }
        const std::size_t size = printable_bytes(text);
        shown += size > 0 ? text.substr(0, size) : "?";
        text.remove_prefix(std::max<std::size_t>(size, 1));
    }
    return shown;
}

std::string format(const char* form, ...)
{
    std::array<char, 512> written{};
    std::va_list values;
    va_start(values, form);
    std::vsnprintf(written.data(), written.size(), form, values);
    va_end(values);
    return written.data();
}

} // namespace session
