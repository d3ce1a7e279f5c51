#include "live/access.h"

#include "live/page.h"
#include "session/bad_input.h"

#include <charconv>

namespace live
{

namespace
{

using httplib::Request;

/// A path with N for a camera, * for a setting.
struct Place {
    std::string_view path;
    Route route;
    std::string_view method;
};

constexpr Place kPlaces[] = {
    {"/api/settings", Route::settings, "GET"},
    {"/api/state", Route::state, "GET"},
    {"/api/events", Route::events, "GET"},
    {"/api/command", Route::command, "POST"},
    {"/api/cameras/N/picture.jpg", Route::picture, "GET"},
    {"/api/cameras/N/stream", Route::stream, "GET"},
    {"/api/cameras/N/settings/*", Route::setting, "PUT"},
};

std::optional<std::size_t> number_of(std::string_view text)
{
    std::size_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return number;
}

/// Whether a Host header names this server. A page of another site whose name leads here sends that name.
bool is_own_host(const Request& request, const std::string& host, const Address& own)
{
    const std::string port = std::to_string(own.port);
    const bool v6 = request.local_addr.find(':') != std::string::npos;
    const std::string local = v6 ? "[" + request.local_addr + "]" : request.local_addr;
    for (const std::string& name :
         {std::string("localhost"), std::string("127.0.0.1"), std::string("[::1]"), own.host, local}) {
        if (host == name + ":" + port || (own.port == 80 && host == name)) {
            return true;
        }
    }
    return false;
}

bool is_foreign(const Request& request, const Target& target)
{
    if (request.has_header("Origin")) {
        return request.get_header_value("Origin") != "http://" + request.get_header_value("Host");
    }
    const std::string site = request.get_header_value("Sec-Fetch-Site"); // a link to the page itself may be anywhere
    return target.route != Route::asset && !site.empty() && site != "same-origin" && site != "none";
}

} // namespace

Target target_of(const std::string& path)
{
    if (find_asset(path) != nullptr) {
        return {Route::asset, "GET", -1, {}};
    }
    for (const Place& place : kPlaces) {
        Target target{place.route, place.method, -1, {}};
        std::string_view rest = path;
        bool same = true;
        for (const char c : place.path) {
            if (c == '*') {
                target.name = rest;
                rest = {};
                same = same && !target.name.empty() && target.name.find('/') == std::string::npos;
                continue;
            }
            if (c == 'N' && !rest.empty() && rest[0] >= '0' && rest[0] < '0' + kCameras) {
                target.camera = rest[0] - '0';
            } else if (rest.empty() || rest[0] != c) {
                same = false;
                break;
            }
            rest.remove_prefix(1);
        }
        if (same && rest.empty() && (place.path.find('N') == std::string_view::npos || target.camera >= 0)) {
            return target;
        }
    }
    return {};
}

std::optional<Refusal> refusal_of(const Request& request, const Address& own)
{
    const std::string host = request.get_header_value("Host");
    if (request.get_header_value_count("Host") != 1 || !is_own_host(request, host, own)) {
        return Refusal{400, "this server has another name than " + host.substr(0, 100)};
    }
    const Target target = target_of(request.path);
    if (is_foreign(request, target)) {
        return Refusal{400, "pages of other sites have no access"};
    }
    if (target.route == Route::none) {
        return Refusal{404, "there is nothing at " + request.path.substr(0, 100)};
    }
    if (request.method != target.method && (request.method != "HEAD" || target.method != "GET")) {
        return Refusal{405, "use " + std::string(target.method)};
    }
    if (target.method == "GET") {
        return std::nullopt;
    }
    const std::string type = request.get_header_value("Content-Type");
    if (type.substr(0, type.find(';')) != "application/json") {
        return Refusal{415, "a body is application/json"};
    }
    if (request.has_header("Content-Length")) {
        const std::optional<std::size_t> length = number_of(request.get_header_value("Content-Length"));
        if (!length || request.get_header_value_count("Content-Length") != 1) {
            return Refusal{400, "a length is a number"};
        }
        if (*length > kMostBody) {
            return Refusal{413, "a body has at most 64 KiB"};
        }
    }
    return std::nullopt;
}

Address address_of(const std::string& text)
{
    Address address;
    const std::size_t colon = text.rfind(':');
    const std::string port = colon == std::string::npos ? text : text.substr(colon + 1);
    if (colon != std::string::npos) {
        address.host = text.substr(0, colon);
    }
    const std::optional<std::size_t> number = number_of(port);
    if (!number || *number > 65535 || address.host.empty()) {
        throw session::BadInput("an address to serve at is [HOST:]PORT, not " + text);
    }
    address.port = static_cast<int>(*number);
    return address;
}

} // namespace live
