// The automatic iris's decision, as a function: every threshold of the rules one below, at and one above, the counted
// cycles, the limits and what a command keeps from earlier ones.
#include "isp_auto_iris/iris_rules.h"
#include "support/bench.h"

#include <bit>
#include <climits>
#include <cmath>

using namespace isp::iris;

namespace
{

constexpr int kTarget = 100; // target luma: too dark below 90, too bright above 115
constexpr int kWidest = 800;
constexpr int kNarrowest = 257;

Iris_Info_Param lens(int iris, int zoom = 0)
{
    Iris_Info_Param record{};
    record.autoFlag = 1;
    record.curIris = static_cast<int16_t>(iris);
    record.curZoom = static_cast<int16_t>(zoom);
    std::copy(std::begin(sim::host::kIrisCalibration), std::end(sim::host::kIrisCalibration), record.irisStep);
    return record;
}

CycleInput gain(int iso, int luma, int max_iso = 2200) // shutter priority
{
    return {SHUTTER_PRIORITY, FLICKER_50HZ, {iso, 0, max_iso, luma, kTarget}};
}

CycleInput mains(int antiflicker, int lux, int luma, int iso = 100, int max_iso = 2200)
{
    return {AUTO_EXPOSURE, antiflicker, {iso, lux, max_iso, luma, kTarget}};
}

CycleInput target_1000(int lux, int luma)
{
    return {AUTO_EXPOSURE, FLICKER_50HZ, {100, lux, 2200, luma, 1000}};
}

const CycleInput kOpenWide = mains(FLICKER_OFF, 1000, 100);
const CycleInput kTooBright = mains(FLICKER_50HZ, 1000, 116);
const CycleInput kTooDark = mains(FLICKER_50HZ, 2501, 100);
const CycleInput kQuiet = mains(FLICKER_50HZ, 2000, 100);

struct Rig {
    LoopState state{};
    bool sent = false;

    void cycle(const Iris_Info_Param& record, const CycleInput& input)
    {
        sent = decide(state, record, input);
    }
    // The command as "to POSITION" or "by STEPS", "-" when none is sent.
    std::string command() const
    {
        return !sent                 ? "-"
               : state.command.toDst ? "to " + std::to_string(state.command.dstIris)
                                     : "by " + std::to_string(state.command.steps);
    }
    std::string after(const Iris_Info_Param& record, const CycleInput& input)
    {
        cycle(record, input);
        return command();
    }
};

} // namespace

