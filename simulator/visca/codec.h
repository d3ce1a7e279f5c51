// VISCA messages and what they mean: bytes in, request out; result in, bytes out. Plain C++17 without dependencies,
// which knows neither connections nor how a camera is built.
//
// A host decodes a message. It answers with answer(), unless the request acts: then it sends acknowledged(), sets
// row->setting to target(), and sends completed() or refused().
#pragma once

#include "visca/table.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace visca
{

using Bytes = std::vector<std::uint8_t>;

inline constexpr std::size_t kLongest = 16; // bytes of a message
inline constexpr int kSockets = 2;          // commands that a camera has under way

enum class Error { length = 1, syntax = 2, full = 3, no_socket = 5, not_executable = 0x41 };

/// A camera as inquiries and steps see it. One thread at a time.
struct Camera {
    std::function<int(std::string_view name)> value; ///< of a setting in the table, or of camera_id, at present
    std::map<std::string_view, int> last_levels =
        {}; ///< of settings that are automatic at times; see remember_levels()
};

struct Request {
    enum class Kind { fixed, change, step, inquiry, block };
    Kind kind = Kind::fixed;
    const Row* row = nullptr; ///< of a change, a step or an inquiry
    int value = 0;            ///< of the setting; of a step 1, -1 or, for the initial value, 0; number of a block
    Bytes reply;              ///< of a fixed one
    std::string text;         ///< for people: what is asked for, or why it is refused
    bool clears = false;      ///< no reply is owed to earlier commands any more

    bool acts() const
    {
        return kind == Kind::change || kind == Kind::step;
    }
};

/// What a message asks for, from its first byte to its FF.
Request decode(const Bytes& message);

/// The value that a setting is to get; of a step, within the ends of its row.
int target(const Request& request, Camera& camera);

/// The answer to what does not act.
Bytes answer(const Request& request, Camera& camera);

Bytes acknowledged(int socket);
Bytes completed(int socket);
Bytes refused(Error error, int socket = 0);

/// Notes the levels that automatic settings would return to, as every answer does. For hosts that change them
/// otherwise.
void remember_levels(Camera& camera);

std::string text_of(const Bytes& bytes); ///< "81 01 04 00 02 FF"
std::string reference();                 ///< all commands as tables in Markdown

} // namespace visca
