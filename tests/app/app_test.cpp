// isp-sim's commands: what they do, and what bad input gets.
#include "host/store.h"
#include "isp_ctrl.h"
#include "prompt/commands.h"
#include "prompt/completion.h"
#include "prompt/interrupt.h"
#include "prompt/shell.h"
#include "session/bad_input.h"
#include "session/calibration_check.h"
#include "session/files.h"
#include "session/recording.h"
#include "support/bench.h"
#include "support/session.h"

#include <cmath>
#include <csignal>
#include <cstring>
#include <fnmatch.h>
#include <fstream>
#include <sstream>

namespace
{

#if defined(__SANITIZE_THREAD__)
constexpr bool kSanitizesThreads = true;
#elif defined(__has_feature)
constexpr bool kSanitizesThreads = __has_feature(thread_sanitizer);
#else
constexpr bool kSanitizesThreads = false;
#endif

using bench::stored;

class App : public bench::OpenSession
{
protected:
    std::string script(const std::string& text)
    {
        const std::string path = folder + "/script.isp";
        std::ofstream(path) << text;
        return path;
    }
};

std::string refusal(const std::string& line)
{
    try {
        prompt::run_line(line);
    } catch (const session::BadInput& error) {
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
        {"start 8", "a camera is a number from 0 to 7; got 8"},
        {"block 0 acp", "camera 0 has no engine"},
        {"render 0 a.gif", "a .png or .jpg file; got a.gif"},
        {"set 0 colour 3", "there is no setting colour"},
        {"set 0 saturation", "saturation accepts 0 to 14"},
        {"set 0 saturation 15", "saturation accepts 0 to 14, no_colour; got 15"},
        {"set 0 saturation 99999999999999", "saturation accepts 0 to 14"},
        {"set 0 hotpixel 1", "takes no value"},
        {"set 0 struct_ver 1", "cannot be set"},
        {"run 5", "a time is a number with ms, s or min"},
        {"illuminant 0 moon", "unknown illuminant moon"},
        {"illuminant 0 90", "1500 to 12000 K"},
        {"scene 0 -1", "a luminance in cd/m2"},
        {"scene 0 nan", "got nan"},
        {"sensor 0 1 nan", "got nan"},
        {"run nans", "a time is a number"},
        {"fault KIV_nosuch 1 -1", "calls no function KIV_nosuch"},
        {"group resume 3", "there is no group 3"},
        {"group start 3 1 1", "sensor 1 appears twice"},
        {"calibrate a", "camera 0 has no engine"},
        {"record /no/such.csv", "No such file"},
        {"trace loud", "on or off"},
        {"fault x", "fault FUNCTION NTH CODE"},
        {"group start 0", "group start ID SENSOR"},
        {"plot /no/such.csv x.svg", "/no/such.csv: No such file"},
        {"wait setled", "usage: wait settled [SECONDS]"},
        {"set 0 Exposure-Mode auto", "did you mean exposure_mode?"},
        {"help nothing", "there is nothing called nothing"},
    };
    const kiv_isp_param_s before = sim::host::stored_record(0);
    for (const Row& row : kRows) {
        const std::string said = refusal(row.line);
        EXPECT_THAT(said, testing::HasSubstr(row.says)) << row.line;
        EXPECT_THAT(said, testing::Not(testing::HasSubstr("\n"))) << row.line;
    }
    bench::write_bytes(folder + "/wide.csv", "seconds,iris,zoom" + std::string(98, ',') + "x\n");
    EXPECT_EQ(refusal("plot " + folder + "/wide.csv x.svg"), folder + "/wide.csv has more than 100 columns");
    prompt::run_line("record " + folder + "/r.csv");
    EXPECT_EQ(refusal("say " + std::string(201, 'x')), "the marks of a frame have at most 200 bytes");
    for (int row = 0; row < 1'000'001; ++row) {
        session::record_frame();
    }
    EXPECT_EQ(refusal("record stop"), folder + "/r.csv: a recording has at most 1000000 rows; it ends here");
    const kiv_isp_param_s after = sim::host::stored_record(0);
    EXPECT_EQ(std::memcmp(&before, &after, sizeof before), 0);
}

TEST_F(App, AConfinedCommandWritesOnlyInTheSessionsFolderAndWhereItIsTold)
{
    ASSERT_EQ(symlink("/tmp", (folder + "/link").c_str()), 0);
    std::ostringstream output;
    prompt::RunOptions options{.output = &output, .confined = true};
    for (const char* file : {"../x", "/tmp/x", "link/x", ".", "sub/../../x"}) {
        EXPECT_THROW(prompt::run_line(std::string("shading write ") + file, options), session::BadInput) << file;
    }
    EXPECT_TRUE(prompt::run_line("shading write new.data", options));
    EXPECT_TRUE(std::filesystem::exists(folder + "/files/new.data"));
    EXPECT_EQ(output.str(), "shading file written\n");
}

// A frame's tick raises the signal while the script waits.
TEST_F(App, ASignalEndsTheWaitAndKeepsSettingsAndRecording)
{
    prompt::catch_signals();
    for (const int signal : {SIGINT, SIGTERM}) {
        const int tick = sim::every(2000000, [signal] { std::raise(signal); });
        const std::string csv = folder + "/run.csv";
        EXPECT_EQ(prompt::run_script(script("start 0\nset 0 hue 4\nrecord " + csv + "\nrun 60s\nset 0 hue 5\n")), 130);
        sim::cancel(tick);
        EXPECT_EQ(prompt::asked_to_end(), signal == SIGTERM);
        prompt::forget_signal();
        session::close_session();
        sim::host::reset_store();
        ASSERT_TRUE(sim::host::load_store(session::paths().store));
        EXPECT_EQ(stored(0, "hue"), 4);
        std::stringstream rows;
        rows << std::ifstream(csv).rdbuf();
        EXPECT_NEAR(static_cast<double>(std::ranges::count(rows.str(), '\n')), 61.0, 5.0);
        EXPECT_TRUE(rows.str().ends_with('\n'));
    }
}

TEST_F(App, ACalibrationFileIsValidated)
{
    awb_calibration_s lines{};
    lines.rgain_k = lines.bgain_k = lines.rgain_k2 = lines.bgain_k2 = 1.0F;
    const auto with = [lines](float awb_calibration_s::* field, float value) {
        awb_calibration_s changed = lines;
        changed.*field = value;
        return std::string(reinterpret_cast<const char*>(&changed), sizeof changed);
    };
    const std::pair<std::string, const char*> rows[] = {
        {with(&awb_calibration_s::rgain_b, 0.1F), ""},
        {std::string(80, '\0'), ""},
        {std::string(10, 'x'), "10 instead of 80 bytes"},
        {std::string(5000, 'x'), "File too large"},
        {with(&awb_calibration_s::bgain_k, NAN), "the line for blue of camera 0 is not finite"},
        {with(&awb_calibration_s::rgain_k2, 12.0F), "the line for red of camera 2 gives a gain of 1"},
        {with(&awb_calibration_s::bgain_b2, -2.0F), "the line for blue of camera 2 gives a gain of -0.03"},
    };
    for (const auto& [bytes, says] : rows) {
        bench::write_bytes(folder + "/wb.dat", bytes);
        const std::string problem = session::calibration_problem(folder + "/wb.dat");
        EXPECT_THAT(problem, testing::HasSubstr(says));
        EXPECT_EQ(problem.empty(), *says == '\0') << problem;
    }
}

// The whole program: exit status, messages, what it leaves of a state folder.
TEST(Program, LosesNothingAndSaysWhy)
{
    const struct {
        const char* shell; // $SIM: the program with the state folder $DIR
        const char* says;  // output and error, then the status
    } rows[] = {
        {"$SIM --version", "isp-sim ?.?.?\n0"},
        {"$SIM --no-such", "*--no-such*2"},
        {"echo set 0 hue 3 | $SIM", "*\n0"},
        {"echo show 0 hue | $SIM", "hue*3\n0"},
        {"cd $DIR; printf '# a\nset 0 hue 3\nset 0 hue 99\nset 0 hue 5\n' >s; $SIM s; grep -m1 hue settings.ini; rm s",
         "*\ns:3: hue accepts 0 to 14; got 99\nhue = 3\n0"},
        {"$SIM /", "/:1: Is a directory\n1"},
        {"${SIM%% *} --state /dev/null", "*/dev/null*something else\n1"},
        {"$SIM --reference >/dev/full", "*No space left on device\n1"},
        {"printf 'start 0\\nlist\\n' | $SIM >/dev/full", "*cannot write the output: No space left on device\n1"},
        {"printf '\\357\\273\\277echo a\\033[2Jb\\n' | $SIM", "a?[2Jb \n0"},
        {"printf 'x\\033[2J\\n' | $SIM", "standard input:1: there is no command x?[2J*1"},
        {"head -c 3000000 /dev/zero | tr '\\0' x | $SIM", "standard input:1: the line is longer than 65536 bytes\n1"},
        {"(echo echo on; sleep 1) | $SIM & sleep 0.3; echo | $SIM", "*is in use by process [1-9]*--read-only*1"},
        {"echo set 0 hue 9 | $SIM --read-only; grep -m1 hue $DIR/settings.ini", "*\nhue = 3\n0"},
        {": >$DIR/settings.ini; echo show 0 hue | $SIM; ls $DIR", "*is empty*kept as*hue *7\n*settings.ini.empty*0"},
        {"touch $DIR/a.tmp-AbCdE1 $DIR/a.backup; : | $SIM; cd $DIR; ls a*", "a.backup\n0"},
        {"rm -r $DIR/lock; mkdir $DIR/lock; echo show 0 hue | $SIM", "*/lock: not a regular file\n1"},
        {"rm -r $DIR/lock; ln -s $DIR/victim $DIR/lock; : | $SIM; cat $DIR/victim", "*not a regular file\n*No such*1"},
        {"rm $DIR/lock; echo mine >$DIR/lock; : | $SIM; cat $DIR/lock; rm $DIR/lock", "*not the lock*\nmine\n0"},
        {"for own in settings.ini shading.data wb.dat; do mv -f $DIR/$own $DIR/kept; mkfifo $DIR/$own; : | $SIM; "
         "rm $DIR/$own; mv $DIR/kept $DIR/$own; done 2>&1 | grep -c 'not a regular file'",
         "3\n0"},
        {"mkfifo $DIR/f.png; for what in 'load 0 F' 'save 0 F' 'record F' 'plot F a.svg' 'scene 0 F' 'shading check "
         "F'; do "
         "echo \"$what\" | sed s%F%$DIR/f.png% | $SIM; done 2>&1 | grep -c 'not a regular file'",
         "6\n0"},
        {"cd $DIR; for own in settings.ini vendor_storage.item lock; do echo record $own | $SIM; done",
         "*file of its own named settings.ini\n*vendor_storage.item\n*lock\n1"},
        {"cd $DIR; printf 'start 0\\nrecord |touch\\nrun 1s\\nrecord stop\\nplot |touch |touch.svg\\n' | $SIM | tail "
         "-1",
         "wrote |touch.svg\n0"},
        {"$SIM <&- >&- 2>&-; grep -c . $DIR/lock", "1\n0"},
        {"umask 077; cd $DIR; rm -r *; echo save 0 a.ini | $SIM; stat -c %a settings.ini a.ini", "*\n600\n600\n0"},
        {"eval \"$TRAP\"; ulimit -f 0; echo set 0 hue 8 | $SIM", "*File too large\n1"},
        {"head -n 9 $DIR/settings.ini >$DIR/cut; mv $DIR/cut $DIR/settings.ini; : | $SIM", "*:10: the file was cut*1"},
        {"sed -i 1d $DIR/settings.ini; : | $SIM", "0"}, // a file without the heading may end anywhere
        {"$SIM --serve ''", "*is [[]HOST:]PORT, not \n1"},
    };
    std::string folder = (std::filesystem::temp_directory_path() / "isp_program_XXXXXX").string();
    ASSERT_NE(mkdtemp(folder.data()), nullptr);
    setenv("DIR", folder.c_str(), 1);
    setenv("SIM", (ISP_SIM " --state " + folder).c_str(), 1);
    setenv("TRAP", kSanitizesThreads ? "trap '' XFSZ" : ":", 1); // that sanitizer itself writes a file at the start
    for (const auto& [shell, says] : rows) {
        std::FILE* pipe = popen(("(" + std::string(shell) + ") 2>&1; echo $?").c_str(), "r");
        ASSERT_NE(pipe, nullptr);
        std::string output;
        for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe)) {
            output += static_cast<char>(c);
        }
        pclose(pipe);
        EXPECT_EQ(fnmatch((std::string(says) + "\n").c_str(), output.c_str(), 0), 0) << shell << "\n" << output;
    }
    std::filesystem::remove_all(folder);
}

