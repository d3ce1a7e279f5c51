// The simulated host: parameter store and its file, lens and lens service, shading file.
#include "base/calls.h"
#include "host/lens.h"
#include "host/lens_service.h"
#include "host/shading_file.h"
#include "host/store.h"
#include "host/vin.h"

#include "af/lens_ctrl.h"
#include "support/session.h"
#include "support/threads.h"
#include "vin/vin.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

using namespace sim::host;
using Status = FileResult::Status;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class HostTest : public testing::Test
{
protected:
    HostTest()
    {
        reset_store();
        reset_lens();
        reset_vin();
    }
    ~HostTest() override
    {
        sim::stop_recording();
        sim::clear_faults();
        std::filesystem::remove_all(folder);
    }
    std::string file(const std::string& name) const
    {
        return folder + "/" + name;
    }

    const std::string folder = mkdtemp((std::filesystem::temp_directory_path() / "host_test.XXXXXX").string().data());
};

void write_text(const std::string& path, const std::string& text)
{
    std::ofstream(path, std::ios::binary) << text;
}

std::string read_text(const std::string& path)
{
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator(stream), {}};
}

bool same(const kiv_isp_param_s& one, const kiv_isp_param_s& other)
{
    return std::memcmp(&one, &other, sizeof one) == 0;
}

const Setting& kHue = *find_setting("hue");

// ---- Settings and store

TEST_F(HostTest, TheListIsConsistent)
{
    for (const Setting& setting : kSettingsAndCommands) {
        EXPECT_EQ(find_setting(setting.name), &setting) << setting.name << " is there twice";
        EXPECT_TRUE(setting.in_range(setting.initial) || setting.member == nullptr) << setting.name;
        EXPECT_TRUE(!setting.is_choice || !names_of(setting).empty()) << setting.name;
    }
    for (const auto& [name, value_name, value, number] : kValueNames) {
        const Setting& setting = *find_setting(name);
        EXPECT_TRUE(setting.in_range(value) || value < 0) << name << ' ' << value_name;
        EXPECT_EQ(name_of(setting, value), value_name) << name << ": two names for a value, or values in two places";
    }
    const auto quantity = [](std::string_view name, int value) { return quantity_text(*find_setting(name), value); };
    EXPECT_THAT((std::vector{quantity("shutter", VISCA_SHUTTER_180), quantity("iris", VISCA_IRIS_F280),
                             quantity("gain_limit", 15), quantity("rgain", 128), quantity("temperature", 30),
                             quantity("iris", VISCA_IRIS_CLOSE), quantity("hue", 3)}),
                ElementsAre("1/200 s", "F2.8", "x22", "x2.003", "5500 K", "", ""));
}

TEST_F(HostTest, MisuseIsNoted)
{
    EXPECT_EQ(para_get_isp_hue_cur(8), 0);
    EXPECT_EQ(para_set_isp_hue_cur(-1, 3), -1);
    EXPECT_EQ(para_get_isp_style_param(9, 0), nullptr);
    EXPECT_EQ(get_vin_fps(8), 0);
    para_set_isp_hue_cur(0, 15);
    para_set_isp_hue_cur(0, -1);
    para_set_isp_temperature_cur(0, -29); // stored as passed, so no misuse
    EXPECT_THAT(sim::host::misuses(),
                ElementsAre("para_get_isp_hue_cur: no record 8", "para_set_isp_hue_cur: no record -1",
                            "para_get_isp_style_param: no record 9", "get_vin_fps: no camera 8",
                            "para_set_isp_hue_cur: record 0, level 15", "para_set_isp_hue_cur: record 0, level -1"));
    EXPECT_EQ(para_get_isp_temperature_cur(0), -29);
}

// ---- The store's file

TEST_F(HostTest, FileKeepsEverySetting)
{
    std::vector<kiv_isp_param_s> before;
    for (int camera = 0; camera < kCameras; ++camera) {
        for (const Setting& setting : kSettings) {
            const int level = setting.lowest + (camera * 5 + 3) % (setting.highest - setting.lowest + 1);
            store(camera, setting, camera == 2 && setting.as_passed() ? -29 : level); // -29 has no name
        }
        before.push_back(stored_record(camera));
    }
    ASSERT_TRUE(save_store(file("store")));
    reset_store();
    const FileResult loaded = load_store(file("store"));
    ASSERT_TRUE(loaded) << loaded.message;
    for (int camera = 0; camera < kCameras; ++camera) {
        EXPECT_TRUE(same(stored_record(camera), before[static_cast<std::size_t>(camera)])) << camera;
    }
}

TEST_F(HostTest, FileOfAUser)
{
    store(1, kHue, 2);
    write_text(file("store"),
               "# mine\r\n\r\n  [camera 3]  # the wide one\r\n\thue=12\nexposure_mode = 3\n[camera 0]\n");
    ASSERT_TRUE(load_store(file("store")));
    EXPECT_EQ(stored(3, kHue), 12);
    EXPECT_EQ(stored(3, *find_setting("exposure_mode")), MANUAL_EXPOSURE);
    EXPECT_EQ(stored(1, kHue), 7) << "what is not mentioned has its initial value";
    EXPECT_EQ(load_store(file("none")).status, Status::missing);
    EXPECT_TRUE(save_store(file("none")));
}

