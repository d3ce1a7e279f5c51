// What a request asks for, and whether it may: judged from its head alone, before its body is read.
#pragma once

#include "live/interface.h"
#include "session/listen.h"

namespace live
{

/// The head of a request as it was sent; nothing in it is decoded.
struct Head {
    std::string method;
    std::string path;
    Fields query;
    Fields headers;
    std::string local; ///< address of this end of the connection

    std::size_t count(std::string_view name) const;  ///< headers of that name, whatever their case
    std::string header(std::string_view name) const; ///< the first of them, or nothing
};

enum class Route { none, asset, settings, state, events, picture, stream, measure, record, setting, command, file };

/// What there is at a path: N in it stands for a camera, * for a name.
struct Place {
    std::string_view path;
    Route route = Route::none;
    std::string_view methods;   ///< for people; GET stands for HEAD too
    std::size_t most_body = 0;  ///< bytes, of a request that changes something; 0 where there is no body
    std::string_view body_type; ///< that a body must have
};

struct Target : Place {
    bool changes = false; ///< whether the method is another than GET or HEAD
    int camera = 0;
    std::string name; ///< of the setting or file, decoded
};

Target target_of(const Head& head);

/// Why a request is refused, if it is: its length is ambiguous, it comes from a page of another site, there is nothing
/// at its path, its method or body is not what belongs there.
std::optional<Refusal> refusal_of(const Head& head, const Target& target, const session::Address& own);

/// Whether the end of the request is certain: one way of telling the length of its body, and that one proper.
bool is_framed(const Head& head);

Refusal too_long(const Target& target);

/// The length that a request names for its body; 0 without one.
std::size_t length_of(const Head& head);

/// A file's type by its name's ending.
std::string_view type_of(std::string_view name);

/// The width in pixels that a request asks for. Throws Refusal.
int width_of(const Head& head);

} // namespace live
