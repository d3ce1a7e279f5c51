// When a trace line is written and how, and the plan that the board asks for.
#include "support/bench.h"

#include <set>

using namespace bench;

namespace
{

using Context = Bench;

// Above level 5 only; "[module FUNCTION +LINE]MESSAGE", the line being the statement's own.
TEST_F(Context, TraceLines)
{
    start_camera(2);
    for (const int level : {INT_MIN, 0, 5, 6, 7, INT_MAX}) {
        sim::host::set_module_level(level);
        sim::host::start_log_capture();
        KIV_Set_luminance(2, Luminance_E{20});
        sim::host::stop_log_capture();
        sim::host::set_module_level(0);
        std::set<std::string> places; // "[module KIV_Set_luminance +94  ]"
        for (const sim::host::LogLine& line : sim::host::captured_log()) {
            places.insert(line.text.substr(0, std::string_view("[module KIV_Set_luminance +1234]").size()));
        }
        EXPECT_EQ(places.size(), level <= 5 ? 0 : 3) << "level " << level;
        EXPECT_THAT(places, testing::Each(testing::MatchesRegex("\\[module KIV_Set_luminance \\+[0-9]+ *\\]")));
    }
}

// The flag of the one-time-programmable memory.
TEST_F(Context, TheOtpFlagDecidesThePlan)
{
    std::string long_line(99, 'x');
    long_line += "flag = 1\n";
    const std::tuple<std::string_view, int> kCases[] = {
        {"flag = 1\n", 1},
        {"flag=1", 1},
        {"flag   =\t1\r\n", 1},
        {"flag1\n", 1},
        {"flag=0\n", 0},
        {"flag = 11\n", 0},
        {"flag = -1\n", 0},
        {"", 0},
        {"serial = 1\nversion 1\n", 0},
        {"serial = 7\n\nflag = 1\nflag = 0\n", 1}, // the first one counts
        {"flag1\nflag0\n", 1},
        {"flag = 0\nflag = 1\n", 0},
        {"flag = one\nflag = 1\n", 1}, // a line without a number does not
        {"the flag = 1\n", 0},         // the line has to begin with it
        {long_line, 1},                // what is longer than the buffer continues as a line of its own
    };
    for (const auto& [file, plan] : kCases) {
        write_bytes(otp_file, file);
        EXPECT_EQ(getreadotp(), plan) << file;
    }
    write_bytes(otp_file, "flag=0\n");
    EXPECT_THAT(traces_of(getreadotp), testing::ElementsAre("getreadotp: flag!=1，planB\n\n"));
    std::filesystem::remove(otp_file); // no file: plan A
    EXPECT_EQ(getreadotp(), 1);
}

TEST_F(Context, TheSwitchIsAnyId)
{
    for (const int id : {INT_MIN, -1, 5, 8, INT_MAX}) {
        EXPECT_EQ(get_isp_switch(id), id);
    }
}

} // namespace
