#include "visca/codec.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace visca
{

namespace
{

constexpr std::size_t kOpcode = 3; // bytes that tell commands apart
constexpr std::size_t kLongest = 16;
constexpr std::size_t kHeader = 8; // type, length and number, the highest byte first

/// The number that bytes or, with 4 bits, digits stand for.
std::uint32_t number_at(const std::uint8_t* bytes, std::size_t count, int bits = 8)
{
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < count; ++i) {
        number = bytes[i] >> bits != 0 ? UINT_MAX : number << bits | bytes[i];
    }
    return number;
}

Bytes& append(Bytes& bytes, std::size_t number, int count, int bits = 8)
{
    while (count-- > 0) {
        bytes.push_back(static_cast<std::uint8_t>(number >> bits * count & ((1U << bits) - 1)));
    }
    return bytes;
}

bool stands_for(const Range& range, int value)
{
    return range.value <= value && value - range.value <= range.high - range.low;
}

/// The byte that stands for a row's value at present.
int byte_of(const Row& row, const Camera& camera)
{
    const int value = camera.value(row.setting);
    for (const Range& range : row.ranges) {
        if (range.use == Use::last || stands_for(range, value)) {
            return range.low + (range.use == Use::last ? 0 : value - range.value);
        }
    }
    const auto last = camera.last_levels.find(row.setting);
    return last != camera.last_levels.end() ? last->second : row.ranges[0].low;
}

Bytes block(int number, const Camera& camera)
{
    Bytes bytes{0x90, 0x50, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF};
    for (const Row& row : kRows) {
        auto [block, byte, bits, shift] = row.place;
        if (block == number) {
            const int value = byte_of(row, camera);
            Bytes parts;
            append(parts, static_cast<std::size_t>(bits == 0 ? value == 2 : value), std::max(1, -bits),
                   bits < 0 ? 4 : std::max(1, bits));
            for (const std::uint8_t part : parts) {
                bytes[static_cast<std::size_t>(byte++)] |= static_cast<std::uint8_t>(part << shift);
            }
        }
    }
    return bytes;
}

/// The next level in a direction, 1 or -1; at the end, the last one.
int step(const Row& row, int level, int direction)
{
    for (int next = level + direction; 0 <= next && next <= 0xFF; next += direction) {
        for (const Range& range : row.ranges) {
            if (range.use == Use::all && stands_for(range, next)) {
                return next;
            }
        }
    }
    return level;
}

} // namespace

Bytes bytes_of(Status status, int socket)
{
    const int code = static_cast<int>(status);
    const bool refusal = code > 0xFF; // the socket is in its first byte
    Bytes bytes{0x90};
    append(bytes, static_cast<std::size_t>(code | socket << (refusal ? 8 : 0)), refusal ? 2 : 1).push_back(0xFF);
    return bytes;
}

Request decode(const Bytes& message, Camera& camera)
{
    remember_levels(camera);
    if (message.size() < 3 || message.back() != 0xFF) {
        return {bytes_of(Status::length), "a message has 3 to 16 bytes and ends with FF", {}};
    }
    if (const std::string text = text_of(message); text == "88 30 01 FF" || text == "88 01 00 01 FF") {
        const bool clears = message[1] == 0x01;
        return {clears ? message : Bytes{0x88, 0x30, 0x02, 0xFF}, clears ? "clear" : "set addresses", {}, 0, clears};
    }
    if (message[0] != 0x81) {
        return {bytes_of(Status::syntax), "the address is 81; 88 clears and sets addresses alone", {}};
    }
    Bytes body(message.begin() + 1, message.end() - 1);
    if (body.size() == 1 && body[0] >> 4 == 2) {
        return {bytes_of(Status::no_socket, body[0] & 0x0F), "nothing can be cancelled", {}};
    }
    if (body.size() > kOpcode && body[0] == 0x09 && body[1] == 0x0A) {
        body.erase(body.begin() + 1); // another form of the inquiries of tuning
    }

    const std::size_t before = std::min(body.size(), kOpcode);
    const auto opcode = static_cast<int>(number_at(body.data(), before));
    const std::uint8_t* const data = body.data() + before;
    const auto count = static_cast<int>(body.size() - before);
    bool known = before < kOpcode;
    bool fits = false;
    const auto has = [&](int code, int digits) {
        const bool same = code != 0 && code == opcode;
        known |= same;
        fits |= same && std::abs(digits) == count;
        return same && std::abs(digits) == count;
    };
    for (const Row& row : kRows) {
        const auto last = camera.last_levels.find(row.setting);
        const auto level = [&] { return last != camera.last_levels.end() ? last->second : camera.value(row.setting); };
        const std::string name(row.setting);
        const int bits = row.digits < 0 ? 8 : 4;
        if (has(row.inquiry, 0)) {
            Bytes reply{0x90, 0x50};
            append(reply, static_cast<std::size_t>(byte_of(row, camera)), std::abs(row.digits), bits).push_back(0xFF);
            return {std::move(reply), name + "?", {}, 0, row.inquiry == kClear};
        }
        if (has(row.step, 1) && (*data == 0 || *data == 2 || *data == 3)) {
            const int value = *data == 0 ? row.initial : step(row, level(), *data == 2 ? 1 : -1);
            return {{}, name + (*data == 0 ? " reset" : *data == 2 ? " up" : " down"), row.setting, value};
        }
        if (!has(row.command, row.digits)) {
            continue;
        }
        const auto byte = static_cast<int>(number_at(data, body.size() - before, bits));
        for (const Range& range : row.ranges) {
            if (range.low <= byte && byte <= range.high && range.use != Use::answered) {
                const int value = range.use == Use::last ? level() : range.value + byte - range.low;
                return {{}, name + " " + std::to_string(value), row.setting, value};
            }
        }
    }
    if (has(0x097E7E, 1) && *data < kBlocks) {
        return {block(*data, camera), "block " + std::to_string(*data) + "?", {}};
    }
    return known && !fits ? Request{bytes_of(Status::length), "not the command's number of bytes", {}}
                          : Request{bytes_of(Status::syntax), known ? "no value of it" : "no such command", {}};
}

