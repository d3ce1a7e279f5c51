// One thread serves all clients and answers inquiries at once; another one carries out the commands of a camera.
#include "control/service.h"

#include "base/lib_dbgout.h"
#include "engine/engine.h"
#include "host/lens.h"
#include "host/log.h"
#include "isp_ctrl.h"
#include "session/bad_input.h"
#include "session/cameras.h"
#include "session/change.h"
#include "session/lanes.h"
#include "visca/codec.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <list>
#include <memory>
#include <mutex>
#include <thread>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <unistd.h>

namespace control
{

namespace
{

using sim::host::kZoomLongest;
using visca::Bytes;
using visca::Status;
using Outcome = std::pair<bool, std::string>; // whether it was carried out, and what became of it

constexpr int kConnections = 8;     // of a camera
constexpr std::size_t kPeers = 32;  // addresses of a camera's datagrams whose messages are remembered
constexpr std::size_t kAtOnce = 64; // bytes that are read in one go
constexpr int kUntaken = 64 << 10;  // bytes that wait for a client to take them
constexpr unsigned kStall = 3000;   // milliseconds in which it takes none of them
constexpr int kReads = 4;           // of a source in a row
constexpr int kTick = 100;          // milliseconds until it is seen that the service ends
constexpr int kTele = 0x4000;       // the longest zoom
constexpr std::string_view kOnepush = "wb_mode_onepush";

struct Camera;

/// Where messages come from. One with an address is a client of datagrams; others have a socket of their own.
struct Source {
    enum class Kind { listener, datagrams, connection };
    Camera* camera;
    Kind kind;
    int socket;
    sockaddr_storage address{};
    socklen_t address_length = 0;
    Bytes rest{};
    visca::Memory memory{};
    bool begun = false;
};
using SourcePointer = std::shared_ptr<Source>;

struct Message {
    SourcePointer client;
    Bytes bytes;
    std::optional<std::uint32_t> number;
    visca::Request request;
    int socket = 0;        // the protocol's, of a command, while a reply is owed
    std::string replies{}; // for the log
};

struct Camera {
    int id = 0;
    int connections = 0;
    std::map<std::string, SourcePointer> peers; // by address
    visca::Camera state;
    std::array<bool, 3> taken{}; // the protocol's sockets, 1 and 2
    std::list<Message> commands; // the first one is being carried out
};

// Never destroyed: a camera may still act while the program ends.
std::mutex& mutex = *new std::mutex; // guards the rest; not held while a camera acts
auto& cameras = *new std::array<Camera, session::kCameras>;
auto& sources = *new std::vector<SourcePointer>;
auto& thread = *new std::thread;
std::atomic<bool> ending{false};

// ---- Cameras --------------------------------------------------------------------------------------------------------

/// The value that a name in the protocol's table has, without waiting for whoever acts on the camera.
int value_of(int camera, std::string_view name)
{
    if (const sim::host::Setting* const setting = sim::host::find_setting(name)) {
        return sim::host::stored(camera, *setting);
    }
    const bool runs = sim::engine::life(session::engine_of(camera)) == sim::engine::Life::running;
    const double zoom = camera == session::kZoomCamera ? sim::host::lens_state().zoom : 0.0;
    return name == "power"       ? static_cast<int>(runs)
           : name == "zoom"      ? static_cast<int>(std::lround(zoom * kTele / kZoomLongest))
           : name == "camera_id" ? camera
                                 : 0;
}

Outcome act(int camera, std::string_view name, int value)
try {
    if (const sim::host::Setting* const setting = sim::host::find_setting(name)) {
        const session::Outcome outcome = session::change_setting(camera, *setting, value, session::Origin::control);
        return {outcome.result == ISP_SUCCESS || outcome.result == ISP_EXCUTE_BYARM, outcome.text};
    }
    if (name == "power") {
        return {value_of(camera, name) == value ||
                    (value == 1 ? session::start_camera(camera) : session::stop_camera(camera) == 0),
                ""};
    }
    if (camera != session::kZoomCamera) {
        return {false, "its lens has no motors"};
    }
    const int drive = value < 0x10 ? value : value >> 4; // the motor has one speed
    sim::host::move_zoom_to(name == "zoom" ? (value * kZoomLongest + kTele / 2) / kTele
                            : drive == 2   ? kZoomLongest
                            : drive == 3   ? 0
                                           : static_cast<int>(std::lround(sim::host::lens_state().zoom)));
    return {true, ""};
} catch (const std::exception& error) {
    return {false, error.what()};
}

// ---- Messages -------------------------------------------------------------------------------------------------------

void send_to(const Source& client, const Bytes& bytes)
{
    const auto* const to = client.address_length > 0 ? reinterpret_cast<const sockaddr*>(&client.address) : nullptr;
    const ssize_t count =
        sendto(client.socket, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL, to, client.address_length);
    if (to == nullptr && count != static_cast<ssize_t>(bytes.size())) {
        shutdown(client.socket, SHUT_RDWR); // it takes nothing
    }
}

void reply(Message& message, const Bytes& bytes)
{
    if (message.number) {
        visca::replies_to(message.bytes, *message.number, message.client->memory).push_back(bytes);
    }
    send_to(*message.client, visca::wrap(bytes, message.number));
    message.replies += " > " + visca::text_of(bytes);
}

/// The last reply to a message, if one is owed, and its line in the log.
void finish(Message& message, const Bytes& bytes, const std::string& why)
{
    if (!bytes.empty()) {
        reply(message, bytes);
    }
    const session::ActingFor camera(message.client->camera->id); // whose line it is
    kiv_traceout(sim::host::kControlLevel, "VISCA %s: %s%s%s%s\n", visca::text_of(message.bytes).c_str(),
                 message.request.text.c_str(), message.replies.c_str(), why.empty() ? "" : ": ", why.c_str());
}

void complete(Message& message, const Outcome& outcome)
{
    const Status status = outcome.first ? Status::done : Status::unfit;
    message.client->camera->taken[static_cast<std::size_t>(message.socket)] = false;
    finish(message, message.socket == 0 ? Bytes() : visca::bytes_of(status, message.socket), outcome.second);
}

/// Carries out a camera's commands, one after another, until there are none.
void work(Camera& camera)
{
    std::unique_lock lock(mutex);
    for (; !camera.commands.empty(); camera.commands.pop_front()) {
        Message& message = camera.commands.front();
        const bool slow = message.request.setting == kOnepush;
        if (slow) { // controllers do not wait for it
            complete(message, {true, "begun"});
        }
        lock.unlock();
        const Outcome outcome = act(camera.id, message.request.setting, message.request.value);
        lock.lock();
        if (!slow) {
            complete(message, outcome);
        }
    }
}

void take(const SourcePointer& client, const Bytes& bytes, std::optional<std::uint32_t> number)
{
    Camera& camera = *client->camera;
    const auto before = number ? visca::replies_to(bytes, *number, client->memory) : std::vector<Bytes>();
    for (const Bytes& again : before) {
        send_to(*client, visca::wrap(again, number));
    }
    if (!before.empty()) {
        return;
    }
    Message message{client, bytes, number, visca::decode(bytes, camera.state)};
    if (message.request.clears) {
        camera.taken = {};
        std::for_each(camera.commands.begin(), camera.commands.end(), [](Message& each) { each.socket = 0; });
    }
    auto* const free = std::find(camera.taken.begin() + 1, camera.taken.end(), false);
    const bool acts = message.request.reply.empty();
    if (!acts || free == camera.taken.end()) {
        finish(message, acts ? visca::bytes_of(Status::full) : message.request.reply, acts ? "two are under way" : "");
        return;
    }
    message.socket = static_cast<int>(free - camera.taken.begin());
    reply(message, visca::bytes_of(Status::accepted, message.socket));
    const auto measures = [](const Message& each) { return each.request.setting == kOnepush; };
    if (measures(message) && std::any_of(camera.commands.begin(), camera.commands.end(), measures)) {
        complete(message, {false, "a measurement is under way"});
        return;
    }
    *free = true;
    camera.commands.push_back(std::move(message));
    if (camera.commands.size() == 1) {
        std::thread(work, std::ref(camera)).detach();
    }
}

// ---- Connections and datagrams --------------------------------------------------------------------------------------

void accept_connection(Camera& camera, int listener)
{
    const int connection = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (connection >= 0 && camera.connections == kConnections) {
        close(connection);
    } else if (connection >= 0) {
        const int on = 1;
        setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        setsockopt(connection, SOL_SOCKET, SO_KEEPALIVE, &on, sizeof on);
        setsockopt(connection, SOL_SOCKET, SO_SNDBUF, &kUntaken, sizeof kUntaken);
        setsockopt(connection, IPPROTO_TCP, TCP_USER_TIMEOUT, &kStall, sizeof kStall);
        ++camera.connections;
        sources.push_back(std::make_shared<Source>(Source{&camera, Source::Kind::connection, connection}));
    }
}

/// Reads a little from a source that has something; returns whether there may be more.
bool read(const SourcePointer& source)
{
    Camera& camera = *source->camera;
    if (source->kind == Source::Kind::listener) {
        accept_connection(camera, source->socket);
        return false;
    }
    std::array<std::uint8_t, kAtOnce> bytes;
    Source peer{&camera, Source::Kind::connection, source->socket, {}, sizeof peer.address};
    auto* const from = reinterpret_cast<sockaddr*>(&peer.address);
    const ssize_t count = recvfrom(peer.socket, bytes.data(), bytes.size(), MSG_DONTWAIT, from, &peer.address_length);
    const auto length = static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    if (source->kind == Source::Kind::connection) {
        if (count <= 0 || (!source->begun && !visca::begins_message(bytes[0]))) { // a browser can be made to post here
            close(std::exchange(source->socket, -1));
            --camera.connections;
            return false;
        }
        source->begun = true;
        for (const Bytes& message : visca::split(bytes.data(), length, source->rest)) {
            take(source, message, std::nullopt);
        }
        return length == kAtOnce;
    }
    const visca::Datagram datagram = visca::open(bytes.data(), length);
    const std::string key(reinterpret_cast<const char*>(from), peer.address_length);
    if (camera.peers.size() == kPeers && !camera.peers.contains(key)) {
        camera.peers.clear();
    }
    SourcePointer& client = camera.peers[key];
    if (client == nullptr || datagram.resets) {
        client = std::make_shared<Source>(peer);
    }
    if (!datagram.reply.empty()) {
        send_to(peer, datagram.reply);
    }
    for (const Bytes& message : datagram.messages) {
        take(client, message, datagram.number);
    }
    return count >= 0;
}

/// Serves everybody who sends something, each a little, until the service ends.
void serve()
{
    for (bool more = false; !ending;) {
        std::vector<pollfd> polled;
        for (const SourcePointer& source : sources) {
            polled.push_back({source->socket, POLLIN, 0});
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(more ? 1 : 0)); // whoever sends so much waits
        poll(polled.data(), polled.size(), kTick);
        const std::lock_guard lock(mutex);
        more = false;
        for (std::size_t i = 0; i < polled.size(); ++i) {
            const SourcePointer source = sources[i];
            int reads = 0;
            while (polled[i].revents != 0 && reads < kReads && read(source)) {
                ++reads;
            }
            more |= reads == kReads;
        }
        std::erase_if(sources, [](const SourcePointer& source) { return source->socket < 0; });
        std::for_each(cameras.begin(), cameras.end(), [](Camera& camera) { visca::remember_levels(camera.state); });
    }
}

/// Takes the ports of all cameras, from that of an address on; returns the first.
int bind_all(session::Address address)
try {
    for (Camera& camera : cameras) {
        const int listener = session::listen_at(address);
        sources.push_back(std::make_shared<Source>(Source{&camera, Source::Kind::listener, listener}));
        const int datagrams = session::listen_at(address, SOCK_DGRAM);
        sources.push_back(std::make_shared<Source>(Source{&camera, Source::Kind::datagrams, datagrams}));
        ++address.port;
    }
    return address.port - session::kCameras;
} catch (const session::BadInput&) {
    std::for_each(sources.begin(), sources.end(), [](const SourcePointer& source) { close(source->socket); });
    sources.clear();
    throw;
}

} // namespace

int start_service(const session::Address& address)
{
    int port = 0;
    for (int tries = address.port == 0 ? 100 : 1; port == 0; --tries) { // eight free ports in a row
        try {
            port = bind_all(address);
        } catch (const session::BadInput&) {
            if (tries == 1) {
                throw;
            }
        }
    }
    for (Camera& camera : cameras) {
        camera.id = static_cast<int>(&camera - cameras.data());
        camera.state.value = [&](std::string_view name) {
            const auto same = std::find_if(camera.commands.rbegin(), camera.commands.rend(), [&](const Message& each) {
                return each.request.setting == name && name != "zoom"; // which takes its time
            });
            return same != camera.commands.rend() ? same->request.value : value_of(camera.id, name);
        };
    }
    thread = std::thread(serve);
    return port;
}

void stop_service()
{
    ending = true;
    thread.join();
}

} // namespace control
