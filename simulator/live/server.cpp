// One thread serves all clients and never waits for any of them: what takes long is done on other threads, while the
// connection is suspended. libmicrohttpd reads requests and sends answers; who may ask is judged in access.cpp.
#include "live/server.h"

#include "host/durable_file.h"
#include "live/access.h"
#include "live/interface.h"
#include "live/log_lines.h"
#include "live/page.h"
#include "live/pictures.h"
#include "live/streams.h"
#include "prompt/interrupt.h"
#include "session/bad_input.h"
#include "session/files.h"
#include "session/lanes.h"
#include "session/text.h"

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <filesystem>
#include <list>
#include <microhttpd.h>
#include <netdb.h>
#include <poll.h>
#include <set>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace live
{

namespace
{

constexpr std::size_t kHead = 32 << 10;     // bytes of memory for a request's head and an answer's pieces
constexpr std::size_t kPiece = 24 << 10;    // bytes of a stream that are handed over at once
constexpr std::size_t kDropped = 256 << 10; // bytes of a refused body that are read, so that the answer arrives
constexpr std::size_t kSlowest = 20;        // bytes a millisecond at which an answer must be taken
constexpr int kRefusing = 16;               // connections beyond the limits that wait to be told so
constexpr std::chrono::seconds kRefused{1}; // for which they may
constexpr std::chrono::seconds kRetry{1};
constexpr std::size_t kLargestFile = 64 << 20; // bytes
constexpr int kPhotos = 4;                     // photographs that are received at once

struct Answer {
    int status = 200;
    std::string body{};
    std::string type = "application/json";
    std::string tag{};
    std::string disposition{}; ///< of a file that is to be saved
};

Answer refusing(const Refusal& why)
{
    return {.status = why.status, .body = text_of(Json{{"error", why.text}})};
}

/// What another thread does for a request.
struct Work {
    std::atomic<bool> stop{false};
    std::atomic<bool> done{false};
    Answer answer; ///< once it is done
};

struct Stream {
    Feed feed;
    std::string part;
    std::size_t sent = 0; ///< of the part
    Clock::time_point again;
    bool ended = false;
};

/// A request from its head to the end of its answer.
struct Exchange {
    Head head;
    Target target;
    std::optional<Refusal> refusal;
    std::size_t length = 0; ///< of the body so far
    std::string body;
    std::shared_ptr<Work> work;
    std::uint64_t picture = 0; ///< the least number of the one that it waits for
    std::unique_ptr<Stream> stream;
};

struct Client {
    MHD_Connection* connection;
    int socket;
    std::string address;
    bool refused = false; ///< there is no room for it
    Clock::time_point deadline{};
    bool suspended = false;
    bool gone = false; ///< while it was suspended
    std::unique_ptr<Exchange> exchange{};
};

struct Serving {
    Limits limits;
    Address address;
    MHD_Daemon* daemon = nullptr;
    int wake_up = -1;
    std::thread thread;
    std::atomic<bool> ending{false};
    std::list<Client> clients;    // of the serving thread alone
    std::atomic<int> commands{0}; // threads that do such
    std::atomic<int> settings{0};
};
Serving* serving = nullptr; // never destroyed: its threads may outlive main

/// The address of one end of a connection, an IPv4 address also where the socket is an IPv6 one.
std::string address_text(int socket, decltype(getpeername)* end)
{
    sockaddr_storage storage{};
    socklen_t length = sizeof storage;
    std::array<char, NI_MAXHOST> host{};
    auto* const any = reinterpret_cast<sockaddr*>(&storage);
    if (end(socket, any, &length) != 0 ||
        getnameinfo(any, length, host.data(), host.size(), nullptr, 0, NI_NUMERICHOST) != 0) {
        return "";
    }
    const std::string text = host.data();
    constexpr std::string_view kMapped = "::ffff:";
    return text.starts_with(kMapped) && text.find('.') != std::string::npos ? text.substr(kMapped.size()) : text;
}

/// Any thread.
void wake()
{
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(serving->wake_up, &one, sizeof one);
}

MHD_Result suspend(Client& client)
{
    client.suspended = true;
    MHD_suspend_connection(client.connection);
    return MHD_YES;
}

MHD_Result queue(Client& client, int status, MHD_Response* response,
                 std::initializer_list<std::pair<const char*, const char*>> headers)
{
    constexpr std::pair<const char*, const char*> kHeaders[] = {
        {"Cache-Control", "no-store"},
        {"Content-Security-Policy", "default-src 'self'; img-src 'self' blob: data:; "
                                    "frame-ancestors 'none'; base-uri 'none'; form-action 'none'"},
        {"Cross-Origin-Resource-Policy", "same-origin"},
        {"Referrer-Policy", "no-referrer"},
        {"X-Content-Type-Options", "nosniff"},
    };
    if (response == nullptr) {
        return MHD_NO;
    }
    for (const auto& [name, value] : kHeaders) {
        MHD_add_response_header(response, name, value);
    }
    for (const auto& [name, value] : headers) {
        if (*value != '\0') {
            MHD_add_response_header(response, name, value);
        }
    }
    const MHD_Result queued = MHD_queue_response(client.connection, static_cast<unsigned>(status), response);
    MHD_destroy_response(response);
    return queued;
}

/// A connection ends after every refusal, so that nothing that was not examined is taken for a request.
MHD_Result reply(Client& client, const Answer& answer)
{
    client.deadline = Clock::now() + serving->limits.request + std::chrono::milliseconds(answer.body.size() / kSlowest);
    return queue(client, answer.status,
                 MHD_create_response_from_buffer(answer.body.size(), const_cast<char*>(answer.body.data()),
                                                 MHD_RESPMEM_MUST_COPY), // which does not write
                 {{"Content-Type", answer.body.empty() ? "" : answer.type.c_str()},
                  {"ETag", answer.tag.c_str()},
                  {"Content-Disposition", answer.disposition.c_str()},
                  {"Connection", client.exchange->refusal ? "close" : ""}});
}

/// False while there is nothing to do for the stream.
bool fill(Stream& stream)
{
    stream.sent = 0;
    stream.part.clear();
    stream.ended = !stream.feed(stream.part, stream.again);
    return stream.ended || !stream.part.empty();
}

/// Called when the client has taken what it was sent before.
ssize_t read_stream(void* context, std::uint64_t /*position*/, char* buffer, std::size_t most)
{
    Client& client = *static_cast<Client*>(context);
    Stream& stream = *client.exchange->stream;
    stream.ended = stream.ended || client.gone || serving->ending;
    if (!stream.ended && stream.sent == stream.part.size() && !fill(stream)) {
        suspend(client);
        return 0;
    }
    if (stream.ended) {
        return MHD_CONTENT_READER_END_OF_STREAM;
    }
    const std::size_t count = std::min(most, stream.part.size() - stream.sent);
    stream.part.copy(buffer, count, stream.sent);
    stream.sent += count;
    client.deadline = Clock::now() + serving->limits.stall;
    return static_cast<ssize_t>(count);
}

MHD_Result send_stream(Client& client, Feed feed, const char* type)
{
    const auto takes_stream = [](const Client& other) { return other.exchange && other.exchange->stream; };
    if (std::ranges::count_if(serving->clients, takes_stream) == serving->limits.streams) {
        throw Refusal{503, "too many streams"};
    }
    client.exchange->stream = std::make_unique<Stream>();
    client.exchange->stream->feed = std::move(feed);
    client.deadline = Clock::now() + serving->limits.stall;
    return queue(client, 200,
                 MHD_create_response_from_callback(MHD_SIZE_UNKNOWN, kPiece, read_stream, &client, nullptr),
                 {{"Content-Type", type}, {"Connection", "close"}});
}

MHD_Result send_picture(Client& client, std::uint64_t number)
{
    Exchange& exchange = *client.exchange;
    const int width = width_of(exchange.head);
    const auto tag = [](std::uint64_t of) { return '"' + std::to_string(of) + '"'; };
    if (exchange.picture == 0 && exchange.head.header("If-None-Match") == tag(number)) {
        return reply(client, {.status = 304, .tag = tag(number)});
    }
    exchange.picture = exchange.picture == 0 ? number : exchange.picture;
    const auto last = last_picture(exchange.target.camera, width);
    if (!last || last->number < exchange.picture) {
        want_picture(exchange.target.camera, width, Wanted::single);
        return suspend(client);
    }
    if (last->jpeg.empty()) {
        throw Refusal{503, "there is no memory for the picture"};
    }
    return reply(client, {.body = last->jpeg, .type = "image/jpeg", .tag = tag(last->number)});
}

std::string path_of_file(const std::string& name)
{
    if (name.find('/') != std::string::npos || name.starts_with('.') || name != session::printable(name)) {
        throw Refusal{404, "there is no file " + session::printable(name)};
    }
    return session::named_files_folder() + "/" + name;
}

/// Carries out what a request changes.
Answer outcome(const Target& target, const std::string& text, const std::atomic<bool>& stop)
{
    try {
        if (target.route == Route::file) {
            if (!text.starts_with("\x89PNG") && !text.starts_with("\xFF\xD8")) {
                throw Refusal{400, "a photograph is a PNG or JPEG file"};
            }
            const auto failed = sim::host::write_durably(path_of_file(target.name), text, sim::host::Links::replaced);
            return failed.empty() ? Answer{.body = text_of(Json{{"wrote", target.name}})} : refusing({503, failed});
        }
        const Json body = Json::parse(text, nullptr, false);
        if (!body.is_object()) {
            throw Refusal{400, "a body is a JSON object"};
        }
        const Json result = target.route == Route::setting  ? put_setting(target.camera, target.name, body)
                            : target.route == Route::record ? put_record(target.camera, body)
                                                            : run_command(body, stop);
        session::save_settings();
        return {.body = text_of(result)};
    } catch (const Refusal& why) {
        return refusing(why);
    } catch (const prompt::Interrupted&) {
        return refusing({503, "stopped: the program ends, or the command took ten minutes"});
    } catch (const session::Busy& busy) {
        return refusing({503, busy.what()});
    } catch (const std::exception& error) {
        return refusing({target.route == Route::file ? 500 : 400, error.what()});
    }
}

/// Has what a request changes carried out on a thread of its own, since it may take long.
MHD_Result start_work(Client& client)
{
    Exchange& exchange = *client.exchange;
    const bool command = exchange.target.route == Route::command;
    std::atomic<int>& running = command ? serving->commands : serving->settings;
    if (running == (command ? serving->limits.commands : serving->limits.settings)) {
        throw Refusal{503, command ? "too many commands at once" : "too many settings at once"};
    }
    exchange.work = std::make_shared<Work>();
    try {
        ++running;
        std::thread([work = exchange.work, target = exchange.target, body = std::move(exchange.body), &running] {
            work->answer = outcome(target, body, work->stop);
            take_view();
            work->done = true;
            wake();
            --running;
            running.notify_all();
        }).detach();
    } catch (const std::exception&) {
        --running;
        exchange.work.reset();
        throw Refusal{503, "the machine has no thread left for this request"};
    }
    return suspend(client);
}

/// A file that a command or a client has left in the session's folder for such.
Answer file_answer(const Exchange& exchange)
{
    const std::string& name = exchange.target.name;
    const std::string& path = exchange.head.path; // whose last part is the name with %20 and the like
    std::string contents;
    if (const int error = sim::host::read_file(path_of_file(name), kLargestFile, contents, O_NOFOLLOW); error != 0) {
        const bool scarce = error == EMFILE || error == ENFILE || error == ENOMEM;
        throw scarce ? Refusal{503, sim::host::error_text(error)}
                     : Refusal{404, "there is no file " + session::printable(name)};
    }
    return {.body = contents,
            .type = std::string(type_of(name)),
            .disposition = "attachment; filename*=UTF-8''" + path.substr(path.rfind('/') + 1)};
}

Answer files_answer()
{
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(session::named_files_folder())) {
        if (std::filesystem::is_regular_file(entry.symlink_status())) {
            names.insert(entry.path().filename().string());
        }
    }
    return {.body = text_of(Json{{"files", names}})};
}

/// Answers a request that is there as a whole, or suspends its client; it is called again when that is resumed.
MHD_Result act(Client& client)
{
    Exchange& exchange = *client.exchange;
    if (exchange.refusal) {
        return reply(client, refusing(*exchange.refusal));
    }
    if (exchange.work && exchange.work->done) {
        return reply(client, exchange.work->answer);
    }
    if (serving->ending) {
        throw Refusal{503, "the program ends"};
    }
    const Target& target = exchange.target;
    const std::string& path = exchange.head.path;
    if (target.changes) {
        return start_work(client);
    }
    const std::shared_ptr<const View> view = latest_view();
    const Camera& camera = view->cameras[static_cast<std::size_t>(target.camera)];
    const bool sees = target.route == Route::picture || target.route == Route::stream || target.route == Route::measure;
    if (sees && camera.picture == 0) {
        throw Refusal{404, "camera " + std::to_string(target.camera) + " has no engine"};
    }
    switch (target.route) {
    case Route::asset:
        return reply(client, {.body = std::string(page().at(path)), .type = std::string(type_of(path))});
    case Route::settings:
        return reply(client, {.body = text_of(settings_json())});
    case Route::state:
        return reply(client, {.body = text_of(state_json(*view, true))});
    case Route::events:
        return send_stream(client, event_feed(), "text/event-stream");
    case Route::picture:
        return send_picture(client, camera.picture);
    case Route::stream:
        return send_stream(client, picture_feed(target.camera, width_of(exchange.head)),
                           "multipart/x-mixed-replace; boundary=picture");
    case Route::measure:
        return reply(client, {.body = text_of(measured_json(target.camera, exchange.head.query))});
    case Route::record:
        return reply(client, {.body = text_of(Json{{"settings", stored_json(camera)}})});
    case Route::setting:
        return reply(client, {.body = text_of(setting_of(stored_json(camera), target.name))});
    case Route::file:
        return reply(client, target.name.empty() ? files_answer() : file_answer(exchange));
    default:
        return MHD_NO;
    }
}

MHD_Result take_header(void* context, MHD_ValueKind kind, const char* name, std::size_t name_size, const char* value,
                       std::size_t value_size)
{
    Head& head = *static_cast<Head*>(context);
    (kind == MHD_HEADER_KIND ? head.headers : head.query)
        .emplace_back(std::string(name, name_size), value != nullptr ? std::string(value, value_size) : std::string());
    return MHD_YES;
}

/// Judges the head of a request. Those whose body will not be read are answered at once.
MHD_Result begin(Client& client, const char* path, const char* method)
{
    Exchange& exchange = *client.exchange;
    exchange.head.method = method;
    exchange.head.path = path;
    exchange.head.local = address_text(client.socket, getsockname);
    MHD_get_connection_values_n(client.connection, MHD_HEADER_KIND, take_header, &exchange.head);
    MHD_get_connection_values_n(client.connection, MHD_GET_ARGUMENT_KIND, take_header, &exchange.head);
    exchange.target = target_of(exchange.head);
    client.deadline = Clock::now() + serving->limits.request;
    exchange.refusal = client.refused ? Refusal{503, "too many connections"}
                                      : refusal_of(exchange.head, exchange.target, serving->address);
    const auto receives_photo = [](const Client& other) {
        return other.exchange && other.exchange->target.route == Route::file && other.exchange->target.changes;
    };
    if (!exchange.refusal && std::ranges::count_if(serving->clients, receives_photo) > kPhotos) {
        exchange.refusal = Refusal{503, "too many photographs at once"};
    }
    if (exchange.refusal && (!is_framed(exchange.head) || length_of(exchange.head) > kDropped)) {
        return reply(client, refusing(*exchange.refusal));
    }
    return MHD_YES;
}

Client& client_of(MHD_Connection* connection)
{
    return *static_cast<Client*>(
        MHD_get_connection_info(connection, MHD_CONNECTION_INFO_SOCKET_CONTEXT)->socket_context);
}

MHD_Result handle(void* /*context*/, MHD_Connection* connection, const char* path, const char* method,
                  const char* /*version*/, const char* data, std::size_t* size, void** exchange)
{
    Client& client = client_of(connection);
    try {
        if (*exchange == nullptr) {
            client.exchange = std::make_unique<Exchange>();
            *exchange = client.exchange.get();
            return begin(client, path, method);
        }
        if (*size > 0) {
            Exchange& told = *client.exchange;
            told.length += *size;
            if (!told.refusal && told.length > told.target.most_body) { // it was sent without a length
                told.refusal = too_long(told.target);
            }
            if (!told.refusal) {
                told.body.append(data, *size);
            }
            *size = 0;
            return told.refusal && told.length > kDropped ? MHD_NO : MHD_YES;
        }
        try {
            return act(client);
        } catch (const Refusal& why) {
            client.exchange->refusal = why;
            return reply(client, refusing(why));
        }
    } catch (...) { // no memory
        return MHD_NO;
    }
}

void end_exchange(void* /*context*/, MHD_Connection* connection, void** context, MHD_RequestTerminationCode /*why*/)
{
    Client& client = client_of(connection);
    if (client.exchange && client.exchange->work) {
        client.exchange->work->stop = true;
    }
    client.exchange.reset();
    *context = nullptr;
    client.deadline = Clock::now() + serving->limits.idle;
}

void note_connection(void* /*context*/, MHD_Connection* connection, void** context, MHD_ConnectionNotificationCode code)
{
    std::list<Client>& clients = serving->clients;
    if (code == MHD_CONNECTION_NOTIFY_CLOSED) {
        const auto* const ended = static_cast<Client*>(*context);
        clients.remove_if([&](const Client& client) { return &client == ended; });
        return;
    }
    const int socket = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD)->connect_fd;
    constexpr int kUnsent = 128 << 10; // bytes that wait for a slow client
    setsockopt(socket, SOL_SOCKET, SO_SNDBUF, &kUnsent, sizeof kUnsent);
    Client client{.connection = connection, .socket = socket, .address = address_text(socket, getpeername)};
    const auto served = std::ranges::count(clients, false, &Client::refused);
    const auto of_address = std::ranges::count_if(
        clients, [&](const Client& other) { return !other.refused && other.address == client.address; });
    client.refused = served >= serving->limits.connections || of_address >= serving->limits.of_address;
    client.deadline = Clock::now() + (client.refused ? kRefused : serving->limits.idle);
    *context = &clients.emplace_back(std::move(client));
}