void remember_levels(Camera& camera)
{
    for (const Row& row : kRows) {
        if (row.ranges[1].use == Use::last) {
            int& last = camera.last_levels.emplace(row.setting, row.initial).first->second;
            const int value = camera.value(row.setting);
            last = value == row.ranges[0].value ? last : value;
        }
    }
}

std::string text_of(const Bytes& bytes)
{
    std::string text;
    for (const std::uint8_t byte : bytes) {
        char digits[4];
        std::snprintf(digits, sizeof digits, text.empty() ? "%02X" : " %02X", static_cast<unsigned>(byte));
        text += digits;
    }
    return text;
}

std::string reference()
{
    std::string text = "| Command | Step | Inquiry | Setting | Bytes taken |\n|---|---|---|---|---|\n";
    for (const Row& row : kRows) {
        const std::string digits = " 0p 0q 0r 0s";
        const std::string data = row.digits < 0 ? " pq" : digits.substr(0, 3 * static_cast<std::size_t>(row.digits));
        for (const auto& [code, end] : {std::pair(row.command, data), {row.step, " 0p"}, {row.inquiry, ""}}) {
            Bytes bytes{0x81};
            append(bytes, static_cast<std::size_t>(code), kOpcode);
            text += code == 0 ? "| " : "| `" + text_of(bytes) + end + " FF` ";
        }
        text += "| `" + std::string(row.setting) + "` |";
        for (const Range& range : row.ranges) {
            char bytes[32];
            std::snprintf(bytes, sizeof bytes, " %02X-%02X=", static_cast<unsigned>(range.low),
                          static_cast<unsigned>(range.high));
            const bool taken = row.command != 0 && range.low <= range.high && range.use != Use::answered;
            text += taken ? bytes + (range.use == Use::last ? "last" : std::to_string(range.value)) : "";
        }
        text += " |\n";
    }
    return text;
}

std::vector<Bytes> split(const std::uint8_t* bytes, std::size_t count, Bytes& rest)
{
    std::vector<Bytes> messages;
    for (std::size_t i = 0; i < count; ++i) {
        if (rest.size() < kLongest) { // else what is there was a message already
            rest.push_back(bytes[i]);
            if (bytes[i] == 0xFF || rest.size() == kLongest) {
                messages.push_back(rest);
            }
        }
        rest.resize(bytes[i] == 0xFF ? 0 : rest.size());
    }
    return messages;
}

Datagram open(const std::uint8_t* bytes, std::size_t count)
{
    Datagram datagram;
    const bool plain = count > 0 && (bytes[0] == 0x81 || bytes[0] == 0x88);
    const std::uint32_t type = count < kHeader ? 0 : number_at(bytes, 2);
    if (!plain && (type < 0x0100 || type > 0x02FF || type == 0x0111 || type == 0x0201)) {
        return datagram; // replies get none, or two cameras would answer each other for ever
    }
    const Bytes payload(bytes + (plain ? 0 : kHeader), bytes + count);
    const bool whole = !plain && number_at(bytes + 2, 2) == payload.size();
    const bool carries = type == 0x0100 || type == 0x0110 || type == 0x0120;
    if (plain || (whole && carries && !payload.empty() && payload.back() == 0xFF)) {
        Bytes rest;
        datagram.messages = split(payload.data(), payload.size(), rest);
        if (!rest.empty() && rest.size() < kLongest) {
            datagram.messages.push_back(rest);
        }
    }
    if (!plain) {
        datagram.number = number_at(bytes + 4, 4);
        datagram.resets = whole && type == 0x0200 && payload == Bytes{0x01};
        const Bytes reply = datagram.resets ? Bytes{0x01} : Bytes{0x0F, 0x02};
        datagram.reply = datagram.messages.empty() ? wrap(reply, datagram.number, 0x0201) : Bytes();
    }
    return datagram;
}

Bytes wrap(const Bytes& reply, std::optional<std::uint32_t> number, std::size_t type)
{
    Bytes bytes;
    if (number) {
        append(append(bytes, type << 16 | reply.size(), 4), *number, 4);
    }
    bytes.insert(bytes.end(), reply.begin(), reply.end());
    return bytes;
}

} // namespace visca
