// Values of settings tried out, each settled before it is looked at: side by side, or every combination measured.
#include "host/durable_file.h"
#include "host/store.h"
#include "isp_ctrl.h"
#include "prompt/commands.h"
#include "prompt/commands/pictures.h"
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

/// One combination of values, in force on the camera.
struct Point {
    Json row = Json::object(); // the values by name
    std::string title;         // "gamma 0.45, drc 3"
    std::string note;          // what of it does not show
    Json figures;
    sim::picture::Panel panel;
};

Point try_out(int camera, session::Trial& trial, const std::vector<Axis>& axes, std::size_t number)
{
    Point point;
    std::vector<int> values(axes.size());
    for (std::size_t i = axes.size(); i-- > 0; number /= axes[i].values.size()) {
        values[i] = axes[i].values[number % axes[i].values.size()];
    }
    for (std::size_t i = 0; i < axes.size(); ++i) {
        const Setting& setting = *axes[i].setting;
        const std::string name = sim::host::name_of(setting, values[i]);
        const std::string value = std::string(setting.name) + " " + name;
        const int result = trial.set(setting, values[i]);
        if (result != ISP_SUCCESS && result != ISP_UNFIT && result != ISP_EXCUTE_BYARM) {
            throw BadInput(value + " failed with " + std::to_string(result));
        }
        point.row[std::string(setting.name)] = name;
        point.title += (i > 0 ? ", " : "") + value;
    }
    const kiv_isp_param_s record = sim::host::stored_record(camera);
    const auto note = [&](const std::string& text) { point.note += (point.note.empty() ? "" : "; ") + text; };
    for (std::size_t i = 0; i < axes.size(); ++i) {
        const Setting& setting = *axes[i].setting;
        const std::string subject = axes.size() > 1 ? std::string(setting.name) + " " : "";
        const std::string mode = sim::host::unused_mode(setting.effective, record);
        if (!sim::host::shows(setting, values[i])) {
            note(subject + std::string(sim::host::kNotShown));
        } else if (!setting.is_mode() && !mode.empty()) {
            note(subject + "not applied in " + mode);
        }
    }
    if (settle([&] { return std::vector{camera}; }, 5, 9.99)) {
        note("not settled");
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
    write_sheet(path, panels, columns);
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

Plan plan_of(Words words)
{
    Plan plan;
    plan.camera = camera_with_engine(words[0]);
    words.erase(words.begin());
    plan.frames = frames_option(words);
    const bool all = !take(words, "--all", 0, "").empty();
    if (const Words by = take(words, "--by", 1, "1 more words"); !by.empty()) {
        plan.by = by[1];
    }
    if (const Words region = take(words, "region", 4, "4 more words"); !region.empty()) {
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

/// Writes what was measured, in the order of the sweep, and the sheet in order of a figure.
void write_down(const Plan& plan, std::vector<Point>& points)
{
    Json rows = Json::array();
    for (const Point& point : points) {
        rows.push_back(point.row);
        rows.back().update(point.figures);
        rows.back()["note"] = point.note;
    }
    Json texts = rows;
    for (Json& row : texts) {
        for (Json& cell : row) {
            cell = cell.is_string() ? cell : Json(cell.dump());
        }
    }
    throw_if(sim::host::write_durably(file_argument(plan.table), table_of({{"points", texts}}, true)));
    wrote(plan.table);
    if (!plan.sheet.empty()) {
        std::multimap<double, Point*> in_order; // equal figures in the order of the sweep
        for (Point& point : points) {
            in_order.emplace(point.figures.value(plan.by, 0.0), &point);
        }
        std::vector<sim::picture::Panel> panels;
        for (const auto& [figure, place] : in_order) {
            Point& point = *place;
            if (!plan.by.empty()) {
                point.panel.caption.insert(point.panel.caption.begin(), plan.by + " " + point.figures[plan.by].dump());
            }
            panels.push_back(std::move(point.panel));
        }
        write_sheet(plan.sheet, panels, static_cast<int>(std::ceil(std::sqrt(static_cast<double>(panels.size())))));
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
            point.figures = figures_json(session::figures_of(plan.camera, plan.region, plan.frames));
            if (!plan.sheet.empty()) {
                const sim::picture::Look look = session::look_of(plan.camera);
                point.panel = {
                    point.title, sim::picture::render_mean(look, plan.frames, kPanelWidth, kPanelHeight), {point.note}};
            }
            points.push_back(std::move(point));
            if (!plan.by.empty() && !points.front().figures.contains(plan.by)) {
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

constexpr Command kTrials[] = {
    {"compare", "CAM SETTING A B... FILE.png|.jpg", "values of a setting side by side", 5, 12, compare},
    {"styles", "CAM FILE.png|.jpg", "contact sheet of all image styles", 2, 2, styles},
    {"sweep", "CAM SETTING A..B|V,V... [SETTING ...] [OPTION...] FILE.csv [FILE.png]",
     "measures every combination of values, settled: a table of figures, and a sheet. Options: region X Y W H, "
     "--frames N (the mean of N), --by FIGURE (order of the sheet), --all (more than 1000 points)",
     4, kMany, sweep},
};

} // namespace

const Group kTrialCommands = {"Trying values", kTrials};

} // namespace prompt