// Each row runs single cycles from one state, with all values of one figure from the first to the last that it names.
// The letters are the states that follow from there on: idle, closing, opening; small: closing or opening ended.
TEST(IrisRules, StatesChangeAtTheirThresholds)
{
    constexpr int k50 = FLICKER_50HZ, k60 = FLICKER_60HZ;
    const struct {
        IrisFlag before;
        CycleInput (*input)(int value);
        const char* after;
    } rows[] = {
        // Shutter priority: closing starts,
        {kIdle, [](int iso) { return gain(iso, 116); }, "102C 104I"},
        {kIdle, [](int luma) { return gain(103, luma); }, "114I 116C 117C"},
        {kClosingEnded, [](int iso) { return gain(iso, 116); }, "103C 104c"},
        {kOpeningEnded, [](int iso) { return gain(iso, 116); }, "103C 104o"},
        {kOpening, [](int iso) { return gain(iso, 116, 180); }, "103O"},
        // ends,
        {kClosing, [](int iso) { return gain(iso, 100); }, "119C 121c"},
        {kClosing, [](int luma) { return gain(110, luma); }, "88c 90C 91C"},
        // opening starts, also out of closing, which ends in the same cycle; dark at a low ceiling of the gain,
        {kIdle, [](int iso) { return gain(iso, 100); }, "249I 251O"},
        {kClosingEnded, [](int iso) { return gain(iso, 100); }, "250c 251O"},
        {kClosing, [](int iso) { return gain(iso, 100); }, "250c 251O"},
        {kIdle, [](int luma) { return gain(249, luma, 249); }, "88O 90I"},
        {kIdle, [](int iso) { return gain(iso, 89, iso); }, "248O 250I"},
        {kIdle, [](int max_iso) { return gain(248, 89, max_iso); }, "247I 248O 249I"},
        // ends, which takes a ceiling above 180, or below it light enough and a gain below the ceiling.
        {kOpening, [](int iso) { return gain(iso, 100); }, "178o 180O"},
        {kOpening, [](int max_iso) { return gain(178, 116, max_iso); }, "178O 179o 180O 181o"},
        {kOpening, [](int max_iso) { return gain(178, 115, max_iso); }, "178O 181o"},
        {kOpening, [](int iso) { return gain(iso, 116, 179); }, "178o 179O 180O"},
        // Mains: closing starts at the shortest exposure,
        {kIdle, [](int lux) { return mains(k50, lux, 116); }, "994I 995C 1006I"},
        {kIdle, [](int lux) { return mains(k60, lux, 116); }, "827I 828C 841I"},
        {kIdle, [](int luma) { return mains(k50, 1000, luma); }, "114I 116C"},
        {kIdle, [](int luma) { return mains(k60, 833, luma); }, "114I 116C"},
        {kIdle, [](int flicker) { return mains(flicker, 1000, 116); }, "1C 2I 3I"}, // 50 Hz, 60 Hz, without a name
        {kOpening, [](int lux) { return mains(k50, lux, 116, 100, 180); }, "1000O"},
        // ends,
        {kClosing, [](int lux) { return mains(k50, lux, 100); }, "1199C 1201c"},
        {kClosing, [](int lux) { return mains(k60, lux, 100); }, "999C 1001c"},
        {kClosing, [](int luma) { return mains(k50, 900, luma); }, "88c 90C"},
        {kClosing, [](int luma) { return mains(5, 900, luma); }, "88c 90C"},
        // opening starts; the gain's ceiling counts at 50 Hz alone,
        {kIdle, [](int lux) { return mains(k50, lux, 100); }, "2499I 2501O"},
        {kIdle, [](int lux) { return mains(k60, lux, 100); }, "2159I 2161O"},
        {kClosing, [](int lux) { return mains(k50, lux, 100); }, "2500c 2501O"},
        {kIdle, [](int luma) { return mains(k50, 2000, luma, 249, 249); }, "88O 90I"},
        {kIdle, [](int iso) { return mains(k50, 2000, 89, iso, iso); }, "248O 250I"},
        {kIdle, [](int max_iso) { return mains(k50, 2000, 89, 248, max_iso); }, "247I 248O 249I"},
        {kIdle, [](int luma) { return mains(k60, 2000, luma, 249, 249); }, "89I"},
        // ends.
        {kOpening, [](int lux) { return mains(k50, lux, 100); }, "1798o 1800O"},
        {kOpening, [](int max_iso) { return mains(k50, 1799, 116, 178, max_iso); }, "178O 179o 180O 181o"},
        {kOpening, [](int max_iso) { return mains(k50, 1799, 115, 178, max_iso); }, "178O 181o"},
        {kOpening, [](int iso) { return mains(k50, 1799, 116, iso, 179); }, "178o 179O 180O"},
        {kOpening, [](int lux) { return mains(k60, lux, 100, 100, 180); }, "1748o 1750O"},
        {kOpening, [](int flicker) { return mains(flicker, 1000, 100); }, "1o 3O"}, // 50 Hz, 60 Hz, without a name
        // Dark and bright are shares of the target, here 1000.
        {kClosing, [](int luma) { return target_1000(900, luma); }, "899c 900C"},
        {kIdle, [](int luma) { return target_1000(1000, luma); }, "1150I 1151C"},
        // Opening wide leaves the state.
        {kClosing, [](int lux) { return mains(FLICKER_OFF, lux, 100); }, "2501C"},
        {kOpening, [](int lux) { return mains(FLICKER_OFF, lux, 116); }, "1000O"},
    };
    for (const auto& row : rows) {
        const std::map<char, IrisFlag> kStates = {
            {'I', kIdle}, {'C', kClosing}, {'c', kClosingEnded}, {'O', kOpening}, {'o', kOpeningEnded}};
        const bench::Words from = bench::words(row.after);
        for (std::size_t i = 0; i < from.size(); ++i) {
            const int end = i + 1 < from.size() ? std::stoi(from[i + 1]) : std::stoi(from[i]) + 1;
            for (int value = std::stoi(from[i]); value < end; ++value) {
                Rig rig;
                rig.state.auto_iris_flag = row.before;
                rig.cycle(lens(400), row.input(value));
                EXPECT_EQ(rig.state.auto_iris_flag, kStates.at(from[i].back()))
                    << "row " << &row - rows << ", " << value;
            }
        }
    }
}