TEST_F(HostTest, DamagedFileIsNamedLeftAloneAndNotAppliedInPart)
{
    const std::tuple<std::string, const char*> kDamaged[] = {
        {"[camera 0]\nhue = 3\nhhue = 4\n", ":3: unknown setting 'hhue'"},
        {"[camera 0]\nhue = 3\nwb_mode = warm\n", ":3: wb_mode has no value 'warm'"},
        {"[camera 0]\nhue = 3\nsaturation = 15\n", ":3: saturation is 0 to 14, not 15"},
        {"[camera 0]\nhue = 3\n[camera 1]\nhue = 3\nhue = 3\n", ":5: hue is there twice"},
        {"[camera 0]\nhue = 3\n[camera 0]\n", ":3: camera 0 has a section already"},
        {"[camera 8]\n", ":1: expected [camera 0] to [camera 7], not '[camera 8]'"},
        {"hue = 3\n", ":1: a setting before the first [camera N]"},
        {"[camera 0]\nhue = 3\nhue\n", ":3: expected SETTING = VALUE, not 'hue'"},
        {"[camera 0]\nhue = 3\n\x1b[2Jxyz\n", ":3: expected SETTING = VALUE, not '?[2Jxyz'"},
        {std::string("[camera 0]\nhue = 3\n\0\n", 21), ":3: a NUL byte"},
        {"[camera 0]\nhue = 3\n#" + std::string(200, 'x') + "\n", ":3: line longer than 200 bytes"},
        {"[camera 0]\nhue = 3\nsaturation = 1", ":3: the file ends in the middle of a line"},
    };
    const std::string path = file("store");
    for (const auto& [text, wrong] : kDamaged) {
        write_text(path, text);
        const FileResult result = load_store(path);
        EXPECT_EQ(result.status, Status::damaged);
        EXPECT_EQ(result.message, path + wrong);
        EXPECT_EQ(stored(0, kHue), 7);
        EXPECT_EQ(save_store(file("./store")).status, Status::failed) << "by whatever name";
        EXPECT_EQ(read_text(path), text);
    }
    EXPECT_EQ(load_store(folder).status, Status::failed) << "a directory";

    write_text(path, "[camera 0]\n");
    EXPECT_TRUE(load_store(path)) << "repaired";
    EXPECT_TRUE(save_store(path));
}

TEST_F(HostTest, RefusedSaveLeavesNothingBehind)
{
    std::filesystem::create_directory(file("folder"));
    std::filesystem::create_symlink("/dev/null", file("device"));
    EXPECT_THAT(save_store(file("folder")).message, HasSubstr("folder: not a regular file"));
    EXPECT_THAT(save_store(file("device")).message, HasSubstr("/dev/null: not a regular file"));
    EXPECT_THAT(save_store(file("missing/store")).message, HasSubstr("No such file or directory"));
    store(4, kHue, 17);
    EXPECT_THAT(save_store(file("store")).message, HasSubstr("camera 4 has hue = 17")) << "could not be loaded again";
    EXPECT_EQ(bench::entries(folder.c_str()), 2);
}

// A child is killed by the system in the middle of the write, or is told that there is no more room.
TEST_F(HostTest, InterruptedSaveKeepsTheOldFile)
{
    const std::string path = file("store");
    ASSERT_TRUE(save_store(path));
    const std::string before = read_text(path);
    for (const bool killed : {true, false}) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            const rlimit no_core{0, 0};
            setrlimit(RLIMIT_CORE, &no_core);
            const rlimit small{100, 100};
            setrlimit(RLIMIT_FSIZE, &small);
            std::signal(SIGXFSZ, killed ? SIG_DFL : SIG_IGN);
            store(0, kHue, 1);
            _exit(save_store(path).status == Status::failed ? 0 : 1);
        }
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_EQ(WIFSIGNALED(status), killed);
        EXPECT_TRUE(killed || WEXITSTATUS(status) == 0);
        EXPECT_EQ(read_text(path), before);
        EXPECT_EQ(bench::entries(folder.c_str()), 2) << "the store and the killed child's temporary";
    }
}

// ---- Lens and video input

TEST_F(HostTest, LensMovesWithItsSpeedBetweenItsStops)
{
    const std::tuple<void (*)(int), int, double, double, double> kMoves[] = {
        {move_iris_to, 400, 0.5, 600.0, 0.0},
        {move_iris_to, 400, 0.5, 400.0, 0.0},
        {move_iris_by, 12, 1.0, 412.0, 0.0},
        {move_iris_by, -12, 0.01, 408.0, 0.0},
        {move_iris_by, 0, 1.0, 408.0, 0.0},
        {move_iris_by, 9999, 9.0, kIrisWidest, 0.0},
        {move_zoom_to, 9999, 1.0, kIrisWidest, 1400.0},
        {move_iris_to, -5, 60.0, 0.0, kZoomLongest},
    };
    for (const auto& [move, argument, seconds, iris, zoom] : kMoves) {
        move(argument);
        step_lens(seconds);
        EXPECT_DOUBLE_EQ(lens_state().iris, iris) << argument;
        EXPECT_EQ(Uvc_Query_Zoom_Position(), zoom);
    }
    iris_to(65535);
    EXPECT_DOUBLE_EQ(lens_state().iris_target, 0.0);
}

