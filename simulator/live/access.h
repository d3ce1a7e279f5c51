// What a request asks for, and whether it may.
#pragma once

#include "live/interface.h"
#include "live/server.h"

#include <httplib.h>

#include <optional>

namespace live
{

inline constexpr std::size_t kMostBody = 64 << 10; // bytes

enum class Route { none, asset, settings, state, events, picture, stream, setting, command };

struct Target {
    Route route = Route::none;
    std::string_view method; ///< that it takes
    int camera = -1;
    std::string name; ///< of the setting
};

Target target_of(const std::string& path);

/// Why a request is refused before its body is read, if it is: it comes from a page of another site, there is nothing
/// at its path, its method or body is not what belongs there.
std::optional<Refusal> refusal_of(const httplib::Request& request, const Address& own);

} // namespace live
