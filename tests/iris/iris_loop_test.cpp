// The automatic iris's thread: when it starts and ends, when it commands, and what it makes of the shared record's
// file. Each test runs in a process of its own: the thread is started once.
#include "support/bench.h"
#include "support/threads.h"

#include <cerrno>
#include <fstream>
#include <pthread.h>

using namespace bench;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace
{

constexpr sim::Microseconds kStart = 9'000'000;
constexpr sim::Microseconds kCycle = 32'000;

std::vector<iris_ctrl_param_t> first_received, second_received;

int receive_first(iris_ctrl_param_t* command)
{
    first_received.push_back(*command);
    EXPECT_EQ(reinterpret_cast<const char*>(command)[1], 0); // padding, sent too
    return -1;                                               // not looked at
}

int receive_second(iris_ctrl_param_t* command)
{
    second_received.push_back(*command);
    return 0;
}

// Camera 0 with its engine. Without anti-flicker, so that every cycle that sees a record sends a command.
class IrisLoop : public Bench
{
protected:
    const long threads_before = threads();
    inline static int zoom = 0; // that the record tells

    IrisLoop()
    {
        start_camera(0);
        store(0, "antiflicker", FLICKER_OFF);
        sim::wait(0); // from here on no time passes while this thread works
    }

    /// Starts the loop and lets its first nine seconds pass.
    static void start()
    {
        ASSERT_EQ(init_auto_iris_control(receive_first), 0);
        sim::wait(0); // until it waits
        sim::wait(kStart);
        ASSERT_THAT(first_received, IsEmpty());
    }

    /// The commands of the next cycles.
    static std::vector<iris_ctrl_param_t> commands(int cycles)
    {
        first_received.clear();
        for (int i = 0; i < cycles; ++i) {
            sim::wait(kCycle);
        }
        return first_received;
    }

    static void write(const std::string& path, int iris, int automatic = 1, std::size_t size = sizeof(Iris_Info_Param))
    {
        Iris_Info_Param record{};
        record.autoFlag = static_cast<int16_t>(automatic);
        record.curIris = static_cast<int16_t>(iris);
        record.curZoom = static_cast<int16_t>(zoom);
        std::copy(std::begin(sim::host::kIrisCalibration), std::end(sim::host::kIrisCalibration), record.irisStep);
        record.irisStep[0] = 799;
        // In place, as a file that is mapped elsewhere.
        std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
        if (!file.is_open()) {
            file.open(path, std::ios::out | std::ios::binary);
        }
        file.write(reinterpret_cast<const char*>(&record), static_cast<std::streamsize>(size));
    }
    void publish(int iris, int automatic = 1) const
    {
        write(iris_device, iris, automatic);
    }

    /// Ends the loop, and runs another on a thread of the host's.
    void restart() const
    {
        sim::host::set_lens_calibration_flag(4);
        commands(1);
        EXPECT_TRUE(eventually([&] { return threads() == threads_before; }));
        sim::host::set_lens_calibration_flag(0);
        ASSERT_EQ(on_thread<auto_iris_control_main>(false), 0);
        sim::wait(0);
        sim::wait(kStart);
    }

    /// The engine reports an exposure of 10 ms at this gain.
    static void expose(float gain, float luma_by_target)
    {
        auto info = held<Uapi_ExpQueryInfo_t>(0);
        info.LinAeInfo.LinearExp = {
            .integration_time = 0.01F, .analog_gain = gain, .digital_gain = 1.0F, .isp_dgain = 1.0F};
        info.LinAeInfo.MeanLuma = luma_by_target * held<Uapi_LinExpAttrV2_t>(0).Params.DySetpoint.DySetpoint[0];
        sim::engine::poke(rkipc_aiq_get_ctx(0), info);
    }

    bool mapped() const
    {
        std::ifstream maps("/proc/self/maps");
        return std::string(std::istreambuf_iterator<char>(maps), {}).find(iris_device) != std::string::npos;
    }
};

} // namespace

