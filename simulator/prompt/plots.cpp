#include "prompt/plots.h"

#include "host/durable_file.h"
#include "session/bad_input.h"
#include "session/text.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>

namespace prompt
{

namespace
{

constexpr int kMostColumns = 100;
constexpr std::size_t kLargestRun = 256 << 20; // bytes

// Needs csv, ids, run and the terminal. A colour per camera, the same in all panels: dark enough on white, and apart
// for colour-blind eyes. A camera's line is thinner than that of the one before, so that equal curves do not hide each
// other.
constexpr const char* kRun = R"gnuplot(
colours = '#0072b2 #d55e00 #009e73 #cc79a7 #e69f00 #56b4e9 #000000 #b2a800'
reading(i, name) = column('camera'.word(ids, i).'_'.name)
thickness(i) = 2 + 1.6 * (words(ids) - i)
set datafile separator ','
set datafile columnheaders
set grid linecolor '#dddddd'
set border linecolor '#666666'
set key inside top right horizontal opaque samplen 2
set autoscale fix
set offsets 0, 0, graph 0.25, graph 0.08
set format x ''
set multiplot layout 6,1 margins 0.09,0.98,0.05,0.92 spacing 0.02 title run
panel = "plot for [k=1:words(names)] for [i=1:words(ids)] csv using 'seconds':(reading(i, word(names, k))) \
         with lines linewidth thickness(i) linecolor rgb word(colours, i) dashtype k \
         title 'camera '.word(ids, i).' '.word(titles, k)"
lens = "plot csv using 'seconds':(column(name)) with lines linewidth 2 linecolor '#444444' notitle"
set ylabel 'luma'; names = 'luma target'; titles = names; @panel
unset label
set ylabel 'time, ms'; names = 'time_ms'; titles = ''; @panel
set ylabel 'gain'; names = 'gain'; @panel
set ylabel 'white balance'; names = 'rgain bgain'; titles = 'red blue'; @panel
set ylabel 'iris, steps'; name = 'iris'; @lens
set format x '%g'; set xlabel 'seconds' offset 0,0.5
set ylabel 'zoom, steps'; name = 'zoom'; @lens
unset multiplot
)gnuplot";

// Needs $levels, a row per level. A root keeps rare levels visible, and the scale leaves black and white
// out, which would dwarf all others.
constexpr const char* kHistogram = R"gnuplot(
set nonlinear y via sqrt(y) inverse y**2
stats [1:254] $levels using 0:(column(2) > column(1) ? column(2) : column(1)) nooutput
set yrange [0:STATS_max_y * 1.1 + 0.01]
set xrange [0:255]
set xtics 0,51
set format y '%g %%'
set grid
set style fill transparent solid 0.4 noborder
plot $levels using 0:1 with filledcurves y=0 linecolor rgb '#d52a1e' title 'red', \
     '' using 0:2 with filledcurves y=0 linecolor rgb '#1e9e3a' title 'green', \
     '' using 0:3 with filledcurves y=0 linecolor rgb '#2a50e0' title 'blue', \
     '' using 0:4 with lines linewidth 1.5 linecolor rgb '#222222' title 'luma'
)gnuplot";

// Needs $levels, a row per column of the image.
constexpr const char* kWaveform = R"gnuplot(
set palette defined (0 '#16161a', 0.01 '#1f4a2a', 1 '#a0ffb0')
set cbrange [0:4]
unset colorbox
set autoscale fix
set format y '%g %%'
set tics out
plot $levels matrix using 2:($1 / 2.55):3 with image notitle
)gnuplot";

std::string in_quotes(const std::string& text)
{
    std::string result = "'";
    for (const char c : text) {
        result += c == '\'' ? std::string("''") : std::string(1, c);
    }
    return result + "'";
}

