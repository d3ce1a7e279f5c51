// Fixed orders of settings, at the restore and at an image style: what a sequence must do is what its setters do one
// after another.
#include "support/bench.h"

using namespace bench;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

constexpr int kCamera = 3;
using Record = kiv_isp_param_s;
using Names = std::vector<std::string_view>;

const Names kRead = {"exposure_mode", "expcomp_mode", "expcomp_level", "backlight",    "antiflicker",
                     "gain_limit",    "drc",          "wdr_strength",  "meter",        "luminance",
                     "saturation",    "contrast",     "sharpness",     "gamma",        "blackwhite_mode",
                     "wb_mode",       "awb_sens",     "hue",           "rgain_tuning", "bgain_tuning",
                     "nr2d",          "nr3d"};
const Names kRestored = {"exposure_mode", "expcomp_mode",    "expcomp_level", "backlight", "gain_limit", "antiflicker",
                         "drc",           "wdr_strength",    "meter",         "wb_mode",   "awb_sens",   "saturation",
                         "hue",           "rgain_tuning",    "bgain_tuning",  "luminance", "contrast",   "sharpness",
                         "gamma",         "blackwhite_mode", "nr2d",          "nr3d"};
// A style stores these without applying them, for the mode setters that follow.
const Names kStored = {"shutter", "iris", "bright", "manual_gain", "rgain", "bgain", "temperature"};
const Names kStyled = {"exposure_mode", "backlight", "wb_mode",  "expcomp_mode", "expcomp_level", "gain_limit",
                       "meter",         "drc",       "awb_sens", "rgain_tuning", "bgain_tuning",  "saturation",
                       "hue",           "luminance", "contrast", "sharpness",    "gamma",         "blackwhite_mode",
                       "nr2d",          "nr3d"};

/// Every setting at a value that is not its initial one, the exposure and white-balance modes as given.
Record telling_record(Exposure_Mode_E exposure_mode, WB_Mode_E wb_mode)
{
    Record record = sim::host::initial_record();
    int turn = 0;
    for (const sim::host::Setting& setting : sim::host::kSettings) {
        const auto names = sim::host::names_of(setting);
        int value = setting.lowest + ++turn % (setting.highest - setting.lowest + 1);
        if (!names.empty() && !setting.has_max()) { // a mode
            value = names[names[0].value == setting.initial ? 1 : 0].value;
        } else if (value == setting.initial) {
            value = value == setting.highest ? setting.lowest : value + 1;
        }
        record.*setting.member = value;
    }
    record.exposure_mode = exposure_mode;
    record.wb_mode = wb_mode;
    return record;
}

/// Those in which most settings apply, and those that re-apply stored ones.
const Record kTelling[] = {
    telling_record(AUTO_EXPOSURE, AUTO_WHITE_BALANCE),
    telling_record(MANUAL_EXPOSURE, MANUAL_WHITE_BALANCE),
    telling_record(SHUTTER_PRIORITY, TEMPERATURE),
};

class Sequences : public Bench
{
protected:
    Sequences()
    {
        KIV_Set_exposure_mode(6, AUTO_EXPOSURE); // the first one of a process does more than later ones
    }

    /// A camera with an engine and this record.
    static void begin_with(const Record& record)
    {
        start_camera(kCamera);
        sim::host::store_record(kCamera, record);
    }

    template <typename Action>
    static std::vector<std::string> lines_of(Action action)
    {
        std::vector<std::string> lines;
        std::ranges::transform(calls_of(action), std::back_inserter(lines), text);
        return lines;
    }

