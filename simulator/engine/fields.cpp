// One line per field of the attribute blocks. From this table come the values that a new context holds, a block as
// names and values, and what changed in a context.
#include "engine/contexts.h"

#include <cstddef>
#include <cstdio>
#include <cstring>

namespace sim::engine
{
namespace
{

template <typename T>
Value value_at(const unsigned char* at)
{
    if constexpr (std::is_same_v<T, bool>) {
        return *at != 0;
    } else if constexpr (std::is_same_v<T, char>) {
        const auto* const text = reinterpret_cast<const char*>(at);
        return std::string(text, strnlen(text, RK_AIQ_LSC_NAME_SIZE));
    } else {
        T value;
        std::memcpy(&value, at, sizeof(value));
        return std::conditional_t<std::is_same_v<T, float>, float, int>{value};
    }
}

template <typename T>
void put(unsigned char* at, double value)
{
    const T typed = static_cast<T>(value);
    std::memcpy(at, &typed, sizeof(typed));
}

// What an element's type says: a char array is one element.
struct Shape {
    Value (*value_at)(const unsigned char* at);
    void (*put)(unsigned char* at, double value); // null: a text
    std::size_t size;                             // bytes per element
    std::size_t count;                            // elements
    bool array;
};

template <typename Member>
constexpr Shape shape_of()
{
    using Scalar = std::remove_all_extents_t<Member>;
    using T = std::conditional_t<std::is_enum_v<Scalar>, int, Scalar>;
    constexpr bool text = std::is_same_v<T, char>;
    constexpr std::size_t size = text ? RK_AIQ_LSC_NAME_SIZE : sizeof(Scalar);
    static_assert(sizeof(T) == sizeof(Scalar));
    return {value_at<T>, text ? nullptr : put<T>, size, sizeof(Member) / size, std::rank_v<Member> > (text ? 1 : 0)};
}

// Initial value of element i of record r: first + step * i + record_step * r. In a scattered array, (7 * i mod count)
// stands for i. A text is the field's name and the indexes.
struct Values {
    double first = 0.0;
    double step = 0.0;
    double record_step = 0.0;
    bool scattered = false;
};

struct Entry {
    const char* block;
    const char* path;   // of the field, or of the array of records that it is in
    const char* member; // within a record, null: not in an array of records
    Shape shape;
    std::size_t offset; // of the first element in Blocks
    std::size_t records;
    std::size_t stride; // bytes per record
    Values values;
};

#define FIELD(block, path, ...)                                                                                        \
    Entry(#block, #path, nullptr, shape_of<decltype(Blocks::block.path)>(), offsetof(Blocks, block.path), 1, 0,        \
          Values(__VA_ARGS__))
#define RECORD_FIELD(block, path, member, ...)                                                                         \
    Entry(#block, #path, #member, shape_of<decltype(Blocks::block.path[0].member)>(),                                  \
          offsetof(Blocks, block.path[0].member), sizeof(Blocks::block.path) / sizeof(Blocks::block.path[0]),          \
          sizeof(Blocks::block.path[0]), Values(__VA_ARGS__))
#define SYNC(block, done_first) FIELD(block, sync.sync_mode, RK_AIQ_UAPI_MODE_SYNC), FIELD(block, sync.done, done_first)

// Sensible for exposure and white balance to start from; elsewhere values that nothing else would write.
constexpr Entry kFields[] = {
    SYNC(ae, true),
    FIELD(ae, Enable, true),
    FIELD(ae, AecRunInterval, 3),
    FIELD(ae, AecOpType, RK_AIQ_OP_MODE_AUTO),
    FIELD(ae, GridWeights.uCoeff, 30, 1, 0, true),
    FIELD(ae, stAuto.LinAeRange.stExpTimeRange.Min, 0.00011),
    FIELD(ae, stAuto.LinAeRange.stExpTimeRange.Max, 0.0321),
    FIELD(ae, stAuto.LinAeRange.stGainRange.Min, 1.03),
    FIELD(ae, stAuto.LinAeRange.stGainRange.Max, 18.5),
    FIELD(ae, stAuto.stFrmRate.isFpsFix, false),
    FIELD(ae, stAuto.stFrmRate.FpsValue, 29.5),
    FIELD(ae, stAuto.stAntiFlicker.enable, true),
    FIELD(ae, stAuto.stAntiFlicker.Frequency, AECV2_FLICKER_FREQUENCY_60HZ),
    FIELD(ae, stAuto.stAntiFlicker.Mode, AECV2_ANTIFLICKER_AUTO_MODE),
    FIELD(ae, stAuto.AeSpeed, 0.45),
    FIELD(ae, stAuto.BlackDelay, 4),
    FIELD(ae, stAuto.WhiteDelay, 5),
    FIELD(ae, stManual.LinearAE.ManualTimeEn, false),
    FIELD(ae, stManual.LinearAE.ManualGainEn, false),
    FIELD(ae, stManual.LinearAE.ManualIspDgainEn, false),
    FIELD(ae, stManual.LinearAE.TimeValue, 0.0123),
    FIELD(ae, stManual.LinearAE.GainValue, 1.75),
    FIELD(ae, stManual.LinearAE.IspDGainValue, 1.125),
    FIELD(ae, stAdvanced.SetAeRangeEn, false),
    FIELD(ae, stAdvanced.SetLinAeRange.stExpTimeRange.Min, 0.00022),
    FIELD(ae, stAdvanced.SetLinAeRange.stExpTimeRange.Max, 0.0311),
    FIELD(ae, stAdvanced.SetLinAeRange.stGainRange.Min, 1.06),
    FIELD(ae, stAdvanced.SetLinAeRange.stGainRange.Max, 19.5),
    FIELD(ae, stAdvanced.GridWeights.uCoeff, 29, 1, 0, true),
    FIELD(ae, stAdvanced.DayGridWeights.uCoeff, 28, 1, 0, true),
    FIELD(ae, stAdvanced.NightGridWeights.uCoeff, 27, 1, 0, true),

    SYNC(lin_ae, true),
    FIELD(lin_ae, Params.Evbias, 1.5),
    FIELD(lin_ae, Params.ToleranceIn, 6.25),
    FIELD(lin_ae, Params.ToleranceOut, 8.75),
    FIELD(lin_ae, Params.DySetpoint.array_size, kSetpoints),
    Entry("lin_ae", "Params.DySetpoint.DySetpoint", nullptr, shape_of<float[kSetpoints]>(), offsetof(Blocks, setpoints),
          1, 0, Values(60.0, -1.5)),

    FIELD(gain_range, max, 15.5),
    FIELD(gain_range, min, 1.0),

    SYNC(wb_mode, true),
    FIELD(wb_mode, mode, RK_AIQ_WB_MODE_AUTO),
    SYNC(wb_manual, true),
    FIELD(wb_manual, mode, RK_AIQ_MWB_MODE_SCENE),
    FIELD(wb_manual, para.gain.rgain, 1.61),
    FIELD(wb_manual, para.gain.grgain, 1.02),
    FIELD(wb_manual, para.gain.gbgain, 1.03),
    FIELD(wb_manual, para.gain.bgain, 1.72),
    FIELD(wb_manual, para.scene, 4),
    FIELD(wb_manual, para.cct.CCT, 5321.0),
    FIELD(wb_manual, para.cct.CCRI, 0.031),
    SYNC(wb_offset, true),
    FIELD(wb_offset, gainOffset.enable, false),
    FIELD(wb_offset, gainOffset.offset, 0.011, 0.001),

    SYNC(acp, true),
    FIELD(acp, brightness, 41),
    FIELD(acp, contrast, 42),
    FIELD(acp, saturation, 43),
    FIELD(acp, hue, 44),

    SYNC(sharp, true),
    FIELD(sharp, eMode, ASHARP4_OP_MODE_AUTO),
    FIELD(sharp, stAuto.stParams.enable, 1),
    FIELD(sharp, stAuto.stParams.iso, 51, 50),
    FIELD(sharp, stAuto.stParams.sharp_ratio, 20.25, 0.125),
    FIELD(sharp, stAuto.stParams.pbf_ratio, 0.31, 0.01),

    SYNC(gamma, true),
    FIELD(gamma, atrrV21.mode, GAMMA_MODE_FAST),
    FIELD(gamma, atrrV21.GammaCoef, 2.15),
    FIELD(gamma, atrrV30.mode, GAMMA_MODE_FAST),
    FIELD(gamma, atrrV30.stManual.Gamma_en, false),
    FIELD(gamma, atrrV30.stManual.Gamma_out_offset, 7),
    FIELD(gamma, atrrV30.stManual.Gamma_curve, 5, 83),
    FIELD(gamma, atrrV30.stFast.en, true),
    FIELD(gamma, atrrV30.stFast.GammaCoef, 2.25),
    FIELD(gamma, atrrV30.stFast.SlopeAtZero, 0.05),

    SYNC(drc, true),
    FIELD(drc, Version, ADRC_VERSION_356X),
    FIELD(drc, opMode, DRC_OPMODE_MANUAL),
    FIELD(drc, stAutoV30.DrcTuningPara.Enable, true),
    FIELD(drc, stAutoV30.DrcTuningPara.DrcGain.CtrlData, 0.02, 0.07),
    FIELD(drc, stAutoV30.DrcTuningPara.DrcGain.DrcGain, 3.05, 0.11),
    FIELD(drc, stAutoV30.DrcTuningPara.DrcGain.Alpha, 0.21, 0.013),
    FIELD(drc, stAutoV30.DrcTuningPara.DrcGain.Clip, 16.1, 0.3),

    SYNC(nr2d, true),
    FIELD(nr2d, eMode, ABAYER2DNR_OP_MODE_MANUAL),
    FIELD(nr2d, stAuto.st2DParams.enable, 0),
    FIELD(nr2d, stAuto.st2DParams.iso, 52, 50),
    FIELD(nr2d, stAuto.st2DParams.filter_strength, 20.5, 0.25),
    FIELD(nr2d, stAuto.st2DParams.edgesofts, 30.5, 0.25),
    FIELD(nr2d, stAuto.st2DParams.weight, 0.41, 0.02),
    SYNC(nr3d, true),
    FIELD(nr3d, eMode, ABAYERTNRV2_OP_MODE_MANUAL),
    FIELD(nr3d, stAuto.st3DParams.enable, 1),
    FIELD(nr3d, stAuto.st3DParams.iso, 53, 50),
    FIELD(nr3d, stAuto.st3DParams.lo_filter_strength, 20.75, 0.25),
    FIELD(nr3d, stAuto.st3DParams.hi_filter_strength, 30.75, 0.25),
    FIELD(nr3d, stAuto.st3DParams.lo_clipwgt, 0.035, 0.001),

    SYNC(csm, true),
    FIELD(csm, param.op_mode, RK_AIQ_OP_MODE_AUTO),
    FIELD(csm, param.full_range, false),
    FIELD(csm, param.y_offset, 11),
    FIELD(csm, param.c_offset, 117),
    FIELD(csm, param.coeff, 0.91, 0.012),

    SYNC(lsc, false),
    FIELD(lsc, byPass, true),
    FIELD(lsc, mode, RK_AIQ_LSC_MODE_MANUAL),
    FIELD(lsc, stManual.lsc_samples_red.uCoeff, 30001, 1),
    FIELD(lsc, stManual.lsc_samples_greenR.uCoeff, 30301, 1),
    FIELD(lsc, stManual.lsc_samples_greenB.uCoeff, 30601, 1),
    FIELD(lsc, stManual.lsc_samples_blue.uCoeff, 30901, 1),
    FIELD(lsc, stAuto.common.enable, false),
    RECORD_FIELD(lsc, stAuto.common.resolutionAll, name),
    RECORD_FIELD(lsc, stAuto.common.resolutionAll, lsc_sect_size_x, 101, 1, 40),
    RECORD_FIELD(lsc, stAuto.common.resolutionAll, lsc_sect_size_y, 121, 1, 40),
    FIELD(lsc, stAuto.common.resolutionAll_len, 3),
    FIELD(lsc, stAuto.alscCoef.damp_enable, false),
    RECORD_FIELD(lsc, stAuto.alscCoef.illAll, usedForCase, 11, 0, 1),
    RECORD_FIELD(lsc, stAuto.alscCoef.illAll, name),
    RECORD_FIELD(lsc, stAuto.alscCoef.illAll, wbGain, 5.05, 0.02, 0.05),
    RECORD_FIELD(lsc, stAuto.alscCoef.illAll, tableUsed),
    RECORD_FIELD(lsc, stAuto.alscCoef.illAll, tableUsed_len, 3),
    RECORD_FIELD(lsc, stAuto.alscCoef.illAll, gains, 1.5, 2.25, 0.125),
    RECORD_FIELD(lsc, stAuto.alscCoef.illAll, gains_len, 3),
    RECORD_FIELD(lsc, stAuto.alscCoef.illAll, vig, 40.5, 2.25, 0.125),
    RECORD_FIELD(lsc, stAuto.alscCoef.illAll, vig_len, 3),
    FIELD(lsc, stAuto.alscCoef.illAll_len, 5),
    RECORD_FIELD(lsc, stAuto.tbl.tableAll, name),
    RECORD_FIELD(lsc, stAuto.tbl.tableAll, resolution),
    RECORD_FIELD(lsc, stAuto.tbl.tableAll, illumination),
    RECORD_FIELD(lsc, stAuto.tbl.tableAll, vignetting, 50.5, 0, 1),
    RECORD_FIELD(lsc, stAuto.tbl.tableAll, lsc_samples_red.uCoeff, 1024, 1, 1200),
    RECORD_FIELD(lsc, stAuto.tbl.tableAll, lsc_samples_greenR.uCoeff, 1324, 1, 1200),
    RECORD_FIELD(lsc, stAuto.tbl.tableAll, lsc_samples_greenB.uCoeff, 1624, 1, 1200),
    RECORD_FIELD(lsc, stAuto.tbl.tableAll, lsc_samples_blue.uCoeff, 1924, 1, 1200),
    FIELD(lsc, stAuto.tbl.tableAll_len, 11),
};

template <typename Byte>
Byte* element(Byte* blocks, const Entry& field, std::size_t record, std::size_t i)
{
    return blocks + field.offset + record * field.stride + i * field.shape.size;
}

void put_initial(unsigned char* at, const Entry& field, std::size_t record, std::size_t i)
{
    const Values& v = field.values;
    const std::size_t place = v.scattered ? 7 * i % field.shape.count : i;
    if (field.shape.put != nullptr) {
        field.shape.put(at,
                        v.first + v.step * static_cast<double>(place) + v.record_step * static_cast<double>(record));
    } else {
        std::snprintf(reinterpret_cast<char*>(at), field.shape.size, "%s_%zu_%zu", field.member, record, i);
    }
}

// Adds one array, or runs of its elements that differ from earlier ones. An array of records that have one value each
// is an array of these values.
void list_array(std::vector<Field>& list, const std::string& prefix, const unsigned char* blocks,
                const unsigned char* earlier, const Entry& field, std::size_t record)
{
    const bool of_records = field.records > 1 && field.shape.count == 1;
    const std::size_t count = of_records ? field.records : field.shape.count;
    const auto at = [&](const unsigned char* from, std::size_t i) {
        return of_records ? element(from, field, i, 0) : element(from, field, record, i);
    };
    const auto differs = [&](std::size_t i) {
        return earlier == nullptr || std::memcmp(at(earlier, i), at(blocks, i), field.shape.size) != 0;
    };
    for (std::size_t i = 0; i < count; ++i) {
        Field found;
        const std::size_t first = i;
        for (; i < count && differs(i); ++i) {
            found.values.push_back(field.shape.value_at(at(blocks, i)));
            if (earlier != nullptr) {
                found.before.push_back(field.shape.value_at(at(earlier, i)));
            }
        }
        if (found.values.empty()) {
            continue;
        }
        const std::string indexes =
            "[" + std::to_string(first) + (i - first > 1 ? ".." + std::to_string(i - 1) : "") + "]";
        found.name = prefix + field.path;
        if (field.member != nullptr) {
            found.name += (of_records ? indexes : "[" + std::to_string(record) + "]") + "." + field.member;
        }
        if (field.shape.array && !of_records) {
            found.name += indexes;
        }
        list.push_back(std::move(found));
    }
}

// The fields of one block, or of all (null), which are named with theirs.
std::vector<Field> list_fields(const Snapshot& blocks, const Snapshot& earlier, const std::string_view* block)
{
    std::vector<Field> list;
    for (const Entry& field : kFields) {
        if (blocks.empty() || (block != nullptr && *block != field.block)) {
            continue;
        }
        const unsigned char* const first = element(blocks.data(), field, 0, 0);
        const unsigned char* const last = element(blocks.data(), field, field.records - 1, field.shape.count);
        if (!earlier.empty() && std::equal(first, last, element(earlier.data(), field, 0, 0))) {
            continue;
        }
        const std::size_t arrays = field.shape.count == 1 ? 1 : field.records;
        for (std::size_t record = 0; record < arrays; ++record) {
            list_array(list, block != nullptr ? "" : std::string(field.block) + ".", blocks.data(),
                       earlier.empty() ? nullptr : earlier.data(), field, record);
        }
    }
    return list;
}

} // namespace

const Blocks& initial_blocks()
{
    static const Blocks& blocks = []() -> const Blocks& {
        Blocks& b = *new Blocks{};
        auto* const bytes = reinterpret_cast<unsigned char*>(&b);
        for (const Entry& field : kFields) {
            for (std::size_t record = 0; record < field.records; ++record) {
                for (std::size_t i = 0; i < field.shape.count; ++i) {
                    put_initial(element(bytes, field, record, i), field, record, i);
                }
            }
        }
        b.lin_ae.Params.DySetpoint.DySetpoint = b.setpoints;
        b.exposure_result.LinAeInfo = {.LinearExp = {.integration_time = 1.0F / 120.0F,
                                                     .analog_gain = 1.0F,
                                                     .digital_gain = 1.0F,
                                                     .isp_dgain = 1.0F},
                                       .MeanLuma = b.setpoints[0],
                                       .LumaDeviation = 0.0F};
        b.wb_result.gain = {.rgain = 1.5F, .grgain = 1.0F, .gbgain = 1.0F, .bgain = 2.0F};
        b.wb_result.cctGloabl = {.CCT = 5000.0F, .CCRI = 0.0F};
        return b;
    }();
    return blocks;
}

std::vector<std::string> block_names()
{
    std::vector<std::string> names;
    for (const Entry& field : kFields) {
        if (names.empty() || names.back() != field.block) {
            names.emplace_back(field.block);
        }
    }
    return names;
}

Snapshot snapshot(const void* pointer)
{
    Context* const context = find(pointer);
    if (!context) {
        return {};
    }
    const std::lock_guard lock(context->lock);
    const auto* const bytes = reinterpret_cast<const unsigned char*>(&context->blocks);
    return {bytes, bytes + sizeof(Blocks)};
}

std::string text_of(const Value& value)
{
    if (const auto* const number = std::get_if<float>(&value)) {
        char text[32];
        std::snprintf(text, sizeof(text), "%.6g", static_cast<double>(*number));
        return text;
    }
    if (const auto* const number = std::get_if<int>(&value)) {
        return std::to_string(*number);
    }
    const auto* const text = std::get_if<std::string>(&value);
    return text != nullptr ? *text : std::get<bool>(value) ? "true" : "false";
}

std::vector<Field> describe(const void* context, std::string_view block)
{
    return list_fields(snapshot(context), {}, &block);
}

std::vector<Field> changes(const Snapshot& before, const Snapshot& after)
{
    return list_fields(after, before, nullptr);
}

} // namespace sim::engine
