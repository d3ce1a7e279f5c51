// Pictures of what cameras see.
#include "prompt/commands/pictures.h"

#include "host/durable_file.h"
#include "prompt/commands.h"
#include "prompt/json.h"
#include "prompt/plots.h"
#include "session/figures.h"
#include "session/look.h"

#include <array>
#include <cmath>
#include <iomanip>
#include <numeric>
#include <ostream>

namespace prompt
{

namespace
{

void render(const Words& words)
{
    Words cameras = words;
    const int frames = frames_option(cameras);
    const std::string path = picture_argument(cameras.back());
    cameras.pop_back();
    std::vector<sim::picture::Panel> panels;
    for (const std::string& camera : cameras) {
        panels.push_back(session::panel_of(camera_with_engine(camera), "", frames));
    }
    write_sheet(path, panels, panels.size() == 4 ? 2 : 3);
}

// ---- Figures --------------------------------------------------------------------------------------------------------

/// The chart's patches that are in view, the levels and at the end the figures of the whole picture.
void add_all_figures(Json& figures, int camera)
{
    using namespace sim::picture;
    const Image image = session::picture_of(camera);
    const float magnification = session::magnification_of(camera);
    Json patches = Json::array();
    for (int i = 0; i < kPatches && session::scene_of(camera)->name == "chart"; ++i) {
        const Area area = patch_area(image, i, magnification);
        if (area.x0 < 0 || area.y0 < 0 || area.x1 > image.width || area.y1 > image.height) {
            continue;
        }
        const Colour mean = mean_colour(image, area);
        const double noise = luma_deviation(image, area);
        const double snr = 20.0 * std::log10(mean_luma(image, area) / noise);
        patches.push_back({{"patch", patch_name(i)},
                           {"red", rounded(255.0 * double{mean.red}, 4)},
                           {"green", rounded(255.0 * double{mean.green}, 4)},
                           {"blue", rounded(255.0 * double{mean.blue}, 4)},
                           {"ciede2000", rounded(colour_difference(mean, patch_reflectance(i)), 4)},
                           {"noise", rounded(255.0 * noise, 4)},
                           {"snr_db", noise > 0.0 ? rounded(snr, 4) : Json()}});
    }
    if (!patches.empty()) {
        figures["patches"] = patches;
    }
    const Histogram histogram = sim::picture::histogram(image);
    constexpr std::size_t kStep = 16;
    constexpr const char* kCurves[] = {"red_percent", "green_percent", "blue_percent", "luma_percent"};
    Json levels = Json::array();
    for (std::size_t first = 0; first < 256; first += kStep) {
        Json row = {{"from_level", first}};
        for (std::size_t curve = 0; curve < std::size(kCurves); ++curve) {
            const auto& count = histogram.count[curve];
            const int sum = std::accumulate(count.begin() + first, count.begin() + first + kStep, 0);
            row[kCurves[curve]] = rounded(100.0 * sum / static_cast<double>(image.pixels.size()), 4);
        }
        levels.push_back(row);
    }
    figures["levels"] = levels;
    figures.update(figures_json(session::figures_of(camera)));
}

void measure(const Words& words)
{
    const int camera = camera_with_engine(words[0]);
    const bool file = words.size() % 2 == 0;
    if (words.size() == 3 || words.size() == 4) {
        throw BadInput("a region is X Y W H");
    }
    Json figures = {{"camera", camera}};
    if (words.size() > 2) {
        figures.update(figures_json(session::figures_of(camera, region_argument(std::span(words).subspan(1, 4)))));
    } else {
        add_all_figures(figures, camera);
    }
    if (!file) {
        out() << table_of(figures, false);
        answer(figures);
        return;
    }
    throw_if(sim::host::write_durably(file_argument(words.back()), table_of(figures, true)));
    wrote(words.back());
}

template <void (*Plot)(const sim::picture::Image&, const std::string&, const std::string&)>
void graph(const Words& words)
{
    const int camera = camera_with_engine(words[0]);
    Plot(session::picture_of(camera), session::caption_of(camera).at(0), file_argument(words[1]));
    wrote(words[1]);
}

constexpr Command kDrawing[] = {
    {"render", "CAM... FILE.png|.jpg [--frames N]",
     "what cameras show, side by side: the frame of this moment, or the mean of N", 2, 11, render, Kind::looks},
    {"measure", "CAM [X Y W H] [FILE.csv]",
     "colours, colour differences and noise of the chart's patches, levels and figures of any scene; or the figures "
     "of a region of the picture of 640 x 480",
     1, 6, measure, Kind::looks},
    {"histogram", "CAM FILE.svg|.png", "how often each level occurs", 2, 2, graph<plot_histogram>, Kind::looks},
    {"waveform", "CAM FILE.svg|.png", "the levels of each column", 2, 2, graph<plot_waveform>, Kind::looks},
};

} // namespace

Words take(Words& words, const std::string& option, std::size_t count, const std::string& needs)
{
    const auto place = std::ranges::find(words, option);
    if (place == words.end()) {
        return {};
    }
    if (static_cast<std::size_t>(words.end() - place) <= count) {
        throw BadInput(option + " needs " + needs);
    }
    const auto last = place + static_cast<std::ptrdiff_t>(count) + 1;
    Words taken(place, last);
    words.erase(place, last);
    return taken;
}

int frames_option(Words& words)
{
    const Words frames = take(words, "--frames", 1, "a number");
    return frames.empty() ? 1 : number<int>(frames[1], 1, 1000, "a number of frames");
}

sim::picture::Area region_argument(std::span<const std::string> words)
{
    const int x = number<int>(words[0], 0, session::kPictureWidth - 1, "the left side of a region");
    const int y = number<int>(words[1], 0, session::kPictureHeight - 1, "the upper side of a region");
    return {x, y, x + number<int>(words[2], 1, session::kPictureWidth - x, "the width of the region"),
            y + number<int>(words[3], 1, session::kPictureHeight - y, "the height of the region")};
}

Json figures_json(const session::Figures& figures)
{
    Json json = Json::object();
    for (const auto& [name, value] : figures) {
        json[std::string(name)] = rounded(value, 5);
    }
    return json;
}

std::string table_of(const Json& figures, bool csv)
{
    std::ostringstream table;
    table << std::fixed << std::setprecision(2);
    const auto row = [&](const auto& cells) {
        for (std::size_t i = 0; i < cells.size(); ++i) {
            table << (csv && i > 0 ? "," : "") << (i > 0 ? std::right : std::left) << std::setw(csv ? 0 : 16);
            const Json& cell = cells[i];
            if (cell.is_number_float()) {
                table << cell.template get<double>();
            } else {
                table << (cell.is_string() ? cell.template get<std::string>() : cell.is_null() ? "" : cell.dump());
            }
        }
        table << '\n';
    };
    for (const auto& [name, figure] : figures.items()) {
        if (!figure.is_array()) {
            row(std::vector<Json>{name, figure});
            continue;
        }
        for (std::size_t i = 0; i < figure.size(); ++i) {
            std::vector<Json> names;
            std::vector<Json> values;
            for (const auto& [column, value] : figure[i].items()) {
                names.emplace_back(column);
                values.push_back(value);
            }
            if (i == 0) {
                row(names);
            }
            row(values);
        }
    }
    return table.str();
}

std::string picture_argument(const std::string& word)
{
    for (const char* ending : {".png", ".jpg", ".jpeg"}) {
        if (word.ends_with(ending)) {
            return file_argument(word);
        }
    }
    throw BadInput("a picture is a .png or .jpg file; got " + word);
}

void write_sheet(const std::string& path, const std::vector<sim::picture::Panel>& panels, int columns)
{
    throw_if(sim::picture::save(path, sim::picture::contact_sheet(panels, columns)));
    wrote(path);
}

const Group kPictureCommands = {"Pictures", kDrawing};

} // namespace prompt
