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

/// One service. It works when poll() and publish() are called, or by itself between start() and stop(). Functions
/// without a word on threads: one thread at a time.
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

    /// Stops listening and removes the record's file.
    void close();

    /// The port that it listens on, 0 while closed.
    int port() const;

    /// Takes all datagrams that have arrived, without waiting, and returns how many.
    int poll();

    /// Writes the lens state to the record, field by field.
    void publish();

    /// Runs poll() and publish() on a thread of its own, about every 5 ms of real time; stop() ends it.
    void start();
    void stop();

    /// Any thread.
    Counts counts() const;

private:
    void take(const unsigned char* bytes, long size);

    int socket_ = -1;
    int port_ = 0;
    Iris_Info_Param* record_ = nullptr;
    std::string record_path_;
    std::thread thread_;
    std::atomic<bool> stopping_{false};
    std::atomic<long> moved_{0};
    std::atomic<long> held_{0};
    std::atomic<long> malformed_{0};
};

} // namespace sim::host
