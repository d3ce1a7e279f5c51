#include "visca/framing.h"

namespace visca
{

namespace
{

constexpr std::size_t kHeader = 8; // type, length and number, the highest byte first
constexpr std::size_t kKept = 16;  // messages of a client
constexpr std::uint32_t kCommand = 0x0100;
constexpr std::uint32_t kInquiry = 0x0110;
constexpr std::uint32_t kReply = 0x0111;
constexpr std::uint32_t kDevice = 0x0120;
constexpr std::uint32_t kControl = 0x0200;
constexpr std::uint32_t kControlReply = 0x0201;

std::uint32_t number_at(const std::uint8_t* bytes, int count)
{
    std::uint32_t number = 0;
    for (int i = 0; i < count; ++i) {
        number = number << 8 | bytes[i];
    }
    return number;
}

Bytes with_header(std::uint32_t type, std::uint32_t number, const Bytes& payload)
{
    Bytes bytes;
    for (const std::uint32_t part : {type << 16 | static_cast<std::uint32_t>(payload.size()), number}) {
        for (int shift = 24; shift >= 0; shift -= 8) {
            bytes.push_back(static_cast<std::uint8_t>(part >> shift & 0xFF));
        }
    }
    bytes.insert(bytes.end(), payload.begin(), payload.end());
    return bytes;
}

} // namespace

std::vector<Bytes> Splitter::take(const std::uint8_t* bytes, std::size_t count)
{
    std::vector<Bytes> messages;
    for (std::size_t i = 0; i < count; ++i) {
        const bool ends = bytes[i] == 0xFF;
        if (skipping_) {
            skipping_ = !ends;
            continue;
        }
        message_.push_back(bytes[i]);
        if (ends || message_.size() == kLongest) {
            messages.push_back(std::move(message_));
            message_ = {};
            skipping_ = !ends;
        }
    }
    return messages;
}

Datagram open(const std::uint8_t* bytes, std::size_t count)
{
    Datagram datagram;
    Splitter splitter;
    if (count > 0 && begins_message(bytes[0])) {
        datagram.messages = splitter.take(bytes, count);
        if (!splitter.rest().empty()) {
            datagram.messages.push_back(splitter.rest());
        }
        return datagram;
    }
    const std::uint32_t type = count < kHeader ? 0 : number_at(bytes, 2);
    if (type < kCommand || type >= 0x0300 || type == kReply || type == kControlReply) {
        return datagram; // replies too: two cameras would answer each other for ever
    }
    const std::uint32_t number = number_at(bytes + 4, 4);
    const std::uint8_t* const payload = bytes + kHeader;
    const std::size_t length = count - kHeader;
    const bool whole = length > 0 && number_at(bytes + 2, 2) == length;
    datagram.resets = whole && type == kControl && length == 1 && payload[0] == 0x01;
    if (datagram.resets) {
        datagram.reply = with_header(kControlReply, number, {0x01});
    } else if (whole && payload[length - 1] == 0xFF && (type == kCommand || type == kInquiry || type == kDevice)) {
        datagram.number = number;
        datagram.messages = splitter.take(payload, length);
    } else {
        datagram.reply = with_header(kControlReply, number, {0x0F, 0x02});
    }
    return datagram;
}

Bytes wrap(const Bytes& reply, std::optional<std::uint32_t> number)
{
    return number ? with_header(kReply, *number, reply) : reply;
}

Memory::Entry* Memory::find(std::uint32_t number, const Bytes& message)
{
    for (Entry& entry : entries_) {
        if (entry.number == number && entry.message == message) {
            return &entry;
        }
    }
    return nullptr;
}

const std::vector<Bytes>* Memory::repeated(std::uint32_t number, const Bytes& message)
{
    if (const Entry* const entry = find(number, message)) {
        return &entry->replies;
    }
    if (entries_.size() == kKept) {
        entries_.pop_front();
    }
    entries_.push_back({number, message, {}});
    return nullptr;
}

void Memory::note(std::uint32_t number, const Bytes& message, const Bytes& reply)
{
    if (Entry* const entry = find(number, message)) {
        entry->replies.push_back(reply);
    }
}

} // namespace visca
