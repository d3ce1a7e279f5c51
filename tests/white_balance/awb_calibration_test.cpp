// White-balance calibration: its order and waits, and what is on disk after it, with every file call failing. The field
// log has every engine call failing.
#include "white_balance/awb_bench.h"

#include <sys/stat.h>
#include <unistd.h>

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
        return bench::line_of([&] { EXPECT_EQ(Awb_Calibration(val), result) << "value " << val; });
    }
};

TEST_F(AwbCalibration, BothLights)
{
    write_bytes(wb_file, "kept");
    for (const int val : {0, 3, -1}) {
        EXPECT_EQ(line_of(val, -1), "") << "no light";
    }
    EXPECT_EQ(isp::awb_pano_flag, 0);
    EXPECT_EQ(file_bytes(wb_file), "kept");
    std::filesystem::remove(wb_file);

    put_balance(kClose, {0, 2, {2.0F, 1.0F, 1.0F, 3.0F}, true, {0.1F, 0.2F, 0.3F, 0.4F}});
    put_balance(kPano, {0, 1, {2.0F, 1.0F, 1.0F, 3.0F}, false, {0.5F, 0.6F, 0.7F, 0.8F}});
    umask(0);
    put_light(kExample, 0);
    const sim::Microseconds start = sim::now();
    EXPECT_EQ(line_of(kD65, 0), std::string(kMeasure) + " open write");
    EXPECT_EQ(sim::now() - start, 9'036'000);
    EXPECT_EQ(file_bytes(wb_file), bytes(half()));
    struct stat status;
    ASSERT_EQ(stat(wb_file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0644U);

    put_light(kExample, 6);
    EXPECT_EQ(line_of(kA, 0), std::string(kMeasure) + " open read open write");
    EXPECT_EQ(file_bytes(wb_file), completed(kExample));
    for (const int camera : {kClose, kThird, kPano}) { // the panorama camera's offsets, its red and blue ones cleared
        const Balance left = balance(camera);
        EXPECT_EQ(left.mode, RK_AIQ_WB_MODE_AUTO);
        EXPECT_EQ(left.offset, (std::array{0.0F, 0.6F, 0.7F, 0.0F}));
        EXPECT_FALSE(left.offset_on);
    }
    EXPECT_EQ(balance(kClose).manual_mode, 2);

    put_light(kExample, 0); // a new calibration first deletes the old one
    EXPECT_EQ(line_of(kD65, 0), "wait34000 unlink" + std::string(kMeasure).substr(9) + " open write");
    EXPECT_EQ(file_bytes(wb_file), bytes(half()));
}

TEST_F(AwbCalibration, WhatIsFoundOnDiskAndEveryFileCallFailing)
{
    Record alike{};
    alike.fill(1.0F);
    Record damaged;
    std::memset(damaged.data(), 0x5a, sizeof damaged);
    Record same_light = kExample;
    std::copy_n(kExample.begin() + 6, 6, same_light.begin());
    Record one_differs = same_light;
    one_differs[2] = 1.3F;
    const std::string old = bytes(half());
    const std::string alike_once = bytes(alike, 24) + std::string(56, '\0');
    const std::string missing = "no file";
    const struct {
        int val;
        std::string found;
        int result;
        std::string left;
        const char* failing = "none";
        int nth = 1;
        int code = 1; // errno, or less than zero: so many bytes only
        const Record& measured = kExample;
    } rows[] = {
        {kD65, old, 0, old, "unlink", 1, EACCES},
        {kD65, old, -1, missing, "open", 1, EACCES},
        {kD65, old, -1, "", "write", 1, ENOSPC},
        {kD65, old, 0, old.substr(0, 79), "write", 1, -79}, // as short a file is refused later
        {kA, old, -1, old, "open", 1, EACCES},
        {kA, old, -1, old, "read", 1, EIO},
        {kA, old, -1, old, "read", 1, -79},
        {kA, old, 0, old, "open", 2, EROFS},
        {kA, old, 0, "", "write", 1, ENOSPC},
        {kA, alike_once, 0, alike_once, "unlink", 1, EACCES, alike},
        {kA, alike_once, 0, missing, "none", 1, 1, alike},
        {kA, old, 0, completed(kExample)},
        {kA, completed(kExample), 0, completed(kExample)},
        {kA, bytes(half(), 100), 0, completed(kExample)},
        {kA, bytes(damaged), 0, completed(damaged)},
        {kA, bytes(same_light), 0, completed(same_light)},
        {kA, bytes(one_differs), 0, missing},
        {kA, "", -1, ""},
        {kA, old.substr(0, 79), -1, old.substr(0, 79)},
        {kA, missing, -1, missing},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(::testing::Message() << "value " << row.val << ", row " << &row - rows);
        std::filesystem::remove(wb_file);
        if (row.found != missing) {
            write_bytes(wb_file, row.found);
        }
        put_light(row.measured, row.val == kD65 ? 0 : 6);
        sim::inject_fault(row.failing, row.nth, row.code);
        const auto traces = traces_of([&row] { line_of(row.val, row.result); });
        EXPECT_EQ(file_bytes(wb_file), row.left);
        if (row.val == kA) {
            EXPECT_EQ(traces.back().ends_with(" leave\n\n"),
                      row.result == 0 && row.measured == kExample && row.left != missing);
        } else if (row.found == old) {
            EXPECT_THAT(traces, ::testing::Contains(::testing::HasSubstr(
                                    row.failing == std::string_view("unlink") ? "delete failed" : "delete success")));
        }
        sim::clear_faults();
    }
}

TEST_F(AwbCalibration, CamerasWithoutAnEngine)
{
    const struct {
        int camera;
        std::size_t made;
        bool later; // between the setting and its query
    } rows[] = {{kClose, 1, false}, {kThird, 2, false}, {kPano, 3, false},
                {kClose, 16, true}, {kPano, 18, true},  {kThird, 20, true}};
    write_bytes(wb_file, bytes(half()));
    for (const auto& row : rows) {
        const auto stop = [&row] { rk_isp_deinit(row.camera); };
        const int tick = sim::every(row.later ? 5'000'000 : 1, stop);
        std::string line;
        EXPECT_EQ(traces_of([&] { line = line_of(kA, -1); }).back(), "Awb_Calibration: aiq ctx error\n\n");
        EXPECT_EQ(line, first_words(kMeasure, row.made));
        sim::cancel(tick);
        start_camera(row.camera);
    }
    EXPECT_EQ(file_bytes(wb_file), bytes(half()));
}

TEST_F(AwbCalibration, FileFunctions)
{
    close(STDIN_FILENO); // 0 is a file like any other
    awb_calibration_s record{};
    for (const auto& [buf, size] : {std::pair<awb_calibration_s*, int>{nullptr, 80}, {&record, -1}}) {
        EXPECT_EQ(user_save_wb_calibration_file(buf, size), -1);
        EXPECT_EQ(user_load_wb_calibration_file(buf, size), -1);
    }
    EXPECT_EQ(user_load_wb_calibration_file(&record, 80), -1) << "no file";
    isp::seam.shading_file = isp::seam.wb_calibration_file;
    testing::internal::CaptureStderr();
    EXPECT_EQ(user_load_shading_file(reinterpret_cast<char*>(&record), 80), -1) << "no file";
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::StartsWith("open reg_file fail:"));
    EXPECT_EQ(user_load_shading_file(reinterpret_cast<char*>(&record), -1), -1);
    EXPECT_EQ(file_bytes(wb_file), "no file");
    write_bytes(wb_file, bytes(kExample, 100));
    EXPECT_EQ(user_save_wb_calibration_file(&record, 0), 0);
    EXPECT_EQ(file_bytes(wb_file), "") << "nothing of the old file";
    EXPECT_EQ(user_load_wb_calibration_file(&record, 80), 0) << "nothing to read";
    EXPECT_EQ(user_load_wb_calibration_file(&record, 0), 0) << "nothing wanted";
    record.d65_pano_rgain = 7.0F;
    record.d65_pano_bgain = 8.0F;
    EXPECT_EQ(user_save_wb_calibration_file(&record, 4), 0);
    EXPECT_EQ(file_bytes(wb_file), std::string("\0\0\xe0\x40", 4)) << "little-endian 7.0";
    int (*const loaders[])(awb_calibration_s*) = {
        [](awb_calibration_s* to) { return user_load_wb_calibration_file(to, 80); },
        [](awb_calibration_s* to) { return user_load_shading_file(reinterpret_cast<char*>(to), 80); }};
    for (const auto load : loaders) {
        record.d65_pano_rgain = 0.0F;
        EXPECT_EQ(load(&record), 0);
        EXPECT_EQ(record.d65_pano_rgain, 7.0F);
        EXPECT_EQ(record.d65_pano_bgain, 8.0F) << "nothing beyond the file's end";
    }
}

} // namespace