TEST_F(IrisLoop, RestsWhileTheIrisIsSetByHandAndEndsPermanently)
{
    publish(500);
    for (const int mode : {MANUAL_EXPOSURE, IRIS_PRIORITY}) {
        store(0, "exposure_mode", mode);
        sim::host::set_lens_calibration_flag(4);
        if (mode == MANUAL_EXPOSURE) {
            start();
        }
        EXPECT_THAT(commands(20), IsEmpty());
        EXPECT_FALSE(mapped());
        EXPECT_EQ(threads(), threads_before + 1);
    }
    sim::host::set_lens_calibration_flag(3);
    store(0, "exposure_mode", AUTO_EXPOSURE);
    EXPECT_THAT(commands(1), IsEmpty()); // maps
    EXPECT_TRUE(mapped());
    const auto sent = commands(4);
    ASSERT_THAT(sent, SizeIs(4));
    EXPECT_EQ(sent[0].steps, 6); // three times the step above the threshold
    EXPECT_EQ(get_max_iris(2), 638);

    sim::host::set_lens_calibration_flag(4);
    EXPECT_THAT(commands(1), IsEmpty());
    EXPECT_TRUE(eventually([&] { return threads() == threads_before; }));
    EXPECT_EQ(init_auto_iris_control(receive_second), 0); // registers, and starts no other
    EXPECT_EQ(kiv_auto_iris_cb, receive_second);
    EXPECT_EQ(threads(), threads_before);
}

TEST_F(IrisLoop, StartsOneThreadWhateverIsRegistered)
{
    EXPECT_EQ(init_auto_iris_control(nullptr), -1);
    sim::inject_fault("pthread_create", 1, EAGAIN);
    EXPECT_EQ(init_auto_iris_control(receive_second), -1);
    EXPECT_EQ(kiv_auto_iris_cb, receive_second);
    EXPECT_EQ(threads(), threads_before);
    publish(500);
    std::vector<std::thread> hosts;
    for (int i = 0; i < 4; ++i) {
        hosts.emplace_back([] { EXPECT_EQ(init_auto_iris_control(receive_first), 0); });
    }
    for (std::thread& host : hosts) {
        host.join();
    }
    start();
    EXPECT_TRUE(eventually([&] { return threads() == threads_before + 1; }));
    EXPECT_THAT(commands(3), SizeIs(2));

    EXPECT_EQ(init_auto_iris_control(receive_second), 0);
    EXPECT_EQ(init_auto_iris_control(nullptr), -1); // changes nothing
    EXPECT_THAT(commands(5), IsEmpty());
    EXPECT_THAT(second_received, SizeIs(5));
    EXPECT_EQ(threads(), threads_before + 1);
}

// The callback changes while the loop runs as fast as it can; both receivers get commands.
TEST_F(IrisLoop, CallbackMayChangeAtAnyMoment)
{
    static std::atomic<int> received[2];
    publish(500);
    start();
    const KIV_AUTO_IRIS_CONTROL_CALLBACK first = [](iris_ctrl_param_t*) { return ++received[0]; };
    const KIV_AUTO_IRIS_CONTROL_CALLBACK second = [](iris_ctrl_param_t*) { return ++received[1]; };
    sim::step_aside();
    int turn = 0;
    EXPECT_TRUE(eventually([&] {
        init_auto_iris_control(turn++ % 2 == 0 ? first : second);
        return received[0] > 100 && received[1] > 100;
    }));
    sim::wait(0);
}

TEST_F(IrisLoop, ReadsARecordOnlyWhileThereIsOne)
{
    start();
    EXPECT_THAT(commands(5), IsEmpty());
    publish(500);
    sim::inject_fault("mmap", 1, ENOMEM, true);
    EXPECT_THAT(commands(6), IsEmpty()); // opens, and fails to map
    EXPECT_EQ(sim::faults_struck(), 5);
    sim::clear_faults();
    EXPECT_THAT(commands(1), IsEmpty()); // maps
    EXPECT_THAT(commands(5), SizeIs(5));

    std::filesystem::remove(iris_device); // the mapping stays
    EXPECT_THAT(commands(5), SizeIs(5));
}

TEST_F(IrisLoop, ReadsADeviceWhateverItsSize)
{
    isp::seam.iris_device = "/dev/zero";
    store(0, "exposure_mode", SMART_EXPOSURE);
    start();
    const auto sent = commands(3);
    ASSERT_THAT(sent, SizeIs(2));
    EXPECT_EQ(sent[0].dstIris, 690);
}

