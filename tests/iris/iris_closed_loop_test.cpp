// The automatic iris in the closed loop: scene, lens, sensor, exposure, iris. The rules see the shared record that the
// lens service publishes, their commands reach it as datagrams.
#include "host/lens_service.h"
#include "support/bench.h"

using namespace bench;

namespace
{

constexpr sim::Microseconds kSecond = 1'000'000;
constexpr sim::Microseconds kFrame = 33'333;
constexpr sim::Microseconds kLensPeriod = 8'000;
constexpr int kNarrowest = sim::host::kIrisCalibration[7];
constexpr int kLongestStep = 4;
constexpr int kOvershoot = kLongestStep - 1; // of a step just before the narrowest position; taken back at once

/// How far the iris went in a stretch of time.
struct Watch {
    double lowest = 1e9, highest = -1e9;
};

class IrisClosedLoop : public Bench
{
protected:
    sim::host::LensService service;
    Watch watched;
    std::vector<int> ticks;

    void SetUp() override
    {
        start_camera(0);
        ASSERT_EQ(service.open(iris_device, 0), "");
        isp::seam.lens_service_port = static_cast<unsigned short>(service.port());
        sim::wait(0);
        ticks.push_back(sim::every(kLensPeriod, [this] {
            service.poll();
            sim::host::step_lens(1e-6 * static_cast<double>(kLensPeriod));
            service.publish();
            sim::engine::set_aperture(0, sim::host::lens_transmission());
            watched = {std::min(watched.lowest, sim::host::lens_state().iris),
                       std::max(watched.highest, sim::host::lens_state().iris)};
        }));
        ticks.push_back(sim::every(kFrame, [] { sim::engine::run_frame(1e-6 * static_cast<double>(kFrame)); }));
        ASSERT_EQ(init_auto_iris_control(set_auto_iris), 0);
        sim::await_waiting(1);
        sim::wait(9 * kSecond);
    }

    void TearDown() override
    {
        for (const int tick : ticks) {
            sim::cancel(tick);
        }
    }

    Watch watch(int seconds)
    {
        watched = {};
        sim::wait(seconds * kSecond);
        return watched;
    }
};

} // namespace

TEST_F(IrisClosedLoop, KeepsItsLimitsAndSettlesFromDarkToGlareAndBack)
{
    // hunts: by the rules themselves: at gain 1 too dark means "open" until the iris is wide open
    const std::tuple<const char*, int, int, int, bool> operations[] = {
        {"50 Hz", AUTO_EXPOSURE, FLICKER_50HZ, Gain_Limit_MAX, false},
        {"60 Hz", AUTO_EXPOSURE, FLICKER_60HZ, Gain_Limit_MAX, false},
        {"1/100 s", SHUTTER_PRIORITY, FLICKER_50HZ, Gain_Limit_MAX, false},
        {"50 Hz, gain 2", AUTO_EXPOSURE, FLICKER_50HZ, 1, false},
        {"50 Hz, gain 1", AUTO_EXPOSURE, FLICKER_50HZ, Gain_Limit_MIN, true},
        {"60 Hz, gain 1", AUTO_EXPOSURE, FLICKER_60HZ, Gain_Limit_MIN, false},
        {"1/100 s, gain 1", SHUTTER_PRIORITY, FLICKER_50HZ, Gain_Limit_MIN, true},
    };
    const double scenes[] = {0.1, 10, 100, 200, 300, 500, 1000, 2000, 1e5, 1000, 300, 10};
    for (const auto& [name, mode, antiflicker, gain_limit, hunts] : operations) {
        bool hunting = false;
        store(0, "antiflicker", antiflicker);
        store(0, "gain_limit", gain_limit);
        store(0, "shutter", VISCA_SHUTTER_100);
        ASSERT_EQ(KIV_Set_exposure_mode(0, Exposure_Mode_E{mode}), 0);
        for (const int zoom : {0, 3000, 6000}) {
            sim::host::put_zoom(zoom);
            const int widest = get_max_iris(get_cur_zoom_array(zoom));
            sim::engine::set_luminance(0, scenes[0]);
            watch(30);
            for (const double scene : scenes) {
                sim::engine::set_luminance(0, scene);
                const Watch moving = watch(30);
                const Watch settled = watch(30);
                SCOPED_TRACE(testing::Message() << name << ", zoom " << zoom << ", " << scene << " cd/m2");
                EXPECT_GE(moving.lowest, kNarrowest - kOvershoot);
                EXPECT_GE(settled.lowest, kNarrowest);
                EXPECT_LE(std::max(moving.highest, settled.highest), widest);
                hunting |= settled.highest - settled.lowest > kLongestStep;
            }
        }
        EXPECT_EQ(hunting, hunts) << name;
    }
    EXPECT_EQ(service.counts().malformed, 0);
    EXPECT_GT(service.counts().moved, 0);
}
