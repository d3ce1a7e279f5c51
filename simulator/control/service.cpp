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
#include <cerrno>
#include <cmath>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

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

constexpr int kConnections = 8;         // of a camera
constexpr std::size_t kPeers = 32;      // addresses of a camera's datagrams whose messages are remembered
constexpr std::size_t kRemembered = 16; // numbered messages of a client
constexpr std::size_t kAtOnce = 64;     // bytes that are read in one go
constexpr int kReads = 4;               // of a source in a row
constexpr int kTick = 100;              // milliseconds until it is seen that the service ends
constexpr int kTele = 0x4000;           // the longest zoom
constexpr std::string_view kOnepush = "wb_mode_onepush";
constexpr std::array<int, 3> kOptions[] = {{IPPROTO_TCP, TCP_NODELAY, 1},
                                           {SOL_SOCKET, SO_KEEPALIVE, 1},
                                           {SOL_SOCKET, SO_SNDBUF, 64 << 10},      // bytes that wait for a client
                                           {IPPROTO_TCP, TCP_USER_TIMEOUT, 3000}}; // ms in which it takes none

struct Camera;
struct Message;
enum class Kind { listener, datagrams, client };

/// Where messages come from. A client of datagrams has an address; others have a socket of their own.
struct Source {
    Camera* camera;
    Kind kind;
    int socket;
    sockaddr_storage address{};
    socklen_t address_length = 0;
    Bytes rest;
    bool begun = false;
    std::deque<std::shared_ptr<Message>> numbered; // the last ones, which act once when they come again
};
using SourcePointer = std::shared_ptr<Source>;

struct Message {
    SourcePointer client; // until it has the last reply
    Bytes bytes;
    std::optional<std::uint32_t> number;
    visca::Request request;
    int socket = 0; // the protocol's, of a command, while a reply is owed
    std::vector<Bytes> replies;
};

struct Camera {
    int id = 0;
    int connections = 0;
    std::map<std::string, SourcePointer> peers; // by address
    visca::Camera state;
    std::deque<std::shared_ptr<Message>> commands; // the first one is being carried out
};

// Never destroyed: a camera may still act while the program ends.
std::mutex& mutex = *new std::mutex; // guards the rest; not held while a camera acts
auto& cameras = *new std::array<Camera, session::kCameras>;
auto& sources = *new std::deque<SourcePointer>; // grows while it is gone through
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
        const bool there = value_of(camera, name) == value;
        return {there || (value == 1 ? session::start_camera(camera) : session::stop_camera(camera) == 0), ""};
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
    message.replies.push_back(bytes);
    send_to(*message.client, visca::wrap(bytes, message.number));
}

/// The last reply to a message, if one is owed, and its line in the log.
void finish(Message& message, const Bytes& bytes, const std::string& why)
{
    if (!bytes.empty()) {
        reply(message, bytes);
    }
    std::string text = visca::text_of(message.bytes) + ": " + message.request.text;
    for (const Bytes& each : message.replies) {
        text += " > " + visca::text_of(each);
    }
    const session::ActingFor camera(std::exchange(message.client, nullptr)->camera->id); // whose line it is
    kiv_traceout(sim::host::kControlLevel, "VISCA %s%s%s\n", text.c_str(), why.empty() ? "" : ": ", why.c_str());
}

void complete(Message& message, const Outcome& outcome)
{
    const int socket = std::exchange(message.socket, 0);
    const Status status = outcome.first ? Status::done : Status::unfit;
    finish(message, socket == 0 ? Bytes() : visca::bytes_of(status, socket), outcome.second);
}

