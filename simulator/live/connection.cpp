#include "live/connection.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace live
{

namespace
{

using Clock = std::chrono::steady_clock;

// Set on the accepting thread while it refuses a connection for which there is no room.
thread_local bool no_room = false;

bool wait_for(socket_t sock, short events, Clock::time_point until)
{
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now()).count();
        if (left < 0) {
            return false;
        }
        pollfd one{.fd = sock, .events = events, .revents = 0};
        const int ready = poll(&one, 1, static_cast<int>(left) + 1);
        if (ready > 0) {
            return true;
        }
        if (ready < 0 && errno != EINTR) {
            return false;
        }
    }
}

/// A thread for each connection, up to a number.
class Threads : public httplib::TaskQueue
{
public:
    explicit Threads(int most) : most_(most) {}

    using Taken = decltype(std::declval<httplib::TaskQueue&>().enqueue(nullptr)); // nothing, later bool

    Taken enqueue(std::function<void()> task) override
    {
        {
            const std::lock_guard lock(mutex_);
            no_room = running_ == most_;
            running_ += no_room ? 0 : 1;
        }
        if (no_room) {
            task();
            return Taken(true);
        }
        std::thread([this, task = std::move(task)] {
            task();
            const std::lock_guard lock(mutex_);
            --running_;
            ended_.notify_all();
        }).detach();
        return Taken(true);
    }

    void shutdown() override
    {
        std::unique_lock lock(mutex_);
        ended_.wait(lock, [&] { return running_ == 0; });
    }

private:
    int most_;
    std::mutex mutex_;
    std::condition_variable ended_;
    int running_ = 0;
};

/// The bytes of a connection. Reading ends with a request's time or bytes, writing when the client takes nothing.
class BoundedStream : public httplib::Stream
{
public:
    BoundedStream(socket_t sock, const Limits& limits) : sock_(sock), limits_(limits) {}

    bool await_request()
    {
        if (next_ == end_ && !wait_for(sock_, POLLIN, Clock::now() + limits_.idle)) {
            return false;
        }
        until_ = Clock::now() + limits_.request;
        bytes_left_ = limits_.request_bytes;
        return next_ != end_ || fill();
    }

    bool is_readable() const override
    {
        return next_ != end_ || wait_for(sock_, POLLIN, until_);
    }

    bool is_writable() const override
    {
        return wait_for(sock_, POLLOUT, Clock::now() + limits_.stall);
    }

    ssize_t read(char* to, size_t size) override
    {
        if (bytes_left_ == 0 || (next_ == end_ && !fill())) {
            return -1;
        }
        const std::size_t count = std::min({size, end_ - next_, bytes_left_});
        std::copy_n(buffer_.data() + next_, count, to);
        next_ += count;
        bytes_left_ -= count;
        return static_cast<ssize_t>(count);
    }

