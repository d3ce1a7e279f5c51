// White balance at the engine's boundary as one line of text: its calls with their cameras, the library's waits and
// file calls, in order. "GetMode3 wait1000 SetMode3" reads the mode of camera 3, waits a millisecond and writes it. And
// a bench with one camera, whose engine holds a balance that no setter writes, so that what is left alone shows.
#pragma once

#include "support/bench.h"

#include <array>

namespace bench
{

/// The names of engine functions in a line.
inline constexpr std::pair<std::string_view, std::string_view> kAwbCalls[] = {
    {"GetMode", "rk_aiq_user_api2_awb_GetWpModeAttrib"},  {"SetMode", "rk_aiq_user_api2_awb_SetWpModeAttrib"},
    {"GetGains", "rk_aiq_user_api2_awb_GetMwbAttrib"},    {"SetGains", "rk_aiq_user_api2_awb_SetMwbAttrib"},
    {"GetOffset", "rk_aiq_uapi2_getAwbGainOffsetAttrib"}, {"SetOffset", "rk_aiq_uapi2_setAwbGainOffsetAttrib"},
    {"Query", "rk_aiq_user_api2_awb_QueryWBInfo"},
};

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

/// White-balance calls, waits and file calls of an action; the rest is left out.
template <typename Action>
std::string line_of(Action action)
{
    std::string line;
    for (const auto& [function, id, value] : calls_of(action)) {
        if (function == "wait") {
            line += " wait" + std::to_string(value);
        } else if (function == "open" || function == "read" || function == "write" || function == "unlink") {
            line += " " + function;
        }
        for (const auto& [name, of_engine] : kAwbCalls) {
            line += function == of_engine ? " " + std::string(name) + std::to_string(id) : "";
        }
    }
    return line.substr(line.empty() ? 0 : 1);
}

/// The first `count` words of a line.
inline std::string first_words(const std::string& line, std::size_t count)
{
    std::size_t end = 0;
    for (; count > 0 && end < line.size(); --count) {
        end = std::min(line.find(' ', end + 1), line.size());
    }
    return line.substr(0, end);
}

/// Makes the engine or file call that is word `index` of a line fail with `code`. Returns its function; empty and no
/// fault for a wait.
inline std::string fail_word(const std::string& line, std::size_t index, int code)
{
    std::vector<std::string> names = words(line);
    for (std::string& word : names) {
        word.resize(std::min(word.find_first_of("0123456789"), word.size()));
    }
    std::string function = names[index];
    for (const auto& [name, of_engine] : kAwbCalls) {
        function = names[index] == name ? of_engine : function;
    }
    if (function == "wait") {
        return {};
    }
    const auto end = names.begin() + static_cast<std::ptrdiff_t>(index) + 1;
    sim::inject_fault(function, static_cast<int>(std::count(names.begin(), end, names[index])), code);
    return function;
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
    change<rk_aiq_uapiV2_wb_opMode_t>(camera, [&b](auto& block) { block.mode = rk_aiq_wb_op_mode_t{b.mode}; });
    change<rk_aiq_wb_mwb_attrib_t>(camera, [&b](auto& block) {
        block.mode = rk_aiq_wb_mwb_mode_t{b.manual_mode};
        block.para.gain = {b.gains[0], b.gains[1], b.gains[2], b.gains[3]};
    });
    change<rk_aiq_uapiV2_wb_awb_wbGainOffset_t>(camera, [&b](auto& block) {
        block.gainOffset.enable = b.offset_on;
        std::ranges::copy(b.offset, block.gainOffset.offset);
    });
}

/// What the engine reports as the gains that a camera's balance has reached, until its next frame.
inline void put_measured(int camera, float red, float blue, float green = 1.0F)
{
    change<rk_aiq_wb_querry_info_t>(camera, [=](auto& info) { info.gain = {red, green, green, blue}; });
}

inline constexpr int kCamera = 1;
inline constexpr Balance kBefore = {
    RK_AIQ_WB_MODE_AUTO, RK_AIQ_MWB_MODE_CCT, {1.1F, 1.2F, 1.3F, 1.4F}, false, {0.11F, 0.12F, 0.13F, 0.14F}};
inline const char* const kOtherLens = "echo IR0147-50IRC-8M";
inline const char* const kSr1053 = "echo SR1053-50IRC-8M-F20";

/// kBefore with manual gains held, as the manual modes leave it.
inline Balance holding(float red, float green, float blue)
{
    Balance b = kBefore;
    b.mode = RK_AIQ_WB_MODE_MANUAL;
    b.manual_mode = RK_AIQ_MWB_MODE_WBGAIN;
    b.gains = {red, green, green, blue};
    return b;
}

inline Balance with_offset(Balance b, float red, float blue)
{
    b.offset_on = true;
    b.offset[0] = red;
    b.offset[3] = blue;
    return b;
}

/// A gain with tuning steps of 3/254 added, rounded once from a wider sum.
inline float tuned(long double gain, int level)
{
    return static_cast<float>(gain + 3.0L * (level - 10) / 254.0L);
}

class WhiteBalance : public Bench
{
protected:
    void SetUp() override
    {
        note_waits();
        start_camera(kCamera);
        put_balance(kCamera, kBefore);
    }

    static void tuning(int red, int blue)
    {
        store(kCamera, "rgain_tuning", red);
        store(kCamera, "bgain_tuning", blue);
    }
};

} // namespace bench