    /// Checks that `action`, starting with a record, makes the calls of `first` and then what the setters do in `order`
    /// with these values, where the settings `stored` have been stored; and leaves the same engine and store.
    template <typename Action>
    static void expect_sequence(const Record& start, std::vector<std::string> first, const Names& stored,
                                const Names& order, const Record& values, Action action)
    {
        begin_with(start);
        for (const std::string_view name : stored) {
            store(kCamera, name, values.*setting(name).member);
        }
        std::ranges::copy(lines_of([&] {
                              for (const std::string_view name : order) {
                                  set(kCamera, name, values.*setting(name).member);
                              }
                          }),
                          std::back_inserter(first));
        const sim::engine::Snapshot engine = sim::engine::snapshot(rkipc_aiq_get_ctx(kCamera));
        const Record left = sim::host::stored_record(kCamera);

        begin_with(start);
        EXPECT_EQ(lines_of(action), first);
        EXPECT_TRUE(sim::engine::changes(engine, sim::engine::snapshot(rkipc_aiq_get_ctx(kCamera))).empty());
        for (const sim::host::Setting& setting : sim::host::kSettings) {
            EXPECT_EQ(bench::stored(kCamera, setting.name), left.*setting.member) << setting.name;
        }
    }

    static void restore()
    {
        KIV_load_isp_para(kCamera);
    }
    static void apply_style()
    {
        EXPECT_EQ(KIV_Set_style(kCamera, style_soft), 0);
    }
};

TEST_F(Sequences, ARestoreReadsEverythingThenAppliesItInItsOrder)
{
    Record beyond = kTelling[0]; // levels that a setter lowers in the store after they were read
    beyond.saturation = 99;
    beyond.gain_limit = 40;
    for (const Record& record : {kTelling[0], kTelling[1], kTelling[2], beyond}) {
        std::vector<std::string> reads;
        for (const std::string_view name : kRead) {
            reads.push_back(
                text({"para_get_isp_" + std::string(name) + "_cur", kCamera, record.*setting(name).member}));
        }
        expect_sequence(record, reads, {}, kRestored, record, restore);
    }
    EXPECT_EQ(traces_of(restore).front(), "KIV_load_isp_para: isp_para\n\n");
}

// Beside these, nothing of the preset is stored.
TEST_F(Sequences, AStyleStoresItsPresetThenAppliesItInItsOrder)
{
    for (Record preset : kTelling) {
        preset.style = style_soft;
        sim::host::set_preset(style_soft, preset);
        std::vector<std::string> first = {text({"para_get_isp_style_param", kCamera, style_soft}),
                                          text({"para_set_isp_style_cur", kCamera, style_soft}),
                                          text({"para_isp_style_excute_by_arm", -1, 0})};
        Names stored = kStored;
        for (const std::string_view name : kStored) {
            first.push_back(
                text({"para_set_isp_" + std::string(name) + "_cur", kCamera, preset.*setting(name).member}));
        }
        stored.push_back("style");
        expect_sequence(sim::host::initial_record(), first, stored, kStyled, preset, apply_style);
    }
    EXPECT_EQ(traces_of(apply_style).front(), "KIV_Set_style: enter,style:5\n");
}

TEST_F(Sequences, AHostThatAppliesStylesGetsOnlyTheRecord)
{
    start_camera(kCamera);
    sim::host::set_host_applies_styles(true);
    EXPECT_THAT(names_of_calls([] { EXPECT_EQ(KIV_Set_style(kCamera, style_food), ISP_EXCUTE_BYARM); }),
                ElementsAre("para_get_isp_style_param", "para_set_isp_style_cur", "para_isp_style_excute_by_arm"));
    EXPECT_EQ(stored(kCamera, "style"), style_food);

    sim::inject_fault("para_isp_style_excute_by_arm", 1, 2); // only the answer 1 means that it does
    apply_style();
}

TEST_F(Sequences, AMissingPresetChangesNothing)
{
    start_camera(kCamera);
    sim::host::remove_preset(style_pc);
    for (const int style : {int{style_pc}, -1, 14, INT_MAX, INT_MIN}) {
        std::vector<std::string> traces;
        EXPECT_THAT(names_of_calls([&] {
                        traces = traces_of([&] { EXPECT_EQ(KIV_Set_style(kCamera, Imgstyle_Mode_E{style}), -1); });
                    }),
                    ElementsAre("para_get_isp_style_param"));
        EXPECT_THAT(traces, ElementsAre("KIV_Set_style: enter,style:" + std::to_string(style) + "\n",
                                        "KIV_Set_style: fail,style:" + std::to_string(style) + "\n"));
    }
}

} // namespace
