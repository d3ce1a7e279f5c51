// White balance at the engine's boundary as one line of text: its calls with their cameras, the library's waits and
// file calls, in order. "GetMode3 wait1000 SetMode3" reads the mode of camera 3, waits a millisecond and writes it.
#pragma once

#include "support/bench.h"

#include <array>
#include <iterator>
#include <sstream>

namespace bench
{

struct AwbCall {
    std::string_view name;
    std::string_view function;
};
inline constexpr AwbCall kAwbCalls[] = {
    {"GetMode", "rk_aiq_user_api2_awb_GetWpModeAttrib"},  {"SetMode", "rk_aiq_user_api2_awb_SetWpModeAttrib"},
    {"GetGains", "rk_aiq_user_api2_awb_GetMwbAttrib"},    {"SetGains", "rk_aiq_user_api2_awb_SetMwbAttrib"},
    {"GetOffset", "rk_aiq_uapi2_getAwbGainOffsetAttrib"}, {"SetOffset", "rk_aiq_uapi2_setAwbGainOffsetAttrib"},
    {"Query", "rk_aiq_user_api2_awb_QueryWBInfo"},
};

inline std::string engine_function(std::string_view name)
{
    for (const AwbCall& call : kAwbCalls) {
        if (call.name == name) {
            return std::string(call.function);
        }
    }
    return std::string(name); // a file call
}

/// Notes the library's waits among the recorded calls, in microseconds.
inline void note_waits()
{
    isp::seam.sleep = [](unsigned seconds) {
        sim::note_call("wait", -1, long{seconds} * 1'000'000);
        sim::wait(sim::Microseconds{seconds} * 1'000'000);
        return 0U;
    };
    isp::seam.usleep = [](useconds_t microseconds) {
        sim::note_call("wait", -1, long{microseconds});
        sim::wait(microseconds);
        return 0;
    };
}

/// White-balance calls, waits and file calls of a record; the rest is left out.
inline std::string awb_line(const std::vector<sim::Call>& calls)
{
    std::string line;
    const auto add = [&line](const std::string& word) { line += (line.empty() ? "" : " ") + word; };
    for (const sim::Call& call : calls) {
        if (call.function == "wait") {
            add("wait" + std::to_string(call.value));
        } else if (call.function == "open" || call.function == "read" || call.function == "write" ||
                   call.function == "unlink") {
            add(call.function);
        }
        for (const AwbCall& known : kAwbCalls) {
            if (call.function == known.function) {
                add(std::string(known.name) + std::to_string(call.id));
            }
        }
    }
    return line;
}

inline std::vector<std::string> words(const std::string& line)
{
    std::istringstream stream(line);
    return {std::istream_iterator<std::string>(stream), {}};
}

/// The first `count` words of a line.
inline std::string first_words(const std::string& line, std::size_t count)
{
    std::string result;
    for (const std::string& word : words(line)) {
        if (count-- == 0) {
            break;
        }
        result += (result.empty() ? "" : " ") + word;
    }
    return result;
}

/// Makes the call that is word `index` of a line fail with `code`. Returns its function; empty and no fault for a wait.
inline std::string fail_word(const std::string& line, std::size_t index, int code)
{
    const std::vector<std::string> all = words(line);
    const auto name = [](const std::string& word) { return word.substr(0, word.find_first_of("0123456789")); };
    if (name(all[index]) == "wait") {
        return {};
    }
    int nth = 0;
    for (std::size_t i = 0; i <= index; ++i) {
        nth += name(all[i]) == name(all[index]) ? 1 : 0;
    }
    sim::inject_fault(engine_function(name(all[index])), nth, code);
    return engine_function(name(all[index]));
}

/// What white balance a camera's engine holds, comparable and printable: operating mode, manual mode, and red, green,
/// green, blue of gains and offsets. Equal means equal floats.
struct Balance {
    int mode;
    int manual_mode;
    std::array<float, 4> gains;
    bool offset_on;
    std::array<float, 4> offset;

    bool operator==(const Balance&) const = default;
};

inline void PrintTo(const Balance& b, std::ostream* out)
{
    *out << "mode " << b.mode << ", manual " << b.manual_mode << ", gains " << ::testing::PrintToString(b.gains)
         << ", offset " << b.offset_on << " " << ::testing::PrintToString(b.offset);
}

inline Balance balance(int camera)
{
    const auto op_mode = held<rk_aiq_uapiV2_wb_opMode_t>(camera);
    const auto manual = held<rk_aiq_wb_mwb_attrib_t>(camera);
    const auto offset = held<rk_aiq_uapiV2_wb_awb_wbGainOffset_t>(camera).gainOffset;
    const rk_aiq_wb_gain_t& gain = manual.para.gain;
    return {.mode = op_mode.mode,
            .manual_mode = manual.mode,
            .gains = {gain.rgain, gain.grgain, gain.gbgain, gain.bgain},
            .offset_on = offset.enable,
            .offset = std::to_array(offset.offset)};
}

/// Puts a white balance into a camera's engine; what Balance leaves out stays.
inline void put_balance(int camera, const Balance& b)
{
    const rk_aiq_sys_ctx_t* context = rkipc_aiq_get_ctx(camera);
    auto op_mode = held<rk_aiq_uapiV2_wb_opMode_t>(camera);
    auto manual = held<rk_aiq_wb_mwb_attrib_t>(camera);
    auto offset = held<rk_aiq_uapiV2_wb_awb_wbGainOffset_t>(camera);
    op_mode.mode = rk_aiq_wb_op_mode_t{b.mode};
    manual.mode = rk_aiq_wb_mwb_mode_t{b.manual_mode};
    manual.para.gain = {b.gains[0], b.gains[1], b.gains[2], b.gains[3]};
    offset.gainOffset.enable = b.offset_on;
    std::copy(b.offset.begin(), b.offset.end(), offset.gainOffset.offset);
    sim::engine::poke(context, op_mode);
    sim::engine::poke(context, manual);
    sim::engine::poke(context, offset);
}

/// What the engine reports as the gains that a camera's balance has reached, until its next frame.
inline void put_measured(int camera, float red, float blue, float green = 1.0F)
{
    const rk_aiq_sys_ctx_t* context = rkipc_aiq_get_ctx(camera);
    auto info = sim::engine::peek<rk_aiq_wb_querry_info_t>(context);
    info.gain = {red, green, green, blue};
    sim::engine::poke(context, info);
}

} // namespace bench