/// Does for a client what is due: ends a connection whose time is over, goes on with one that waited.
void attend(Client& client)
{
    const Clock::time_point now = Clock::now();
    if (!client.suspended) {
        if (now >= client.deadline) {
            shutdown(client.socket, SHUT_RDWR); // libmicrohttpd finds it closed
            client.deadline = now + kRetry;
        }
        return;
    }
    const Exchange& exchange = *client.exchange;
    const bool ends = client.gone || serving->ending;
    if (exchange.work && ends) {
        exchange.work->stop = true;
    }
    const bool due =
        exchange.work ? exchange.work->done || serving->ending : ends || !exchange.stream || fill(*exchange.stream);
    if (due) { // who waits for a picture asks for it again
        client.suspended = false;
        client.deadline = now + serving->limits.request;
        MHD_resume_connection(client.connection);
    }
}

/// Waits until something is to be done: for libmicrohttpd, for a client whose time has come, after wake(). Lets
/// libmicrohttpd do it.
void serve_once()
{
    std::vector<pollfd> waits = {{.fd = serving->wake_up, .events = POLLIN, .revents = 0}};
    Clock::time_point until = Clock::now() + std::chrono::seconds(10);
    for (const Client& client : serving->clients) {
        if (!client.suspended) {
            until = std::min(until, client.deadline);
        } else if (client.exchange->stream) {
            until = std::min(until, client.exchange->stream->again);
        }
        const bool watched = client.suspended && !client.gone; // by libmicrohttpd it is not
        waits.push_back({.fd = watched ? client.socket : -1, .events = POLLRDHUP, .revents = 0});
    }
    fd_set reading{};
    fd_set writing{};
    fd_set failing{};
    MHD_socket highest = 0;
    MHD_get_fdset(serving->daemon, &reading, &writing, &failing, &highest);
    for (int descriptor = 0; descriptor <= highest; ++descriptor) {
        const int events =
            (FD_ISSET(descriptor, &reading) ? POLLIN : 0) | (FD_ISSET(descriptor, &writing) ? POLLOUT : 0);
        if (events != 0) {
            waits.push_back({.fd = descriptor, .events = static_cast<short>(events), .revents = 0});
        }
    }
    MHD_UNSIGNED_LONG_LONG patience = 0;
    if (MHD_get_timeout(serving->daemon, &patience) == MHD_YES) {
        until = std::min(until, Clock::now() + std::chrono::milliseconds(patience));
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now()).count();
    poll(waits.data(), waits.size(), static_cast<int>(std::max<long>(left, 0)));
    std::uint64_t calls = 0;
    [[maybe_unused]] const ssize_t taken = read(serving->wake_up, &calls, sizeof calls);

    auto wait = waits.begin() + 1;
    for (Client& client : serving->clients) {
        client.gone |= (wait++)->revents != 0;
        attend(client);
    }
    MHD_run(serving->daemon);
}

