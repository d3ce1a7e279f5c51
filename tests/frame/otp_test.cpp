// The flag of the one-time-programmable memory.
#include "support/bench.h"

using namespace bench;

namespace
{

class Otp : public Bench
{
};

TEST_F(Otp, TheFlagDecidesThePlan)
{
    constexpr struct {
        std::string_view file;
        int plan;
    } kCases[] = {
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
        {"flag = 0\nflag = 1\n", 0},
        {"flag = one\nflag = 1\n", 1}, // a line without a number does not
        {"the flag = 1\n", 0},         // the line has to begin with it
    };
    int plan = -1;
    for (const auto& c : kCases) {
        write_bytes(otp_file, c.file);
        EXPECT_THAT(
            traces_of([&] { plan = getreadotp(); }),
            testing::ElementsAre(c.plan == 1 ? "getreadotp: flag==1，planA\n\n" : "getreadotp: flag!=1，planB\n\n"));
        EXPECT_EQ(plan, c.plan) << c.file;
        EXPECT_EQ(getreadotp(), c.plan) << "not traced";
    }
    std::filesystem::remove(otp_file); // no file: plan A
    EXPECT_THAT(traces_of([&] { plan = getreadotp(); }), testing::ElementsAre("getreadotp: erro dont open！\n\n"));
    EXPECT_EQ(plan, 1);
}

} // namespace