/// Carries out a camera's commands, one after another, until there are none.
void work(Camera& camera)
{
    std::unique_lock lock(mutex);
    for (; !camera.commands.empty(); camera.commands.pop_front()) {
        Message& message = *camera.commands.front();
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
    for (const std::shared_ptr<Message>& before : client->numbered) {
        if (before->number == number && before->bytes == bytes) {
            for (const Bytes& each : before->replies) {
                send_to(*client, visca::wrap(each, number));
            }
            return;
        }
    }
    const auto message = std::make_shared<Message>(client, bytes, number, visca::decode(bytes, camera.state));
    if (number) {
        client->numbered.push_front(message);
        client->numbered.resize(std::min(client->numbered.size(), kRemembered));
    }
    const visca::Request& request = message->request;
    if (request.clears) {
        std::ranges::for_each(camera.commands, [](const auto& each) { each->socket = 0; });
    }
    const auto taken = [&](int socket) {
        return std::ranges::any_of(camera.commands, [&](const auto& each) { return each->socket == socket; });
    };
    const int free = !taken(1) ? 1 : !taken(2) ? 2 : 0;
    const bool acts = request.reply.empty();
    if (!acts || free == 0) {
        finish(*message, acts ? visca::bytes_of(Status::full) : request.reply, acts ? "two are under way" : "");
        return;
    }
    message->socket = free;
    reply(*message, visca::bytes_of(Status::accepted, free));
    const auto measures = [](const auto& each) { return each->request.setting == kOnepush; };
    if (measures(message) && std::ranges::any_of(camera.commands, measures)) {
        complete(*message, {false, "a measurement is under way"});
        return;
    }
    camera.commands.push_back(message);
    if (camera.commands.size() == 1) {
        try {
            std::thread(work, std::ref(camera)).detach();
        } catch (const std::exception&) {
            camera.commands.clear();
            complete(*message, {false, "the machine has no thread left for it"});
        }
    }
}

// ---- Connections and datagrams --------------------------------------------------------------------------------------

/// Reads a little from a source that has something; returns whether there may be more.
bool read(const SourcePointer& source)
{
    Camera& camera = *source->camera;
    if (source->kind == Kind::listener) {
        const int connection = accept4(source->socket, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection >= 0 && camera.connections == kConnections) {
            close(connection);
        } else if (connection >= 0) {
            for (const auto& [level, option, value] : kOptions) {
                setsockopt(connection, level, option, &value, sizeof value);
            }
            ++camera.connections;
            sources.push_back(std::make_shared<Source>(&camera, Kind::client, connection));
        }
        return false;
    }
    std::array<std::uint8_t, kAtOnce> bytes;
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    auto* const from = reinterpret_cast<sockaddr*>(&address);
    const ssize_t count = recvfrom(source->socket, bytes.data(), bytes.size(), MSG_DONTWAIT, from, &size);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) {
        return false; // nothing is there after all
    }
    const auto length = static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    if (source->kind == Kind::client) {
        if (count <= 0 || (!source->begun && bytes[0] != 0x81 && bytes[0] != 0x88)) { // browsers can be made to post
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
    const std::string key(reinterpret_cast<const char*>(from), size);
    if (camera.peers.size() == kPeers && !camera.peers.contains(key)) {
        camera.peers.clear();
    }
    SourcePointer& client = camera.peers[key];
    if (client == nullptr || datagram.resets) {
        client = std::make_shared<Source>(&camera, Kind::client, source->socket, address, size);
    }
    if (!datagram.reply.empty()) {
        send_to(*client, datagram.reply);
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
        const auto poll_at = [](const SourcePointer& source) { return pollfd{source->socket, POLLIN, 0}; };
        std::ranges::transform(sources, std::back_inserter(polled), poll_at);
        std::this_thread::sleep_for(std::chrono::milliseconds(more ? 1 : 0)); // whoever sends so much waits
        poll(polled.data(), polled.size(), kTick);
        const std::lock_guard lock(mutex);
        more = false;
        for (std::size_t i = 0; i < polled.size(); ++i) {
            const SourcePointer& source = sources[i];
            int reads = 0;
            while (polled[i].revents != 0 && reads < kReads && read(source)) {
                ++reads;
            }
            more |= reads == kReads;
        }
        std::erase_if(sources, [](const SourcePointer& source) { return source->socket < 0; });
        std::ranges::for_each(cameras, [](Camera& camera) { visca::remember_levels(camera.state); });
    }
}

} // namespace

int start_service(const session::Address& address)
{
    session::Address next;
    for (int tries = address.port == 0 ? 100 : 1; sources.empty(); --tries) { // eight free ports in a row
        next = address;
        try {
            for (Camera& camera : cameras) {
                sources.push_back(std::make_shared<Source>(&camera, Kind::listener, session::listen_at(next)));
                const int datagrams = session::listen_at(next, SOCK_DGRAM);
                sources.push_back(std::make_shared<Source>(&camera, Kind::datagrams, datagrams));
                ++next.port;
            }
        } catch (const session::BadInput&) {
            std::ranges::for_each(sources, [](const SourcePointer& source) { close(source->socket); });
            sources.clear();
            if (tries == 1) {
                throw;
            }
        }
    }
    for (Camera& camera : cameras) {
        camera.id = static_cast<int>(&camera - cameras.data());
        camera.state.value = [&](std::string_view name) { // what the last command under way asks for
            int value = value_of(camera.id, name);
            for (const auto& each : camera.commands) { // a zoom takes its time
                value = each->request.setting == name && name != "zoom" ? each->request.value : value;
            }
            return value;
        };
    }
    thread = std::thread(serve);
    return next.port - session::kCameras;
}

void stop_service()
{
    ending = true;
    thread.join();
}

} // namespace control
