#include "live/access.h"

#include "live/page.h"
#include "live/pictures.h"

#include <algorithm>
#include <charconv>
#include <microhttpd.h>
#include <strings.h>

namespace live
{

namespace
{

constexpr std::size_t kMostJson = 64 << 10; // bytes
constexpr std::size_t kMostPhoto = 20 << 20;
constexpr std::string_view kJson = "application/json";

constexpr Place kPlaces[] = {
    {"/api/settings", Route::settings, "GET", 0, {}},
    {"/api/state", Route::state, "GET", 0, {}},
    {"/api/events", Route::events, "GET", 0, {}},
    {"/api/command", Route::command, "POST", kMostJson, kJson},
    {"/api/files", Route::file, "GET", 0, {}},
    {"/api/files/*", Route::file, "GET or PUT", kMostPhoto, {}},
    {"/api/cameras/N/picture.jpg", Route::picture, "GET", 0, {}},
    {"/api/cameras/N/stream", Route::stream, "GET", 0, {}},
    {"/api/cameras/N/measure", Route::measure, "GET", 0, {}},
    {"/api/cameras/N/settings", Route::record, "GET or PUT", kMostJson, kJson},
    {"/api/cameras/N/settings/*", Route::setting, "GET or PUT", kMostJson, kJson},
};

bool same_name(const std::string& a, std::string_view b)
{
    return a.size() == b.size() && strncasecmp(a.c_str(), std::string(b).c_str(), a.size()) == 0;
}

std::optional<std::size_t> number_of(std::string_view text)
{
    std::size_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc{} && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

/// A part of a path with %20 and the like decoded; nothing where that is no proper text.
std::string decoded(std::string_view text)
{
    std::string result(text);
    result.resize(MHD_http_unescape(result.data()));
    return result.find('\0') == std::string::npos ? result : "";
}

/// Fits a path to a place; false where it is another's.
bool fits(const Place& place, std::string_view path, Target& target)
{
    for (const char c : place.path) {
        if (c == '*') {
            target.name = path.find('/') == std::string_view::npos ? decoded(path) : "";
            return !target.name.empty();
        }
        if (path.empty() || (c == 'N' ? path[0] < '0' || path[0] >= '0' + kCameras : path[0] != c)) {
            return false;
        }
        target.camera = c == 'N' ? path[0] - '0' : target.camera;
        path.remove_prefix(1);
    }
    return path.empty();
}

/// Whether a Host header names this server. A page of another site whose name leads here sends that name.
bool is_own_host(const Head& head, const std::string& host, const session::Address& own)
{
    const std::string port = std::to_string(own.port);
    const bool v6 = head.local.find(':') != std::string::npos;
    const std::string names[] = {"localhost", "127.0.0.1", "[::1]", own.host, v6 ? "[" + head.local + "]" : head.local};
    return std::ranges::any_of(
        names, [&](const auto& name) { return host == name + ":" + port || (own.port == 80 && host == name); });
}

bool is_foreign(const Head& head, const Target& target)
{
    if (head.count("Origin") > 0) {
        return head.count("Origin") > 1 || head.header("Origin") != "http://" + head.header("Host");
    }
    const std::string site = head.header("Sec-Fetch-Site"); // a link to the page itself may be anywhere
    return target.route != Route::asset && !site.empty() && site != "same-origin" && site != "none";
}

} // namespace

std::size_t Head::count(std::string_view name) const
{
    return static_cast<std::size_t>(
        std::ranges::count_if(headers, [&](const auto& header) { return same_name(header.first, name); }));
}

std::string Head::header(std::string_view name) const
{
    const auto found = std::ranges::find_if(headers, [&](const auto& header) { return same_name(header.first, name); });
    return found != headers.end() ? found->second : "";
}

Target target_of(const Head& head)
{
    constexpr Place kAsset = {"", Route::asset, "GET", 0, {}};
    Target target;
    const Place* place = &kAsset;
    if (!page().contains(head.path)) {
        place = std::ranges::find_if(kPlaces, [&](const Place& one) { return fits(one, head.path, target); });
    }
    if (place == std::end(kPlaces)) {
        return {};
    }
    static_cast<Place&>(target) = *place;
    target.changes = head.method != "GET" && head.method != "HEAD";
    return target;
}

bool is_framed(const Head& head)
{
    const std::size_t lengths = head.count("Content-Length");
    const std::size_t encodings = head.count("Transfer-Encoding");
    return lengths + encodings <= 1 && (lengths == 0 || number_of(head.header("Content-Length"))) &&
           (encodings == 0 || same_name(head.header("Transfer-Encoding"), "chunked"));
}

Refusal too_long(const Target& target)
{
    return {413, "a body has at most " + std::to_string(target.most_body >> 10) + " KiB"};
}

std::size_t length_of(const Head& head)
{
    return number_of(head.header("Content-Length")).value_or(0);
}

std::optional<Refusal> refusal_of(const Head& head, const Target& target, const session::Address& own)
{
    const std::string host = head.header("Host");
    const std::string type = head.header("Content-Type");
    const bool has_body = head.count("Transfer-Encoding") > 0 || length_of(head) > 0;
    const bool may_have = target.changes && target.most_body > 0;
    const bool right_type = target.body_type.empty() || type.substr(0, type.find(';')) == target.body_type;
    const std::pair<bool, Refusal> reasons[] = {
        {!is_framed(head), {400, "a body has one length"}},
        {head.count("Host") != 1 || !is_own_host(head, host, own),
         {400, "this server has another name than " + host.substr(0, 100)}},
        {is_foreign(head, target), {400, "pages of other sites have no access"}},
        {target.route == Route::none, {404, "there is nothing at " + head.path.substr(0, 100)}},
        {(target.changes && head.method != "PUT" && head.method != "POST") ||
             target.methods.find(target.changes ? head.method : "GET") == std::string_view::npos,
         {405, "use " + std::string(target.methods)}},
        {!may_have && has_body, {400, head.method + " takes no body"}},
        {may_have && !right_type, {415, "a body is " + std::string(target.body_type)}},
        {may_have && length_of(head) > target.most_body, too_long(target)},
    };
    const auto* const first = std::ranges::find(reasons, true, &std::pair<bool, Refusal>::first);
    return first != std::end(reasons) ? std::optional(first->second) : std::nullopt;
}

std::string_view type_of(std::string_view name)
{
    constexpr std::pair<std::string_view, std::string_view> kTypes[] = {
        {"/", "text/html; charset=utf-8"},
        {".css", "text/css"},
        {".js", "text/javascript"},
        {".png", "image/png"},
        {".jpg", "image/jpeg"},
        {".jpeg", "image/jpeg"},
        {".svg", "image/svg+xml"},
        {".csv", "text/csv"},
        {".ini", "text/plain"},
        {".isp", "text/plain"},
        {".txt", "text/plain"},
    };
    const auto* const found =
        std::ranges::find_if(kTypes, [&](const auto& type) { return name.ends_with(type.first); });
    return found != std::end(kTypes) ? found->second : "application/octet-stream";
}

int width_of(const Head& head)
{
    const auto given = std::ranges::find(head.query, "width", &Fields::value_type::first);
    const std::size_t width = given != head.query.end() ? number_of(given->second).value_or(0) : kDefaultWidth;
    if (width < 1 || width > kMaxWidth) {
        throw Refusal{400, "a width is 1 to " + std::to_string(kMaxWidth)};
    }
    return static_cast<int>(width);
}

} // namespace live
