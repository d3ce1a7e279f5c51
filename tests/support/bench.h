// The test bench: the library on the simulated camera, everything at its initial value, time simulated.
#pragma once

#include "base/calls.h"
#include "base/clock.h"
#include "engine/engine.h"
#include "host/lens.h"
#include "host/log.h"
#include "host/setters.h"
#include "host/store.h"
#include "host/styles.h"
#include "host/vin.h"
#include "isp_auto_iris.h"
#include "isp_ctrl/core/context.h"
#include "isp_ctrl/core/seam.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace bench
{

using sim::host::kSetters;
using sim::host::NamedSetter;
using sim::host::set;

/// Puts everything back and installs simulated time; files of the library point into a new folder.
class Bench : public ::testing::Test
{
protected:
    Bench()
    {
        static const bool clock_installed = (sim::install_clock(), true);
        static_cast<void>(clock_installed);
        sim::engine::reset();
        std::ranges::fill(g_aiq_ctx, nullptr);
        std::ranges::fill(g_camera_group_ctx, nullptr);
        rkipc_aiq_use_group = 0;
        sim::host::reset_store();
        sim::host::reset_lens();
        sim::host::reset_vin();
        isp::seam.wb_calibration_file = wb_file.c_str();
        isp::seam.shading_file = shading_file.c_str();
        isp::seam.iris_device = iris_device.c_str();
        isp::seam.otp_file = otp_file.c_str();
        isp::seam.lens_command = "true"; // no lens model stored
    }

    ~Bench() override
    {
        sim::clear_faults();
        sim::stop_recording();
        std::filesystem::remove_all(folder);
    }

    /// Whatever a test does, engine and host are used as they may be, and the engine lock is free in the end.
    void TearDown() override
    {
        EXPECT_THAT(sim::engine::misuses(), ::testing::IsEmpty());
        EXPECT_THAT(sim::host::misuses(), ::testing::IsEmpty());
        ASSERT_EQ(pthread_mutex_trylock(&g_aiq_mtx), 0) << "the engine lock is held";
        pthread_mutex_unlock(&g_aiq_mtx);
    }

    std::string folder = mkdtemp((std::filesystem::temp_directory_path() / "isp_test_XXXXXX").string().data());
    std::string wb_file = folder + "/wb.dat";
    std::string shading_file = folder + "/shading.data";
    std::string iris_device = folder + "/iris";
    std::string otp_file = folder + "/otp";
};

/// Starts a camera's engine; fails the test if it does not start.
inline void start_camera(int camera)
{
    ASSERT_EQ(rk_isp_init(camera, nullptr), 0);
}

/// The same with a camera whose engine runs.
template <int Camera>
class Running : public Bench
{
protected:
    Running()
    {
        start_camera(Camera);
    }
};

/// What a camera's engine holds.
template <typename Block>
Block held(int camera)
{
    return sim::engine::peek<Block>(rkipc_aiq_get_ctx(camera));
}

/// Changes a block that a camera's engine holds or reports.
template <typename Block, typename Change>
void change(int camera, Change change)
{
    auto block = held<Block>(camera);
    change(block);
    sim::engine::poke(rkipc_aiq_get_ctx(camera), block);
}

inline const sim::host::Setting& setting(std::string_view name)
{
    const sim::host::Setting* found = sim::host::find_setting(name);
    if (found == nullptr) {
        std::abort();
    }
    return *found;
}

/// The store, without a call of its interface.
inline int stored(int camera, std::string_view name)
{
    return sim::host::stored(camera, setting(name));
}

inline void store(int camera, std::string_view name, int value)
{
    sim::host::store(camera, setting(name), value);
}

using Words = std::vector<std::string>;

/// The words of a line, without the blanks between them.
inline Words words(const std::string& line)
{
    std::istringstream stream(line);
    return {std::istream_iterator<std::string>(stream), {}};
}

/// The calls that the library makes while `action` runs, in order: all of them, or those whose names begin with
/// `prefix`.
template <typename Action>
std::vector<sim::Call> calls_of(Action action, std::string_view prefix = {})
{
    sim::start_recording();
    action();
    sim::stop_recording();
    std::vector<sim::Call> calls = sim::recorded_calls();
    std::erase_if(calls, [prefix](const sim::Call& call) { return !call.function.starts_with(prefix); });
    return calls;
}

/// The same as names only.
template <typename Action>
std::vector<std::string> names_of_calls(Action action, std::string_view prefix = {})
{
    std::vector<std::string> names;
    std::ranges::transform(calls_of(action, prefix), std::back_inserter(names), &sim::Call::function);
    return names;
}

/// The messages traced while `action` runs, as "function: message" without the prefix.
template <typename Action>
std::vector<std::string> traces_of(Action action)
{
    sim::host::set_module_level(6);
    sim::host::start_log_capture();
    action();
    sim::host::stop_log_capture();
    sim::host::set_module_level(0);
    std::vector<std::string> traces;
    for (const sim::host::LogLine& line : sim::host::captured_log()) {
        std::array<char, 64> name{};
        int end = 0;
        std::sscanf(line.text.c_str(), "[module %63[A-Za-z0-9_] +%*d ]%n", name.data(), &end);
        if (line.level == 6 && end > 0) {
            traces.push_back(std::string(name.data()) + ": " + line.text.substr(static_cast<std::size_t>(end)));
        }
    }
    return traces;
}

/// The fields in which a camera's engine differs from another's, "block.field is VALUE".
inline std::vector<std::string> differences(int camera, int reference)
{
    const sim::engine::Snapshot held = sim::engine::snapshot(rkipc_aiq_get_ctx(camera));
    const sim::engine::Snapshot wanted = sim::engine::snapshot(rkipc_aiq_get_ctx(reference));
    EXPECT_FALSE(held.empty() || wanted.empty()) << "camera " << camera << " or " << reference << " has no engine";
    std::vector<std::string> found;
    for (const sim::engine::Field& field : sim::engine::changes(wanted, held)) {
        found.push_back(field.name + " is " + sim::engine::text_of(field.values[0]));
    }
    return found;
}

/// Checks everything that a camera's engine holds: these blocks, and initial values in all others. Uses camera 7.
template <typename... Blocks>
void expect_engine(int camera, const Blocks&... blocks)
{
    start_camera(7);
    (sim::engine::poke(rkipc_aiq_get_ctx(7), blocks), ...);
    EXPECT_THAT(differences(camera, 7), ::testing::IsEmpty());
}

/// Checks what each level of a setting up to `last` makes of a block that a camera's engine holds, and of nothing else.
template <typename Block, typename Rule>
void expect_levels(int camera, std::string_view name, int last, Block block, Rule rule)
{
    sim::host::set_maximum(setting(name), last); // with the levels that have no name
    sim::engine::poke(rkipc_aiq_get_ctx(camera), block);
    for (int level = 0; level <= last; ++level) {
        SCOPED_TRACE(::testing::Message() << name << " " << level);
        EXPECT_EQ(set(camera, name, level), 0);
        rule(block, level);
        expect_engine(camera, block);
    }
}

/// Stands for all values of a table and their order (FNV-1a, a value a step).
template <typename Table>
std::uint32_t fingerprint(const Table& table)
{
    std::uint32_t hash = 2166136261U;
    const auto* const values = std::data(table); // quicker than iterators where nothing is optimised
    for (std::size_t i = 0; i < std::size(table); ++i) {
        hash = (hash ^ static_cast<std::uint32_t>(values[i])) * 16777619U;
    }
    return hash;
}

/// Writes a file of exactly these bytes.
inline void write_bytes(const std::string& path, std::string_view bytes)
{
    std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

} // namespace bench
