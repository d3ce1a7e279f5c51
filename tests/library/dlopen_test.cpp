// The shared library in a process that was not linked with it: it loads with every symbol bound at once, works on the
// program's engine and store, reaches for the camera's own files and waits, and stays once it has a thread.
#include "engine/engine.h"
#include "host/settings.h"
#include "host/store.h"
#include "isp_auto_iris.h"
#include "isp_ctrl.h"
#include "support/threads.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <mutex>
#include <string>
#include <sys/mman.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace
{

std::mutex mutex;
std::vector<std::string> notes;     // what the process asked of the system, oldest first
std::atomic<int> closed_on_exec{1}; // all files, pipes and sockets of the library's so far
int lent = -1;                      // what the library opened last

void note(const std::string& text)
{
    const std::lock_guard lock(mutex);
    notes.push_back(text);
}

/// Whether the process asks for this, now or within some seconds.
bool asked_for(const std::string& text)
{
    return bench::eventually([&] {
        const std::lock_guard lock(mutex);
        return std::find(notes.begin(), notes.end(), text) != notes.end();
    });
}

FILE* lend()
{
    FILE* const file = tmpfile();
    lent = fileno(file);
    return file;
}

void judge(int fd)
{
    closed_on_exec &= fd != lent || (fcntl(fd, F_GETFD) & FD_CLOEXEC) != 0 ? 1 : 0;
}

template <typename Function>
Function* next_definition(const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

// The program's own definitions come before the C library's. Nothing is run, and waits are over at once.
extern "C" {
int open(const char* path, int flags, ...)
{
    note(path);
    if (std::strncmp(path, "/data/", 6) == 0 || std::strncmp(path, "/nvdata/", 8) == 0) {
        return lent = memfd_create("file", 0);
    }
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = va_arg(arguments, mode_t);
    va_end(arguments);
    return next_definition<int(const char*, int, ...)>("open")(path, flags, mode);
}

FILE* fopen(const char* path, const char* mode)
{
    note(path + std::string(", ") + mode);
    return std::strstr(path, "otp") != nullptr ? lend()
                                               : next_definition<FILE*(const char*, const char*)>("fopen")(path, mode);
}

FILE* popen(const char* command, const char* mode)
{
    note(command + std::string(", ") + mode);
    return lend();
}

int fclose(FILE* stream)
{
    judge(fileno(stream));
    return next_definition<int(FILE*)>("fclose")(stream);
}

int pclose(FILE* pipe)
{
    return fclose(pipe);
}

int socket(int domain, int type, int protocol)
{
    note(domain == AF_INET && type == SOCK_DGRAM && protocol == 0 ? "socket of UDP" : "another socket");
    return lent = next_definition<int(int, int, int)>("socket")(domain, type, protocol);
}

int close(int fd)
{
    judge(fd);
    return next_definition<int(int)>("close")(fd);
}

unsigned sleep(unsigned seconds)
{
    note("sleep " + std::to_string(seconds));
    return 0;
}
}

namespace
{

class LoadedLibrary : public ::testing::Test
{
protected:
    LoadedLibrary() : library(dlopen(LIBRARY_FILE, RTLD_NOW | RTLD_LOCAL))
    {
        sim::engine::reset();
        sim::host::reset_store();
    }

    void SetUp() override
    {
        ASSERT_NE(library, nullptr) << dlerror();
    }

    /// The library's function or variable of this name; its type is that of the declaration.
    template <typename Type>
    Type& loaded(const char* name)
    {
        return *reinterpret_cast<Type*>(dlsym(library, name));
    }

    ~LoadedLibrary() override
    {
        dlclose(library);
    }

    void* library;
};

#define LOADED(name) (loaded<decltype(name)>(#name))

} // namespace

// Its memory is that of a first load again, as long as it has no thread.
TEST_F(LoadedLibrary, BeginsAnewWhenLoadedAgain)
{
    for (int load = 0; load < 2; ++load) {
        EXPECT_STREQ(LOADED(g_iq_file_dir_), "/etc/iqfiles");
        EXPECT_EQ(LOADED(KIV_Get_csc_mode)(3), 0);
        EXPECT_EQ(LOADED(get_onepush_ggain)(0), 1);
        EXPECT_EQ(LOADED(get_colortemp_rgain)(1), 1.9576F);
        EXPECT_EQ(LOADED(gamma_1_1)[1], 147);
        LOADED(g_iq_file_dir_)[0] = '\0';
        LOADED(KIV_Set_csc_mode)(3, CSC_BT709_full_range);
        LOADED(set_onepush_ggain)(0, 900);
        LOADED(set_colortemp_rgain)(1, 2.0F);
        LOADED(gamma_1_1)[1] = 0;
        EXPECT_EQ(LOADED(KIV_Get_csc_mode)(3), CSC_BT709_full_range);
        ASSERT_EQ(dlclose(library), 0);
        ASSERT_EQ(dlopen(LIBRARY_FILE, RTLD_NOW | RTLD_NOLOAD), nullptr) << "it is still loaded";
        library = dlopen(LIBRARY_FILE, RTLD_NOW | RTLD_LOCAL);
    }
}

TEST_F(LoadedLibrary, ReachesForTheCamerasOwnPlaces)
{
    awb_calibration_s record{};
    char byte = 0;
    LOADED(user_load_wb_calibration_file)(&record, static_cast<int>(sizeof record));
    LOADED(user_load_shading_file)(&byte, 1);
    LOADED(getreadotp)();
    LOADED(KIV_Get_Len_Types)();
    iris_ctrl_param_t command{};
    LOADED(set_auto_iris)(&command);
    ASSERT_EQ(LOADED(init_auto_iris_control)(LOADED(set_auto_iris)), 0);

    for (const char* place : {"/data/wb.dat", "/nvdata/shading.data", "/proc/otp_eeprom-7-50, r",
                              "/usr/bin/vendor_storage -r VENDOR_CUSTOM_ID_1A -t string | grep \"VENDOR_CUSTOM_ID\" | "
                              "sed 's/.*VENDOR_CUSTOM_ID://', r",
                              "socket of UDP", "sleep 9", "/dev/sm_af_iris_value"}) {
        EXPECT_TRUE(asked_for(place)) << place;
    }
    EXPECT_EQ(closed_on_exec, 1);
}

// All three threads run on after dlclose(), in the same library as one that is opened again.
TEST_F(LoadedLibrary, StaysForItsThreads)
{
    ASSERT_EQ(LOADED(rk_isp_init)(0, nullptr), 0);
    LOADED(KIV_Set_exposure_mode)(0, SMART_EXPOSURE);
    EXPECT_EQ(sim::host::stored(0, *sim::host::find_setting("exposure_mode")), SMART_EXPOSURE);
    EXPECT_EQ(sim::engine::peek<Uapi_ExpSwAttrV2_t>(LOADED(g_aiq_ctx)[0]).AecOpType, RK_AIQ_OP_MODE_MANUAL);
    LOADED(set_awb_follow_pano)(1);
    ASSERT_EQ(LOADED(cam_awb_follow_pano_thread)(), 0);
    ASSERT_EQ(LOADED(init_auto_iris_control)(LOADED(set_auto_iris)), 0);
    ASSERT_TRUE(asked_for("sleep 9"));
    ASSERT_EQ(dlclose(library), 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(200)); // several cycles of each

    for (const char* name : {"cam_ae_follow_p", "awb_follow_pano", "auto_iris_contr"}) {
        EXPECT_EQ(bench::threads_named(name), 1) << name;
    }
    library = dlopen(LIBRARY_FILE, RTLD_NOW | RTLD_NOLOAD);
    ASSERT_NE(library, nullptr);
    EXPECT_NE(LOADED(g_aiq_ctx)[0], nullptr);
}
