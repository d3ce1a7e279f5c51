// Text for people.
#pragma once

#include <string>
#include <string_view>

namespace session
{

/// The text without control characters and without what is no UTF-8, each replaced by a question mark, and cut off
/// after `most` bytes.
std::string printable(std::string_view text, std::size_t most = 400);

/// A line of values, as printf() writes it.
[[gnu::format(printf, 1, 2)]] std::string format(const char* form, ...);

} // namespace session
