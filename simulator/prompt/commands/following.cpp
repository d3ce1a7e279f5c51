// White-balance calibration, and cameras that follow another.
#include "engine/engine.h"
#include "isp_ctrl.h"
#include "prompt/commands.h"
#include "prompt/commands/pictures.h"
#include "session/cameras.h"
#include "session/files.h"
#include "session/lanes.h"
#include "session/look.h"
#include "session/text.h"

#include <algorithm>
#include <filesystem>
#include <ostream>

namespace prompt
{

namespace
{

void roles(const Words& words)
{
    set_PanoramaIspId(camera_id(words[0]));
    set_FeaturesIspId(camera_id(words[1]));
}

void calibrate(const Words& words)
{
    if (words[0] != "d65" && words[0] != "a") {
        refuse_usage();
    }
    const bool first = words[0] == "d65";
    for (const int camera : {0, 2, 3}) {
        camera_with_engine(std::to_string(camera));
    }
    const std::string& lines = session::paths().calibration;
    std::error_code missing;
    if (!first && std::filesystem::file_size(lines, missing) != sizeof(awb_calibration_s)) {
        throw BadInput("the first reference light is missing: calibrate d65, then calibrate a");
    }
    const session::Lanes lanes({0, 2, 3}, "calibration");
    for (const int camera : {0, 2, 3}) {
        session::set_illuminant(camera, first ? "D65" : "A");
    }
    check(with_progress("measuring", [&] { return Awb_Calibration(first ? 1 : 2); }), "calibration");
    out() << (first                                     ? "first light kept; now calibrate a\n"
              : std::filesystem::exists(lines, missing) ? "calibration written\n"
                                                        : "no usable calibration found\n");
}

/// How far the gains in force are from those that make a grey neutral, in per cent: the greater of red and blue.
double gain_error(int camera)
{
    const sim::engine::Readings live = sim::engine::readings(camera);
    return 100.0 * static_cast<double>(std::max(std::abs(live.wb_gain.rgain / live.neutral_gain.rgain - 1.0F),
                                                std::abs(live.wb_gain.bgain / live.neutral_gain.bgain - 1.0F)));
}

void follow(const Words& words)
{
    if (words[0] != "wb") {
        refuse_usage();
    }
    set_awb_follow_pano(on_or_off(words[1]) ? 1 : 0);
    check(cam_awb_follow_pano_thread(), "following");
}

void balance(const Words& words)
{
    std::vector<sim::picture::Panel> pictures;
    for (const int camera : {3, 0, 2}) {
        if (!session::has_engine(camera)) {
            continue;
        }
        const std::string label = session::format("camera %d, gain error %.2f %%", camera, gain_error(camera));
        out() << label << '\n';
        pictures.push_back(session::panel_of(camera, label));
    }
    if (words.size() == 1) {
        write_sheet(picture_argument(words[0]), pictures, 3);
    }
}

constexpr Command kFollowing[] = {
    {"roles", "PANORAMA FEATURE", "choose the panorama camera (leads) and the feature camera (follows)", 2, 2, roles},
    {"calibrate", "d65|a", "measure a reference light (cameras 0, 2, 3)", 1, 1, calibrate},
    {"follow", "wb on|off", "cameras 0 and 2 follow camera 3's white balance", 2, 2, follow},
    {"balance", "[FILE.png]", "gain error of cameras 3, 0 and 2, and their charts", 0, 1, balance, Kind::looks},
};

} // namespace

const Group kFollowingCommands = {"Calibration and following", kFollowing};

} // namespace prompt
