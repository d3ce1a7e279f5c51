// No setter allocates memory, in any mode, with any level. The process that asks for the lens and the thread of smart
// exposure are the system's: their start is replaced.
#include "host/shading_file.h"
#include "support/bench.h"

#include <cstddef>
#include <new>

namespace
{

thread_local long allocations = 0;

}

extern "C" {

// In place of the C library's own, also for its own use and for operator new.
#define COUNTED(name, real, parameters, ...)                                                                           \
    void* real parameters;                                                                                             \
    void* name parameters                                                                                              \
    {                                                                                                                  \
        ++allocations;                                                                                                 \
        return real(__VA_ARGS__);                                                                                      \
    }
COUNTED(malloc, __libc_malloc, (std::size_t size), size)
COUNTED(calloc, __libc_calloc, (std::size_t count, std::size_t size), count, size)
COUNTED(realloc, __libc_realloc, (void* memory, std::size_t size), memory, size)
COUNTED(aligned_alloc, __libc_memalign, (std::size_t alignment, std::size_t size), alignment, size)
#undef COUNTED
}

namespace
{

class Allocations : public bench::Bench
{
protected:
    Allocations()
    {
        sim::host::write_shading_file(shading_file);
        isp::seam.usleep = [](useconds_t) { return 0; };
        isp::seam.sleep = [](unsigned) { return 0U; };
        isp::seam.create_thread = pthread_create;
        bench::start_camera(0);
        KIV_Get_Len_Types(); // makes the stream that answers
        sim::inject_fault("pthread_create", 1, 1, true);
        bench::set(0, "nr2d", 0);
    }

    /// How many allocations a call makes.
    template <typename Call>
    static long counted(Call call)
    {
        const long before = allocations;
        call();
        return allocations - before;
    }
};

TEST_F(Allocations, AreCounted)
{
    EXPECT_EQ(counted([] { ::operator delete(::operator new(8)); }), 1);
    EXPECT_EQ(counted([] { std::free(std::calloc(1, 8)); }), 1);
    EXPECT_GT(counted([] { std::fclose(std::fopen("/dev/null", "r")); }), 0) << "of the C library";
}

TEST_F(Allocations, NoSetterMakesAny)
{
    for (int exposure_mode = AUTO_EXPOSURE; exposure_mode <= SMART_EXPOSURE; ++exposure_mode) {
        for (int wb_mode = AUTO_WHITE_BALANCE; wb_mode <= TEMPERATURE; ++wb_mode) {
            for (const sim::host::Setting& setting : sim::host::kSettingsAndCommands) {
                if (setting.setter == sim::host::Setter::none) {
                    continue;
                }
                bench::store(0, "exposure_mode", exposure_mode);
                bench::store(0, "wb_mode", wb_mode);
                for (const int level : {setting.lowest, (setting.lowest + setting.highest) / 2, setting.highest, -5}) {
                    EXPECT_EQ(counted([&] { bench::set(0, setting.name, level); }), 0)
                        << setting.name << " " << level << ", exposure mode " << exposure_mode << ", white balance "
                        << wb_mode;
                }
            }
            EXPECT_EQ(counted([] { KIV_load_isp_para(0); }), 0) << "restore";
        }
    }
}

} // namespace