TEST(IrisRules, StepsAreCommandedFromTheThirtiethCycleOn)
{
    Rig rig;
    for (int i = 1; i <= 29; ++i) {
        EXPECT_EQ(rig.after(lens(400), kTooBright), "by 0") << i; // closing calls in every cycle
    }
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(rig.after(lens(400), kTooBright), "by -1");
    }
    EXPECT_EQ(rig.after(lens(400), mains(FLICKER_50HZ, 1100, 100)), "by -1"); // no rule applies: the command stays
    EXPECT_EQ(rig.after(lens(400), mains(FLICKER_50HZ, 1201, 100)), "by 0");  // stopped, and said so once
    EXPECT_EQ(rig.after(lens(400), mains(FLICKER_50HZ, 1201, 100)), "-");
    EXPECT_EQ(rig.state.command.dstIris, kWidest);

    for (int i = 1; i <= 29; ++i) { // opening counts anew, and says nothing before its first step
        EXPECT_EQ(rig.after(lens(400), kTooDark), "-") << i;
    }
    EXPECT_EQ(rig.after(lens(400), kTooDark), "by 1");
    EXPECT_EQ(rig.after(lens(400), mains(FLICKER_50HZ, 1799, 100)), "by 0");
    EXPECT_EQ(rig.after(lens(400), kQuiet), "-");

    Rig pausing; // a cycle in which no rule applies is not counted
    for (int i = 1; i <= 29; ++i) {
        pausing.cycle(lens(400), kTooBright);
        EXPECT_EQ(pausing.after(lens(400), mains(FLICKER_50HZ, 1100, 100)), "by 0");
    }
    EXPECT_EQ(pausing.after(lens(400), kTooBright), "by -1");
}

TEST(IrisRules, StepSizeFollowsBrightnessAndPosition)
{
    const std::tuple<int, int, int, int> rows[] = {
        {424, 199, 100, 1}, {425, 199, 100, 2}, {424, 200, 100, 4},
        {425, 200, 100, 4}, {300, 0, 0, 4},     {300, 199, INT_MAX, 1},
    };
    for (const auto& [iris, luma, target, step] : rows) {
        Rig rig;
        rig.cycle(lens(iris), {AUTO_EXPOSURE, FLICKER_50HZ, {100, 2000, 2200, luma, target}});
        EXPECT_EQ(rig.state.step, step);
        EXPECT_EQ(rig.state.step_open, step);
    }
}

TEST(IrisRules, LimitsShortenOrEndTheMovement)
{
    const CycleInput far_too_bright = mains(FLICKER_50HZ, 1000, 200); // step 4
    const struct {
        const char* what;
        int iris;
        IrisFlag before;
        int count;
        CycleInput input;
        const char* command;
        IrisFlag after;
    } rows[] = {
        {"closing, a step from the end", 258, kClosing, 30, kTooBright, "by -1", kClosing},
        {"closing, at the end", 257, kClosing, 30, kTooBright, "-", kClosingEnded},
        {"below the end", 256, kIdle, 0, kQuiet, "to 257", kIdle},
        {"closing, below the end", 250, kClosing, 30, kTooBright, "to 257", kClosingEnded},
        {"a long step to the end", 260, kClosing, 0, mains(FLICKER_50HZ, 1100, 200), "by -3", kClosingEnded},
        {"a long step from further", 261, kClosing, 30, far_too_bright, "by -4", kClosing},
        {"a long step from further, not too bright", 261, kClosing, 0, mains(FLICKER_50HZ, 1100, 200), "by 0",
         kClosing},
        {"opening, a step from the end", 798, kOpening, 30, kTooDark, "by 2", kOpening},
        {"opening, a step from the end, not for long yet", 798, kOpening, 0, kTooDark, "-", kOpening},
        {"idle, a step from the end", 798, kIdle, 0, kQuiet, "-", kIdle},
        {"opening, less than a step", 799, kOpening, 0, kTooDark, "by 1", kOpening},
        {"opening, at the end", 800, kOpening, 30, kTooDark, "-", kOpeningEnded},
        {"idle near the end creeps there", 799, kIdle, 0, kQuiet, "by 1", kOpeningEnded},
        {"beyond the end, not for long yet", 801, kIdle, 0, kQuiet, "-", kOpeningEnded},
    };
    for (const auto& row : rows) {
        Rig rig;
        rig.state.auto_iris_flag = row.before;
        rig.state.count = row.count;
        EXPECT_EQ(rig.after(lens(row.iris), row.input), row.command) << row.what;
        EXPECT_EQ(rig.state.auto_iris_flag, row.after) << row.what;
    }
}

