// cpp-httplib's server with bounds on what a client may cost: connections, the time and bytes of a request, the time
// that a client takes nothing.
#pragma once

#include "live/server.h"

#include <httplib.h>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <set>

namespace live
{

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
