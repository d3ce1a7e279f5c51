// The lens service: takes iris commands as datagrams, moves the lens, and publishes iris and zoom in the record that
// the library maps.
#pragma once

#include <string>

struct Iris_Info_Param;

namespace sim::host
{

/// Works when poll() and publish() are called. One thread at a time.
class LensService
{
public:
    LensService() = default;
    LensService(const LensService&) = delete;
    LensService& operator=(const LensService&) = delete;
    ~LensService();

    /// Listens on 127.0.0.1 and makes the record's file, 36 bytes. Port 0 takes any free one. Returns what went wrong,
    /// or nothing; after a failure the service is closed.
    std::string open(const std::string& record_path, int port);
    void close(); ///< removes the record's file

    int port() const; ///< 0 while closed

    /// Takes all datagrams that have arrived, without waiting, and returns how many moved the iris: others are no
    /// commands, or the iris is not under automatic control.
    int poll();

    void publish(); ///< the lens state in the record

private:
    int socket_ = -1;
    int port_ = 0;
    Iris_Info_Param* record_ = nullptr;
    std::string record_path_;
};

} // namespace sim::host
