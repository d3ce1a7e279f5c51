// Cameras started, used and stopped from threads of their own at the same time.
#include "support/bench.h"

#include <thread>

using namespace bench;

namespace
{

class Threads : public Bench
{
};

TEST_F(Threads, EightCamerasStartAndStopAtOnce)
{
    constexpr int kRounds = 25;
    std::vector<std::thread> cameras;
    std::atomic<int> wrong{0};
    for (int camera = 0; camera < 8; ++camera) {
        cameras.emplace_back([camera, &wrong] {
            std::string directory = "/iq/" + std::to_string(camera);
            for (int round = 0; round < kRounds; ++round) {
                bool good = rk_isp_init(camera, directory.data()) == 0;
                good &= sim::engine::setup(rkipc_aiq_get_ctx(camera)).iq_directory == directory;
                good &= KIV_Set_hue(camera, HUE_E{camera}) == 0;
                good &= held<acp_attrib_t>(camera).hue == 100 + 4 * camera;
                KIV_Set_csc_mode(camera, CSC_BT709_full_range);
                good &= rk_isp_update(camera) == 0;
                good &= set_PanoramaIspId(camera) == 0 && get_PanoramaIspId() >= 0;
                good &= rk_isp_stop(camera) == 0;
                good &= round % 2 == 0 || rk_isp_deinit(camera) == 0; // else the next start releases it
                wrong += good ? 0 : 1;
            }
        });
    }
    for (std::thread& camera : cameras) {
        camera.join();
    }
    EXPECT_EQ(wrong, 0);
    for (int camera = 0; camera < 8; ++camera) {
        rk_isp_deinit(camera);
    }
    EXPECT_EQ(sim::engine::live_contexts(), 0);
    EXPECT_THAT(sim::engine::misuses(), testing::IsEmpty());
    set_PanoramaIspId(1);
}

} // namespace