TEST_F(IrisLoop, AShortFileCountsAsNotMapped)
{
    write(iris_device, 500, 1, 0);
    start();
    const long open_files = entries("/proc/self/fd");
    for (const std::size_t size : {0U, 20U, 35U}) {
        write(iris_device, 500, 1, size);
        EXPECT_THAT(commands(5), IsEmpty());
        EXPECT_FALSE(mapped());
    }
    EXPECT_EQ(entries("/proc/self/fd"), open_files);
    publish(500);
    EXPECT_THAT(commands(5), SizeIs(4));
}

// The receiver sees the widest positions of the cycle that commands, and a later loop continues with the flags and
// positions that an earlier one left.
TEST_F(IrisLoop, KeepsItsFlagsAndPositionsForALaterLoop)
{
    static int seen_by_receiver;
    static bool is_detached;
    static char name[16];
    EXPECT_EQ(get_max_iris(0), 800);
    expose(4.0F, 1.0F);
    store(0, "antiflicker", FLICKER_50HZ);
    publish(500);
    start();
    init_auto_iris_control([](iris_ctrl_param_t* command) {
        seen_by_receiver = get_max_iris(11);
        is_detached = detached();
        pthread_getname_np(pthread_self(), name, sizeof name);
        return receive_first(command);
    });
    const auto sent = commands(31); // maps, then opens: dark at four times the gain
    ASSERT_FALSE(sent.empty());
    EXPECT_EQ(sent.back().steps, 2);
    EXPECT_EQ(seen_by_receiver, 638);
    EXPECT_TRUE(is_detached);
    EXPECT_STREQ(name, "auto_iris_contr"); // as much as a name has room for

    // Between the gains that start and stop an opening, only the kept flag makes a loop command.
    expose(2.0F, 1.0F);
    restart();
    EXPECT_EQ(get_max_iris(11), 638);
    const auto first = commands(2);
    ASSERT_THAT(first, SizeIs(1)) << "a non-zero step was sent last: one more command";
    EXPECT_EQ(first[0].steps, 0);
    restart();
    EXPECT_THAT(commands(3), IsEmpty());

    expose(1.0F, 1.5F); // ends the opening, then closes; between the gains that start and stop that its cycles command
    EXPECT_THAT(commands(3), SizeIs(2));
    expose(1.1F, 1.0F);
    restart();
    EXPECT_THAT(commands(4), SizeIs(3));
    publish(500, 0); // a lens that tells nothing of its positions
    restart();
    EXPECT_THAT(commands(3), IsEmpty());
    for (const auto& [level, widest] : {std::pair{0, 799}, {1, 723}, {11, 638}}) {
        EXPECT_EQ(get_max_iris(level), widest);
    }

    publish(500);
    store(0, "antiflicker", FLICKER_OFF); // a command in each cycle
    EXPECT_THAT(commands(2), SizeIs(2));
    zoom = 3000; // acted on from the eleventh cycle on, the first one maps
    publish(500);
    restart();
    EXPECT_THAT(commands(11), IsEmpty());
    EXPECT_THAT(commands(2), SizeIs(2));
    isp::shared_set<KIV_AUTO_IRIS_CONTROL_CALLBACK>(kiv_auto_iris_cb, nullptr);
    EXPECT_THAT(commands(2), IsEmpty()) << "dropped without a receiver";
}

TEST_F(IrisLoop, DecidesWithTheFiguresAsTheyAre)
{
    expose(1.0F, 1.5F);
    store(0, "antiflicker", FLICKER_50HZ);
    publish(400);
    start();
    sim::inject_fault("rk_aiq_user_api2_ae_queryExpResInfo", 1, -7, true);
    EXPECT_THAT(commands(5), IsEmpty()); // all figures are 0
    sim::clear_faults();
    std::vector<iris_ctrl_param_t> sent;
    EXPECT_THAT(traces_of([&] { sent = commands(10); }), IsEmpty());
    EXPECT_THAT(sent, SizeIs(10)); // too bright at the shortest exposure
    sim::inject_fault("rk_aiq_user_api2_ae_queryExpResInfo", 1, -7, true);
    const auto traces = traces_of([&] { sent = commands(20); });
    ASSERT_THAT(sent, SizeIs(20)); // and still
    EXPECT_EQ(sent[18].steps, 0);
    EXPECT_EQ(sent[19].steps, -1); // in the thirtieth cycle
    EXPECT_EQ(std::count(traces.begin(), traces.end(), "auto_iris_control_main: kiv_rkisp_cl_QueryWBInfo err -7\n"),
              20);
}