// One after the other; each line's output as a pattern.
TEST_F(App, ShowsAtAGlance)
{
    const std::pair<const char*, const char*> rows[] = {
        {"show 0", "every setting has its initial value*"},
        {"undo", "there is nothing to undo"},
        {"set 0 hue 3", "camera 0  hue = 3  (no engine: stored)\n"},
        {"start 0", "*restored\n"},
        {"set 0 shutter 1/500", "*(not stored: auto does not use it)\n"},
        {"set 0 wdr_strength 3", "*(kept, without effect)\n"},
        {"set 0 temperature 9", "*(kept: takes effect only while wb_mode is temperature)\n"},
        {"set 0 saturation no_colour", "*(shown, not stored)\n"},
        {"set 0 exposure_mode low_light", "*(kept, without effect)\n"},
        {"set 0 iris 3", "*(not stored: low_light does not use it)\n"},
        {"set 0 exposure_mode manual", "*manual\n"},
        {"set 0 iris 3", "*(result 2: refused)\n"},
        {"undo", "*exposure_mode *low_light *(before manual)\n"},
        {"undo", "*exposure_mode *auto *(before low_light)\n"},
        {"show 0", "wdr_strength * 3 *(initially 0)\nhue *(initially 7)\ntemperature *\n"},
        {"save 0 $/a.ini", "wrote*"},
        {"reset 0 hue", "camera 0\nhue *7 *(before 3)\n"},
        {"diff 0 $/a.ini", "hue *7 *($/a.ini: 3)\n"},
        {"diff 0 1", "wdr_strength *(camera 1: 0)\ntemperature *\n"},
        {"load 1 $/a.ini", "camera 1\n*hue *3 *(before 7)\n*"},
        {"load 1 $/none", "*/none: No such file or directory"},
        {"show", "camera *0 *1 *initially\n*hue *7 *3 *7\n*"},
        {"reset 1", "camera 1\n*"},
        {"set 0 nr2d 5", "*"},
        {"changes 0", "*filter_strength[[]0..12] = 7  (was 1 2 4 ... 16)\n*"},
        {"set 0 style food", "camera 0  style = food\n"},
        {"changes 0", "*DrcGain[[]0..12] = 1.45  (was 1)\n*"},
        {"block 0 ae stAdvanced.GridWeights", "ae.stAdvanced.GridWeights.uCoeff[[]0..224] = *120 127\n    134 *"},
        {"wait settled", "settled after [0-9].* s\n"},
        {"wait settled 0.1", "*not settled after 0.1 s*"},
        {"list", "* camera 0  auto *"},
        {"json on", "{}\n"},
        {"list", "{\"cameras\":[[]{\"id\":0,\"state\":\"running\",*\"converged\":true,*}]}\n"},
        {"show 0 style", "{\"camera\":0,\"settings\":{\"style\":\"food\"}}\n"},
        {"set 0 hue 9", "{\"camera\":0,\"setting\":\"hue\",\"result\":0,*\"stored\":9}\n"},
        {"changes 0", "{\"camera\":0,\"changes\":{\"acp.hue\":{\"now\":*,\"was\":128}}}\n"},
        {"block 0 acp", "{\"camera\":0,\"block\":\"acp\",\"fields\":{*\"contrast\":128,*}}\n"},
        {"measure 0", "{\"camera\":0,\"patches\":[[]{\"patch\":\"dark skin\",\"red\":*}],\"levels\":*,\"gain\":*}\n"},
        {"echo x", "{\"text\":\"x *\"}\n"},
        {"json off", ""},
        {"stop 0", ""},
        {"list", "* stopped 0  auto *"},
        {"release 0", ""},
        {"group start 2 4 5", "*runs with 2 sensors*"},
        {"run 1s", ""},
        {"list", "* group 2  auto * luma  [1-9]*"},
        {"source $/loop", "$/loop:1: $/loop:1: *nested more than 8 deep"},
    };
    const auto here = [this](std::string text) {
        for (std::size_t at = text.find('$'); at != std::string::npos; at = text.find('$')) {
            text.replace(at, 1, folder);
        }
        return text;
    };
    bench::write_bytes(folder + "/loop", "source " + folder + "/loop\n");
    prompt::RunOptions options;
    for (const auto& [line, says] : rows) {
        std::ostringstream output;
        options.output = &output;
        try {
            prompt::run_line(here(line), options);
        } catch (const session::BadInput& error) {
            output << error.what();
        }
        EXPECT_EQ(fnmatch(here(says).c_str(), output.str().c_str(), 0), 0) << line << "\n" << output.str();
    }
    std::ostringstream help;
    options.output = &help;
    prompt::run_line("help", options);
    prompt::run_line("help settings", options);
    std::istringstream lines(help.str());
    for (std::string line; std::getline(lines, line);) {
        EXPECT_LE(line.size(), 80U) << line;
    }
}

