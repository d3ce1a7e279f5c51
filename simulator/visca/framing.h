// How VISCA messages travel: one after another in a TCP stream or a datagram, or in a datagram with a number.
#pragma once

#include "visca/codec.h"

#include <deque>
#include <optional>

namespace visca
{

/// Whether a message may begin so.
constexpr bool begins_message(std::uint8_t byte)
{
    return byte == 0x81 || byte == 0x88;
}

/// Cuts a stream into messages. After 16 bytes without FF these are a message, and the next begins after the next FF.
class Splitter
{
public:
    std::vector<Bytes> take(const std::uint8_t* bytes, std::size_t count);

    /// A message that is not whole.
    const Bytes& rest() const
    {
        return message_;
    }

private:
    Bytes message_;
    bool skipping_ = false;
};

/// A datagram, opened.
struct Datagram {
    std::vector<Bytes> messages;
    std::optional<std::uint32_t> number; ///< of messages behind a header
    Bytes reply;                         ///< what the header itself is answered with; empty: nothing
    bool resets = false;                 ///< the client counts anew: forget its messages
};
Datagram open(const std::uint8_t* bytes, std::size_t count);

/// The datagram of a reply; with a header where the message had one.
Bytes wrap(const Bytes& reply, std::optional<std::uint32_t> number);

/// A client's last messages with a number and their replies: one that comes again, its replies being lost, acts once.
class Memory
{
public:
    /// The replies so far to a message that came before; null for a new one, which is kept.
    const std::vector<Bytes>* repeated(std::uint32_t number, const Bytes& message);

    void note(std::uint32_t number, const Bytes& message, const Bytes& reply);

private:
    struct Entry {
        std::uint32_t number;
        Bytes message;
        std::vector<Bytes> replies;
    };
    Entry* find(std::uint32_t number, const Bytes& message);

    std::deque<Entry> entries_;
};

} // namespace visca
