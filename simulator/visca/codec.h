// VISCA messages: bytes in, request out; result in, bytes out; and how they travel. Plain C++17 without dependencies,
// which knows neither connections nor how a camera is built.
#pragma once

#include "visca/table.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace visca
{

using Bytes = std::vector<std::uint8_t>;

/// How a message is answered that gives no values: what was wrong, or how a command fares.
enum class Status { accepted = 0x40, done = 0x50, length = 0x6001, syntax, full, no_socket = 0x6005, unfit = 0x6041 };
Bytes bytes_of(Status status, int socket = 0);

/// A camera as messages see it. One thread at a time.
struct Camera {
    std::map<std::string_view, int> last_levels;        ///< of settings that are automatic at times
    std::function<int(std::string_view setting)> value; ///< at present
};

/// What a message asks for.
struct Request {
    Bytes reply;              ///< the answer; empty: set the setting, after `accepted` and before `done` or `unfit`
    std::string text;         ///< for people: what is asked for, or why it is refused
    std::string_view setting; ///< from the table
    int value = 0;            ///< of a step, from the camera's value, which should be what commands under way set
    bool clears = false;      ///< earlier commands get no reply any more
};
Request decode(const Bytes& message, Camera& camera);

/// Notes levels that automatic settings return to, as decode() does; for hosts whose settings change otherwise too.
void remember_levels(Camera& camera);

std::string text_of(const Bytes& bytes); ///< "81 01 04 00 02 FF"
std::string reference();                 ///< all commands as a table in Markdown

/// Cuts a stream into messages; 16 bytes without FF are one too, and the next begins behind the next FF. `rest` holds a
/// message that is not whole.
std::vector<Bytes> split(const std::uint8_t* bytes, std::size_t count, Bytes& rest);

struct Datagram {
    std::vector<Bytes> messages;
    std::optional<std::uint32_t> number; ///< the header's, which every reply carries
    Bytes reply;                         ///< to the header itself; empty: none
    bool resets = false;                 ///< the client numbers anew
};
Datagram open(const std::uint8_t* bytes, std::size_t count);

/// A reply as it travels: behind a header where the message had one.
Bytes wrap(const Bytes& reply, std::optional<std::uint32_t> number, std::size_t type = 0x0111);

} // namespace visca