TEST_F(App, CompletesCommandsSettingsAndValues)
{
    using testing::Contains;
    using testing::ElementsAre;
    EXPECT_THAT(prompt::completions("wat"), ElementsAre("watch"));
    EXPECT_THAT(prompt::completions("set 0 black"), ElementsAre("blackwhite_mode"));
    EXPECT_THAT(prompt::completions("set 0 antiflicker "), ElementsAre("off", "50hz", "60hz"));
    EXPECT_THAT(prompt::completions("block 0 "), Contains("acp"));
    EXPECT_THAT(prompt::completions("iris a"), ElementsAre("auto"));
    EXPECT_THAT(prompt::completions("iris auto "), ElementsAre("on", "off"));
    EXPECT_TRUE(prompt::completions("iris to o").empty());
    EXPECT_THAT(prompt::completions("illuminant 0 T"), ElementsAre("TL84"));
    EXPECT_THAT(prompt::completions("fault para_set_isp_hue"), ElementsAre("para_set_isp_hue_cur"));
    EXPECT_THAT(prompt::completions("compare 0 gamma 0.4"), ElementsAre("0.48", "0.45", "0.42"));
    EXPECT_THAT(prompt::completions("source " + folder + "/sha"), ElementsAre(folder + "/shading.data"));
    prompt::run_line("start 0");
    EXPECT_THAT(prompt::completions("expect 0 acp sat"), ElementsAre("saturation"));
    EXPECT_TRUE(prompt::completions("nonsense ").empty());
}

} // namespace