    ssize_t write(const char* from, size_t size) override
    {
        const Clock::time_point until = Clock::now() + limits_.request; // a trickle is as bad as a stall
        std::size_t sent = 0;
        while (sent < size && wait_for(sock_, POLLOUT, std::min(until, Clock::now() + limits_.stall))) {
            const ssize_t count = send(sock_, from + sent, size - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
            if (count < 0 && errno != EAGAIN && errno != EINTR) {
                return -1;
            }
            sent += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
        }
        return sent == size ? static_cast<ssize_t>(size) : -1;
    }

    void get_remote_ip_and_port(std::string& ip, int& port) const override
    {
        address(getpeername, ip, port);
    }

    void get_local_ip_and_port(std::string& ip, int& port) const override
    {
        address(getsockname, ip, port);
    }

    socket_t socket() const override
    {
        return sock_;
    }

private:
    bool fill()
    {
        if (!wait_for(sock_, POLLIN, until_)) {
            return false;
        }
        const ssize_t count = recv(sock_, buffer_.data(), buffer_.size(), 0);
        next_ = 0;
        end_ = static_cast<std::size_t>(std::max<ssize_t>(count, 0));
        return count > 0;
    }

    void address(int (*get)(int, sockaddr*, socklen_t*), std::string& ip, int& port) const
    {
        sockaddr_storage storage{};
        socklen_t length = sizeof storage;
        std::array<char, NI_MAXHOST> host{};
        std::array<char, NI_MAXSERV> service{};
        auto* const any = reinterpret_cast<sockaddr*>(&storage);
        if (get(sock_, any, &length) == 0 && getnameinfo(any, length, host.data(), host.size(), service.data(),
                                                         service.size(), NI_NUMERICHOST | NI_NUMERICSERV) == 0) {
            ip = host.data();
            port = std::atoi(service.data());
        }
    }

    socket_t sock_;
    Limits limits_;
    std::array<char, 4096> buffer_{};
    std::size_t next_ = 0;
    std::size_t end_ = 0;
    Clock::time_point until_;
    std::size_t bytes_left_ = 0;
};

/// Lets a client read what it was sent before its connection ends, even if it is still sending itself.
void close_softly(socket_t sock)
{
    ::shutdown(sock, SHUT_WR);
    const auto until = Clock::now() + std::chrono::milliseconds(500);
    std::array<char, 4096> rest{};
    while (wait_for(sock, POLLIN, until) && recv(sock, rest.data(), rest.size(), MSG_DONTWAIT) > 0) {
    }
}

} // namespace

BoundedServer::BoundedServer(const Limits& limits, Examine examine) : limits_(limits), examine_(std::move(examine))
{
    new_task_queue = [limits] { return new Threads(limits.connections); };
    set_keep_alive_max_count(static_cast<std::size_t>(limits.requests));
    set_keep_alive_timeout(std::chrono::duration_cast<std::chrono::seconds>(limits.idle).count());
}

void BoundedServer::end()
{
    {
        const std::lock_guard lock(mutex_);
        ending_ = true;
        for (const socket_t sock : open_) {
            ::shutdown(sock, SHUT_RDWR);
        }
    }
    stop();
}

bool BoundedServer::process_and_close_socket(socket_t sock)
{
    if (no_room) {
        const std::string body = R"({"error":"too many connections"})";
        const std::string answer = "HTTP/1.1 503 Service Unavailable\r\nConnection: close\r\n"
                                   "Content-Type: application/json\r\nContent-Length: " +
                                   std::to_string(body.size()) + "\r\n\r\n" + body;
        send(sock, answer.data(), answer.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        ::shutdown(sock, SHUT_WR);
        close(sock);
        return false;
    }
    {
        const std::lock_guard lock(mutex_);
        open_.insert(sock);
        if (ending_) {
            ::shutdown(sock, SHUT_RDWR);
        }
    }
    constexpr int kUnsent = 128 << 10; // bytes that wait for a slow client
    setsockopt(sock, SOL_SOCKET, SO_SNDBUF, &kUnsent, sizeof kUnsent);
    serve(sock);
    {
        const std::lock_guard lock(mutex_);
        open_.erase(sock);
    }
    close(sock);
    return true;
}

void BoundedServer::serve(socket_t sock)
{
    BoundedStream stream(sock, limits_);
    for (int left = limits_.requests; left > 0 && stream.await_request(); --left) {
        bool last = left == 1;
        bool closed = false;
        const auto examine = [&](httplib::Request& request) {
            request.ranges.clear();
            if (examine_(request)) {
                last = true;
                request.headers.erase("Connection");
                request.headers.emplace("Connection", "close"); // httplib says so to the client too
            }
        };
        const auto process = [&](auto& from) {
            if constexpr (requires { process_request(from, last, closed, examine); }) {
                return process_request(from, last, closed, examine);
            } else { // later versions want the addresses, which nothing here asks for
                return process_request(from, {}, 0, {}, 0, last, closed, examine);
            }
        };
        const bool served = process(stream);
        if (!served || closed || last) {
            break;
        }
    }
    close_softly(sock);
}

} // namespace live
