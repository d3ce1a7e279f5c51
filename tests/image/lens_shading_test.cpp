// Lens shading: the whole configuration for both lenses, and files that must not reach the engine.
#include "support/bench.h"

#include <algorithm>
#include <cstring>

using namespace bench;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

constexpr int kCamera = 3;
constexpr std::size_t kFileSize = 12 * 289 * 2;

// Grids in the file's order: red, green on red rows, green on blue rows and blue of each light source.
enum Source { D65 = 0, CWF = 4, A = 8 };

/// A value that says where in the file it stood.
uint16_t cell(int grid, int index)
{
    return static_cast<uint16_t>(0x4000 + grid * 0x200 + index);
}

std::string telling_file(std::size_t size = kFileSize)
{
    std::string bytes;
    for (int grid = 0; grid < 12; ++grid) {
        for (int index = 0; index < 289; ++index) {
            bytes += static_cast<char>(cell(grid, index) & 0xFF);
            bytes += static_cast<char>(cell(grid, index) >> 8);
        }
    }
    bytes.resize(size, '\xEE');
    return bytes;
}

template <std::size_t Size>
void write_name(char (&to)[Size], const std::string& name)
{
    std::memset(to, 0, Size);
    name.copy(to, Size - 1);
}

struct Lens {
    const char* model;
    int low; // vignetting of the low tables, and in their names
    float vig;
    float wbGain[14]; // red and blue of each illuminant
};
constexpr Lens kLenses[] = {
    {"SR1053-50IRC-8M-F20",
     30,
     60.0F,
     {1.116F, 3.4932F, 1.5152F, 3.0526F, 1.6261F, 2.3106F, 1.7949F, 2.3106F, 1.9406F, 1.9103F, 0.9526F, 4.1817F,
      1.3965F, 2.9188F}},
    {"IR0147",
     70,
     70.0F,
     {0.9908F, 2.9308F, 1.4372F, 2.4877F, 1.453F, 1.8288F, 1.6188F, 1.5214F, 1.7445F, 1.443F, 0.8316F, 3.5712F, 1.364F,
      2.3673F}},
};

rk_aiq_lsc_attrib_t expected_block(const Lens& lens)
{
    constexpr struct {
        const char* name;
        Source grids;
    } kIlluminants[7] = {{"A", A}, {"CWF", CWF}, {"D50", D65}, {"D65", D65}, {"D75", D65}, {"HZ", A}, {"TL84", CWF}};
    const std::string resolution = "5120x2880";

    auto lsc = sim::engine::initial<rk_aiq_lsc_attrib_t>();
    lsc.byPass = false;
    lsc.mode = RK_AIQ_LSC_MODE_AUTO;
    lsc.sync = {RK_AIQ_UAPI_MODE_ASYNC, true};
    lsc.stAuto.common.enable = true;
    lsc.stAuto.common.resolutionAll_len = 1;
    write_name(lsc.stAuto.common.resolutionAll[0].name, resolution);
    std::ranges::fill(lsc.stAuto.common.resolutionAll[0].lsc_sect_size_x, uint16_t{5120 / 16});
    std::ranges::fill(lsc.stAuto.common.resolutionAll[0].lsc_sect_size_y, uint16_t{2880 / 16});
    lsc.stAuto.alscCoef.damp_enable = true;
    lsc.stAuto.alscCoef.illAll_len = 7;
    lsc.stAuto.tbl.tableAll_len = 14;
    for (int i = 0; i < 7; ++i) {
        const std::string name = kIlluminants[i].name;
        lsc_illuminant_t& ill = lsc.stAuto.alscCoef.illAll[i];
        ill.usedForCase = 0;
        write_name(ill.name, name);
        std::copy_n(&lens.wbGain[2 * i], 2, ill.wbGain);
        write_name(ill.tableUsed[0], name + "_" + std::to_string(lens.low));
        write_name(ill.tableUsed[1], name + "_100");
        ill.tableUsed_len = 2;
        std::ranges::copy(std::initializer_list<float>{1.0F, 4.0F, 8.0F, 16.0F}, ill.gains);
        ill.gains_len = 4;
        std::ranges::fill(ill.vig, lens.vig);
        ill.vig_len = 4;
        for (const int full : {0, 1}) {
            lsc_table_t& table = lsc.stAuto.tbl.tableAll[2 * i + full];
            const int vignetting = full == 1 ? 100 : lens.low;
            write_name(table.name, resolution + "_" + name + "_" + std::to_string(vignetting));
            write_name(table.resolution, resolution);
            write_name(table.illumination, name);
            table.vignetting = static_cast<float>(vignetting);
            int grid = kIlluminants[i].grids;
            for (lsc_matrix_t* samples : {&table.lsc_samples_red, &table.lsc_samples_greenR, &table.lsc_samples_greenB,
                                          &table.lsc_samples_blue}) {
                for (int index = 0; index < 289; ++index) {
                    samples->uCoeff[index] = cell(grid, index);
                }
                ++grid;
            }
        }
    }
    return lsc;
}

