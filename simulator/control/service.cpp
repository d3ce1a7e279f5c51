// One thread serves all clients and answers inquiries at once; each camera's commands are carried out by another.
#include "control/service.h"

#include "base/lib_dbgout.h"
#include "engine/engine.h"
#include "host/lens.h"
#include "host/log.h"
#include "isp_ctrl.h"
#include "session/bad_input.h"
#include "session/cameras.h"
#include "session/change.h"
#include "visca/codec.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <list>
#include <memory>
#include <mutex>
#include <thread>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <unistd.h>

namespace control
{

namespace
{

using sim::host::kZoomLongest;
using visca::Bytes;
using visca::Status;
using Outcome = std::pair<bool, std::string>; // whether it was carried out, and what became of it

constexpr std::size_t kConnections = 8; // of a camera
constexpr std::size_t kPeers = 32;      // UDP clients of a camera whose messages are remembered
constexpr std::size_t kAtOnce = 64;     // bytes that are read in one go
constexpr int kDatagrams = 8;           // that are read in one go
constexpr int kUntaken = 64 << 10;      // bytes that wait for a client
constexpr unsigned kStall = 3000;       // milliseconds in which a client takes none of them
constexpr int kTele = 0x4000;           // the longest zoom
constexpr std::string_view kOnepush = "wb_mode_onepush";

struct Camera;

/// Where messages come from: a connection, an address of datagrams, or a camera's own sockets.
struct Source {
    Camera* camera = nullptr;
    int descriptor = -1;
    sockaddr_storage address{};
    socklen_t address_length = 0; // of datagrams
    Bytes rest{};
    visca::Memory memory{};
    bool begun = false;
};
using Client = std::shared_ptr<Source>;

struct Message {
    Client client;
    Bytes bytes;
    std::optional<std::uint32_t> number;
    visca::Request request;
    int socket = 0;        // of a command, while a reply is owed
    std::string replies{}; // for the log
};

struct Camera {
    int id = 0;
    Source listener;
    Source datagrams;
    std::vector<Client> connections;
    std::map<std::string, Client> peers; // by address
    visca::Camera state;
    std::array<bool, 3> taken{}; // sockets 1 and 2
    std::list<Message> commands; // the first one is being carried out
};

// Never destroyed: a camera may still act while the program ends.
std::mutex& mutex = *new std::mutex; // guards the rest; not held while a camera acts
auto& cameras = *new std::array<Camera, session::kCameras>;
int epoll = -1;
bool ending = false;
std::thread& thread = *new std::thread;

// ---- Cameras --------------------------------------------------------------------------------------------------------

/// The value that a name in the protocol's table has, without waiting for whoever acts on the camera.
int value_of(int camera, std::string_view name)
{
    const auto life = [&] { return sim::engine::life(session::engine_of(camera)); };
    const double zoom = camera == session::kZoomCamera ? sim::host::lens_state().zoom : 0.0;
    const sim::host::Setting* const setting = sim::host::find_setting(name);
    return setting != nullptr && setting->member != nullptr ? sim::host::stored(camera, *setting)
           : name == "power"                                ? static_cast<int>(life() == sim::engine::Life::running)
           : name == "zoom"                                 ? static_cast<int>(std::lround(zoom * kTele / kZoomLongest))
           : name == "camera_id"                            ? camera
                                                            : 0;
}

Outcome act(int camera, std::string_view name, int value)
try {
    if (name == "power" && value_of(camera, name) != value) {
        return {value == 1 ? session::start_camera(camera) : session::stop_camera(camera) == 0, ""};
    }
    if (const sim::host::Setting* const setting = sim::host::find_setting(name)) {
        const session::Outcome outcome = session::change_setting(camera, *setting, value, session::Origin::control);
        return {outcome.result == ISP_SUCCESS || outcome.result == ISP_EXCUTE_BYARM, outcome.text};
    }
    if (name == "power") {
        return {true, "it was so"};
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
        sendto(client.descriptor, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL, to, client.address_length);
    if (to == nullptr && count != static_cast<ssize_t>(bytes.size())) {
        shutdown(client.descriptor, SHUT_RDWR); // it takes nothing
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
    kiv_traceout(sim::host::kControlLevel, "camera_id is %d: %s%s: %s%s%s\n", message.client->camera->id,
                 visca::text_of(message.bytes).c_str(), message.replies.c_str(), message.request.text.c_str(),
                 why.empty() ? "" : "; ", why.c_str());
}

void complete(Message& message, const Outcome& outcome)
{
    const Status status = outcome.first ? Status::completed : Status::not_executable;
    message.client->camera->taken[static_cast<std::size_t>(message.socket)] = false;
    finish(message, message.socket == 0 ? Bytes() : visca::bytes_of(status, message.socket), outcome.second);
}

/// Carries out a camera's commands, one after another, until there are none.
void work(Camera& camera)
{
    std::unique_lock lock(mutex);
    for (; !camera.commands.empty(); camera.commands.pop_front()) {
        Message& message = camera.commands.front();
        const auto [setting, value] = std::pair(message.request.setting, message.request.value);
        if (setting == kOnepush) { // takes longer than controllers wait
            complete(message, {true, "begun"});
        }
        lock.unlock();
        const Outcome outcome = act(camera.id, setting, value);
        lock.lock();
        if (setting != kOnepush) {
            complete(message, outcome);
        }
    }
}

void take(Camera& camera, const Client& client, const Bytes& bytes, std::optional<std::uint32_t> number)
{
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
    const auto free = std::find(camera.taken.begin() + 1, camera.taken.end(), false);
    if (!message.request.reply.empty()) {
        finish(message, message.request.reply, "");
        return;
    }
    if (free == camera.taken.end()) {
        finish(message, visca::bytes_of(Status::full), "two commands are under way");
        return;
    }
    message.socket = static_cast<int>(free - camera.taken.begin());
    reply(message, visca::bytes_of(Status::acknowledged, message.socket));
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

void watch(Source& source)
{
    epoll_event event{.events = EPOLLIN, .data = {.ptr = &source}};
    epoll_ctl(epoll, EPOLL_CTL_ADD, source.descriptor, &event);
}

void accept_connection(Camera& camera)
{
    const int connection = accept4(camera.listener.descriptor, nullptr, nullptr, SOCK_CLOEXEC);
    if (connection >= 0 && camera.connections.size() == kConnections) {
        close(connection);
    } else if (connection >= 0) {
        const int on = 1;
        setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        setsockopt(connection, SOL_SOCKET, SO_KEEPALIVE, &on, sizeof on);
        setsockopt(connection, SOL_SOCKET, SO_SNDBUF, &kUntaken, sizeof kUntaken);
        setsockopt(connection, IPPROTO_TCP, TCP_USER_TIMEOUT, &kStall, sizeof kStall);
        camera.connections.push_back(std::make_shared<Source>(Source{.camera = &camera, .descriptor = connection}));
        watch(*camera.connections.back());
    }
}

/// Reads a little; returns whether there may be more.
bool read_connection(Camera& camera, Source& source)
{
    const auto client = std::find_if(camera.connections.begin(), camera.connections.end(),
                                     [&](const Client& each) { return each.get() == &source; });
    std::array<std::uint8_t, kAtOnce> bytes;
    const ssize_t count = recv(source.descriptor, bytes.data(), bytes.size(), MSG_DONTWAIT);
    if (count <= 0 || (!source.begun && !visca::begins_message(bytes[0]))) { // a browser can be made to post here
        close(std::exchange(source.descriptor, -1));
        camera.connections.erase(client);
        return false;
    }
    source.begun = true;
    for (const Bytes& message : visca::split(bytes.data(), static_cast<std::size_t>(count), source.rest)) {
        take(camera, *client, message, std::nullopt);
    }
    return count == kAtOnce;
}

bool read_datagram(Camera& camera)
{
    std::array<std::uint8_t, kAtOnce> bytes;
    Source peer{
        .camera = &camera, .descriptor = camera.datagrams.descriptor, .address_length = sizeof(sockaddr_storage)};
    auto* const from = reinterpret_cast<sockaddr*>(&peer.address);
    const ssize_t count =
        recvfrom(peer.descriptor, bytes.data(), bytes.size(), MSG_DONTWAIT, from, &peer.address_length);
    if (count < 0) {
        return false;
    }
    const visca::Datagram datagram = visca::open(bytes.data(), static_cast<std::size_t>(count));
    if (!datagram.reply.empty()) {
        send_to(peer, datagram.reply);
    }
    const std::string key(reinterpret_cast<const char*>(from), peer.address_length);
    if (camera.peers.size() == kPeers && !camera.peers.contains(key)) {
        camera.peers.clear();
    }
    Client& client = camera.peers[key];
    if (client == nullptr || datagram.resets) {
        client = std::make_shared<Source>(peer);
    }
    for (const Bytes& message : datagram.messages) {
        take(camera, client, message, datagram.number);
    }
    return true;
}

/// Serves everybody who sends something, each a little, until the service ends.
void serve()
{
    for (bool more = false;;) {
        std::array<epoll_event, kAtOnce> events;
        std::this_thread::sleep_for(std::chrono::milliseconds(more ? 1 : 0)); // whoever sends too much waits
        const int count = epoll_wait(epoll, events.data(), kAtOnce, 100);
        const std::lock_guard lock(mutex);
        more = false;
        for (int i = 0; i < count; ++i) {
            Source& source = *static_cast<Source*>(events[static_cast<std::size_t>(i)].data.ptr);
            Camera& camera = *source.camera;
            int datagrams = 0;
            if (&source == &camera.listener) {
                accept_connection(camera);
            } else if (&source == &camera.datagrams) {
                while (datagrams < kDatagrams && read_datagram(camera)) {
                    ++datagrams;
                }
                more |= datagrams == kDatagrams;
            } else {
                more |= read_connection(camera, source);
            }
        }
        std::for_each(cameras.begin(), cameras.end(), [](Camera& camera) { visca::remember_levels(camera.state); });
        if (ending) {
            return;
        }
    }
}

} // namespace

int start_service(const session::Address& address)
{
    session::Address next;
    for (int tries = address.port == 0 ? 100 : 1; next.port == 0; --tries) { // for free ports in a row
        next = address;
        try {
            for (Camera& camera : cameras) {
                camera.listener.descriptor = session::listen_at(next);
                camera.datagrams.descriptor = session::listen_at(next, SOCK_DGRAM);
                ++next.port;
            }
        } catch (const session::BadInput&) {
            for (Camera& camera : cameras) {
                close(std::exchange(camera.listener.descriptor, -1));
                close(std::exchange(camera.datagrams.descriptor, -1));
            }
            if (tries == 1) {
                throw;
            }
            next.port = 0;
        }
    }
    epoll = epoll_create1(EPOLL_CLOEXEC);
    for (Camera& camera : cameras) {
        camera.id = static_cast<int>(&camera - cameras.data());
        camera.listener.camera = camera.datagrams.camera = &camera;
        camera.state.value = [&](std::string_view name) {
            const auto same = std::find_if(camera.commands.rbegin(), camera.commands.rend(), [&](const Message& each) {
                return each.request.setting == name && name != "zoom"; // which takes its time
            });
            return same != camera.commands.rend() ? same->request.value : value_of(camera.id, name);
        };
        watch(camera.listener);
        watch(camera.datagrams);
    }
    thread = std::thread(serve);
    return next.port - session::kCameras;
}

void stop_service()
{
    {
        const std::lock_guard lock(mutex);
        ending = true;
    }
    thread.join();
}

} // namespace control
