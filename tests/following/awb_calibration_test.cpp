// White-balance calibration: its order and waits, every engine and file call failing once, and what is then on disk.
#include "following/awb_bench.h"

#include <sys/stat.h>

using namespace bench;

namespace
{

constexpr const char* kMeasure = "wait34000 GetMode0 GetMode2 GetMode3 wait1000 SetMode0 SetMode2 SetMode3 wait1000 "
                                 "GetOffset0 GetOffset2 GetOffset3 SetOffset0 SetOffset2 SetOffset3 wait7000000 "
                                 "Query0 wait1000000 Query3 wait1000000 Query2";
constexpr int kD65 = 1;
constexpr int kA = 2;

class AwbCalibration : public AwbFollowing
{
protected:
    /// The example's D65 part, as the first call leaves it.
    static Record half()
    {
        Record record{};
        std::copy_n(kExample.begin(), 6, record.begin());
        return record;
    }

    /// The file after the second light, the example's.
    static std::string completed(Record record)
    {
        std::copy_n(kExample.begin() + 6, 6, record.begin() + 6);
        const isp::Calibration found = evaluate(record);
        return found == isp::Calibration::lines || found == isp::Calibration::offsets ? bytes(record) : "no file";
    }

    static std::string line_of(int val, int result)
    {
        return awb_line(calls_of([&] { EXPECT_EQ(Awb_Calibration(val), result) << "value " << val; }));
    }
};

TEST_F(AwbCalibration, BothLights)
{
    put_balance(kClose, {0, 2, {2.0F, 1.0F, 1.0F, 3.0F}, true, {0.1F, 0.2F, 0.3F, 0.4F}});
    put_balance(kPano, {0, 1, {2.0F, 1.0F, 1.0F, 3.0F}, false, {0.5F, 0.6F, 0.7F, 0.8F}});
    umask(0);
    put_d65();
    const sim::Microseconds start = sim::now();
    EXPECT_EQ(line_of(kD65, 0), std::string(kMeasure) + " open write");
    EXPECT_EQ(sim::now() - start, 9'036'000);
    EXPECT_EQ(file_bytes(wb_file), bytes(half()));
    struct stat status;
    ASSERT_EQ(stat(wb_file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0644U);

    put_a();
    EXPECT_EQ(line_of(kA, 0), std::string(kMeasure) + " open read open write");
    EXPECT_EQ(file_bytes(wb_file), completed(kExample));
    for (const int camera : {kClose, kThird, kPano}) { // the panorama camera's offsets, its red and blue ones cleared
        const Balance left = balance(camera);
        EXPECT_EQ(left.mode, RK_AIQ_WB_MODE_AUTO);
        EXPECT_EQ(left.offset, (std::array{0.0F, 0.6F, 0.7F, 0.0F}));
        EXPECT_FALSE(left.offset_on);
    }
    EXPECT_EQ(balance(kClose).manual_mode, 2);

    put_d65(); // a new calibration first deletes the old one
    EXPECT_EQ(line_of(kD65, 0), "wait34000 unlink" + std::string(kMeasure).substr(9) + " open write");
    EXPECT_EQ(file_bytes(wb_file), bytes(half()));
}

TEST_F(AwbCalibration, OtherValuesAreRefused)
{
    write_bytes(wb_file, "kept");
    for (const int val : {0, 3, -1}) {
        EXPECT_EQ(line_of(val, -1), "");
    }
    EXPECT_EQ(isp::awb_pano_flag, 0);
    EXPECT_EQ(file_bytes(wb_file), "kept");
}

// A failing call of a step leaves the other cameras' calls of it to be made, and ends the calibration after them.
TEST_F(AwbCalibration, EveryEngineCallFailing)
{
    const std::vector<std::string> all = words(kMeasure);
    for (std::size_t i = 0; i < all.size(); ++i) {
        SCOPED_TRACE(all[i]);
        for (const int val : {kD65, kA}) {
            write_bytes(wb_file, bytes(half()));
            const std::string function = fail_word(kMeasure, i, XCAM_RETURN_ERROR_MEM);
            if (function.empty()) {
                continue;
            }
            const bool query = all[i].starts_with("Query");
            const std::size_t end = query ? i : i < 4 ? 3 : i < 8 ? 7 : i < 12 ? 11 : 14;
            std::string expected = first_words(kMeasure, end + 1);
            if (val == kD65) {
                expected.insert(9, " unlink");
            }
            std::string line;
            const std::vector<std::string> traces = traces_of([&] { line = line_of(val, -1); });
            EXPECT_EQ(line, expected);
            EXPECT_EQ(traces.back(), "Awb_Calibration: " + function + " failed with " +
                                         (query || all[i].ends_with("0") ? "0xfffffffd" : "0") + "!\n\n");
            EXPECT_EQ(file_bytes(wb_file), val == kD65 ? "no file" : bytes(half()));
        }
    }
    EXPECT_EQ(sim::faults_struck(), 30);
}

TEST_F(AwbCalibration, EveryFileCallFailing)
{
    Record alike{};
    alike.fill(1.0F);
    const std::string old = bytes(half());
    const struct {
        int val;
        const char* function;
        int nth;
        int code; // errno, or less than zero: so many bytes only
        const Record& measured;
        int result;
        std::string left;
    } rows[] = {
        {kD65, "unlink", 1, EACCES, kExample, 0, bytes(half())},
        {kD65, "open", 1, EACCES, kExample, -1, "no file"},
        {kD65, "write", 1, ENOSPC, kExample, -1, ""},
        {kD65, "write", 1, -79, kExample, 0, old.substr(0, 79)}, // as short a file is refused later
        {kA, "open", 1, EACCES, kExample, -1, old},
        {kA, "read", 1, EIO, kExample, -1, old},
        {kA, "read", 1, -79, kExample, -1, old},
        {kA, "open", 2, EROFS, kExample, 0, old},
        {kA, "write", 1, ENOSPC, kExample, 0, ""},
        {kA, "unlink", 1, EACCES, alike, 0, bytes(alike, 24) + std::string(56, '\0')},
        {kA, "none", 1, 1, alike, 0, "no file"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(::testing::Message() << "value " << row.val << ", " << row.function << " " << row.code);
        Record first_light{};
        std::copy_n(row.measured.begin(), 6, first_light.begin());
        write_bytes(wb_file, bytes(first_light));
        row.val == kD65 ? put_d65(row.measured) : put_a(row.measured);
        sim::inject_fault(row.function, row.nth, row.code);
        line_of(row.val, row.result);
        EXPECT_EQ(file_bytes(wb_file), row.left);
        sim::clear_faults();
    }
    write_bytes(wb_file, old);
    put_d65();
    sim::inject_fault("unlink", 1, EACCES);
    EXPECT_THAT(traces_of([] { Awb_Calibration(kD65); }), ::testing::Contains(::testing::HasSubstr("delete failed")));
    EXPECT_THAT(traces_of([] { Awb_Calibration(kD65); }), ::testing::Contains(::testing::HasSubstr("delete success")));
    sim::inject_fault("write", 1, ENOSPC);
    EXPECT_EQ(traces_of([] { Awb_Calibration(kD65); }).back(),
              "user_save_wb_calibration_file: write " + wb_file + " fail!\n\n");
}

TEST_F(AwbCalibration, WhatTheSecondLightFindsOnDisk)
{
    Record damaged;
    std::memset(damaged.data(), 0x5a, sizeof damaged);
    Record same_light = kExample;
    std::copy_n(kExample.begin() + 6, 6, same_light.begin());
    Record one_differs = same_light;
    one_differs[2] = 1.3F;
    const struct {
        const char* what;
        std::string found;
        int result;
        std::string left;
    } rows[] = {
        {"half-calibrated", bytes(half()), 0, completed(kExample)},
        {"calibrated before", completed(kExample), 0, completed(kExample)},
        {"oversized", bytes(half(), 100), 0, completed(kExample)},
        {"damaged", bytes(damaged), 0, completed(damaged)},
        {"the same light", bytes(same_light), 0, completed(same_light)},
        {"useless", bytes(one_differs), 0, "no file"},
        {"empty", "", -1, ""},
        {"short", bytes(half(), 79), -1, bytes(half(), 79)},
        {"missing", "no file", -1, "no file"},
    };
    put_a();
    for (const auto& [what, found, result, left] : rows) {
        SCOPED_TRACE(what);
        std::filesystem::remove(wb_file);
        if (found != "no file") {
            write_bytes(wb_file, found);
        }
        const auto traces = traces_of([&, wanted = result] { line_of(kA, wanted); });
        EXPECT_EQ(traces.back().ends_with(" leave\n\n"), result == 0 && left != "no file");
        EXPECT_EQ(file_bytes(wb_file), left);
    }
}

TEST_F(AwbCalibration, CamerasWithoutAnEngine)
{
    const std::string error = "Awb_Calibration: aiq ctx error\n\n";
    for (const int missing : {kClose, kThird, kPano}) {
        write_bytes(wb_file, bytes(half()));
        rk_isp_deinit(missing);
        std::string line;
        EXPECT_EQ(traces_of([&] { line = line_of(kA, -1); }).back(), error);
        EXPECT_EQ(line, first_words(kMeasure, missing == kClose ? 1 : missing == kThird ? 2 : 3));
        start_camera(missing);
    }
    const std::pair<int, std::size_t> rows[] = {{kClose, 16}, {kPano, 18}, {kThird, 20}};
    for (const auto& [lost, words_made] : rows) { // between the setting and its query
        const int tick = sim::every(5'000'000, [lost] { rk_isp_deinit(lost); });
        EXPECT_EQ(line_of(kA, -1), first_words(kMeasure, words_made));
        sim::cancel(tick);
        start_camera(lost);
    }
    EXPECT_EQ(file_bytes(wb_file), bytes(half()));
}

TEST_F(AwbCalibration, FileFunctions)
{
    awb_calibration_s record{};
    for (const auto& [buf, size] : {std::pair<awb_calibration_s*, int>{nullptr, 80}, {&record, -1}}) {
        EXPECT_EQ(user_save_wb_calibration_file(buf, size), -1);
        EXPECT_EQ(user_load_wb_calibration_file(buf, size), -1);
    }
    EXPECT_EQ(user_load_wb_calibration_file(&record, 80), -1) << "no file";
    EXPECT_EQ(file_bytes(wb_file), "no file");
    write_bytes(wb_file, bytes(kExample, 100));
    record.d65_pano_rgain = 7.0F;
    record.d65_pano_bgain = 8.0F;
    EXPECT_EQ(user_save_wb_calibration_file(&record, 4), 0);
    EXPECT_EQ(file_bytes(wb_file), std::string("\0\0\xe0\x40", 4)) << "little-endian 7.0, nothing of the old file";
    record.d65_pano_rgain = 0.0F;
    EXPECT_EQ(user_load_wb_calibration_file(&record, 80), 0);
    EXPECT_EQ(record.d65_pano_rgain, 7.0F);
    EXPECT_EQ(record.d65_pano_bgain, 8.0F) << "nothing beyond the file's end";
}

} // namespace
