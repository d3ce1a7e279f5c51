// Lens type: what the vendor storage's output means; the field log has what happens when it cannot be asked.
#include "host/vendor_storage.h"
#include "support/bench.h"

#include <csignal>
#include <sys/time.h>

using namespace bench;

namespace
{

#define NAME "SR1053-50IRC-8M-F20"

const isp::Seam as_delivered = isp::seam; // before the bench redirects it

class LensType : public Bench
{
protected:
    static int type_with(const std::string& command)
    {
        isp::seam.lens_command = command.c_str();
        return KIV_Get_Len_Types();
    }
};

TEST_F(LensType, TheOutputUpToTheFirstBlankIsTheName)
{
    const std::string filler(150, 'x');
    // output: of printf
    const std::tuple<std::string, int> rows[] = {
        {NAME "\\n", KIV_LEN_SR1053},
        {NAME " second batch\\n", KIV_LEN_SR1053},
        {NAME " " + filler + filler, KIV_LEN_SR1053},
        {"sr1053-50irc-8m-f20\\n", KIV_LEN_IR0147},
        {"SR1053-50IRC-8M-F2\\n", KIV_LEN_IR0147},
        {NAME "\\t\\n", KIV_LEN_IR0147}, // a blank is a space
        {" " NAME "\\n", KIV_LEN_IR0147},
        {"", KIV_LEN_IR0147},
        {NAME + filler + "\\n", KIV_LEN_IR0147},          // cut at 125 characters
        {NAME + filler + filler + "\\n", KIV_LEN_IR0147}, // longer than a line
    };
    for (const auto& [output, type] : rows) {
        type_with("echo " NAME);
        EXPECT_EQ(type_with("printf '" + output + "'"), type) << output;
    }
    EXPECT_EQ(type_with("/nonexistent/tool 2>/dev/null"), KIV_LEN_IR0147);
    EXPECT_EQ(type_with("echo " NAME "; exit 3"), KIV_LEN_SR1053); // the status does not matter
    EXPECT_EQ(type_with(sim::host::lens_command_for(NAME, folder)), KIV_LEN_SR1053);
    EXPECT_EQ(type_with(sim::host::lens_command_for("", folder)), KIV_LEN_IR0147);
}

// The delivered command, with a tool that prints what the board's prints.
TEST_F(LensType, TheDeliveredCommandFindsTheName)
{
    const std::string tool = folder + "/tool";
    write_bytes(tool, "#!/bin/sh\n"
                      "[ \"$*\" = '-r VENDOR_CUSTOM_ID_1A -t string' ] || exit 1\n"
                      "echo 'vendor read ok'\n"
                      "echo 'tag VENDOR_CUSTOM_ID:" NAME " 2021'\n"
                      "echo 'done'\n");
    std::filesystem::permissions(tool, std::filesystem::perms::owner_all);
    std::string command = as_delivered.lens_command;
    const std::string board_tool = "/usr/bin/vendor_storage ";
    ASSERT_TRUE(command.starts_with(board_tool));
    EXPECT_EQ(type_with(command.replace(0, board_tool.size() - 1, tool)), KIV_LEN_SR1053);
    EXPECT_STREQ(as_delivered.shading_file, "/nvdata/shading.data");
    EXPECT_STREQ(as_delivered.otp_file, "/proc/otp_eeprom-7-50");
}

TEST_F(LensType, IsReadOnWhereSignalsInterrupt)
{
    struct sigaction action{};
    action.sa_handler = [](int) {};
    sigaction(SIGALRM, &action, nullptr); // calls are not restarted
    const itimerval often{.it_interval = {.tv_sec = 0, .tv_usec = 5000}, .it_value = {.tv_sec = 0, .tv_usec = 5000}};
    const itimerval never{};
    setitimer(ITIMER_REAL, &often, nullptr);
    EXPECT_EQ(type_with("sleep 0.1; echo " NAME), KIV_LEN_SR1053);
    setitimer(ITIMER_REAL, &never, nullptr);
}

} // namespace
