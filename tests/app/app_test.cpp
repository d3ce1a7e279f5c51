// isp-sim's commands: what they do, and what bad input gets.
#include "app/bad_input.h"
#include "app/commands.h"
#include "app/session.h"
#include "app/shell.h"
#include "host/store.h"
#include "support/bench.h"

#include <cstring>
#include <fstream>
#include <sstream>

// Fontconfig, which finds the labels' font, keeps some memory for the life of the process.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:libfontconfig";
}

namespace
{

using bench::stored;

/// A session in a folder of its own. One per process.
class App : public ::testing::Test
{
protected:
    App()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "isp_app_XXXXXX").string();
        folder = mkdtemp(pattern.data());
        app::open_session(folder);
    }

    ~App() override
    {
        std::filesystem::remove_all(folder);
    }

    std::string script(const std::string& text)
    {
        const std::string path = folder + "/script.isp";
        std::ofstream(path) << text;
        return path;
    }

    std::string folder;
};

std::string refusal(const std::string& line)
{
    try {
        app::run_line(line);
    } catch (const app::BadInput& error) {
        return error.what();
    }
    return "";
}

TEST_F(App, BadInputGetsOneClearLineAndChangesNothing)
{
    struct Row {
        const char* line;
        const char* says;
    };
    constexpr Row kRows[] = {
        {"frobnicate", "there is no command frobnicate"},
        {"start", "usage: start CAM..."},
        {"start 8", "a camera is a number from 0 to 7, not 8"},
        {"start x", "not x"},
        {"block 0 acp", "camera 0 has no engine"},
        {"set 0 colour 3", "there is no setting colour"},
        {"set 0 saturation", "saturation takes 0 to 14"},
        {"set 0 saturation 15", "saturation takes 0 to 14, no_colour, not 15"},
        {"set 0 saturation 99999999999999", "saturation takes 0 to 14"},
        {"set 0 blackwhite_mode maybe", "blackwhite_mode takes 0 to 1, off, on, not maybe"},
        {"set 0 hotpixel 1", "takes no value"},
        {"set 0 struct_ver 1", "cannot be set"},
        {"run 5", "a time is a number with ms, s or min"},
        {"run -1s", "a time is a number"},
        {"light 0 moon", "there is no light moon"},
        {"light 0 90", "1500 to 12000 K"},
        {"scene 0 -1", "a luminance in cd/m2"},
        {"trace loud", "on or off"},
        {"fault x", "fault FUNCTION NTH CODE"},
        {"group start 0", "group start ID SENSOR"},
        {"shading check /no/such/file", "/no/such/file"},
        {"plot /no/such.csv x.svg", "is no recorded run"},
        {"help nothing", "there is nothing called nothing"},
    };
    const kiv_isp_param_s before = sim::host::stored_record(0);
    for (const Row& row : kRows) {
        const std::string said = refusal(row.line);
        EXPECT_THAT(said, testing::HasSubstr(row.says)) << row.line;
        EXPECT_THAT(said, testing::Not(testing::HasSubstr("\n"))) << row.line;
    }
    const kiv_isp_param_s after = sim::host::stored_record(0);
    EXPECT_EQ(std::memcmp(&before, &after, sizeof before), 0);
}

TEST_F(App, AConfinedCommandWritesOnlyInTheSessionsFolderAndWhereItIsTold)
{
    ASSERT_EQ(symlink("/tmp", (folder + "/link").c_str()), 0);
    std::ostringstream output;
    const app::RunOptions options{.output = &output, .confined = true};
    for (const char* file : {"../x", "/tmp/x", "link/x", ".", "sub/../../x"}) {
        EXPECT_THROW(app::run_line(std::string("shading write ") + file, options), app::BadInput) << file;
    }
    EXPECT_TRUE(app::run_line("shading write new.data", options));
    EXPECT_TRUE(std::filesystem::exists(folder + "/new.data"));
    EXPECT_EQ(output.str(), "shading file written\n");
}

TEST_F(App, AScriptEndsAtItsFirstWrongCommandAndNamesTheLine)
{
    const std::string path = script("# a comment\nset 0 hue 3\nset 0 hue 99\nset 0 hue 5\n");
    testing::internal::CaptureStderr();
    EXPECT_EQ(app::run_script(path), 1);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::StartsWith(path + ":3: hue takes 0 to 14, not 99"));
    EXPECT_EQ(stored(0, "hue"), 3);
}

TEST_F(App, SettingsOfAScriptAreInTheStoresFile)
{
    ASSERT_EQ(app::run_script(script("set 3 gamma 0.63\nset 3 antiflicker 60hz\n")), 0);
    sim::host::reset_store();
    ASSERT_TRUE(sim::host::load_store(app::store_path()));
    EXPECT_EQ(stored(3, "gamma"), ISP_GAMMA_0_63);
    EXPECT_EQ(stored(3, "antiflicker"), FLICKER_60HZ);
}

TEST_F(App, ComparingPutsTheSettingBack)
{
    ASSERT_EQ(app::run_script(script("start 0\nset 0 saturation 9\ncompare 0 saturation 0 14 " + folder + "/c.png\n")),
              0);
    EXPECT_EQ(stored(0, "saturation"), 9);
    EXPECT_EQ(bench::held<acp_attrib_t>(0).saturation, 83 + 90);
    EXPECT_TRUE(std::filesystem::exists(folder + "/c.png"));
}

TEST_F(App, CompletesCommandsSettingsAndValues)
{
    using testing::Contains;
    using testing::ElementsAre;
    EXPECT_THAT(app::completions("wat"), ElementsAre("watch"));
    EXPECT_THAT(app::completions("set 0 black"), ElementsAre("blackwhite_mode"));
    EXPECT_THAT(app::completions("set 0 antiflicker "), ElementsAre("off", "50hz", "60hz"));
    EXPECT_THAT(app::completions("block 0 "), Contains("acp"));
    EXPECT_TRUE(app::completions("nonsense ").empty());
}

} // namespace
