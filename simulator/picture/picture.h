// The picture that a simulated camera would show of a scene, so that a setting can be looked at and measured. The
// engine's blocks and live values go in, an image comes out; nothing here calls the engine.
#pragma once

#include "aiq/rk_aiq.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace sim::picture
{

struct Colour {
    float red = 0.0F;
    float green = 0.0F;
    float blue = 0.0F;

    bool operator==(const Colour&) const = default;
};

/// Rows from the top, 0.0 (black) to 1.0 (white) as a display gets them. No pixels when there is no picture.
struct Image {
    int width = 0;
    int height = 0;
    std::vector<Colour> pixels;
};

inline constexpr int kMaxSide = 8192; // pixels, of any image

// ---- Scenes -------------------------------------------------------------------------------------------------------

/// The linear level that the mean of a scene has at exposure 1: luma 60 of 255.
inline constexpr float kReferenceLevel = 60.0F / 255.0F;

struct Mover; // something in a scene that moves

/// What is in front of a camera.
struct Scene {
    std::string name;
    void (*draw)(Image& image, float magnification) = nullptr; // by formula, or
    Image photo;                                               // linear
    float scale = 1.0F;                                        // brings the mean luma to kReferenceLevel
    const Mover* mover = nullptr;                              // what moves when asked for, null: nothing
};
using SceneRef = std::shared_ptr<const Scene>;

/// The scenes that are drawn by formula: chart, window, stage, night, gradient. Null for any other name.
std::vector<std::string_view> scene_names();
SceneRef find_scene(std::string_view name);

/// A photograph, PNG or JPEG of up to 64 million pixels, as a scene: the inverse of sRGB's tone curve gives its light.
/// Null when that fails, and why in `failed`, which begins with the path.
SceneRef load_photo(const std::string& path, std::string& failed);

// ---- From scene to display ----------------------------------------------------------------------------------------

/// What the engine holds and reports, compared byte by byte: so all bytes are zero at first, those between the members
/// too.
struct EngineBlocks {
    acp_attrib_t acp;
    rk_aiq_gamma_attrib_V2_t gamma;
    drc_attrib_t drc;
    rk_aiq_sharp_attrib_v4_t sharp;
    rk_aiq_lsc_attrib_t lsc;
    rk_aiq_bayer2dnr_attrib_v2_t nr2d;
    rk_aiq_bayertnr_attrib_v2_t nr3d;
    rk_aiq_uapi_acsm_attrib_t csm;
    rk_aiq_wb_gain_t wb_gain; // in force

    EngineBlocks()
    {
        std::memset(static_cast<void*>(this), 0, sizeof *this);
    }
    bool operator==(const EngineBlocks& other) const
    {
        return std::memcmp(this, &other, sizeof *this) == 0; // NOLINT(bugprone-suspicious-memory-comparison)
    }
};

inline constexpr double kFrameSeconds = 1.0 / 30.0;

/// A lamp on the mains: its light swings by a part of its mean with twice the mains frequency.
struct Lamp {
    double flicker = 0.0; // 0 for daylight
    double mains = 50.0;  // Hz

    bool operator==(const Lamp&) const = default;
};

/// Everything that shapes the picture: equal looks give equal pictures. The members' own defaults are no neutral
/// picture: start from neutral_look().
struct Look : EngineBlocks {
    SceneRef scene;             // null: the chart
    float magnification = 1.0F; // of the zoom, which crops the scene about its middle
    double neutral_red = 1.0;   // the gains that would make a grey neutral: what the light and
    double neutral_blue = 1.0;  // the sensor ask of the white balance
    double exposure = 1.0;      // light times time times gain; 1 brings the scene's mean to kReferenceLevel
    double sensor_gain = 1.0;   // analogue times digital, sets the noise
    Colour vignetting{};        // of the lens, per channel: tan^2 of the corner's field angle, 0 for none
    double exposure_time = 0.0; // seconds, which even out the lamp
    Lamp lamp;
    bool moving = false;    // whether what can move in the scene does
    int camera = 0;         // every camera and
    std::int64_t frame = 0; // every frame has its own noise

    bool operator==(const Look&) const = default;
};

/// Every block at rest, a light that is balanced, no vignetting: a grey patch comes out grey.
Look neutral_look();

/// The picture. The same look gives the same image. Empty unless both sides are 1 to kMaxSide.
Image render(const Look& look, int width, int height);

/// Gives up the drawings of scenes that are kept for the next picture, some 100 MB at most. Any thread.
void forget_drawings();

/// The mean of so many frames, of which the look's is the first.
Image render_mean(const Look& look, int frames, int width, int height);

/// What exposure metering sees, row by row: luma after lens and shading correction at exposure 1, without noise,
/// relative to kReferenceLevel, and at rest what may move.
inline constexpr int kMeteringSide = 60;
using Metering = std::array<float, kMeteringSide * kMeteringSide>;
Metering metering(const Look& look);

// ---- Measuring ----------------------------------------------------------------------------------------------------

/// The chart: 24 colour patches in 4 rows of 6, the last row greys from white to black; below them a grey ramp and
/// regions for detail and noise. Patches count from 0, row by row from the top left.
inline constexpr int kPatches = 24;
inline constexpr int kWhitePatch = 18;
inline constexpr int kMidGreyPatch = 21;
inline constexpr int kBlackPatch = 23;
const char* patch_name(int patch);

enum class Region { ramp, star, edge, flat };

/// Pixels [x0, x1) by [y0, y1).
struct Area {
    int x0 = 0;
    int y0 = 0;
    int x1 = 0;
    int y1 = 0;
};

/// Where a patch or region lies in an image of the chart, its border left out; magnified it may lie outside. A wrong
/// patch number gives no pixels.
Area patch_area(const Image& image, int patch, float magnification = 1.0F);
Area region_area(const Image& image, Region region, float magnification = 1.0F);

Colour patch_reflectance(int patch); ///< linear, with sRGB's primaries

/// All 0 for an area without pixels. Luma is BT.709's.
Colour mean_colour(const Image& image, Area area);
double mean_luma(const Image& image, Area area);
double luma_deviation(const Image& image, Area area); // standard deviation: noise, on a flat area
double steepest_edge(const Image& image, Area area);  // greatest luma step between horizontal neighbours

/// Occurrences of the levels 0 to 255 in red, green, blue and luma of an area; the shares of pixels that are black, and
/// of those with a channel at its limit.
struct Histogram {
    std::array<std::array<int, 256>, 4> count{};
    double black = 0.0;
    double clipped = 0.0;
};
Histogram histogram(const Image& image, Area area);
Histogram histogram(const Image& image);

/// CIEDE2000 difference of a shown colour from linear light, both under D65, white being 1.
double colour_difference(Colour shown, Colour linear);

double chroma(Colour shown); ///< CIELAB's under D65: 0 for a grey

// ---- Showing ------------------------------------------------------------------------------------------------------

/// An image with its title above and the lines of its caption below; lines that are too long are cut.
struct Panel {
    std::string title;
    Image image;
    std::vector<std::string> caption;
};

/// The panels, `columns` beside each other. Empty when there is no image, or the sheet would exceed kMaxSide.
Image contact_sheet(const std::vector<Panel>& panels, int columns);

// ---- Files --------------------------------------------------------------------------------------------------------

/// 8 bits per channel; JPEG with a quality of 1 to 100. Empty when there is no picture.
std::vector<unsigned char> encode_png(const Image& image);
std::vector<unsigned char> encode_jpeg(const Image& image, int quality);

/// Writes a PNG, or a JPEG where the name ends in .jpg or .jpeg. The file appears whole or not at all; one that was
/// there stays when writing fails. Returns what went wrong, empty when nothing did.
std::string save(const std::string& path, const Image& image);

} // namespace sim::picture