// What a cycle leaves of an earlier command, here to position 5 with 77 steps.
TEST(IrisRules, AMoveIsRelativeWhateverWasCommandedBefore)
{
    const std::tuple<const char*, int, IrisFlag, CycleInput, int, int> rows[] = {
        {"closing starts", 400, kIdle, kTooBright, kWidest, 77},
        {"closing ends", 400, kClosing, mains(FLICKER_50HZ, 1201, 100), kWidest, 0},
        {"closing starts at the end", 257, kIdle, kTooBright, kWidest, 0},
        {"opening starts", 400, kIdle, kTooDark, kWidest, 77},
        {"opening ends", 400, kOpening, mains(FLICKER_50HZ, 1799, 100), kWidest, 0},
        {"closing near the end", 260, kClosing, mains(FLICKER_50HZ, 1100, 200), 5, -3},
        {"near the widest", 799, kIdle, kQuiet, 5, 1},
    };
    for (const auto& [what, iris, before, input, dstIris, steps] : rows) {
        Rig rig;
        rig.state.auto_iris_flag = before;
        rig.state.command = {1, 5, 77};
        rig.cycle(lens(iris), input);
        EXPECT_EQ(rig.state.command.toDst, 0) << what;
        EXPECT_EQ(rig.state.command.dstIris, dstIris) << what;
        EXPECT_EQ(rig.state.command.steps, steps) << what;
    }
}

TEST(IrisRules, WithoutAntiflickerTheIrisOpens)
{
    const struct {
        int iris;
        const char* command;
    } rows[] = {{257, "by 3"}, {700, "by 3"}, {796, "by 3"}, {797, "by 3"},   {798, "by 2"},
                {799, "by 1"}, {800, "by 0"}, {801, "by 0"}, {256, "to 257"}, {-5, "to 257"}};
    for (const auto& row : rows) {
        Rig rig;
        rig.state.command.steps = 77;
        Iris_Info_Param record = lens(row.iris);
        record.irisStep[4] = kWidest; // the smallest step everywhere
        EXPECT_EQ(rig.after(record, kOpenWide), row.command);
        const bool absolute = rig.state.command.toDst == 1;
        EXPECT_EQ(rig.state.command.dstIris, absolute ? kNarrowest : kWidest);
        EXPECT_EQ(rig.state.command.steps == 77, absolute); // kept
    }
}

TEST(IrisRules, AZoomIsActedOnFromTheEleventhCycle)
{
    Rig rig;
    for (const int zoom : {3000, 6000, 0}) {
        for (int i = 1; i <= 10; ++i) {
            EXPECT_EQ(rig.after(lens(500, zoom), kOpenWide), "-") << zoom << ", cycle " << i;
        }
        EXPECT_EQ(rig.after(lens(500, zoom), kOpenWide), "by 6") << zoom;
        EXPECT_EQ(rig.state.command.dstIris, zoom == 3000 ? 723 : zoom == 6000 ? 638 : 800);
    }
    for (int i = 1; i <= 35; ++i) { // never while it moves
        EXPECT_EQ(rig.after(lens(500, i), kOpenWide), "-") << i;
    }
    EXPECT_EQ(rig.state.last_zoom, 30);
}

TEST(IrisRules, AnIrisTooWideForTheZoomIsBroughtBack)
{
    Rig rig;
    rig.state.last_zoom = 3000; // widest 723
    rig.state.command.steps = 9;
    for (int i = 1; i <= 9; ++i) {
        EXPECT_EQ(rig.after(lens(760, 3000), kQuiet), "-") << i;
    }
    EXPECT_EQ(rig.after(lens(760, 3000), kQuiet), "by -2");
    EXPECT_EQ(rig.state.command.dstIris, 723);
    EXPECT_EQ(rig.after(lens(726, 3000), kQuiet), "by -2"); // and on in each cycle
    EXPECT_EQ(rig.after(lens(725, 3000), kQuiet), "to 723");
    EXPECT_EQ(rig.state.command.steps, 0);
    EXPECT_EQ(rig.state.zoom_count, 0);
    EXPECT_EQ(rig.after(lens(725, 3000), kQuiet), "-"); // counted anew

    rig.cycle(lens(723, 3000), kQuiet);
    EXPECT_EQ(rig.state.zoom_count, 0);
    Iris_Info_Param narrow = lens(300, 3000); // widest at this zoom below the narrowest allowed
    narrow.irisStep[1] = 200;
    EXPECT_EQ(rig.after(narrow, kOpenWide), "by 0");
    EXPECT_EQ(rig.state.command.dstIris, kNarrowest);
}

