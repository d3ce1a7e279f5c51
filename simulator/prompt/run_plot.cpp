#include "prompt/run_plot.h"

#include "host/durable_file.h"
#include "session/bad_input.h"

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
constexpr const char* kLayout = R"gnuplot(
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

} // namespace

void plot_run(const std::string& csv_name, const std::string& picture_name)
{
    // To gnuplot a name that begins with | or < is a command.
    const std::string csv = std::filesystem::absolute(csv_name).string();
    const std::string picture = std::filesystem::absolute(picture_name).string();
    const std::string script = marks_and_ids(csv);
    const bool svg = picture.ends_with(".svg");
    if (!svg && !picture.ends_with(".png")) {
        throw session::BadInput("a plot is an .svg or a .png file; got " + picture);
    }
    std::FILE* gnuplot = popen("gnuplot 2>/dev/null", "w");
    const bool written =
        gnuplot != nullptr &&
        std::fprintf(gnuplot,
                     "set terminal %s size 1000,1060 noenhanced font 'DejaVu Sans,10'\nset output %s\n"
                     "csv = %s\nrun = %s\n%s%s",
                     svg ? "svg" : "pngcairo", in_quotes(picture).c_str(), in_quotes(csv).c_str(),
                     in_quotes(std::filesystem::path(csv).stem().string()).c_str(), script.c_str(), kLayout) > 0;
    if (gnuplot == nullptr || pclose(gnuplot) != 0 || !written) {
        throw session::BadInput("gnuplot could not draw " + picture);
    }
}

} // namespace prompt
