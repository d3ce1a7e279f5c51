// Pictures of what cameras see.
#include "app/commands/pictures.h"

#include "app/command.h"
#include "app/commands/groups.h"
#include "app/look.h"
#include "app/session.h"
#include "host/store.h"
#include "isp_ctrl.h"

#include <ostream>

namespace app
{

using sim::host::Setting;

namespace
{

void render(const Words& words)
{
    write_picture(file_argument(words[1]), picture_of(camera_with_engine(words[0])));
}

/// The pictures of a camera with each of some values of a setting; the store and the engine are put back.
std::vector<sim::picture::Labelled> pictures_with(int camera, const Setting& setting, const Words& values)
{
    const kiv_isp_param_s before = sim::host::stored_record(camera);
    std::vector<sim::picture::Labelled> pictures;
    for (const std::string& value : values) {
        apply(camera, setting, setting_value(setting, value));
        sim::wait(2000000); // exposure and white balance settle
        pictures.emplace_back(std::string(setting.name) + " " + value, picture_of(camera));
    }
    sim::host::store_record(camera, before);
    KIV_load_isp_para(camera);
    return pictures;
}

void compare(const Words& words)
{
    const int camera = camera_with_engine(words[0]);
    const Setting& setting = setting_named(words[1]);
    if (setting.setter != sim::host::Setter::level && setting.setter != sim::host::Setter::silent) {
        throw BadInput(words[1] + " has no values to compare");
    }
    write_picture(file_argument(words[4]),
                  sim::picture::side_by_side(pictures_with(camera, setting, {words[2], words[3]})));
}

void styles(const Words& words)
{
    const int camera = camera_with_engine(words[0]);
    const Setting& style = *sim::host::find_setting("style");
    Words names;
    for (const sim::host::ValueName& name : sim::host::names_of(style)) {
        names.emplace_back(name.name);
    }
    write_picture(file_argument(words[1]), sim::picture::contact_sheet(pictures_with(camera, style, names), 4));
}

constexpr Command kCommands[] = {
    {"render", "CAM FILE.png", "a colour chart as the camera shows it", 2, 2, render, Kind::looks},
    {"compare", "CAM SETTING A B FILE.png", "two values side by side", 5, 5, compare},
    {"styles", "CAM FILE.png", "contact sheet of all image styles", 2, 2, styles},
};

} // namespace

void write_picture(const std::string& path, const sim::picture::Image& image)
{
    const std::string failed = sim::picture::save(path, image);
    if (!failed.empty()) {
        throw BadInput(failed);
    }
    out() << "wrote " << path << '\n';
}

std::span<const Command> picture_commands()
{
    return kCommands;
}

} // namespace app
