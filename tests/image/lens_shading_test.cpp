// Lens shading: the whole configuration for both lenses by its fingerprint, and files that must not reach the engine.
#include "support/bench.h"

#include <numeric>

using namespace bench;
using testing::IsEmpty;

namespace
{

constexpr int kCamera = 3;
constexpr std::size_t kFileSize = 12 * 289 * 2;

/// Values that say in which grid and where in it they stood.
std::string telling_file(std::size_t size = kFileSize)
{
    uint16_t cells[12][289];
    for (int grid = 0; grid < 12; ++grid) {
        std::iota(std::begin(cells[grid]), std::end(cells[grid]), static_cast<uint16_t>(0x4000 + grid * 0x200));
    }
    std::string bytes(reinterpret_cast<const char*>(cells), sizeof cells);
    bytes.resize(size, '\xEE');
    return bytes;
}

/// Stands for every field of the shading block that the engine holds.
std::uint32_t fingerprint_of_held()
{
    std::string text;
    for (const sim::engine::Field& field : sim::engine::describe(rkipc_aiq_get_ctx(kCamera), "lsc")) {
        text += field.name;
        for (const sim::engine::Value& value : field.values) {
            text += " " + sim::engine::text_of(value);
        }
    }
    return fingerprint(text);
}

using LensShading = Running<kCamera>;

TEST_F(LensShading, TheConfigurationIsRebuiltForTheLens)
{
    // A file of the right size and one with more behind; what is beyond is not read.
    for (const std::size_t size : {kFileSize, kFileSize + 1000}) {
        for (const auto& [model, wanted] : {std::pair{"SR1053-50IRC-8M-F20", 2122141858U}, {"IR0147", 692681771U}}) {
            SCOPED_TRACE(testing::Message() << model << ", " << size << " bytes");
            write_bytes(shading_file, telling_file(size));
            const std::string asked = folder + "/asked";
            const std::string command = "echo x >>" + asked + "; echo " + model;
            isp::seam.lens_command = command.c_str();
            EXPECT_EQ(KIV_Set_shading(kCamera), 0);
            EXPECT_EQ(fingerprint_of_held(), wanted);
            expect_engine(kCamera, held<rk_aiq_lsc_attrib_t>(kCamera)); // and nothing else
            EXPECT_EQ(std::filesystem::file_size(asked), 2) << "the lens is asked once";
            std::filesystem::remove(asked);
        }
    }
}

// Nothing that was not measured reaches the engine, with or without one.
TEST_F(LensShading, AFileThatIsNotWholeIsRefused)
{
    const struct {
        const char* what;
        std::function<void()> make;
        std::vector<std::string> traces; // of the loader
    } kCases[] = {
        {"nothing", [] {}, {}},
        {"dangling link", [this] { std::filesystem::create_symlink(shading_file + "x", shading_file); }, {}},
        {"directory", [this] { std::filesystem::create_directory(shading_file); }, {"Enter"}}, // cannot be read
        {"0 bytes", [this] { write_bytes(shading_file, ""); }, {"Enter", "Leave 0 6936"}},
        {"6935", [this] { write_bytes(shading_file, telling_file(kFileSize - 1)); }, {"Enter", "Leave 6935 6936"}},
    };
    for (const auto& c : kCases) {
        std::filesystem::remove(shading_file);
        c.make();
        std::vector<std::string> expected = {"KIV_Set_shading: KIV_Set_shading()\n\n"};
        for (const std::string& trace : c.traces) {
            expected.push_back("user_load_shading_file: " + trace + "\n\n");
        }
        for (const int camera : {kCamera, kCamera + 1}) { // with an engine, and without
            SCOPED_TRACE(testing::Message() << c.what << ", camera " << camera);
            std::vector<std::string> traces;
            testing::internal::CaptureStderr();
            EXPECT_THAT(calls_of([&] { traces = traces_of([&] { EXPECT_EQ(KIV_Set_shading(camera), -1); }); }),
                        IsEmpty());
            EXPECT_THAT(testing::internal::GetCapturedStderr(),
                        testing::StartsWith(c.traces == Words{"Enter"} ? "open reg_file fail:" : ""));
            EXPECT_EQ(traces, expected);
        }
    }
    expect_engine(kCamera);
    std::filesystem::remove(shading_file);
    write_bytes(shading_file, telling_file());
    EXPECT_THAT(calls_of([] { EXPECT_EQ(KIV_Set_shading(kCamera + 1), 0); }), IsEmpty()); // no engine
}

} // namespace