void serve_clients()
{
    while (!serving->ending) {
        serve_once();
    }
    std::ranges::for_each(serving->clients, attend);
    MHD_run(serving->daemon);
    MHD_stop_daemon(serving->daemon);
}

} // namespace

std::string start_serving(const Address& address, const Limits& limits)
{
    serving = new Serving;
    serving->limits = limits;
    serving->address = address;
    const int socket = session::listen_at(serving->address);
    serving->wake_up = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    const auto leave_escaped = [](void*, MHD_Connection*, char* text) { return std::char_traits<char>::length(text); };
    serving->daemon =
        MHD_start_daemon(MHD_ALLOW_SUSPEND_RESUME, 0, nullptr, nullptr, handle, nullptr,                     //
                         MHD_OPTION_LISTEN_SOCKET, socket, MHD_OPTION_CONNECTION_MEMORY_LIMIT, kHead,        //
                         MHD_OPTION_CONNECTION_LIMIT, static_cast<unsigned>(limits.connections + kRefusing), //
                         MHD_OPTION_NOTIFY_CONNECTION, note_connection, nullptr,                             //
                         MHD_OPTION_NOTIFY_COMPLETED, end_exchange, nullptr,                                 //
                         MHD_OPTION_UNESCAPE_CALLBACK, +leave_escaped, nullptr, MHD_OPTION_END);
    if (serving->wake_up < 0 || serving->daemon == nullptr) {
        throw session::BadInput("cannot serve: " + std::generic_category().message(errno));
    }
    keep_log_lines();
    take_view();
    try {
        start_pictures(wake);
        serving->thread = std::thread(serve_clients);
    } catch (const std::system_error& error) {
        throw session::BadInput("cannot serve: " + std::string(error.what()));
    }
    on_view(wake);
    sim::every(session::kFramePeriod, take_view_of_frame);
    return "http://" + address.host + ":" + std::to_string(serving->address.port) + "/";
}

void stop_serving()
{
    serving->ending = true;
    wake();
    serving->thread.join();
    on_view(nullptr);
    stop_pictures();
    for (std::atomic<int>* running : {&serving->commands, &serving->settings}) {
        while (const int left = *running) {
            running->wait(left);
        }
    }
}

} // namespace live
