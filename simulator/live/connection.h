// cpp-httplib's server with bounds on what a client may cost: connections, the time and bytes of a request, the time
// that a client takes nothing.
#pragma once

#include <httplib.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <set>

namespace live
{

struct Limits {
    int connections = 64;                 ///< further ones are refused with 503
    int requests = 10000;                 ///< of one connection
    std::size_t request_bytes = 96 << 10; ///< head and body
    std::chrono::milliseconds request{10000};
    std::chrono::milliseconds idle{15000};
    std::chrono::milliseconds stall{3000}; ///< in which a client takes nothing of what it is sent
};

class BoundedServer : public httplib::Server
{
public:
    /// `examine` sees each request before its body is read, and says whether its connection ends with it.
    using Examine = std::function<bool(const httplib::Request&)>;

    BoundedServer(const Limits& limits, Examine examine);

    /// Ends all connections and the listening.
    void end();

private:
    bool process_and_close_socket(socket_t sock) override;
    void serve(socket_t sock);

    Limits limits_;
    Examine examine_;
    std::mutex mutex_;
    std::set<socket_t> open_;
    bool ending_ = false;
};

} // namespace live
