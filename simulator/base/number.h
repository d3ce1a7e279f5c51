// Numbers in text.
#pragma once

#include <charconv>
#include <optional>
#include <string_view>

namespace sim
{

/// The number that a text is from its beginning to its end; nothing for other text.
template <typename Number>
std::optional<Number> number_in(std::string_view text)
{
    Number value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc{} && end == text.data() + text.size() ? std::optional(value) : std::nullopt;
}

} // namespace sim