/// A line through each panel per mark, its words above the first panel, on three levels so that near ones do not meet;
/// and the ids of the recorded cameras.
std::string marks_and_ids(const std::string& csv)
{
    std::string text;
    if (const int error = sim::host::read_file(csv, kLargestRun, text); error != 0) {
        throw session::BadInput(csv + ": " + sim::host::error_text(error));
    }
    std::istringstream file(text);
    std::string line;
    if (!std::getline(file, line) || !line.starts_with("seconds,iris,zoom")) {
        throw session::BadInput(csv + " is not a recorded run");
    }
    std::string ids;
    std::istringstream header(line);
    int columns = 0;
    for (std::string name; std::getline(header, name, ',');) {
        if (++columns > kMostColumns) {
            throw session::BadInput(csv + " has more than " + std::to_string(kMostColumns) + " columns");
        }
        ids += name.starts_with("camera") && name.ends_with("_luma") ? name.substr(6, name.find('_') - 6) + " " : "";
    }
    std::ostringstream script;
    script << "ids = " << in_quotes(ids) << '\n';
    int rows = 0;
    for (int marks = 0; std::getline(file, line); ++rows) {
        const double when = std::atof(line.c_str());
        const std::string words = line.substr(line.rfind(',') + 1);
        if (!words.empty()) {
            script << "set arrow from " << when << ", graph 0 to " << when
                   << ", graph 1 nohead linecolor '#999999' dashtype 3\nset label " << in_quotes(words) << " at "
                   << when << ", graph " << 1.05 + 0.13 * (2 - marks++ % 3) << " font ',9' textcolor '#444444'\n";
        }
    }
    if (rows < 2) {
        throw session::BadInput(csv + " has fewer than two rows");
    }
    return script.str();
}

void draw(const std::string& script, int width, int height, const std::string& picture_name)
{
    const std::string picture = std::filesystem::absolute(picture_name).string();
    const bool svg = picture.ends_with(".svg");
    if (!svg && !picture.ends_with(".png")) {
        throw session::BadInput("a plot is an .svg or a .png file; got " + picture);
    }
    std::FILE* gnuplot = popen("gnuplot >/dev/null 2>&1", "w");
    const bool written =
        gnuplot != nullptr &&
        std::fprintf(gnuplot, "set terminal %s size %d,%d noenhanced font 'DejaVu Sans,10'\nset output %s\n%s",
                     svg ? "svg" : "pngcairo", width, height, in_quotes(picture).c_str(), script.c_str()) > 0;
    if (gnuplot == nullptr || pclose(gnuplot) != 0 || !written) {
        throw session::BadInput("gnuplot could not draw " + picture);
    }
}

void draw_levels(const std::string& title, const std::string& rows, const char* script, const std::string& picture)
{
    draw("set title " + in_quotes(title) + "\n$levels << end\n" + rows + "end\n" + script, 848, 464, picture);
}

} // namespace

void plot_run(const std::string& csv_name, const std::string& picture)
{
    // To gnuplot a name that begins with | or < is a command.
    const std::string csv = std::filesystem::absolute(csv_name).string();
    const std::string marks = marks_and_ids(csv);
    draw("csv = " + in_quotes(csv) + "\nrun = " + in_quotes(std::filesystem::path(csv).stem().string()) + '\n' + marks +
             kRun,
         1000, 1060, picture);
}

void plot_histogram(const sim::picture::Image& image, const std::string& title, const std::string& picture)
{
    const sim::picture::Histogram levels = histogram(image);
    std::ostringstream rows;
    for (std::size_t level = 0; level < 256; ++level) {
        for (const auto& count : levels.count) {
            rows << 100.0 * count[level] / static_cast<double>(image.pixels.size()) << ' ';
        }
        rows << '\n';
    }
    draw_levels(session::format("%s  ·  black %.1f %%, clipped %.1f %%", title.c_str(), 100.0 * levels.black,
                                100.0 * levels.clipped),
                rows.str(), kHistogram, picture);
}

void plot_waveform(const sim::picture::Image& image, const std::string& title, const std::string& picture)
{
    std::ostringstream rows;
    for (int x = 0; x < image.width; ++x) {
        const sim::picture::Histogram levels = histogram(image, {x, 0, x + 1, image.height});
        for (const int count : levels.count[3]) {
            rows << 100.0 * count / image.height << ' ';
        }
        rows << '\n';
    }
    draw_levels(title, rows.str(), kWaveform, picture);
}

} // namespace prompt
