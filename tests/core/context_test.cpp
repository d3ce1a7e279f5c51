// The plan that the board asks for.
#include "support/bench.h"

using namespace bench;

namespace
{

using Context = Bench;

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
