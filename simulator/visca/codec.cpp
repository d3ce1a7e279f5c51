#include "visca/codec.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <iterator>
#include <sstream>

namespace visca
{

namespace
{

using Kind = Request::Kind;

constexpr int kLastLevel = INT_MIN; // stands for it in a request
constexpr std::size_t kOpcode = 3;  // bytes that tell commands apart

/// Bytes of a row and the values they stand for.
struct Range {
    int low;
    int high;
    int value; // for low
    char mark; // '!', '~', '*' or 0

    bool holds(int other) const
    {
        return mark != '*' && value <= other && other <= value + high - low;
    }
};

std::vector<Range> ranges_of(const Row& row)
{
    std::vector<Range> ranges;
    std::istringstream words{std::string(row.values)};
    for (std::string word; words >> word;) {
        char* next = word.data();
        const auto number = [&](int base) { return static_cast<int>(std::strtol(next, &next, base)); };
        Range range{};
        range.low = range.high = range.value = number(16);
        if (*next == '-') {
            ++next;
            range.high = number(16);
        }
        if (*next == '=') {
            ++next;
            range.value = number(10);
        }
        range.mark = *next;
        ranges.push_back(range);
    }
    return ranges;
}

bool is_value(char digit)
{
    return digit >= 'p' && digit <= 's';
}

int nibble_of(char digit)
{
    return digit <= '9' ? digit - '0' : digit - 'A' + 10;
}

/// Whether the first `count` bytes have a form; `value` gets what the digits of a value hold.
bool matches(std::string_view form, const Bytes& bytes, std::size_t count, int& value)
{
    value = 0;
    for (std::size_t i = 0; i < 2 * count; ++i) {
        const char digit = form[i / 2 * 3 + i % 2];
        const int nibble = i % 2 == 0 ? bytes[i / 2] >> 4 : bytes[i / 2] & 0x0F;
        if (is_value(digit)) {
            value = value * 16 + nibble;
        } else if (nibble_of(digit) != nibble) {
            return false;
        }
    }
    return true;
}

/// An answer of a form with a value in it.
Bytes answer_with(std::string_view form, int value)
{
    Bytes bytes{0x90, 0x50};
    auto shift = 4 * std::count_if(form.begin(), form.end(), is_value);
    int high = 0;
    for (std::size_t i = 0; i < form.size(); ++i) {
        const char digit = form[i];
        const int nibble = is_value(digit) ? value >> (shift -= 4) & 0x0F : nibble_of(digit);
        if (i % 3 == 1) {
            bytes.push_back(static_cast<std::uint8_t>(high << 4 | nibble));
        }
        high = nibble;
    }
    bytes.push_back(0xFF);
    return bytes;
}

std::string message_of(std::string_view form)
{
    return "81 " + std::string(form) + " FF";
}

/// The byte that stands for a row's value at present.
int byte_of(const Row& row, const Camera& camera)
{
    const int value = camera.value(row.setting);
    const std::vector<Range> ranges = ranges_of(row);
    for (const Range& range : ranges) {
        if (range.holds(value)) {
            return range.low + value - range.value;
        }
    }
    const auto last = camera.last_levels.find(row.setting);
    return last == camera.last_levels.end() ? ranges.front().low
           : ranges.back().mark == '*'      ? ranges.back().low
                                            : last->second;
}

Bytes block(int number, const Camera& camera)
{
    Bytes bytes = answer_with("00 00 00 00 00 00 00 00 00 00 00 00 00", 0);
    for (const BlockField& field : kBlockFields) {
        if (field.block != number) {
            continue;
        }
        const auto* const row = std::find_if(std::begin(kRows), std::end(kRows),
                                             [&](const Row& each) { return each.inquiry == field.inquiry; });
        const int value = row != std::end(kRows) ? byte_of(*row, camera) : camera.value(field.inquiry);
        std::uint8_t* const at = &bytes[static_cast<std::size_t>(field.byte)];
        for (int i = 0; i < field.bytes && field.bits == 0; ++i) {
            at[i] = static_cast<std::uint8_t>(value >> 4 * (field.bytes - 1 - i) & 0x0F);
        }
        const int bits = field.bytes == 0 ? value == 2 : value & ((1 << field.bits) - 1);
        *at = static_cast<std::uint8_t>(*at | bits << field.shift);
    }
    return bytes;
}

} // namespace

Request decode(const Bytes& message)
{
    const auto fixed = [](Bytes reply, const std::string& text, bool clears = false) {
        return Request{Kind::fixed, nullptr, 0, std::move(reply), text, clears};
    };
    if (message.size() < 3 || message.back() != 0xFF) {
        return fixed(refused(Error::length), "a message has 3 to 16 bytes and ends with FF");
    }
    if (const std::string text = text_of(message); message[0] == 0x88) {
        return text == "88 30 01 FF"      ? fixed({0x88, 0x30, 0x02, 0xFF}, "set addresses")
               : text == "88 01 00 01 FF" ? fixed(message, "clear", true)
                                          : fixed(refused(Error::syntax), "no such broadcast");
    }
    if (message[0] != 0x81) {
        return fixed(refused(Error::syntax), "over IP the address is 81");
    }
    const Bytes body(message.begin() + 1, message.end() - 1);
    if (body.size() == 1 && body[0] >> 4 == 2) {
        return fixed(refused(Error::no_socket, body[0] & 0x0F), "nothing can be cancelled");
    }

    int value = 0;
    std::string length; // what is wrong about it
    std::string bytes;
    const auto has = [&](std::string_view form) {
        const std::size_t count = (form.size() + 1) / 3;
        if (count == 0 || !matches(form, body, std::min({kOpcode, count, body.size()}), value)) {
            return false;
        }
        (count == body.size() ? bytes : length) = message_of(form);
        return count == body.size() && matches(form, body, count, value);
    };
    for (const Fixed& row : kFixed) {
        if (has(row.message)) {
            return fixed(answer_with(row.answer, 0), std::string(row.meaning), row.answer.empty());
        }
    }
    if (has("09 7E 7E 0p") && value < kBlocks) {
        return {Kind::block, nullptr, value, {}, "block " + std::to_string(value) + "?"};
    }
    for (const Row& row : kRows) {
        const std::string name(row.setting);
        if (has(row.inquiry)) {
            return {Kind::inquiry, &row, 0, {}, name + "?"};
        }
        if (!row.step.empty() && has(std::string(row.step) + " 0p") && value != 1 && value < 4) {
            return {Kind::step,
                    &row,
                    value == 0   ? 0
                    : value == 2 ? 1
                                 : -1,
                    {},
                    name + (value == 0   ? " as at first"
                            : value == 2 ? " up"
                                         : " down")};
        }
        if (!has(row.command)) {
            continue;
        }
        for (const Range& range : ranges_of(row)) {
            if (range.low <= value && value <= range.high && range.mark != '~') {
                const bool last = range.mark == '*';
                const int setting = last ? kLastLevel : range.value + value - range.low;
                return {Kind::change,
                        &row,
                        setting,
                        {},
                        name + " = " + (last ? "its last level" : std::to_string(setting))};
            }
        }
        bytes += " takes " + std::string(row.values);
    }
    return !bytes.empty()    ? fixed(refused(Error::syntax), "wrong bytes: " + bytes)
           : !length.empty() ? fixed(refused(Error::length), "wrong length: " + length)
                             : fixed(refused(Error::syntax), "no such command");
}

int target(const Request& request, Camera& camera)
{
    remember_levels(camera);
    const auto last = camera.last_levels.find(request.row->setting);
    if (request.kind == Kind::change) {
        return request.value == kLastLevel ? last->second : request.value;
    }
    if (request.value == 0) {
        return request.row->initial;
    }
    std::vector<int> levels; // ascending
    for (const Range& range : ranges_of(*request.row)) {
        for (int i = range.low; i <= range.high && range.mark == 0; ++i) {
            levels.push_back(range.value + i - range.low);
        }
    }
    const int level = last != camera.last_levels.end() ? last->second : camera.value(request.row->setting);
    const auto above = std::upper_bound(levels.begin(), levels.end(), level);
    const auto from = std::lower_bound(levels.begin(), levels.end(), level);
    return request.value > 0 ? (above != levels.end() ? *above : levels.back())
                             : (from != levels.begin() ? *std::prev(from) : levels.front());
}

Bytes answer(const Request& request, Camera& camera)
{
    remember_levels(camera);
    return request.kind == Kind::inquiry
               ? answer_with(request.row->command.substr(3 * kOpcode), byte_of(*request.row, camera))
           : request.kind == Kind::block ? block(request.value, camera)
                                         : request.reply;
}

Bytes acknowledged(int socket)
{
    return {0x90, static_cast<std::uint8_t>(0x40 | socket), 0xFF};
}

Bytes completed(int socket)
{
    return {0x90, static_cast<std::uint8_t>(0x50 | socket), 0xFF};
}

Bytes refused(Error error, int socket)
{
    return {0x90, static_cast<std::uint8_t>(0x60 | socket), static_cast<std::uint8_t>(error), 0xFF};
}

void remember_levels(Camera& camera)
{
    for (const Row& row : kRows) {
        if (row.values.find('*') != std::string_view::npos) {
            int& last = camera.last_levels.emplace(row.setting, row.initial).first->second;
            const int value = camera.value(row.setting);
            last = ranges_of(row).front().holds(value) ? last : value;
        }
    }
}

std::string text_of(const Bytes& bytes)
{
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    for (const std::uint8_t byte : bytes) {
        text += text.empty() ? "" : " ";
        text += {kDigits[byte >> 4], kDigits[byte & 0x0F]};
    }
    return text;
}

std::string reference()
{
    const auto cell = [](std::string_view form, const std::string& text) {
        return form.empty() ? std::string(" |") : " `" + text + "` |";
    };
    std::string text = "| Command | Step | Inquiry | Answer | Setting | Bytes |\n|---|---|---|---|---|---|\n";
    for (const Row& row : kRows) {
        text += "|" + cell(row.command, message_of(row.command)) +
                cell(row.step, message_of(std::string(row.step) + " 0p")) + cell(row.inquiry, message_of(row.inquiry)) +
                cell(row.inquiry, "90 50 " + std::string(row.command.substr(3 * kOpcode)) + " FF") +
                cell(row.setting, std::string(row.setting)) + " " + std::string(row.values) + " |\n";
    }
    for (const Fixed& row : kFixed) {
        text += "| | |" + cell(row.message, message_of(row.message)) + " `" + text_of(answer_with(row.answer, 0)) +
                "` | | " + std::string(row.meaning) + " |\n";
    }
    return text;
}

} // namespace visca
