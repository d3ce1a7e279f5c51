// Pictures of what cameras see.
#include "prompt/commands/pictures.h"

#include "host/durable_file.h"
#include "host/store.h"
#include "isp_ctrl.h"
#include "prompt/command.h"
#include "prompt/commands/groups.h"
#include "prompt/interrupt.h"
#include "prompt/json.h"
#include "session/cameras.h"
#include "session/look.h"
#include "session/scenes.h"
#include "session/trial.h"

#include <array>
#include <cmath>
#include <iomanip>
#include <numeric>
#include <ostream>

namespace prompt
{

using sim::host::Setting;

namespace
{

/// Takes "--frames N" out of the words: over how many frames pictures are averaged, 1 unless given.
int frames_option(Words& words)
{
    const auto option = std::ranges::find(words, "--frames");
    if (option == words.end()) {
        return 1;
    }
    if (option + 1 == words.end()) {
        throw BadInput("--frames needs a number");
    }
    const int frames = number<int>(*(option + 1), 1, 1000, "a number of frames");
    words.erase(option, option + 2);
    return frames;
}

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
    write_picture(path, sim::picture::contact_sheet(panels, panels.size() == 4 ? 2 : 3));
}

// ---- Values of a setting --------------------------------------------------------------------------------------------

/// The pictures of a camera with each of some values of a setting; the store and the engine are put back.
std::vector<sim::picture::Panel> pictures_with(int camera, const Setting& setting, const Words& values)
{
    constexpr std::size_t kFew = 4; // which take less than a second
    session::Trial trial(camera);
    std::vector<sim::picture::Panel> panels;
    for (const std::string& value : values) {
        const std::string title = std::string(setting.name) + " " + value;
        if (values.size() > kFew) {
            out() << title << ", " << panels.size() + 1 << " of " << values.size() << '\n' << std::flush;
        }
        const int result = trial.set(setting, setting_value(setting, value));
        if (result != ISP_SUCCESS && result != ISP_UNFIT && result != ISP_EXCUTE_BYARM) {
            throw BadInput(title + " failed with " + std::to_string(result));
        }
        const std::string mode = sim::host::unused_mode(setting.effective, sim::host::stored_record(camera));
        const bool unfit = result == ISP_UNFIT || (!mode.empty() && !setting.is_mode());
        pass_time(2000000); // exposure and white balance settle
        panels.push_back(session::panel_of(camera, title + (!unfit         ? ""
                                                            : mode.empty() ? " (not applied)"
                                                                           : " (not applied in " + mode + ")")));
    }
    return panels;
}

void compare(const Words& words)
{
    const int camera = camera_with_engine(words[0]);
    const Setting& setting = setting_named(words[1]);
    if (setting.setter != sim::host::Setter::level && setting.setter != sim::host::Setter::silent) {
        throw BadInput(words[1] + " has no values to compare");
    }
    const Words values(words.begin() + 2, words.end() - 1);
    for (const std::string& value : values) {
        setting_value(setting, value);
    }
    const std::string path = picture_argument(words.back());
    const int columns = values.size() == 4 ? 2 : 3;
    write_picture(path, sim::picture::contact_sheet(pictures_with(camera, setting, values), columns));
}

void styles(const Words& words)
{
    const int camera = camera_with_engine(words[0]);
    const std::string path = picture_argument(words[1]);
    const Setting& style = *sim::host::find_setting("style");
    Words names;
    for (const sim::host::ValueName& name : sim::host::names_of(style)) {
        names.emplace_back(name.name);
    }
    write_picture(path, sim::picture::contact_sheet(pictures_with(camera, style, names), 4));
}

// ---- Figures --------------------------------------------------------------------------------------------------------

/// The figures of a picture by name. Patches only of the chart, and in view.
Json figures_of(int camera)
{
    using namespace sim::picture;
    const Image image = session::picture_of(camera);
    const float magnification = session::magnification_of(camera);
    const auto in_view = [&](const Area& area) {
        return area.x0 >= 0 && area.y0 >= 0 && area.x1 <= image.width && area.y1 <= image.height;
    };
    Json figures = {{"camera", camera}};
    if (session::scene_of(camera)->name == "chart") {
        Json patches = Json::array();
        for (int i = 0; i < kPatches; ++i) {
            const Area area = patch_area(image, i, magnification);
            if (!in_view(area)) {
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
        figures["patches"] = patches;
        if (const Area edge = region_area(image, Region::edge, magnification); in_view(edge)) {
            figures["edge_contrast"] = rounded(255.0 * steepest_edge(image, edge), 4);
        }
    }
    const Histogram histogram = sim::picture::histogram(image);
    figures["mean_luma"] = rounded(255.0 * mean_luma(image, {0, 0, image.width, image.height}), 4);
    figures["clipped_percent"] = rounded(100.0 * histogram.clipped, 4);
    figures["black_percent"] = rounded(100.0 * histogram.black, 4);
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
    return figures;
}

/// A line per figure; a list of figures has a line of their names above it.
std::string table_of(const Json& figures, bool csv)
{
    std::ostringstream table;
    table << std::fixed << std::setprecision(2);
    const auto row = [&](const auto& cells) {
        for (std::size_t i = 0; i < cells.size(); ++i) {
            table << (csv && i > 0 ? "," : "") << (i > 0 ? std::right : std::left) << std::setw(csv ? 0 : 16);
            const Json cell = cells[i];
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

void measure(const Words& words)
{
    const Json figures = figures_of(camera_with_engine(words[0]));
    if (words.size() == 1) {
        out() << table_of(figures, false);
        answer(figures);
        return;
    }
    const std::string failed = sim::host::write_durably(file_argument(words[1]), table_of(figures, true));
    if (!failed.empty()) {
        throw BadInput(failed);
    }
    wrote(words[1]);
}

template <sim::picture::Image (*Graph)(const sim::picture::Image&)>
void graph(const Words& words)
{
    const int camera = camera_with_engine(words[0]);
    const sim::picture::Panel panel{"", Graph(session::picture_of(camera)), session::caption_of(camera)};
    write_picture(picture_argument(words[1]), sim::picture::contact_sheet({panel}, 1));
}

constexpr Command kCommands[] = {
    {"render", "CAM... FILE.png|.jpg [--frames N]",
     "what cameras show, side by side: the frame of this moment, or the mean of N", 2, 11, render, Kind::looks},
    {"compare", "CAM SETTING A B... FILE.png|.jpg", "values of a setting side by side", 5, 12, compare},
    {"styles", "CAM FILE.png|.jpg", "contact sheet of all image styles", 2, 2, styles},
    {"measure", "CAM [FILE.csv]",
     "colours, colour differences and noise of the chart's patches; clipping and levels of any scene", 1, 2, measure,
     Kind::looks},
    {"histogram", "CAM FILE.png|.jpg", "how often each level occurs", 2, 2, graph<sim::picture::histogram_graph>,
     Kind::looks},
    {"waveform", "CAM FILE.png|.jpg", "the levels of each column", 2, 2, graph<sim::picture::waveform_graph>,
     Kind::looks},
};

} // namespace

std::string picture_argument(const std::string& word)
{
    for (const char* ending : {".png", ".jpg", ".jpeg"}) {
        if (word.ends_with(ending)) {
            return file_argument(word);
        }
    }
    throw BadInput("a picture is a .png or .jpg file, not " + word);
}

void write_picture(const std::string& path, const sim::picture::Image& image)
{
    const std::string failed = sim::picture::save(path, image);
    if (!failed.empty()) {
        throw BadInput(failed);
    }
    wrote(path);
}

std::span<const Command> picture_commands()
{
    return kCommands;
}

} // namespace prompt