TEST(IrisRules, WidestPositionsFollowTheCalibration)
{
    Rig rig;
    rig.cycle(lens(500), kQuiet);
    EXPECT_THAT(rig.state.widest, ::testing::ElementsAre(800, 723, 638, 638, 638, 638, 638, 638, 638, 638, 638, 638));
    Iris_Info_Param rising = lens(500);
    rising.irisStep[1] = 600; // 600 + 100 / 6, truncated toward zero
    rig.cycle(rising, kQuiet);
    EXPECT_EQ(rig.state.widest[11], 616);

    constexpr int first_of[] = {0, 2556, 3746, 4476, 4986, 5372, 5682, 5938, 6160, 6354, 6532, 6624};
    for (int level = 0; level < 12; ++level) {
        EXPECT_EQ(get_cur_zoom_array(first_of[level]), level);
        EXPECT_EQ(get_cur_zoom_array(first_of[level] - 1), std::max(level - 1, 0));
    }
    EXPECT_EQ(get_cur_zoom_array(INT_MIN), 0);
    EXPECT_EQ(get_cur_zoom_array(INT_MAX), 11);
    for (int level = -1; level <= 12; ++level) {
        EXPECT_EQ(get_max_iris(level), level < 1 ? 800 : level == 1 ? 723 : 620) << level;
    }
}

TEST(IrisRules, SmartExposureAndTheFlagComeFirst)
{
    const CycleInput smart{SMART_EXPOSURE, FLICKER_OFF, {}};
    Rig rig;
    rig.state.command = {0, 5, 7};
    Iris_Info_Param off = lens(500, 3000);
    off.autoFlag = 0;
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(rig.after(off, smart), "to 690");
    }
    EXPECT_EQ(rig.state.command.steps, 7); // kept
    off.curIris = 690;
    EXPECT_EQ(rig.after(off, smart), "-");
    EXPECT_EQ(rig.after(off, kOpenWide), "-");
    EXPECT_EQ(rig.state.zoom_count, 0); // not even counted
    off.autoFlag = -3;
    off.curZoom = 0;
    EXPECT_NE(rig.after(off, kOpenWide), "-");
}

TEST(IrisFigures, AreTruncatedSinglePrecision)
{
    const auto lux = [](float seconds, float gain) { return derive_figures(gain, 1, seconds, 0, 0, 0).exp_sumlux; };
    EXPECT_EQ(lux(0.01F, 1.0F), 1000);
    EXPECT_EQ(lux(1.0F / 120.0F, 1.0F), 833);
    EXPECT_EQ(lux(1.0F, 30.0F), static_cast<int>(3'000'000'000U) / 1000); // the product wraps, then is divided
    EXPECT_EQ(lux(5000.0F, 1.0F), std::bit_cast<int>(static_cast<unsigned>(INT_MAX) * 100U) / 1000);

    const auto figures = derive_figures(1.29F, 2.5F, 0.0F, 99.99F, 22.0F, -0.99F);
    EXPECT_EQ(figures.iso, 322);
    EXPECT_EQ(figures.max_iso, 2200);
    EXPECT_EQ(figures.cfa_luma, 99);
    EXPECT_EQ(figures.ae_target, 0);
    // Rounded to single precision, these reach whole numbers that they fall short of in double precision.
    EXPECT_EQ(derive_figures(1.04F, 1.0F, 0, 0, 0, 0).iso, 104);
    EXPECT_EQ(lux(0.0001F, 10.0F), 100);

    const float inf = INFINITY;
    const auto odd = derive_figures(inf, 1.0F, NAN, NAN, -inf, inf);
    EXPECT_EQ(odd.iso, INT_MAX);
    EXPECT_EQ(odd.exp_sumlux, 0);
    EXPECT_EQ(odd.cfa_luma, 0);
    EXPECT_EQ(odd.max_iso, INT_MIN);
    EXPECT_EQ(odd.ae_target, INT_MAX);
    EXPECT_EQ(derive_figures(0, inf, 0, 0, 0, 0).iso, 0); // 0 times infinity is no number
    EXPECT_EQ(derive_figures(0, 0, 0, -0x1p31F, 0, 0x1p31F).cfa_luma, INT_MIN);

    for (const int extreme : {INT_MIN, INT_MAX}) { // nothing overflows on the way to a decision
        Rig rig;
        const AeFigures ae{extreme, extreme, extreme, extreme, extreme};
        for (const int mode : {AUTO_EXPOSURE, SHUTTER_PRIORITY}) {
            rig.cycle(lens(extreme > 0 ? INT16_MAX : INT16_MIN), {mode, FLICKER_50HZ, ae});
        }
    }
}
