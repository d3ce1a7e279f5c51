// Values of settings tried out, each settled before it is looked at: side by side, or every combination measured.
#include "host/durable_file.h"
#include "host/store.h"
#include "isp_ctrl.h"
#include "prompt/commands.h"
#include "prompt/commands/pictures.h"
#include "session/cameras.h"
#include "session/look.h"
#include "session/trial.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <map>
#include <ostream>

namespace prompt
{

namespace
{

using sim::host::Setting;

constexpr std::size_t kMostPoints = 1000; // unless all are asked for
constexpr std::size_t kMostPictures = 240;
constexpr int kPanelWidth = 320;
constexpr int kPanelHeight = 240;

/// Settings, and the values that each takes in turn; the last one changes fastest.
struct Axis {
    const Setting* setting;
    std::vector<int> values;
};

Axis axis_of(const std::string& name)
{
    const Setting& setting = setting_named(name);
    if (setting.setter != sim::host::Setter::level && setting.setter != sim::host::Setter::silent) {
        throw BadInput(name + " has no values to try");
    }
    return {&setting, {}};
}

/// Lets a camera settle for at most ten seconds; whether it did.
bool settle(int camera)
{
    constexpr int kQuiet = 5; // frames
    constexpr int kMost = 300;
    int quiet = 0;
    for (int frame = 0; frame < kMost && quiet < kQuiet; ++frame) {
        pass_time(session::kFramePeriod);
        const sim::engine::Readings live = session::readings_of(camera);
        quiet = (live.converged || !live.automatic) && live.wb_converged ? quiet + 1 : 0;
    }
    return quiet == kQuiet;
}

/// One combination of values, in force on the camera.
struct Point {
    std::vector<int> values;
    std::string title; // "gamma 0.45, drc 3"
    std::string note;  // what of it does not show
    session::Figures figures;
    sim::picture::Panel panel;
};

Point try_out(int camera, session::Trial& trial, const std::vector<Axis>& axes, std::size_t number)
{
    Point point;
    point.values.resize(axes.size());
    for (std::size_t i = axes.size(); i-- > 0;) {
        point.values[i] = axes[i].values[number % axes[i].values.size()];
        number /= axes[i].values.size();
    }
    for (std::size_t i = 0; i < axes.size(); ++i) {
        const Setting& setting = *axes[i].setting;
        const int result = trial.set(setting, point.values[i]);
        const std::string value = std::string(setting.name) + " " + sim::host::name_of(setting, point.values[i]);
        if (result != ISP_SUCCESS && result != ISP_UNFIT && result != ISP_EXCUTE_BYARM) {
            throw BadInput(value + " failed with " + std::to_string(result));
        }
        point.title += (i > 0 ? ", " : "") + value;
    }
    const kiv_isp_param_s record = sim::host::stored_record(camera);
    for (std::size_t i = 0; i < axes.size(); ++i) {
        const Axis& axis = axes[i];
        const std::string mode = sim::host::unused_mode(axis.setting->effective, record);
        const std::string why = !sim::host::shows(*axis.setting, point.values[i]) ? std::string(sim::host::kNotShown)
                                : axis.setting->is_mode() || mode.empty()         ? ""
                                                                                  : "not applied in " + mode;
        if (!why.empty()) {
            point.note +=
                (point.note.empty() ? "" : "; ") + (axes.size() > 1 ? std::string(axis.setting->name) + " " : "") + why;
        }
    }
    if (!settle(camera)) {
        point.note += point.note.empty() ? "not settled" : "; not settled";
    }
    return point;
}

// ---- Side by side --------------------------------------------------------------------------------------------------

void show_side_by_side(int camera, const Axis& axis, const std::string& path, int columns)
{
    constexpr std::size_t kFew = 4; // which take less than a second
    session::Trial trial(camera);
    std::vector<sim::picture::Panel> panels;
    while (panels.size() < axis.values.size()) {
        const Point point = try_out(camera, trial, {axis}, panels.size());
        panels.push_back(session::panel_of(camera, point.title + (point.note.empty() ? "" : " (" + point.note + ")")));
        if (axis.values.size() > kFew) {
            out() << point.title << ", " << panels.size() << " of " << axis.values.size() << '\n' << std::flush;
        }
    }
    write_picture(path, sim::picture::contact_sheet(panels, columns));
}

void compare(const Words& words)
{
    const int camera = camera_with_engine(words[0]);
    Axis axis = axis_of(words[1]);
    for (std::size_t i = 2; i + 1 < words.size(); ++i) {
        axis.values.push_back(setting_value(*axis.setting, words[i]));
    }
    show_side_by_side(camera, axis, picture_argument(words.back()), axis.values.size() == 4 ? 2 : 3);
}

void styles(const Words& words)
{
    Axis axis = axis_of("style");
    for (const sim::host::ValueName& name : sim::host::names_of(*axis.setting)) {
        axis.values.push_back(name.value);
    }
    show_side_by_side(camera_with_engine(words[0]), axis, picture_argument(words[1]), 4);
}

// ---- Every combination ---------------------------------------------------------------------------------------------

struct Plan {
    int camera = 0;
    std::vector<Axis> axes;
    std::optional<sim::picture::Area> region;
    int frames = 1;
    std::string by; // figure that the sheet is in order of
    std::string table;
    std::string sheet; // empty: none
    std::size_t points = 1;
};

/// "3..8", "auto,smart" or one value.
std::vector<int> values_of(const Setting& setting, const std::string& text)
{
    std::vector<int> values;
    if (const std::size_t dots = text.find(".."); dots != std::string::npos) {
        const int first = setting_value(setting, text.substr(0, dots));
        const int last = setting_value(setting, text.substr(dots + 2));
        for (int value = first; first <= last ? value <= last : value >= last; value += first <= last ? 1 : -1) {
            values.push_back(value);
        }
        return values;
    }
    std::istringstream words(text);
    for (std::string word; std::getline(words, word, ',');) {
        values.push_back(setting_value(setting, word));
    }
    return values;
}

/// Takes an option and the words after it out of `words`; nothing where it is not there.
Words take(Words& words, const std::string& option, std::size_t count)
{
    const auto place = std::ranges::find(words, option);
    if (place == words.end()) {
        return {};
    }
    if (static_cast<std::size_t>(words.end() - place) <= count) {
        throw BadInput(option + " needs " + std::to_string(count) + " more words");
    }
    const auto last = place + static_cast<std::ptrdiff_t>(count) + 1;
    Words taken(place, last);
    words.erase(place, last);
    return taken;
}

Plan plan_of(Words words)
{
    Plan plan;
    plan.camera = camera_with_engine(words[0]);
    words.erase(words.begin());
    plan.frames = frames_option(words);
    const bool all = !take(words, "--all", 0).empty();
    if (const Words by = take(words, "--by", 1); !by.empty()) {
        plan.by = by[1];
    }
    if (const Words region = take(words, "region", 4); !region.empty()) {
        plan.region = region_argument(std::span(region).subspan(1));
    }
    if (words.size() > 2 && words.size() % 2 == 0) {
        plan.sheet = picture_argument(words.back());
        words.pop_back();
    }
    if (words.size() < 3 || !words.back().ends_with(".csv")) {
        throw BadInput("a sweep is SETTING VALUES, more of these, and a .csv file");
    }
    plan.table = words.back();
    file_argument(plan.table);
    for (std::size_t i = 0; i + 2 < words.size(); i += 2) {
        plan.axes.push_back(axis_of(words[i]));
        plan.axes.back().values = values_of(*plan.axes.back().setting, words[i + 1]);
        plan.points *= std::min<std::size_t>(plan.axes.back().values.size(), 100000);
        if (plan.points > kMostPoints && !all) {
            throw BadInput("more than " + std::to_string(kMostPoints) + " points: --all sweeps them all the same");
        }
    }
    if (!plan.sheet.empty() && plan.points > kMostPictures) {
        throw BadInput("a sheet holds at most " + std::to_string(kMostPictures) + " pictures");
    }
    return plan;
}

double figure(const Point& point, std::string_view name)
{
    const auto found = std::ranges::find(point.figures, name, [](const auto& each) { return each.first; });
    return found != point.figures.end() ? found->second : 0.0;
}

Json json_of(const Plan& plan, const Point& point)
{
    Json row = Json::object();
    for (std::size_t i = 0; i < plan.axes.size(); ++i) {
        row[std::string(plan.axes[i].setting->name)] = sim::host::name_of(*plan.axes[i].setting, point.values[i]);
    }
    row.update(figures_json(point.figures));
    row["note"] = point.note;
    return row;
}

/// Writes what was measured, in the order of the sweep, and the sheet in order of a figure.
void write_down(const Plan& plan, std::vector<Point>& points)
{
    std::string table;
    Json rows = Json::array();
    for (const Point& point : points) {
        const Json row = json_of(plan, point);
        std::string names;
        std::string values;
        for (const auto& [name, value] : row.items()) {
            names += (names.empty() ? "" : ",") + name;
            values +=
                (&value == &row.front() ? "" : ",") + (value.is_string() ? value.get<std::string>() : value.dump());
        }
        table += (table.empty() ? names + "\n" : "") + values + "\n";
        rows.push_back(row);
    }
    throw_if(sim::host::write_durably(file_argument(plan.table), table));
    wrote(plan.table);
    if (!plan.sheet.empty()) {
        std::multimap<double, Point*> in_order;
        for (Point& point : points) {
            in_order.emplace(figure(point, plan.by), &point);
        }
        std::vector<sim::picture::Panel> panels;
        for (const auto& [figure, place] : in_order) {
            Point& point = *place;
            if (!plan.by.empty()) {
                point.panel.caption.insert(point.panel.caption.begin(),
                                           plan.by + " " + figures_json(point.figures)[plan.by].dump());
            }
            panels.push_back(std::move(point.panel));
        }
        const int columns = static_cast<int>(std::ceil(std::sqrt(static_cast<double>(panels.size()))));
        write_picture(plan.sheet, sim::picture::contact_sheet(panels, columns));
    }
    answer({{"camera", plan.camera}, {"file", plan.table}, {"of", plan.points}, {"points", rows}});
}

void sweep(const Words& words)
{
    using Clock = std::chrono::steady_clock;
    const Plan plan = plan_of(words);
    std::vector<Point> points;
    const Clock::time_point begun = Clock::now();
    Clock::time_point told = begun;
    session::Trial trial(plan.camera);
    try {
        while (points.size() < plan.points) {
            Point point = try_out(plan.camera, trial, plan.axes, points.size());
            point.figures = session::figures_of(plan.camera, plan.region, plan.frames);
            if (!plan.sheet.empty()) {
                const sim::picture::Look look = session::look_of(plan.camera);
                point.panel = {
                    point.title, sim::picture::render_mean(look, plan.frames, kPanelWidth, kPanelHeight), {point.note}};
            }
            points.push_back(std::move(point));
            if (!plan.by.empty() && figures_json(points.front().figures).count(plan.by) == 0) {
                throw BadInput("there is no figure " + plan.by + " here");
            }
            if (const Clock::time_point now = Clock::now(); now - told > std::chrono::seconds(1)) {
                const std::chrono::duration<double> spent = now - begun;
                const double left = spent.count() / static_cast<double>(points.size()) *
                                    static_cast<double>(plan.points - points.size());
                out() << points.size() << " of " << plan.points << ", " << static_cast<int>(std::ceil(left))
                      << " s left\n"
                      << std::flush;
                told = now;
            }
        }
    } catch (const Interrupted&) {
        if (!points.empty()) {
            write_down(plan, points);
        }
        throw;
    }
    write_down(plan, points);
}

constexpr Command kCommands[] = {
    {"compare", "CAM SETTING A B... FILE.png|.jpg", "values of a setting side by side", 5, 12, compare},
    {"styles", "CAM FILE.png|.jpg", "contact sheet of all image styles", 2, 2, styles},
    {"sweep", "CAM SETTING A..B|V,V... [SETTING ...] [OPTION...] FILE.csv [FILE.png]",
     "measures every combination of values, settled: a table of figures, and a sheet. Options: region X Y W H, "
     "--frames N (the mean of N), --by FIGURE (order of the sheet), --all (more than 1000 points)",
     4, kMany, sweep},
};

} // namespace

const std::span<const Command> kTrialCommands = kCommands;

} // namespace prompt
