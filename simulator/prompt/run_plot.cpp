#include "prompt/run_plot.h"

#include "session/bad_input.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>
#include <utility>
#include <vector>

namespace prompt
{

namespace
{

// One per camera, the same in all panels: dark enough on white, and apart for colour-blind eyes.
constexpr const char* kColours[] = {"#0072b2", "#d55e00", "#009e73", "#cc79a7",
                                    "#e69f00", "#56b4e9", "#000000", "#b2a800"};
constexpr const char* kLensStyle = "linewidth 2 linecolor '#444444'";

struct Column {
    std::string name;
    double lowest = std::numeric_limits<double>::infinity();
    double highest = -std::numeric_limits<double>::infinity();
};

/// What a plot needs to know of a recorded run.
struct Run {
    std::vector<Column> columns;
    std::vector<std::pair<double, std::string>> marks; // when, which words
};

std::vector<std::string> fields_of(const std::string& line)
{
    std::vector<std::string> fields;
    std::istringstream stream(line);
    for (std::string field; std::getline(stream, field, ',');) {
        fields.push_back(field);
    }
    return fields;
}

Run read_run(const std::string& csv)
{
    std::ifstream file(csv);
    std::string line;
    if (!std::getline(file, line) || !line.starts_with("seconds,iris,zoom")) {
        throw session::BadInput(csv + " is no recorded run");
    }
    Run run;
    for (std::string& name : fields_of(line)) {
        run.columns.push_back({std::move(name)});
    }
    while (std::getline(file, line)) {
        const std::vector<std::string> fields = fields_of(line);
        for (std::size_t i = 0; i < std::min(fields.size(), run.columns.size()); ++i) {
            Column& column = run.columns[i];
            if (column.name == "mark") {
                run.marks.emplace_back(std::atof(fields[0].c_str()), fields[i]);
                continue;
            }
            const double value = std::atof(fields[i].c_str());
            column.lowest = std::min(column.lowest, value);
            column.highest = std::max(column.highest, value);
        }
    }
    if (!(run.columns[0].highest > run.columns[0].lowest)) {
        throw session::BadInput(csv + " has no two rows");
    }
    return run;
}

std::string in_quotes(const std::string& text)
{
    std::string result = "'";
    for (const char c : text) {
        result += c == '\'' ? std::string("''") : std::string(1, c);
    }
    return result + "'";
}

std::string number(double value)
{
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.9g", value);
    return text.data();
}

/// A panel's curves, and the range that shows them, also where they never move.
class Panel
{
public:
    Panel(const Run& run, const std::string& csv) : run_(run), csv_(csv) {}

    void add(const std::string& column, const std::string& title, const std::string& style)
    {
        for (std::size_t i = 0; i < run_.columns.size(); ++i) {
            if (run_.columns[i].name == column) {
                curves_ += (curves_.empty() ? "plot " : ", ") + in_quotes(csv_) + " using 1:" + std::to_string(i + 1) +
                           " skip 1 with lines " + style + (title.empty() ? " notitle" : " title " + in_quotes(title));
                lowest_ = std::min(lowest_, run_.columns[i].lowest);
                highest_ = std::max(highest_, run_.columns[i].highest);
            }
        }
    }

