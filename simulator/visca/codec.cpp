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
constexpr std::size_t kNumbered = 16;
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

void append(Bytes& bytes, std::size_t number, int count, int bits = 8)
{
    while (count-- > 0) {
        bytes.push_back(static_cast<std::uint8_t>(number >> bits * count & ((1U << bits) - 1)));
    }
}

Bytes with_header(std::size_t type, std::size_t number, const Bytes& payload)
{
    Bytes bytes;
    append(bytes, type << 16 | payload.size(), 4);
    append(bytes, number, 4);
    bytes.insert(bytes.end(), payload.begin(), payload.end());
    return bytes;
}

Bytes reply_with(Bytes bytes, int number, int count, int bits)
{
    append(bytes, static_cast<std::size_t>(number), count, bits);
    bytes.push_back(0xFF);
    return bytes;
}

/// The byte that stands for a row's value at present.
int byte_of(const Row& row, const Camera& camera)
{
    const int value = camera.value(row.setting);
    for (const Range& range : row.ranges) {
        if (range.use == Use::last || (range.value <= value && value <= range.value + range.high - range.low)) {
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
        const auto [block, byte, bits, shift] = row.place;
        for (int i = 0; block == number && i < std::max(1, -bits); ++i) {
            const int value = byte_of(row, camera);
            const int part = bits < 0    ? value >> 4 * (-bits - 1 - i) & 0x0F
                             : bits == 0 ? value == 2
                                         : value & ((1 << bits) - 1);
            bytes[static_cast<std::size_t>(byte + i)] |= static_cast<std::uint8_t>(part << shift);
        }
    }
    return bytes;
}

/// The next level up or down, at the end the last one.
int step(const Row& row, int level, bool up)
{
    std::vector<int> levels; // ascending
    for (const Range& range : row.ranges) {
        for (int i = range.low; i <= range.high && range.use == Use::all; ++i) {
            levels.push_back(range.value + i - range.low);
        }
    }
    const auto above = std::upper_bound(levels.begin(), levels.end(), level);
    const auto from = std::lower_bound(levels.begin(), levels.end(), level);
    return up ? *(above - (above == levels.end() ? 1 : 0)) : *(from - (from == levels.begin() ? 0 : 1));
}

} // namespace

Bytes bytes_of(Status status, int socket)
{
    const int code = static_cast<int>(status);
    return code > 0xFF ? reply_with({0x90}, code | socket << 8, 2, 8) : reply_with({0x90}, code | socket, 1, 8);
}

Request decode(const Bytes& message, Camera& camera)
{
    const auto refuse = [](Status status, const char* why, int socket = 0) {
        return Request{bytes_of(status, socket), {}, 0, why};
    };
    remember_levels(camera);
    if (message.size() < 3 || message.back() != 0xFF) {
        return refuse(Status::length, "a message has 3 to 16 bytes and ends with FF");
    }
    if (const std::string text = text_of(message); text == "88 30 01 FF" || text == "88 01 00 01 FF") {
        const bool clears = message[1] == 0x01;
        return {clears ? message : Bytes{0x88, 0x30, 0x02, 0xFF}, {}, 0, clears ? "clear" : "set addresses", clears};
    }
    if (message[0] != 0x81) {
        return refuse(Status::syntax, "the address is 81; 88 clears and sets addresses alone");
    }
    Bytes body(message.begin() + 1, message.end() - 1);
    if (body.size() == 1 && body[0] >> 4 == 2) {
        return refuse(Status::no_socket, "nothing can be cancelled", body[0] & 0x0F);
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
        if (has(row.inquiry, 0)) {
            Bytes reply = reply_with({0x90, 0x50}, byte_of(row, camera), std::abs(row.digits), row.digits < 0 ? 8 : 4);
            return {std::move(reply), {}, 0, name + "?", row.inquiry == kClear};
        }
        if (has(row.step, 1) && (*data == 0 || *data == 2 || *data == 3)) {
            const int value = *data == 0 ? row.initial : step(row, level(), *data == 2);
            return {{}, row.setting, value, name + (*data == 0 ? " reset" : *data == 2 ? " up" : " down")};
        }
        if (!has(row.command, row.digits)) {
            continue;
        }
        const auto byte = static_cast<int>(number_at(data, body.size() - before, row.digits < 0 ? 8 : 4));
        for (const Range& range : row.ranges) {
            if (range.low <= byte && byte <= range.high && range.use != Use::answered) {
                const int value = range.use == Use::last ? level() : range.value + byte - range.low;
                return {{}, row.setting, value, name + " " + std::to_string(value)};
            }
        }
    }
    if (has(0x097E7E, 1) && *data < kBlocks) {
        return {block(*data, camera), {}, 0, "block " + std::to_string(*data) + "?"};
    }
    return known && !fits ? refuse(Status::length, "not the command's number of bytes")
                          : refuse(Status::syntax, known ? "no value of it" : "no such command");
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
        const auto digits = static_cast<std::size_t>(std::clamp(row.digits, 0, 4));
        const std::string data = row.digits < 0 ? " pq" : std::string(" 0p 0q 0r 0s", 3 * digits);
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
    Bytes rest;
    if (count > 0 && begins_message(bytes[0])) {
        datagram.messages = split(bytes, count, rest);
        if (!rest.empty() && rest.size() < kLongest) {
            datagram.messages.push_back(rest);
        }
        return datagram;
    }
    const std::uint32_t type = count < kHeader ? 0 : number_at(bytes, 2);
    if (type < 0x0100 || type > 0x02FF || type == 0x0111 || type == 0x0201) {
        return datagram; // replies get none, or two cameras would answer each other for ever
    }
    const std::uint32_t number = number_at(bytes + 4, 4);
    const Bytes payload(bytes + kHeader, bytes + count);
    const bool whole = number_at(bytes + 2, 2) == payload.size();
    datagram.resets = whole && type == 0x0200 && payload == Bytes{0x01};
    if (whole && !payload.empty() && payload.back() == 0xFF && (type == 0x0100 || type == 0x0110 || type == 0x0120)) {
        datagram.number = number;
        datagram.messages = split(payload.data(), payload.size(), rest);
    } else {
        datagram.reply = with_header(0x0201, number, datagram.resets ? Bytes{0x01} : Bytes{0x0F, 0x02});
    }
    return datagram;
}

Bytes wrap(const Bytes& reply, std::optional<std::uint32_t> number)
{
    return number ? with_header(0x0111, *number, reply) : reply;
}

std::vector<Bytes>& replies_to(const Bytes& message, std::uint32_t number, Memory& memory)
{
    const Bytes key = wrap(message, number);
    const auto found = std::find_if(memory.begin(), memory.end(), [&](const auto& each) { return each.first == key; });
    if (found != memory.end()) {
        return found->second;
    }
    if (memory.size() == kNumbered) {
        memory.pop_front();
    }
    return memory.emplace_back(key, std::vector<Bytes>()).second;
}

} // namespace visca
