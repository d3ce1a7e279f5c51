#include "live/server.h"

#include "live/access.h"
#include "live/connection.h"
#include "live/interface.h"
#include "live/log_lines.h"
#include "live/page.h"
#include "live/pictures.h"
#include "session/bad_input.h"
#include "session/cameras.h"

#include <atomic>
#include <charconv>
#include <optional>
#include <thread>

namespace live
{

namespace
{

using httplib::Request;
using httplib::Response;
using HandlerResponse = httplib::Server::HandlerResponse;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kStatePeriod{100};
constexpr std::chrono::milliseconds kPicturePeriod{40};
constexpr std::chrono::seconds kHeartbeat{5};

struct Serving {
    explicit Serving(const Limits& most)
        : limits(most), server(most, [](const Request& request) { return examine(request); })
    {
    }
    static bool examine(const Request& request);

    Limits limits;
    BoundedServer server;
    Address address;
    std::atomic<int> streams{0};
    std::atomic<bool> ending{false};
    std::thread thread;
};
Serving* serving = nullptr; // never destroyed: its threads may outlive main

// ---- Who may ask ----------------------------------------------------------------------------------------------------

// What examine() found about the request that this thread serves.
thread_local std::optional<Refusal> refusal;

bool is_stream(const Request& request)
{
    const Route route = target_of(request.path).route;
    return route == Route::events || route == Route::stream;
}

bool Serving::examine(const Request& request)
{
    refusal = refusal_of(request, serving->address);
    return refusal.has_value() || is_stream(request);
}

// ---- Answers --------------------------------------------------------------------------------------------------------

std::string text_of(const Json& json)
{
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

void answer(Response& response, const Json& json)
{
    response.set_content(text_of(json), "application/json");
}

void refuse(Response& response, const Refusal& why)
{
    response.status = why.status;
    answer(response, Json{{"error", why.text}});
}

/// Gives a stream its place; false when there is none left.
bool enter_stream()
{
    if (serving->streams.fetch_add(1) < serving->limits.streams) {
        return true;
    }
    serving->streams.fetch_sub(1);
    return false;
}

void leave_stream(bool /*complete*/)
{
    serving->streams.fetch_sub(1);
}

int width_of(const Request& request)
{
    if (!request.has_param("width")) {
        return kDefaultWidth;
    }
    const std::string word = request.get_param_value("width");
    int width = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), width);
    if (error != std::errc{} || end != word.data() + word.size() || width < 1 || width > kMaxWidth) {
        throw Refusal{400, "a width is 1 to " + std::to_string(kMaxWidth)};
    }
    return width;
}

std::shared_ptr<const Picture> picture_or_refuse(int camera, int width)
{
    auto found = picture(camera, width);
    if (!found) {
        throw Refusal{404, "camera " + std::to_string(camera) + " has no engine"};
    }
    return found;
}

void send_picture(const Request& request, Response& response, int camera)
{
    const auto found = picture_or_refuse(camera, width_of(request));
    response.set_header("ETag", found->tag);
    if (request.get_header_value("If-None-Match") == found->tag) {
        response.status = 304;
        return;
    }
    response.set_content(found->jpeg, "image/jpeg");
}

void send_stream(const Request& request, Response& response, int camera)
{
    const int width = width_of(request);
    picture_or_refuse(camera, width);
    if (!enter_stream()) {
        throw Refusal{503, "too many streams"};
    }
    struct Progress {
        std::string tag;
        Clock::time_point next = Clock::now();
    };
    response.set_content_provider(
        "multipart/x-mixed-replace; boundary=picture",
        [camera, width, progress = std::make_shared<Progress>()](std::size_t /*offset*/, httplib::DataSink& sink) {
            std::this_thread::sleep_until(progress->next);
            progress->next = std::max(progress->next + kPicturePeriod, Clock::now());
            const auto found = picture(camera, width);
            if (!found || serving->ending) {
                return false;
            }
            if (found->tag == progress->tag && Clock::now() < progress->next + kHeartbeat) {
                const auto view = latest_view();
                await_view(view->number, kStatePeriod);
                return true;
            }
            progress->tag = found->tag;
            const std::string head =
                "--picture\r\nContent-Type: image/jpeg\r\nContent-Length: " + std::to_string(found->jpeg.size()) +
                "\r\n\r\n";
            return sink.write(head.data(), head.size()) && sink.write(found->jpeg.data(), found->jpeg.size()) &&
                   sink.write("\r\n", 2);
        },
        leave_stream);
}

/// What a page was told last.
struct Told {
    std::shared_ptr<const View> view;
    std::uint64_t line = 0;
    Clock::time_point next = Clock::now();
    Clock::time_point sent;
};

std::string event(std::string_view name, const Json& data)
{
    return "event: " + std::string(name) + "\ndata: " + text_of(data) + "\n\n";
}

std::string news(Told& told)
{
    std::string text;
    const auto view = latest_view();
    if (view && view != told.view) {
        for (std::size_t id = 0; id < kCameras; ++id) {
            Json changed = stored_json(view->cameras[id].settings);
            if (told.view) {
                const Json before = stored_json(told.view->cameras[id].settings);
                for (auto it = changed.begin(); it != changed.end();) {
                    it = before[it.key()] == *it ? changed.erase(it) : std::next(it);
                }
            }
            if (!changed.empty()) {
                text += event("settings", {{"camera", id}, {"settings", changed}});
            }
        }
        text += event("state", state_json(*view));
        told.view = view;
    }
    Json lines = Json::array();
    for (const Line& line : log_lines_after(told.line)) {
        lines.push_back({{"number", line.number},
                         {"time", line.seconds},
                         {"camera", line.camera >= 0 ? Json(line.camera) : Json()},
                         {"level", line.level},
                         {"text", line.text}});
        told.line = line.number;
    }
    if (!lines.empty()) {
        text += event("log", lines);
    }
    return text;
}

void send_events(Response& response)
{
    if (!enter_stream()) {
        throw Refusal{503, "too many streams"};
    }
    response.set_content_provider(
        "text/event-stream",
        [told = std::make_shared<Told>()](std::size_t /*offset*/, httplib::DataSink& sink) {
            std::this_thread::sleep_until(told->next);
            told->next = Clock::now() + kStatePeriod;
            std::string text = news(*told);
            if (text.empty()) {
                if (Clock::now() - told->sent < kHeartbeat) {
                    return !serving->ending;
                }
                text = ":\n\n"; // finds out whether the page is still there
            }
            told->sent = Clock::now();
            return !serving->ending && sink.write(text.data(), text.size());
        },
        leave_stream);
}

void get(const Request& request, Response& response)
{
    const Target target = target_of(request.path);
    switch (target.route) {
    case Route::asset: {
        const Asset& asset = *find_asset(request.path);
        response.set_content(asset.content.data(), asset.content.size(), std::string(asset.type));
        break;
    }
    case Route::settings:
        answer(response, settings_json());
        break;
    case Route::state: {
        const auto view = latest_view();
        Json state = state_json(*view);
        for (std::size_t id = 0; id < kCameras; ++id) {
            state["cameras"][id]["settings"] = stored_json(view->cameras[id].settings);
        }
        answer(response, state);
        break;
    }
    case Route::events:
        send_events(response);
        break;
    case Route::picture:
        send_picture(request, response, target.camera);
        break;
    default:
        send_stream(request, response, target.camera);
    }
}

/// The setting or command that a body asks for.
void act(const Request& request, Response& response, const httplib::ContentReader& read)
{
    try {
        std::string text;
        const bool whole = read([&](const char* data, std::size_t length) {
            text.append(data, length);
            return text.size() <= kMostBody;
        });
        if (text.size() > kMostBody) {
            throw Refusal{413, "a body has at most 64 KiB"};
        }
        const Json body = Json::parse(text, nullptr, false);
        if (!whole || !body.is_object()) {
            throw Refusal{400, "a body is a JSON object"};
        }
        const Target target = target_of(request.path);
        answer(response,
               target.route == Route::setting ? put_setting(target.camera, target.name, body) : run_command(body));
    } catch (const Refusal& why) {
        refuse(response, why);
    }
}

HandlerResponse before_body(const Request& request, Response& response)
{
    if (refusal) {
        refuse(response, *refusal);
        return HandlerResponse::Handled;
    }
    if (request.method != "GET" && request.method != "HEAD") {
        return HandlerResponse::Unhandled;
    }
    try {
        get(request, response);
    } catch (const Refusal& why) {
        refuse(response, why);
    }
    return HandlerResponse::Handled;
}

/// Puts a text to what httplib refuses itself, such as a request line that is none.
void describe_error(const Request& /*request*/, Response& response)
{
    if (!response.body.empty() || response.status < 400) {
        return;
    }
    if (response.status < 500 && response.status != 413) {
        response.status = 400;
    }
    answer(response, Json{{"error", response.status == 400   ? "this is no proper request"
                                    : response.status == 413 ? "a body has at most 64 KiB"
                                                             : "the request could not be served"}});
}

void set_up(httplib::Server& server)
{
    server.set_tcp_nodelay(true);
    server.set_payload_max_length(kMostBody);
    server.set_default_headers({
        {"Cache-Control", "no-store"},
        {"Content-Security-Policy", "default-src 'self'; img-src 'self' blob: data:; "
                                    "frame-ancestors 'none'; base-uri 'none'; form-action 'none'"},
        {"Cross-Origin-Resource-Policy", "same-origin"},
        {"Referrer-Policy", "no-referrer"},
        {"X-Content-Type-Options", "nosniff"},
    });
    server.set_pre_routing_handler(before_body);
    server.set_error_handler(describe_error);
    server.set_exception_handler([](const Request&, Response& response, const std::exception_ptr&) {
        refuse(response, {500, "the request could not be served"});
    });
    server.Put(".*", act);
    server.Post(".*", act);
}

} // namespace

std::string start_serving(const Address& address, const Limits& limits)
{
    serving = new Serving(limits);
    serving->address = address;
    set_up(serving->server);
    const bool v6 = address.host.front() == '[' && address.host.back() == ']';
    const std::string host = v6 ? address.host.substr(1, address.host.size() - 2) : address.host;
    if (address.port == 0) {
        serving->address.port = serving->server.bind_to_any_port(host);
    } else if (!serving->server.bind_to_port(host, address.port)) {
        serving->address.port = -1;
    }
    if (serving->address.port < 0) {
        throw session::BadInput("cannot serve at " + address.host + ":" + std::to_string(address.port));
    }
    keep_log_lines();
    take_view();
    sim::every(session::kFramePeriod, take_view_of_frame);
    serving->thread = std::thread([] { serving->server.listen_after_bind(); });
    return "http://" + address.host + ":" + std::to_string(serving->address.port) + "/";
}

void stop_serving()
{
    serving->ending = true;
    serving->server.end();
    serving->thread.join();
}

} // namespace live
