#include "live/access.h"

#include "live/page.h"
#include "live/pictures.h"

#include <algorithm>
#include <charconv>

namespace live
{

namespace
{

constexpr std::size_t kMostJson = 64 << 10; // bytes
constexpr std::size_t kMostPhoto = 20 << 20;
constexpr std::string_view kJson = "application/json";

/// A path with N for a camera, * for a name; the methods, and the body of one that changes something.
struct Place {
    std::string_view path;
    Route route;
    std::string_view method;
    std::size_t most_body;
    std::string_view body_type;
};

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

char lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool same_name(std::string_view a, std::string_view b)
{
    return std::ranges::equal(a, b, {}, lower, lower);
}

std::optional<std::size_t> number_of(std::string_view text, int base = 10)
{
    std::size_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    if (error != std::errc{} || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return number;
}

/// A part of a path with %20 and the like decoded; nothing where that is no proper text.
std::optional<std::string> decoded(std::string_view text)
{
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            result += text[i];
            continue;
        }
        const std::optional<std::size_t> code =
            text.size() - i > 2 ? number_of(text.substr(i + 1, 2), 16) : std::nullopt;
        if (!code || *code == 0) {
            return std::nullopt;
        }
        result += static_cast<char>(*code);
        i += 2;
    }
    return result;
}

/// Fits a path to a place; false where it is another's.
bool fits(const Place& place, std::string_view path, Target& target)
{
    for (const char c : place.path) {
        if (c == '*') {
            const std::optional<std::string> name = decoded(path);
            if (!name || name->empty() || path.find('/') != std::string_view::npos) {
                return false;
            }
            target.name = *name;
            return true;
        }
        if (path.empty()) {
            return false;
        }
        if (c == 'N' && path[0] >= '0' && path[0] < '0' + kCameras) {
            target.camera = path[0] - '0';
        } else if (path[0] != c) {
            return false;
        }
        path.remove_prefix(1);
    }
    return path.empty();
}

/// Whether a Host header names this server. A page of another site whose name leads here sends that name.
bool is_own_host(const Head& head, const std::string& host, const Address& own)
{
    const std::string port = std::to_string(own.port);
    const bool v6 = head.local.find(':') != std::string::npos;
    const std::string local = v6 ? "[" + head.local + "]" : head.local;
    for (const std::string& name :
         {std::string("localhost"), std::string("127.0.0.1"), std::string("[::1]"), own.host, local}) {
        if (host == name + ":" + port || (own.port == 80 && host == name)) {
            return true;
        }
    }
    return false;
}

bool is_foreign(const Head& head, const Target& target)
{
    if (head.count("Origin") > 0) {
        return head.count("Origin") > 1 || head.header("Origin") != "http://" + head.header("Host");
    }
    const std::string site = head.header("Sec-Fetch-Site"); // a link to the page itself may be anywhere
    return target.route != Route::asset && !site.empty() && site != "same-origin" && site != "none";
}

bool has_body(const Head& head)
{
    return head.count("Transfer-Encoding") > 0 || length_of(head) > 0;
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
    Target target;
    const bool reads = head.method == "GET" || head.method == "HEAD";
    if (find_asset(head.path) != nullptr) {
        target.route = Route::asset;
        target.allowed = "GET";
        target.takes_method = reads;
        return target;
    }
    for (const Place& place : kPlaces) {
        if (fits(place, head.path, target)) {
            target.route = place.route;
            target.allowed = place.method;
            target.takes_method = place.method.find(reads ? "GET" : head.method) != std::string_view::npos;
            target.changes = !reads;
            target.most_body = reads ? 0 : place.most_body;
            target.body_type = place.body_type;
            return target;
        }
    }
    return {};
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

std::optional<Refusal> refusal_of(const Head& head, const Target& target, const Address& own)
{
    if (!is_framed(head)) {
        return Refusal{400, "a body has one length"};
    }
    const std::string host = head.header("Host");
    if (head.count("Host") != 1 || !is_own_host(head, host, own)) {
        return Refusal{400, "this server has another name than " + host.substr(0, 100)};
    }
    if (is_foreign(head, target)) {
        return Refusal{400, "pages of other sites have no access"};
    }
    if (target.route == Route::none) {
        return Refusal{404, "there is nothing at " + head.path.substr(0, 100)};
    }
    if (!target.takes_method) {
        return Refusal{405, "use " + std::string(target.allowed)};
    }
    if (target.most_body == 0) {
        return has_body(head) ? std::optional(Refusal{400, head.method + " takes no body"}) : std::nullopt;
    }
    const std::string type = head.header("Content-Type");
    if (!target.body_type.empty() && type.substr(0, type.find(';')) != target.body_type) {
        return Refusal{415, "a body is " + std::string(target.body_type)};
    }
    if (length_of(head) > target.most_body) {
        return too_long(target);
    }
    return std::nullopt;
}

std::string_view type_of(std::string_view name)
{
    constexpr std::pair<std::string_view, std::string_view> kTypes[] = {
        {".png", "image/png"}, {".jpg", "image/jpeg"}, {".jpeg", "image/jpeg"}, {".svg", "image/svg+xml"},
        {".csv", "text/csv"},  {".ini", "text/plain"}, {".isp", "text/plain"},  {".txt", "text/plain"},
    };
    const auto* const found =
        std::ranges::find_if(kTypes, [&](const auto& type) { return name.ends_with(type.first); });
    return found != std::end(kTypes) ? found->second : "application/octet-stream";
}

std::string encoded(std::string_view name)
{
    constexpr std::string_view kPlain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.-_";
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string text;
    for (const char c : name) {
        const auto byte = static_cast<unsigned char>(c);
        text += kPlain.find(c) != std::string_view::npos ? std::string(1, c)
                                                         : std::string{'%', kDigits[byte >> 4U], kDigits[byte & 15U]};
    }
    return text;
}

int width_of(const Head& head)
{
    const auto given = std::ranges::find(head.query, "width", &std::pair<std::string, std::string>::first);
    if (given == head.query.end()) {
        return kDefaultWidth;
    }
    const std::optional<std::size_t> width = number_of(given->second);
    if (!width || *width < 1 || *width > kMaxWidth) {
        throw Refusal{400, "a width is 1 to " + std::to_string(kMaxWidth)};
    }
    return static_cast<int>(*width);
}

} // namespace live
