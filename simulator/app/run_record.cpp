#include "app/run_record.h"

#include "app/bad_input.h"
#include "app/session.h"
#include "engine/engine.h"
#include "host/lens.h"
#include "host/settings.h"
#include "host/store.h"

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iomanip>
#include <sstream>

namespace app
{

namespace
{

std::ofstream run;
std::vector<int> run_cameras;

// Columns of a camera, after the run's own "seconds,iris,zoom".
constexpr const char* kColumns[] = {"mode", "time_ms", "gain", "luma", "target", "rgain", "bgain"};

std::string mode_name(int camera)
{
    const sim::host::Setting& mode = *sim::host::find_setting("exposure_mode");
    return sim::host::name_of(mode, sim::host::stored(camera, mode));
}

std::string gnuplot_text(const std::string& text)
{
    std::string result = "'";
    for (const char c : text) {
        result += c == '\'' ? std::string("''") : std::string(1, c);
    }
    return result + "'";
}

bool ends_with(const std::string& text, const char* ending)
{
    return text.size() >= std::strlen(ending) &&
           text.compare(text.size() - std::strlen(ending), std::string::npos, ending) == 0;
}

} // namespace

std::string live_line(int camera)
{
    const sim::engine::Live live = sim::engine::live(camera);
    std::ostringstream line;
    line << std::fixed << std::setprecision(2) << std::setw(8) << seconds_now() << " s  camera " << camera << "  "
         << std::left << std::setw(18) << mode_name(camera) << std::right << std::setw(7) << live.time * 1e3
         << " ms  gain " << std::setw(5) << live.analog_gain * live.isp_dgain << "  luma " << std::setw(6)
         << live.mean_luma << " of " << std::setw(6) << live.target_luma << "  wb " << live.wb_gain.rgain << "/"
         << live.wb_gain.bgain << "  iris " << std::setprecision(0) << sim::host::lens_state().iris << "  zoom "
         << sim::host::lens_state().zoom;
    return line.str();
}

void record_run(const std::string& path, const std::vector<int>& cameras)
{
    stop_recording_run();
    run.open(path, std::ios::trunc);
    if (!run) {
        throw BadInput("cannot write " + path + ": " + std::strerror(errno));
    }
    run << "seconds,iris,zoom";
    for (const int camera : cameras) {
        for (const char* column : kColumns) {
            run << ",camera" << camera << "_" << column;
        }
    }
    run << '\n';
    run_cameras = cameras;
}

void stop_recording_run()
{
    if (run.is_open()) {
        run.close();
    }
    run_cameras.clear();
}

void record_frame()
{
    if (!run.is_open()) {
        return;
    }
    const sim::host::LensState lens = sim::host::lens_state();
    run << seconds_now() << ',' << lens.iris << ',' << lens.zoom;
    for (const int camera : run_cameras) {
        const sim::engine::Live live = sim::engine::live(camera);
        run << ',' << mode_name(camera) << ',' << live.time * 1e3 << ',' << live.analog_gain * live.isp_dgain << ','
            << live.mean_luma << ',' << live.target_luma << ',' << live.wb_gain.rgain << ',' << live.wb_gain.bgain;
    }
    run << '\n';
}

void plot_run(const std::string& csv, const std::string& picture)
{
    run.flush();
    std::ifstream file(csv);
    std::string header;
    if (!std::getline(file, header) || header.rfind("seconds,iris,zoom", 0) != 0) {
        throw BadInput(csv + " is no recorded run");
    }
    const bool svg = ends_with(picture, ".svg");
    if (!svg && !ends_with(picture, ".png")) {
        throw BadInput("a plot is an .svg or a .png file, not " + picture);
    }
    std::vector<std::string> columns;
    std::istringstream fields(header);
    for (std::string field; std::getline(fields, field, ',');) {
        columns.push_back(field);
    }

    std::string script =
        std::string("set terminal ") + (svg ? "svg" : "pngcairo") + " size 1000,1000 noenhanced\n" + "set output " +
        gnuplot_text(picture) + "\nset datafile separator ','\nset key outside right\n" +
        "set grid\nset offsets 0, 0, 0.05, 0.05\nset lmargin 12\nset rmargin 28\nset multiplot layout 6,1 title " +
        gnuplot_text(csv) + "\n";
    const auto panel = [&](const std::string& title, const std::vector<std::string>& endings) {
        std::string curves;
        for (std::size_t i = 0; i < columns.size(); ++i) {
            for (const std::string& ending : endings) {
                if (ends_with(columns[i], ending.c_str())) {
                    curves += (curves.empty() ? "plot " : ", ") + gnuplot_text(csv) +
                              " using 1:" + std::to_string(i + 1) + " skip 1 with lines linewidth 2 title " +
                              gnuplot_text(columns[i]);
                }
            }
        }
        if (!curves.empty()) {
            script += "set ylabel " + gnuplot_text(title) + "\n" + curves + "\n";
        }
    };
    panel("luma", {"_luma", "_target"});
    panel("time, ms", {"_time_ms"});
    panel("gain", {"_gain"});
    panel("white balance", {"_rgain", "_bgain"});
    panel("iris, steps", {"iris"});
    script += "set xlabel 'seconds'\n";
    panel("zoom, steps", {"zoom"});
    script += "unset multiplot\n";

    std::FILE* gnuplot = popen("gnuplot", "w");
    if (gnuplot == nullptr || std::fputs(script.c_str(), gnuplot) < 0 || pclose(gnuplot) != 0) {
        throw BadInput("gnuplot could not draw " + picture);
    }
}

} // namespace app