// ---- Lens service

const std::string kTo690("\x77\x17\x01\x00\xB2\x02\x00\x00", 8);

TEST_F(HostTest, LensServiceTakesCommandsAndDropsTheRest)
{
    LensService service;
    ASSERT_EQ(service.open(file("iris"), 0), "");
    const int client = bench::client_of(service.port(), SOCK_DGRAM);
    constexpr double kDropped = -1.0;
    const std::pair<std::string, double> kDatagrams[] = {
        {kTo690, 690.0},
        {std::string("w\x17\0\0\x20\x03\xFD\xFF", 8), 797.0}, // by 3 towards closed
        {kTo690.substr(0, 7), kDropped},
        {kTo690 + 'x', kDropped},
        {"", kDropped},
        {"w\x18" + kTo690.substr(2), kDropped},
        {"x\x17" + kTo690.substr(2), kDropped},
        {"w\x17\x02" + kTo690.substr(3), kDropped},
        {"w\x17\x01\x01" + kTo690.substr(4), kDropped},
        {std::string(2000, 'w'), kDropped},
        {std::string("w\x17\x01\0\xff\x7f\0\0", 8), 800.0}, // beyond the stop
        {std::string("w\x17\x01\0\0\x80\0\0", 8), 0.0},
    };
    for (const auto& [bytes, target] : kDatagrams) {
        const double before = lens_state().iris_target;
        send(client, bytes.data(), bytes.size(), 0);
        EXPECT_EQ(service.poll(), target == kDropped ? 0 : 1) << bytes.size();
        EXPECT_DOUBLE_EQ(lens_state().iris_target, target == kDropped ? before : target) << bytes.size();
    }
    iris_mode(0);
    send(client, kTo690.data(), kTo690.size(), 0);
    EXPECT_EQ(service.poll(), 0);
    EXPECT_DOUBLE_EQ(lens_state().iris_target, 0.0);

    LensService second;
    EXPECT_THAT(second.open(file("iris2"), service.port()), HasSubstr("Address already in use"));
    EXPECT_EQ(second.port(), 0);
}

TEST_F(HostTest, LensServiceLeavesOtherFilesAlone)
{
    LensService service;
    write_text(file("precious"), "not a record");
    EXPECT_THAT(service.open(file("precious"), 0), HasSubstr("is something else"));
    EXPECT_EQ(read_text(file("precious")), "not a record");
    EXPECT_NE(service.open(file("no/such/folder"), 0), "");
}

// ---- Shading file

TEST_F(HostTest, ShadingFileIsJudged)
{
    const std::string path = file("shading");
    const std::tuple<std::size_t, int, int, std::uint16_t, const char*> kChanges[] = {
        {0, 8, 9, 1030, ""},
        {0, 0, 0, 1023, "D65 red, row 0, column 0: 1023 is outside 1024 to 16383"},
        {11, 16, 16, 16384, "A blue, row 16, column 16: 16384 is outside 1024 to 16383"},
        {5, 8, 0, 1024, "CWF green on red rows, row 8, column 0: falls from "},
        {7, 6, 8, 1100, "CWF blue, row 5, column 8: falls from 1100 to "},
        {3, 4, 3, 1024, "D65 blue, row 4, column 3: falls from 1281 to 1024 on the way out"},
    };
    const auto expect_judged = [&path](const ShadingFile& shading, const std::string& wrong) {
        EXPECT_EQ(write_shading_file(path, shading), "");
        const std::string said = check_shading_file(path);
        EXPECT_EQ(said.empty(), wrong.empty()) << said;
        EXPECT_THAT(said, testing::StartsWith(wrong.empty() ? "" : path + ": " + wrong));
    };
    for (const auto& [grid, row, column, gain, wrong] : kChanges) {
        ShadingFile changed = model_shading();
        changed.gain[grid][row * kShadingSide + column] = gain;
        expect_judged(changed, wrong);
    }
    // A lens that sits off the sensor's middle.
    for (const auto& [offset, wrong] :
         {std::pair(2, ""), {3, "D65 green on blue rows, row 3, column 10: falls from 1189 to 1147"}}) {
        ShadingFile changed = model_shading();
        for (int i = kShadingCells - 1; i >= 0; --i) {
            changed.gain[2][i] = changed.gain[2][i - std::min(i % kShadingSide, offset)];
        }
        expect_judged(changed, wrong);
    }
    for (const auto& [size, wrong] : {std::pair(0, "0 instead of"), {6935, "6935 instead of"}, {6937, "more than"}}) {
        write_text(path, std::string(static_cast<std::size_t>(size), '\4'));
        EXPECT_THAT(check_shading_file(path), HasSubstr(std::string(wrong) + " 6936 bytes"));
    }
    EXPECT_THAT(check_shading_file(file("none")), HasSubstr("No such file"));
}

} // namespace
