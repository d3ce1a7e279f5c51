// One thread serves all clients and answers inquiries at once; each camera has a thread that carries out its commands,
// one after another.
#include "control/service.h"

#include "base/clock.h"
#include "base/lib_dbgout.h"
#include "control/act.h"
#include "host/log.h"
#include "session/bad_input.h"
#include "session/cameras.h"
#include "visca/framing.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

namespace control
{

namespace
{

using RealClock = std::chrono::steady_clock;
using visca::Bytes;
using visca::Request;

constexpr std::size_t kConnections = 8; // of a camera
constexpr std::size_t kPeers = 32;      // UDP clients of a camera that are remembered
constexpr std::size_t kAtOnce = 64;     // bytes of a connection that are read in one go
constexpr int kDatagramsAtOnce = 8;
constexpr std::chrono::seconds kStall{3}; // in which a client takes nothing of what it is sent
constexpr std::chrono::milliseconds kTick{100};
constexpr std::chrono::milliseconds kPause{1}; // of those who send more than is read in one go
constexpr std::string_view kOnepush = "wb_mode_onepush";
constexpr int kLines = 100; // of a camera in the log, a second

/// A connection, or an address that datagrams came from.
struct Client {
    int connection = -1; // -1 too once it is closed
    sockaddr_storage address{};
    socklen_t address_length = 0;
    visca::Splitter splitter;
    visca::Memory memory;
    Bytes unsent;
    RealClock::time_point stuck; // since when nothing of it was taken
    bool begun = false;
    bool ended = false; // it sends no more
    int pending = 0;    // commands
};
using ClientPointer = std::shared_ptr<Client>;

struct Message {
    ClientPointer client;
    Bytes bytes;
    std::optional<std::uint32_t> number;
    Request request;
    int socket = 0;      // of a command; 0: no reply is owed any more
    std::string replies; // for the log
    RealClock::time_point since;
};

struct Camera {
    int id = 0;
    int listener = -1;
    int datagrams = -1;
    std::vector<ClientPointer> connections;
    std::deque<ClientPointer> peers; // the last heard last
    visca::Camera state;
    std::array<bool, visca::kSockets + 1> taken{}; // by number, from 1
    std::deque<Message> commands;                  // the first one is being carried out
    std::deque<Message> inquiries;                 // of clients whose own commands are not yet carried out
    std::condition_variable more;
    std::thread worker;
    RealClock::time_point lines_since;
    int lines = 0;
};

struct Service {
    std::mutex mutex; // guards everything; never held while a camera acts
    std::array<Camera, session::kCameras> cameras;
    int wake = -1;
    bool ending = false;
    std::thread thread;
};
Service* service = nullptr; // never destroyed: a camera may still act while the program ends

// ---- Replies --------------------------------------------------------------------------------------------------------

void flush(Client& client)
{
    while (!client.unsent.empty() && client.connection >= 0) {
        const ssize_t count =
            send(client.connection, client.unsent.data(), client.unsent.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count < 0) {
            client.ended = errno != EAGAIN;
            client.unsent.resize(client.ended ? 0 : client.unsent.size());
            return;
        }
        client.unsent.erase(client.unsent.begin(), client.unsent.begin() + count);
        client.stuck = RealClock::now();
    }
}

void send_to(const Camera& camera, Client& client, const Bytes& reply, std::optional<std::uint32_t> number)
{
    if (client.address_length > 0) {
        const Bytes datagram = visca::wrap(reply, number);
        sendto(camera.datagrams, datagram.data(), datagram.size(), MSG_DONTWAIT,
               reinterpret_cast<const sockaddr*>(&client.address), client.address_length);
        return;
    }
    if (client.unsent.empty()) {
        client.stuck = RealClock::now();
    }
    client.unsent.insert(client.unsent.end(), reply.begin(), reply.end());
    flush(client);
}

void reply(const Camera& camera, Message& message, const Bytes& bytes)
{
    if (message.number) {
        message.client->memory.note(*message.number, message.bytes, bytes);
    }
    send_to(camera, *message.client, bytes, message.number);
    message.replies += (message.replies.empty() ? "" : ", ") + visca::text_of(bytes);
}

/// Writes what was asked for, answered, and why.
void log(Camera& camera, const Message& message, const std::string& why = "")
{
    const auto now = RealClock::now();
    if (now - camera.lines_since > std::chrono::seconds(1)) {
        camera.lines_since = now;
        camera.lines = 0;
    }
    if (++camera.lines > kLines) {
        return;
    }
    kiv_traceout(sim::host::kControlLevel, "camera_id is %d: %s (%s) %s%s%s\n", camera.id,
                 visca::text_of(message.bytes).c_str(), message.request.text.c_str(), message.replies.c_str(),
                 why.empty() ? "" : ": ", camera.lines == kLines ? "too many messages to list" : why.c_str());
}

// ---- Messages -------------------------------------------------------------------------------------------------------

void answer(Camera& camera, Message& message)
{
    reply(camera, message, visca::answer(message.request, camera.state));
    log(camera, message);
}

/// Answers the inquiries that wait for a client's own commands no longer.
void answer_waiting(Camera& camera)
{
    const auto now = RealClock::now();
    for (auto it = camera.inquiries.begin(); it != camera.inquiries.end();) {
        if (it->client->pending > 0 && now - it->since < kTick) {
            ++it;
            continue;
        }
        answer(camera, *it);
        it = camera.inquiries.erase(it);
    }
}

/// Gives a command its last reply.
void finish(Camera& camera, Message& message, const Outcome& outcome)
{
    if (message.socket > 0) {
        reply(camera, message,
              outcome.done ? visca::completed(message.socket)
                           : visca::refused(visca::Error::not_executable, message.socket));
        camera.taken[static_cast<std::size_t>(message.socket)] = false;
    }
    --message.client->pending;
    log(camera, message, outcome.text);
    answer_waiting(camera);
}

/// Carries out the commands of a camera.
void work(Camera& camera)
{
    std::unique_lock lock(service->mutex);
    for (;;) {
        camera.more.wait(lock, [&] { return service->ending || !camera.commands.empty(); });
        if (service->ending) {
            return;
        }
        Message& message = camera.commands.front();
        const std::string_view name = message.request.row->setting;
        const int value = visca::target(message.request, camera.state);
        const bool slow = name == kOnepush;
        if (slow) { // takes longer than controllers wait
            finish(camera, message, {});
        }
        lock.unlock();
        const Outcome outcome = act(camera.id, name, value);
        sim::step_aside();
        lock.lock();
        if (!slow) {
            finish(camera, message, outcome);
        }
        camera.commands.pop_front();
        eventfd_write(service->wake, 1);
    }
}

void command(Camera& camera, Message message)
{
    const auto free = std::find(camera.taken.begin() + 1, camera.taken.end(), false);
    if (free == camera.taken.end()) {
        reply(camera, message, visca::refused(visca::Error::full));
        log(camera, message, "two commands are under way");
        return;
    }
    *free = true;
    message.socket = static_cast<int>(free - camera.taken.begin());
    ++message.client->pending;
    reply(camera, message, visca::acknowledged(message.socket));
    const auto measures = [](const Message& each) { return each.request.row->setting == kOnepush; };
    if (measures(message) && std::any_of(camera.commands.begin(), camera.commands.end(), measures)) {
        finish(camera, message, {false, "a measurement is under way"});
        return;
    }
    camera.commands.push_back(std::move(message));
    camera.more.notify_one();
    if (!camera.worker.joinable()) {
        camera.worker = std::thread([&camera] { work(camera); });
    }
}

void take(Camera& camera, const ClientPointer& client, const Bytes& bytes, std::optional<std::uint32_t> number)
{
    if (number) {
        if (const auto* const replies = client->memory.repeated(*number, bytes)) {
            for (const Bytes& again : *replies) {
                send_to(camera, *client, again, number);
            }
            return;
        }
    }
    Message message{client, bytes, number, visca::decode(bytes), 0, {}, RealClock::now()};
    if (message.request.clears) {
        camera.taken = {};
        for (Message& command : camera.commands) {
            command.socket = 0;
        }
    }
    if (message.request.acts()) {
        command(camera, std::move(message));
    } else if (message.client->pending > 0 && message.request.kind != Request::Kind::fixed &&
               camera.inquiries.size() < kAtOnce) {
        camera.inquiries.push_back(std::move(message));
    } else {
        answer(camera, message);
    }
}

// ---- Connections and datagrams --------------------------------------------------------------------------------------

void accept_connection(Camera& camera)
{
    const int connection = accept4(camera.listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (connection < 0) {
        return;
    }
    if (camera.connections.size() == kConnections) {
        close(connection);
        return;
    }
    const int on = 1;
    setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    setsockopt(connection, SOL_SOCKET, SO_KEEPALIVE, &on, sizeof on);
    camera.connections.push_back(std::make_shared<Client>());
    camera.connections.back()->connection = connection;
}

/// Returns whether more may be there to read.
bool read_connection(Camera& camera, const ClientPointer& client)
{
    std::array<std::uint8_t, kAtOnce> bytes;
    const ssize_t count = recv(client->connection, bytes.data(), bytes.size(), MSG_DONTWAIT);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) {
        return false;
    }
    const bool foreign =
        count > 0 && !client->begun && !visca::begins_message(bytes[0]); // a browser, made to post here
    client->begun = true;
    client->ended = count <= 0 || foreign;
    if (client->ended) {
        return false;
    }
    for (const Bytes& message : client->splitter.take(bytes.data(), static_cast<std::size_t>(count))) {
        take(camera, client, message, std::nullopt);
    }
    return count == kAtOnce;
}

ClientPointer peer_at(Camera& camera, const sockaddr_storage& address, socklen_t length)
{
    const auto found = std::find_if(camera.peers.begin(), camera.peers.end(), [&](const ClientPointer& peer) {
        return peer->address_length == length && std::memcmp(&peer->address, &address, length) == 0;
    });
    const auto peer = found != camera.peers.end() ? *found : std::make_shared<Client>();
    if (found != camera.peers.end()) {
        camera.peers.erase(found);
    } else if (camera.peers.size() == kPeers) {
        camera.peers.pop_front();
    }
    peer->address = address;
    peer->address_length = length;
    camera.peers.push_back(peer);
    return peer;
}

/// Returns whether more may be there to read.
bool read_datagram(Camera& camera)
{
    std::array<std::uint8_t, kAtOnce> bytes;
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    const ssize_t count = recvfrom(camera.datagrams, bytes.data(), bytes.size(), MSG_DONTWAIT,
                                   reinterpret_cast<sockaddr*>(&address), &length);
    if (count < 0) {
        return false;
    }
    const visca::Datagram datagram = visca::open(bytes.data(), static_cast<std::size_t>(count));
    if (datagram.messages.empty() && datagram.reply.empty()) {
        return true;
    }
    const ClientPointer peer = peer_at(camera, address, length);
    if (datagram.resets) {
        peer->memory = {};
    }
    if (!datagram.reply.empty()) {
        send_to(camera, *peer, datagram.reply, std::nullopt);
    }
    for (const Bytes& message : datagram.messages) {
        take(camera, peer, message, datagram.number);
    }
    return true;
}

// ---- Serving --------------------------------------------------------------------------------------------------------

/// Ends what is over.
void tidy(Camera& camera)
{
    answer_waiting(camera);
    visca::remember_levels(camera.state);
    std::erase_if(camera.connections, [](const ClientPointer& client) {
        const bool stalls = !client->unsent.empty() && RealClock::now() - client->stuck > kStall;
        const bool over = client->ended && client->unsent.empty() && client->pending == 0;
        if (stalls || over) {
            close(client->connection);
            client->connection = -1;
        }
        return stalls || over;
    });
}

/// Waits until somebody sends or takes something, and serves all who do, each a little.
bool serve_once(std::unique_lock<std::mutex>& lock)
{
    std::vector<pollfd> polled{{service->wake, POLLIN, 0}};
    std::vector<std::pair<Camera*, ClientPointer>> sources(1);
    const auto add = [&](Camera& camera, int descriptor, short events, const ClientPointer& client) {
        polled.push_back({descriptor, events, 0});
        sources.emplace_back(&camera, client);
    };
    for (Camera& camera : service->cameras) {
        add(camera, camera.listener, POLLIN, nullptr);
        add(camera, camera.datagrams, POLLIN, nullptr);
        for (const ClientPointer& client : camera.connections) {
            const bool full = !client->unsent.empty();
            add(camera, client->ended && !full ? -1 : client->connection, full ? POLLOUT : POLLIN, client);
        }
    }
    lock.unlock();
    poll(polled.data(), polled.size(), kTick.count());
    lock.lock();
    bool more = false;
    for (std::size_t i = 0; i < polled.size(); ++i) {
        const auto& [camera, client] = sources[i];
        if (polled[i].revents == 0) {
        } else if (i == 0) {
            eventfd_t count = 0;
            eventfd_read(service->wake, &count);
        } else if (client != nullptr && !client->unsent.empty()) {
            flush(*client);
        } else if (client != nullptr) {
            more |= read_connection(*camera, client);
        } else if (polled[i].fd == camera->listener) {
            accept_connection(*camera);
        } else {
            for (int count = 0; count < kDatagramsAtOnce && read_datagram(*camera); ++count) {
                more |= count + 1 == kDatagramsAtOnce;
            }
        }
    }
    for (Camera& camera : service->cameras) {
        tidy(camera);
    }
    return more;
}

void serve()
{
    std::unique_lock lock(service->mutex);
    while (!service->ending) {
        if (serve_once(lock)) { // whoever sends so much waits, not the cameras
            lock.unlock();
            std::this_thread::sleep_for(kPause);
            lock.lock();
        }
    }
}

/// Takes the ports of all cameras from one on, which 0 leaves open.
int bind_all(session::Address address)
{
    session::Address next = address;
    for (Camera& camera : service->cameras) {
        camera.listener = session::listen_at(next);
        camera.datagrams = session::listen_at(next, SOCK_DGRAM);
        address.port = camera.id == 0 ? next.port : address.port;
        ++next.port;
    }
    return address.port;
}

void unbind_all()
{
    for (Camera& camera : service->cameras) {
        for (int* const descriptor : {&camera.listener, &camera.datagrams}) {
            if (*descriptor >= 0) {
                close(std::exchange(*descriptor, -1));
            }
        }
    }
}

} // namespace

int start_service(const session::Address& address)
{
    service = new Service;
    for (int id = 0; id < session::kCameras; ++id) {
        Camera& camera = service->cameras[static_cast<std::size_t>(id)];
        camera.id = id;
        camera.state.value = [id](std::string_view name) { return value_of(id, name); };
    }
    constexpr int kTries = 100; // for eight free ports in a row
    int port = -1;
    for (int i = 1; port < 0; ++i) {
        try {
            port = bind_all(address);
        } catch (const session::BadInput&) {
            unbind_all();
            if (address.port != 0 || i == kTries) {
                throw;
            }
        }
    }
    service->wake = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    service->thread = std::thread(serve);
    return port;
}

void stop_service()
{
    {
        const std::lock_guard lock(service->mutex);
        service->ending = true;
        eventfd_write(service->wake, 1);
    }
    service->thread.join();
    for (Camera& camera : service->cameras) {
        camera.more.notify_all();
        if (camera.worker.joinable()) {
            camera.worker.join();
        }
        for (const ClientPointer& client : camera.connections) {
            close(client->connection);
        }
    }
    unbind_all();
}

} // namespace control