using LensShading = Running<kCamera>;

TEST_F(LensShading, TheConfigurationIsRebuiltForTheLens)
{
    // A file of the right size and one with more behind; what is beyond is not read.
    for (const std::size_t size : {kFileSize, kFileSize + 1000}) {
        for (const Lens& lens : kLenses) {
            SCOPED_TRACE(testing::Message() << lens.model << ", " << size << " bytes");
            write_bytes(shading_file, telling_file(size));
            const std::string asked = folder + "/asked";
            const std::string command = "echo x >>" + asked + "; echo " + lens.model;
            isp::seam.lens_command = command.c_str();
            EXPECT_EQ(KIV_Set_shading(kCamera), 0);
            expect_engine(kCamera, expected_block(lens));
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

// Every change of the spatial noise reduction applies the file of that moment first.
TEST_F(LensShading, SpatialNoiseReductionAppliesTheFileFirst)
{
    const auto calls = [] { return names_of_calls([] { EXPECT_EQ(KIV_Set_nr2d(kCamera, NR2D_1), 0); }); };
    EXPECT_EQ(calls().front(), "para_get_isp_nr2d_max");
    write_bytes(shading_file, telling_file());
    EXPECT_THAT(calls(),
                ElementsAre("rk_aiq_user_api2_alsc_GetAttrib", "rk_aiq_user_api2_alsc_SetAttrib",
                            "para_get_isp_nr2d_max", "para_set_isp_nr2d_cur", "rk_aiq_user_api2_abayer2dnrV2_GetAttrib",
                            "rk_aiq_user_api2_abayer2dnrV2_SetAttrib"));
    EXPECT_EQ(held<rk_aiq_lsc_attrib_t>(kCamera).stAuto.tbl.tableAll[4].lsc_samples_red.uCoeff[0], cell(0, 0));
}

TEST_F(LensShading, TheLoaderReadsAsMuchAsThereIsRoomFor)
{
    char buf[16];
    testing::internal::CaptureStderr();
    EXPECT_EQ(user_load_shading_file(buf, sizeof buf), -1); // no file
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::StartsWith("open reg_file fail:"));
    std::filesystem::create_directory(shading_file);
    EXPECT_EQ(user_load_shading_file(buf, sizeof buf), -1); // cannot be read
    std::filesystem::remove(shading_file);
    write_bytes(shading_file, "");
    EXPECT_EQ(user_load_shading_file(buf, sizeof buf), 0); // nothing to read
    EXPECT_EQ(user_load_shading_file(buf, 0), 0);
    write_bytes(shading_file, "shading");
    EXPECT_EQ(user_load_shading_file(buf, -1), -1);
    std::memset(buf, '.', sizeof buf);
    EXPECT_EQ(user_load_shading_file(buf, 4), 0);
    EXPECT_EQ(std::string_view(buf, sizeof buf), "shad............");
    EXPECT_EQ(user_load_shading_file(buf, sizeof buf), 0); // shorter than the room: the rest stays
    EXPECT_EQ(std::string_view(buf, sizeof buf), "shading.........");
}

} // namespace
