// Lens shading: rebuilds the engine's automatic shading correction from the camera's own grids, which were measured for
// three light sources, for the fitted lens.
#include "isp_ctrl/core/record_file.h"
#include "isp_ctrl/core/seam.h"
#include "isp_ctrl/core/setter_steps.h"
#include "isp_ctrl/image/shading_file.h"

#include <cstring>

namespace
{

using Lsc = isp::Module<rk_aiq_user_api2_alsc_GetAttrib, rk_aiq_user_api2_alsc_SetAttrib>;

constexpr isp::FailureTexts kTexts = {
    .get = ISP_TRACE_FORMAT("rk_aiq_user_api2_alsc_GetAttrib failed with %#x!\n\n"),
    .set = ISP_TRACE_FORMAT("rk_aiq_user_api2_alsc_SetAttrib failed with %#x!\n\n"),
};

struct Name {
    char text[20];
};

/// Fills a name of an engine block, which has room for more.
template <std::size_t Size>
void copy_name(char (&to)[Size], const Name& from)
{
    static_assert(Size >= sizeof from.text);
    std::memcpy(to, from.text, sizeof from.text);
    std::memset(to + sizeof from.text, 0, Size - sizeof from.text);
}

/// Fills the first elements of an array of an engine block.
template <typename To, typename From, std::size_t Size>
void copy_to(To& to, const From (&from)[Size])
{
    static_assert(std::size(To{}) >= Size);
    std::copy(std::begin(from), std::end(from), std::begin(to));
}

#define RESOLUTION "5120x2880"
constexpr Name kResolution = {RESOLUTION};

// Widths and heights of the 16 x 16 sectors of the grid, in pixels: 5120 x 2880 in all.
constexpr uint16_t kSectorWidth = 320;
constexpr uint16_t kSectorHeight = 180;

// Sensor gains at which an illuminant's vignetting levels apply.
constexpr float kGains[4] = {1.0F, 4.0F, 8.0F, 16.0F};

constexpr float kFullVignetting = 100.0F;

/// What the fitted lens decides; the index into `names` and `wbGain` below.
struct Lens {
    int index;
    float low_vignetting; // of the low table of each illuminant
    float vig;
};
constexpr Lens kSR1053 = {.index = 1, .low_vignetting = 30.0F, .vig = 60.0F};
constexpr Lens kAnyOther = {.index = 0, .low_vignetting = 70.0F, .vig = 70.0F};

/// One illuminant: the engine's reference gains (red, blue) by lens, and which of the file's grids its tables carry.
struct Illuminant {
    Name name;
    Name low_used[2]; // by lens
    Name full_used;
    Name low_table[2]; // by lens
    Name full_table;
    float wbGain[2][2]; // by lens
    shading_grid shading_saving_para_s::* grids[4];
};

#define NAMES(illuminant)                                                                                              \
    {illuminant}, {{illuminant "_70"}, {illuminant "_30"}}, {illuminant "_100"},                                       \
        {{RESOLUTION "_" illuminant "_70"}, {RESOLUTION "_" illuminant "_30"}}, {RESOLUTION "_" illuminant "_100"}

using File = shading_saving_para_s;
#define GRIDS(source)                                                                                                  \
    {&File::source##_lsc_red, &File::source##_lsc_greenR, &File::source##_lsc_greenB, &File::source##_lsc_blue}

constexpr Illuminant kIlluminants[] = {
    {NAMES("A"), {{0.9908F, 2.9308F}, {1.116F, 3.4932F}}, GRIDS(A)},
    {NAMES("CWF"), {{1.4372F, 2.4877F}, {1.5152F, 3.0526F}}, GRIDS(CWF)},
    {NAMES("D50"), {{1.453F, 1.8288F}, {1.6261F, 2.3106F}}, GRIDS(D65)},
    {NAMES("D65"), {{1.6188F, 1.5214F}, {1.7949F, 2.3106F}}, GRIDS(D65)},
    {NAMES("D75"), {{1.7445F, 1.443F}, {1.9406F, 1.9103F}}, GRIDS(D65)},
    {NAMES("HZ"), {{0.8316F, 3.5712F}, {0.9526F, 4.1817F}}, GRIDS(A)},
    {NAMES("TL84"), {{1.364F, 2.3673F}, {1.3965F, 2.9188F}}, GRIDS(CWF)},
};
constexpr int kIlluminantCount = std::size(kIlluminants);

#undef NAMES
#undef GRIDS
#undef RESOLUTION

template <typename Common>
void fill_common(Common& common)
{
    common.enable = true;
    auto& resolution = common.resolutionAll[0];
    copy_name(resolution.name, kResolution);
    std::fill(std::begin(resolution.lsc_sect_size_x), std::end(resolution.lsc_sect_size_x), kSectorWidth);
    std::fill(std::begin(resolution.lsc_sect_size_y), std::end(resolution.lsc_sect_size_y), kSectorHeight);
    common.resolutionAll_len = 1;
}

template <typename To>
void fill_illuminant(To& to, const Illuminant& from, const Lens& lens)
{
    to.usedForCase = 0;
    copy_name(to.name, from.name);
    copy_to(to.wbGain, from.wbGain[lens.index]);
    copy_name(to.tableUsed[0], from.low_used[lens.index]);
    copy_name(to.tableUsed[1], from.full_used);
    to.tableUsed_len = 2;
    copy_to(to.gains, kGains);
    to.gains_len = 4;
    std::fill(std::begin(to.vig), std::end(to.vig), lens.vig);
    to.vig_len = 4;
}

template <typename To>
void fill_table(To& to, const Illuminant& from, const Name& name, float vignetting, const File& file)
{
    copy_name(to.name, name);
    copy_name(to.resolution, kResolution);
    copy_name(to.illumination, from.name);
    to.vignetting = vignetting;
    copy_to(to.lsc_samples_red.uCoeff, file.*from.grids[0]);
    copy_to(to.lsc_samples_greenR.uCoeff, file.*from.grids[1]);
    copy_to(to.lsc_samples_greenB.uCoeff, file.*from.grids[2]);
    copy_to(to.lsc_samples_blue.uCoeff, file.*from.grids[3]);
}

void fill_shading(rk_aiq_lsc_attrib_t& lsc, const Lens& lens, const File& file)
{
    lsc.byPass = false;
    lsc.mode = RK_AIQ_LSC_MODE_AUTO;
    lsc.sync.sync_mode = RK_AIQ_UAPI_MODE_ASYNC;
    lsc.sync.done = true;
    fill_common(lsc.stAuto.common);
    lsc.stAuto.alscCoef.damp_enable = true;
    lsc.stAuto.alscCoef.illAll_len = kIlluminantCount;
    lsc.stAuto.tbl.tableAll_len = 2 * kIlluminantCount;
    for (int i = 0; i < kIlluminantCount; ++i) {
        const Illuminant& illuminant = kIlluminants[i];
        fill_illuminant(lsc.stAuto.alscCoef.illAll[i], illuminant, lens);
        auto* tables = &lsc.stAuto.tbl.tableAll[2 * i];
        fill_table(tables[0], illuminant, illuminant.low_table[lens.index], lens.low_vignetting, file);
        fill_table(tables[1], illuminant, illuminant.full_table, kFullVignetting, file);
    }
}

namespace counting // as the exported function, but how many bytes there were, or -1
{

ssize_t user_load_shading_file(void* buf, int buf_size)
{
    return isp::load_record(__func__, isp::seam.shading_file, buf, buf_size);
}

} // namespace counting

} // namespace

int user_load_shading_file(char* buf, int buf_size)
{
    return counting::user_load_shading_file(buf, buf_size) < 0 ? -1 : 0;
}

int KIV_Set_shading(int isp_id)
{
    const isp::Call call{__func__, isp_id};
    if (!isp::valid_camera(call)) {
        return -1;
    }
    ISP_TRACE(__func__, "KIV_Set_shading()\n\n");
    if (access(isp::seam.shading_file, F_OK) != 0) {
        return -1;
    }
    File file;
    if (counting::user_load_shading_file(&file, sizeof file) != ssize_t{sizeof file}) {
        return -1; // nothing that was not measured reaches the engine
    }
    if (rkipc_aiq_get_ctx(isp_id) == nullptr) {
        return 0;
    }
    return isp::result(isp::modify<Lsc>(call, kTexts, [&](rk_aiq_lsc_attrib_t& lsc) {
        fill_shading(lsc, KIV_Get_Len_Types() == KIV_LEN_SR1053 ? kSR1053 : kAnyOther, file);
    }));
}