    std::string script(const std::string& title) const
    {
        const double spread = highest_ - lowest_;
        const double room = spread > 0.0 ? 0.08 * spread : std::max(0.1 * std::abs(highest_), 1.0);
        const double above = spread > 0.0 ? 0.25 * spread : room; // for the legend
        const double floor = lowest_ >= 0.0 ? std::max(lowest_ - room, -0.02 * highest_) : lowest_ - room;
        return "set ylabel " + in_quotes(title) + "\nset yrange [" + number(floor) + ":" + number(highest_ + above) +
               "]\n" + curves_ + "\n";
    }

private:
    const Run& run_;
    const std::string& csv_;
    std::string curves_;
    double lowest_ = std::numeric_limits<double>::infinity();
    double highest_ = -std::numeric_limits<double>::infinity();
};

/// A line through each panel per mark; its words above the first panel, on three levels so that near ones do not meet.
std::string mark_lines(const Run& run)
{
    std::string script;
    for (const auto& [when, words] : run.marks) {
        script += "set arrow from " + number(when) + ", graph 0 to " + number(when) +
                  ", graph 1 nohead linecolor '#999999' dashtype 3\n";
    }
    return script;
}

std::string mark_words(const Run& run)
{
    std::string script;
    for (std::size_t i = 0; i < run.marks.size(); ++i) {
        script += "set label " + std::to_string(i + 1) + " " + in_quotes(run.marks[i].second) + " at " +
                  number(run.marks[i].first) + ", graph " + number(1.05 + 0.13 * static_cast<double>(2 - i % 3)) +
                  " font ',9' textcolor '#444444'\n";
    }
    return script;
}

} // namespace

void plot_run(const std::string& csv, const std::string& picture)
{
    const Run run = read_run(csv);
    const bool svg = picture.ends_with(".svg");
    if (!svg && !picture.ends_with(".png")) {
        throw session::BadInput("a plot is an .svg or a .png file, not " + picture);
    }
    std::vector<std::string> cameras;
    for (const Column& column : run.columns) {
        if (column.name.ends_with("_luma")) {
            cameras.push_back(column.name.substr(0, column.name.size() - std::string("_luma").size()));
        }
    }
    // Thinner than the camera before, so that equal curves do not hide each other.
    const auto style = [&](std::size_t camera, const char* kind) {
        const double width = 2.0 + 1.6 * static_cast<double>(cameras.size() - 1 - camera);
        return "linewidth " + number(width) + " linecolor '" + kColours[camera % std::size(kColours)] + "'" + kind;
    };
    const auto panel = [&](const char* title, std::initializer_list<std::pair<const char*, const char*>> curves) {
        Panel result(run, csv);
        for (std::size_t i = 0; i < cameras.size(); ++i) {
            for (const auto& [ending, name] : curves) {
                const bool main = ending == curves.begin()->first;
                result.add(cameras[i] + ending, "camera " + cameras[i].substr(6) + name,
                           style(i, main ? "" : " dashtype 2"));
            }
        }
        return result.script(title);
    };

    std::string title = std::filesystem::path(csv).stem().string();
    std::ranges::replace(title, '_', ' ');
    std::string script =
        std::string("set terminal ") + (svg ? "svg" : "pngcairo") +
        " size 1000,1060 noenhanced font 'DejaVu Sans,10'\nset output " + in_quotes(picture) +
        "\nset datafile separator ','\nset grid linecolor '#dddddd'\nset border linecolor '#666666'\n" +
        "set key inside top right horizontal opaque samplen 2\nset xrange [" + number(run.columns[0].lowest) + ":" +
        number(run.columns[0].highest) +
        "]\nset format x ''\nset multiplot layout 6,1 margins 0.09,0.98,0.05,0.92 spacing 0.02 title " +
        in_quotes(title) + "\n" + mark_lines(run) + mark_words(run);
    script += panel("luma", {{"_luma", ""}, {"_target", " target"}}) + "unset label\n";
    script += panel("time, ms", {{"_time_ms", ""}});
    script += panel("gain", {{"_gain", ""}});
    script += panel("white balance", {{"_rgain", " red"}, {"_bgain", " blue"}});
    for (const char* part : {"iris", "zoom"}) {
        Panel lens(run, csv);
        lens.add(part, "", kLensStyle);
        script += (part == std::string("zoom") ? "set format x '%g'\nset xlabel 'seconds' offset 0,0.5\n" : "") +
                  lens.script(std::string(part) + ", steps");
    }
    script += "unset multiplot\n";

    std::FILE* gnuplot = popen("gnuplot 2>/dev/null", "w");
    const bool written = gnuplot != nullptr && std::fputs(script.c_str(), gnuplot) >= 0;
    if (gnuplot == nullptr || pclose(gnuplot) != 0 || !written) {
        throw session::BadInput("gnuplot could not draw " + picture);
    }
}

} // namespace prompt
