// The lens service's socket and its shared record. A command is 8 bytes: 0x77, 0x17, 1 (absolute) or 0 (relative), 0,
// then position and steps as signed 16-bit little-endian numbers.
#include "host/lens_service.h"

#include "host/durable_file.h"
#include "host/lens.h"
#include "isp_auto_iris.h"

#include <atomic>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <netinet/in.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace sim::host
{

namespace
{

constexpr ssize_t kCommandSize = 8;

int little_endian_16(const unsigned char* bytes)
{
    return static_cast<std::int16_t>(bytes[0] | bytes[1] << 8);
}

/// Whether the iris moves.
bool obey(const unsigned char* bytes, ssize_t size)
{
    if (size != kCommandSize || bytes[0] != 0x77 || bytes[1] != 0x17 || bytes[2] > 1 || bytes[3] != 0 ||
        !lens_state().iris_automatic) {
        return false;
    }
    if (bytes[2] == 1) {
        move_iris_to(little_endian_16(bytes + 4));
    } else {
        move_iris_by(little_endian_16(bytes + 6));
    }
    return true;
}

void set_field(std::int16_t& field, double value)
{
    std::atomic_ref(field).store(static_cast<std::int16_t>(std::lround(value)), std::memory_order_relaxed);
}

} // namespace

LensService::~LensService()
{
    close();
}

std::string LensService::open(const std::string& record_path, int port)
{
    close();
    const int file = open_regular(record_path, O_RDWR | O_CREAT | O_NOFOLLOW);
    if (file < 0) {
        return record_path + ": " + error_text(errno);
    }
    struct stat status;
    std::string wrong;
    if (fstat(file, &status) != 0) {
        wrong = record_path + ": " + error_text(errno);
    } else if (status.st_size != 0 && status.st_size != sizeof(Iris_Info_Param)) {
        wrong = record_path + ": is something else than an iris record"; // and is not cut down to one
    } else if (ftruncate(file, sizeof(Iris_Info_Param)) != 0) {
        wrong = record_path + ": " + error_text(errno);
    } else if (void* const mapped = mmap(nullptr, sizeof(Iris_Info_Param), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
               mapped == MAP_FAILED) {
        wrong = record_path + ": " + error_text(errno);
    } else {
        record_ = static_cast<Iris_Info_Param*>(mapped);
        record_path_ = record_path;
    }
    ::close(file);
    if (!wrong.empty()) {
        return wrong;
    }
    publish();

    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    socklen_t size = sizeof address;
    socket_ = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (socket_ < 0 || bind(socket_, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
        getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        wrong = "lens service, port " + std::to_string(port) + ": " + error_text(errno);
        close();
        return wrong;
    }
    port_ = ntohs(address.sin_port);
    return {};
}

void LensService::close()
{
    if (socket_ >= 0) {
        ::close(socket_);
    }
    if (record_ != nullptr) {
        munmap(record_, sizeof *record_);
        unlink(record_path_.c_str());
    }
    socket_ = -1;
    port_ = 0;
    record_ = nullptr;
    record_path_.clear();
}

int LensService::port() const
{
    return port_;
}

int LensService::poll()
{
    int moves = 0;
    unsigned char bytes[kCommandSize];
    while (true) {
        // With MSG_TRUNC the result is the datagram's own length, also when it is longer than a command.
        const ssize_t size = recv(socket_, bytes, sizeof bytes, MSG_TRUNC | MSG_DONTWAIT);
        if (size < 0 && errno == EINTR) {
            continue;
        }
        if (size < 0) {
            return moves;
        }
        moves += obey(bytes, size) ? 1 : 0;
    }
}

void LensService::publish()
{
    if (record_ == nullptr) {
        return;
    }
    const LensState lens = lens_state();
    set_field(record_->autoFlag, lens.iris_automatic ? 1 : 0);
    set_field(record_->curIris, lens.iris);
    set_field(record_->maxIris, kIrisWidest);
    set_field(record_->minIris, 0);
    set_field(record_->curZoom, lens.zoom);
    for (std::size_t i = 0; i < std::size(record_->irisStep); ++i) {
        set_field(record_->irisStep[i], kIrisCalibration[i]);
    }
}

} // namespace sim::host
