// The lens service: takes iris commands as datagrams, moves the lens, and publishes iris and zoom in the record that
// the library maps.
#pragma once

#include <atomic>
#include <string>
#include <thread>

struct Iris_Info_Param;

namespace sim::host
{

inline constexpr int kLensPort = 6789;

/// Works when poll() and publish() are called, or by itself between start() and stop(). One thread at a time.
class LensService
{
public:
    struct Counts {
        long moved = 0;     // commands obeyed
        long held = 0;      // commands dropped because the iris is not under automatic control
        long malformed = 0; // datagrams dropped
    };

    LensService() = default;
    LensService(const LensService&) = delete;
    LensService& operator=(const LensService&) = delete;
    ~LensService();

    /// Listens on 127.0.0.1 and makes the record's file, 36 bytes. Port 0 takes any free one. Returns what went wrong,
    /// or nothing; after a failure the service is closed.
    std::string open(const std::string& record_path, int port = kLensPort);
    void close(); ///< removes the record's file

    int port() const; ///< 0 while closed

    /// Takes all datagrams that have arrived, without waiting, and returns how many.
    int poll();

    void publish(); ///< the lens state in the record

    /// Runs poll() and publish() on a thread of its own, about every 5 ms of real time; stop() ends it.
    void start();
    void stop();

    Counts counts() const; ///< any thread

private:
    void take(const unsigned char* bytes, long size);

    int socket_ = -1;
    int port_ = 0;
    Iris_Info_Param* record_ = nullptr;
    std::string record_path_;
    std::thread thread_;
    std::atomic<bool> stopping_{false};
    std::atomic<long> moved_{0}, held_{0}, malformed_{0};
};

} // namespace sim::host
