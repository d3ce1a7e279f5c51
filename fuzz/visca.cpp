// Fuzzes the VISCA codec: any bytes, in any pieces, are messages that have a reply or set a setting to one of its
// values.
#include "fuzz_world.h"
#include "host/settings.h"
#include "visca/codec.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::map<std::string_view, int> values;
    visca::Camera camera{{}, [&](std::string_view name) { return values[name]; }};
    visca::Bytes rest;
    std::vector<visca::Bytes> messages;
    for (std::size_t i = 0; i < size; ++i) { // byte by byte
        const std::vector<visca::Bytes> more = visca::split(data + i, 1, rest);
        messages.insert(messages.end(), more.begin(), more.end());
    }
    visca::Bytes none;
    fuzz::require(visca::split(data, size, none) == messages && none == rest, "pieces do not matter");
    const visca::Datagram datagram = visca::open(data, size);
    messages.insert(messages.end(), datagram.messages.begin(), datagram.messages.end());
    for (const visca::Bytes& message : messages) {
        const visca::Request request = visca::decode(message, camera);
        const sim::host::Setting* const setting = sim::host::find_setting(request.setting);
        if (request.reply.empty()) {
            fuzz::require(setting == nullptr || setting->member == nullptr || setting->in_range(request.value),
                          "in range");
            values[request.setting] = request.value;
        }
        const bool whole = request.reply.size() >= 3 && request.reply.size() <= 16 && request.reply.back() == 0xFF;
        fuzz::require(whole != !request.setting.empty(), "a reply or a setting");
    }
    return 0;
}
