// White-balance following: its three cameras, the calibration file, the library's waits and file calls on record.
#pragma once

#include "isp_ctrl/white_balance/awb_calibration.h"
#include "isp_ctrl/white_balance/awb_lines.h"
#include "white_balance/wb_bench.h"

#include <bit>
#include <cstring>

namespace bench
{

inline constexpr int kClose = 0;
inline constexpr int kThird = 2;
inline constexpr int kPano = 3;

/// The fields of the record in its order: red and blue of pano, close and third under D65, then under A; then slope and
/// offset of close red, close blue, third red and third blue.
using Record = std::array<float, 20>;
static_assert(sizeof(Record) == sizeof(awb_calibration_s));

inline constexpr Record kExample = {1.8F, 1.6F, 2.0F, 1.5F, 2.2F, 1.4F, 1.0F, 2.4F, 1.2F, 2.6F, 1.5F, 2.9F};
inline constexpr float kExampleLines[] = {1.0F, 0.2F, 1.375F, -0.7F, 0.875F, 0.625F, 1.875F, -1.6F};

inline std::string bytes(const Record& record, std::size_t count = sizeof(Record))
{
    std::string text(count, '\x5a');
    std::memcpy(text.data(), record.data(), std::min(count, sizeof record));
    return text;
}

inline isp::Calibration evaluate(Record& record)
{
    auto fields = std::bit_cast<awb_calibration_s>(record);
    const isp::Calibration found = isp::evaluate_calibration(fields);
    record = std::bit_cast<Record>(fields);
    return found;
}

inline std::string file_bytes(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return file ? std::string(std::istreambuf_iterator<char>(file), {}) : "no file";
}

class AwbFollowing : public Bench
{
protected:
    void SetUp() override
    {
        note_waits();
        for (const int camera : {kClose, kThird, kPano}) {
            start_camera(camera);
        }
    }

    /// What the three cameras report from now on: red and blue of pano, close and third, from field `first` on.
    static void put_light(const Record& record, std::size_t first)
    {
        put_measured(kPano, record[first], record[first + 1]);
        put_measured(kClose, record[first + 2], record[first + 3]);
        put_measured(kThird, record[first + 4], record[first + 5]);
    }
};

} // namespace bench
