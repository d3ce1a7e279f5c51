// The scenes: formulas for a window, a stage, a night and a gradient, photographs, and the drawing of any of them.
#include "picture/colour.h"
#include "picture/stages.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <list>
#include <mutex>
#include <numbers>

namespace sim::picture
{

struct Mover {
    Colour (*over)(Colour behind, float x, float y, float blur); // at rest
    float left, top, right, bottom;                              // what it takes of the scene
    float across, down;                                          // the half axes of its way
    double seconds;                                              // that it takes to come back
    void (*behind)(Image& image, float magnification);           // the scene without it
};

namespace
{

// ---- Formulas -----------------------------------------------------------------------------------------------------
//
// A place in a scene: x from 0 to 4/3, y from 0 (top) to 1. `blur` is the width of a pixel there.

Colour mix(Colour from, Colour to, float part)
{
    return from + (to - from) * unit(part);
}

/// How far a pixel lies inside a shape, 0 to 1, whose border is `distance` away (negative inside).
float inside(float distance, float blur)
{
    return unit(0.5F - distance / blur);
}

/// Distance from a rectangle and from an ellipse, by their middle and half sides.
float box(float x, float y, float cx, float cy, float half_width, float half_height)
{
    return std::max(std::abs(x - cx) - half_width, std::abs(y - cy) - half_height);
}

float ellipse(float x, float y, float cx, float cy, float rx, float ry)
{
    return (std::hypot((x - cx) / rx, (y - cy) / ry) - 1.0F) * std::min(rx, ry);
}

/// A standing person: shoes at `feet`, `height` tall.
Colour person(Colour behind, float x, float y, float blur, float middle, float feet, float height, Colour coat)
{
    const float u = (x - middle) / height; // in body heights
    const float v = (feet - y) / height;
    const float b = blur / height;
    constexpr Colour kSkin{0.56F, 0.32F, 0.235F};
    constexpr Colour kTrousers{0.035F, 0.04F, 0.06F};
    constexpr Colour kHair{0.05F, 0.03F, 0.02F};
    const float legs = std::min(box(u, v, -0.055F, 0.24F, 0.04F, 0.24F), box(u, v, 0.055F, 0.24F, 0.04F, 0.24F));
    const float arms =
        std::min(ellipse(u, v, -0.105F, 0.63F, 0.045F, 0.20F), ellipse(u, v, 0.105F, 0.63F, 0.045F, 0.20F));
    Colour c = mix(behind, kTrousers, inside(legs, b));
    c = mix(c, coat * 0.8F, inside(arms, b));
    c = mix(c, coat, inside(ellipse(u, v, 0.0F, 0.64F, 0.115F, 0.21F), b));
    c = mix(c, kSkin,
            inside(std::min(ellipse(u, v, 0.0F, 0.92F, 0.065F, 0.085F), box(u, v, 0.0F, 0.84F, 0.03F, 0.04F)), b));
    c = mix(c, kHair, inside(std::max(ellipse(u, v, 0.0F, 0.935F, 0.072F, 0.08F), 0.945F - v), b));
    for (const float eye : {-0.024F, 0.024F}) {
        c = mix(c, kHair, inside(ellipse(u, v, eye, 0.925F, 0.008F, 0.008F), b));
    }
    return c;
}

/// A room of level 1 with someone in it, and a window to a day of level 200.
Colour window(float x, float y, float blur)
{
    constexpr float kDay = 200.0F;
    const float from_window = std::hypot(x - 0.95F, y - 0.35F);
    const float room = 0.45F + 1.4F * std::exp(-3.0F * from_window);
    const bool floor = y > 0.80F;
    Colour c = (floor ? Colour{0.60F, 0.40F, 0.26F} * (0.85F + 0.15F * std::sin(60.0F * x / (y - 0.45F)))
                      : Colour{1.0F, 0.93F, 0.80F}) *
               room;
    c = mix(c, Colour{14.0F, 12.5F, 10.0F},
            floor ? inside(box(x + 0.9F * (y - 0.8F), y, 0.95F, 0.88F, 0.16F, 0.05F), blur) : 0.0F);
    c = mix(c, Colour{0.30F, 0.19F, 0.11F} * room, inside(box(x, y, 0.22F, 0.36F, 0.135F, 0.115F), blur)); // a picture
    c = mix(c, Colour{0.20F, 0.42F, 0.60F} * room, inside(box(x, y, 0.22F, 0.36F, 0.115F, 0.095F), blur));
    c = mix(c, Colour{0.75F, 0.22F, 0.08F} * room, inside(ellipse(x, y, 0.20F, 0.37F, 0.045F, 0.045F), blur));
    c = mix(c, Colour{0.33F, 0.20F, 0.10F} * room, inside(box(x, y, 0.20F, 0.735F, 0.17F, 0.012F), blur)); // a table
    c = mix(c, Colour{0.26F, 0.16F, 0.08F} * room,
            inside(std::min(box(x, y, 0.06F, 0.84F, 0.01F, 0.10F), box(x, y, 0.34F, 0.84F, 0.01F, 0.10F)), blur));
    c = mix(c, Colour{0.08F, 0.25F, 0.55F} * room, inside(ellipse(x, y, 0.17F, 0.67F, 0.035F, 0.055F), blur)); // a vase
    c = mix(c, Colour{0.12F, 0.33F, 0.06F} * room, inside(ellipse(x, y, 0.17F, 0.57F, 0.055F, 0.06F), blur));
    c = person(c * (1.0F / room), x, y, blur, 0.60F, 0.93F, 0.60F, {0.50F, 0.06F, 0.08F}) * room;

    const Colour sky = mix({0.75F, 0.95F, 1.25F}, {1.15F, 1.15F, 1.10F}, (y - 0.10F) / 0.32F);
    const float hill = 0.455F + 0.02F * std::sin(14.0F * x) + 0.012F * std::sin(37.0F * x);
    const Colour day = mix(sky, {0.16F, 0.28F, 0.09F}, inside(hill - y, blur));
    c = mix(c, Colour{1.3F, 1.2F, 1.05F},
            inside(box(x, y, 0.95F, 0.34F, 0.215F, 0.255F), blur)); // the frame, and panes
    const float pane = box(std::abs(x - 0.95F), std::abs(y - 0.34F), 0.098F, 0.118F, 0.092F, 0.112F);
    return mix(c, day * kDay, inside(pane, blur));
}

constexpr float kMiddle = 2.0F / 3.0F; // of the picture

/// A spotlight on a black stage.
Colour empty_stage(float x, float y, float /*blur*/)
{
    const float folds = 0.6F + 0.4F * std::sin(70.0F * x);
    Colour c = y < 0.84F ? Colour{0.010F, 0.0012F, 0.0015F} * folds : Colour{0.006F, 0.005F, 0.004F};
    const float beam = box(x, y, kMiddle, 0.44F, 0.04F + 0.20F * y / 0.89F, 0.45F);
    c = c + Colour{0.016F, 0.015F, 0.013F} * inside(beam, 0.05F); // lit haze
    const float pool = ellipse(x, y, kMiddle, 0.89F, 0.25F, 0.065F);
    return mix(c, Colour{0.42F, 0.33F, 0.24F}, inside(pool, 0.03F));
}

Colour actor(Colour behind, float x, float y, float blur)
{
    return person(behind, x, y, blur, kMiddle, 0.90F, 0.60F, {0.80F, 0.77F, 0.70F});
}

/// Someone in it.
Colour stage(float x, float y, float blur)
{
    return actor(empty_stage(x, y, blur), x, y, blur);
}

/// A street by night: lamps of level 300, their glow, lit windows, a wet road.
Colour night(float x, float y, float blur)
{
    constexpr Colour kLamp{1.0F, 0.66F, 0.30F};
    constexpr float kHorizon = 0.62F;
    Colour c = mix({0.004F, 0.006F, 0.014F}, {0.03F, 0.026F, 0.03F}, y / kHorizon);
    const int house = static_cast<int>(x * 6.0F);
    const float roof = 0.24F + 0.10F * static_cast<float>((house * 7) % 5) / 4.0F;
    if (y > roof && y < kHorizon) {
        c = {0.012F, 0.011F, 0.012F};
        const auto column = static_cast<std::uint32_t>(x * 36.0F);
        const auto storey = static_cast<std::uint32_t>(y * 22.0F);
        const float wx = x * 36.0F - static_cast<float>(column) - 0.5F;
        const float wy = y * 22.0F - static_cast<float>(storey) - 0.5F;
        const bool lit = ((column * 0x9E3779B9U + storey * 0x85EBCA6BU) >> 13U) % 5U == 0U;
        c = mix(c, lit ? Colour{1.3F, 0.95F, 0.5F} : Colour{0.02F, 0.022F, 0.03F},
                inside(box(wx, wy, 0.0F, 0.0F, 0.25F, 0.3F), blur * 30.0F));
    }
    const bool road = y >= kHorizon;
    if (road) {
        c = Colour{0.035F, 0.033F, 0.034F} * (0.5F + (y - kHorizon));
        const float lane = std::abs(x - 0.667F) / (y - kHorizon + 0.02F);
        const bool dash = std::fmod(1.0F / (y - kHorizon + 0.05F), 2.0F) < 1.0F;
        c = mix(c, Colour{0.20F, 0.19F, 0.17F}, dash ? inside(lane - 0.035F, 0.02F) : 0.0F);
    }
    for (int i = 0; i < 8; ++i) { // two rows of lamps that meet at the horizon
        const float depth = 1.0F / (1.0F + 0.9F * static_cast<float>(i / 2));
        const float lx = 0.667F + (i % 2 == 0 ? -0.56F : 0.56F) * depth;
        const float ly = kHorizon - 0.46F * depth;
        const float r = 0.016F * depth;
        const float d = std::hypot(x - lx, y - ly);
        c = mix(c, {0.01F, 0.01F, 0.01F},
                road ? 0.0F
                     : inside(box(x, y, lx, 0.5F * (ly + kHorizon), 0.005F * depth, 0.5F * (kHorizon - ly)), blur));
        c = mix(c, kLamp * 300.0F, inside(d - r, blur));
        c = c + kLamp * (0.0018F * depth / (d * d + 0.004F));
        if (road) { // its reflection
            const float off = (x - lx) / (0.022F * depth);
            c = c + kLamp * (1.1F * depth * std::exp(-off * off - 3.0F * (y - kHorizon)));
        }
    }
    return c;
}

/// Ten stops from left to right, even above, in steps of a stop below.
Colour gradient(float x, float y, float /*blur*/)
{
    const float stops = 10.0F * x * 0.75F;
    return grey(std::exp2((y < 0.5F ? stops : std::floor(stops) + 0.5F) - 10.0F));
}

template <Colour (*Formula)(float x, float y, float blur)>
void draw_formula(Image& image, float magnification)
{
    const float step_x = 4.0F / 3.0F / (magnification * static_cast<float>(image.width));
    const float step_y = 1.0F / (magnification * static_cast<float>(image.height));
    const float left = 2.0F / 3.0F - 0.5F * step_x * static_cast<float>(image.width - 1);
    const float top = 0.5F - 0.5F * step_y * static_cast<float>(image.height - 1);
    for (int y = 0; y < image.height; ++y) {
        for (int x = 0; x < image.width; ++x) {
            image.pixels[index_of(x, y, image.width)] =
                Formula(left + step_x * static_cast<float>(x), top + step_y * static_cast<float>(y), step_y);
        }
    }
}

// ---- What moves ---------------------------------------------------------------------------------------------------

/// A dark disc on the chart's star, where a clock's hand would be.
Colour disc(Colour behind, float x, float y, float blur)
{
    return mix(behind, grey(0.03F), inside(ellipse(x, y, 0.2447F, 0.825F, 0.03F, 0.03F), blur));
}

constexpr Mover kDisc = {disc, 0.21F, 0.79F, 0.28F, 0.86F, 0.09F, 0.09F, 4.0, draw_chart};
constexpr Mover kActor = {actor, kMiddle - 0.1F, 0.28F, kMiddle + 0.1F,           0.91F,
                          0.25F, 0.0F,           8.0,   draw_formula<empty_stage>};

/// What moves, over black and over white, tells its light and how much it covers.
Cutout cut_out(const Scene& scene, float magnification, int width, int height)
{
    const Mover& mover = *scene.mover;
    const float step = 1.0F / (magnification * static_cast<float>(height));
    const auto column = [&](float x) { return 0.5F * static_cast<float>(width) + (x - kMiddle) / step; };
    const auto line = [&](float y) { return 0.5F * static_cast<float>(height) + (y - 0.5F) / step; };
    Cutout cutout;
    cutout.mover = &mover;
    cutout.scale = 1.0F / step;
    cutout.x = static_cast<int>(column(mover.left));
    cutout.y = static_cast<int>(line(mover.top));
    cutout.light.width = static_cast<int>(column(mover.right)) + 1 - cutout.x;
    cutout.light.height = static_cast<int>(line(mover.bottom)) + 1 - cutout.y;
    for (int y = 0; y < cutout.light.height; ++y) {
        for (int x = 0; x < cutout.light.width; ++x) {
            const float sx =
                kMiddle + (static_cast<float>(cutout.x + x) + 0.5F - 0.5F * static_cast<float>(width)) * step;
            const float sy =
                0.5F + (static_cast<float>(cutout.y + y) + 0.5F - 0.5F * static_cast<float>(height)) * step;
            const Colour light = mover.over({}, sx, sy, step);
            cutout.light.channel[0].push_back(light.red * scene.scale);
            cutout.light.channel[1].push_back(light.green * scene.scale);
            cutout.light.channel[2].push_back(light.blue * scene.scale);
            cutout.cover.push_back(1.0F - (mover.over(grey(1.0F), sx, sy, step) - light).green);
        }
    }
    return cutout;
}

// ---- Photographs --------------------------------------------------------------------------------------------------

/// Bilinear between pixel middles.
Colour sample(const Image& image, float x, float y)
{
    const float px = std::clamp(x - 0.5F, 0.0F, static_cast<float>(image.width - 1));
    const float py = std::clamp(y - 0.5F, 0.0F, static_cast<float>(image.height - 1));
    const int x0 = static_cast<int>(px);
    const int y0 = static_cast<int>(py);
    const int x1 = std::min(x0 + 1, image.width - 1);
    const int y1 = std::min(y0 + 1, image.height - 1);
    const auto at = [&](int ix, int iy) { return image.pixels[index_of(ix, iy, image.width)]; };
    const float part = px - static_cast<float>(x0);
    const Colour above = at(x0, y0) * (1.0F - part) + at(x1, y0) * part;
    const Colour below = at(x0, y1) * (1.0F - part) + at(x1, y1) * part;
    return mix(above, below, py - static_cast<float>(y0));
}

/// The middle of a photograph in the shape of the image, so large that it fills it.
void draw_photo(const Image& photo, Image& image, float magnification)
{
    const float fit = std::min(static_cast<float>(photo.width) / static_cast<float>(image.width),
                               static_cast<float>(photo.height) / static_cast<float>(image.height));
    const float step = fit / magnification; // photo pixels per image pixel
    const int taps = std::clamp(static_cast<int>(std::ceil(step)), 1, 8);
    const float left = 0.5F * (static_cast<float>(photo.width) - step * static_cast<float>(image.width));
    const float top = 0.5F * (static_cast<float>(photo.height) - step * static_cast<float>(image.height));
    const float part = 1.0F / static_cast<float>(taps);
    for (int y = 0; y < image.height; ++y) {
        for (int x = 0; x < image.width; ++x) {
            Colour sum{};
            for (int i = 0; i < taps * taps; ++i) {
                const float dx = (static_cast<float>(i % taps) + 0.5F) * part;
                const float dy = (static_cast<float>(i / taps) + 0.5F) * part;
                sum = sum + sample(photo, left + step * (static_cast<float>(x) + dx),
                                   top + step * (static_cast<float>(y) + dy));
            }
            image.pixels[index_of(x, y, image.width)] = sum * (part * part);
        }
    }
}

// ---- Drawing ------------------------------------------------------------------------------------------------------

Image draw(const Scene& scene, float magnification, int width, int height, bool moving = false)
{
    Image image{width, height, {}};
    image.pixels.resize(index_of(0, height, width));
    if (moving && scene.mover != nullptr) {
        scene.mover->behind(image, magnification);
    } else if (scene.draw != nullptr) {
        scene.draw(image, magnification);
    } else {
        draw_photo(scene.photo, image, magnification);
    }
    return image;
}

const std::vector<SceneRef>& built_in()
{
    static const std::vector<SceneRef> scenes = [] {
        std::vector<SceneRef> made;
        const auto add = [&](const char* name, void (*draw)(Image&, float), const Mover* mover = nullptr) {
            Scene scene{name, draw, {}, 1.0F, mover};
            scene.scale = kReferenceLevel / mean_level(scene);
            made.push_back(std::make_shared<const Scene>(std::move(scene)));
        };
        add("chart", draw_chart, &kDisc);
        add("window", draw_formula<window>);
        add("stage", draw_formula<stage>, &kActor);
        add("night", draw_formula<night>);
        add("gradient", draw_formula<gradient>);
        return made;
    }();
    return scenes;
}

struct Drawing {
    SceneRef scene;
    float magnification;
    bool moving;
    std::shared_ptr<const Drawn> drawn;
};

std::mutex drawings_mutex;
std::list<Drawing> drawings; // the last used first

} // namespace

float mean_level(const Scene& scene)
{
    const Image image = draw(scene, 1.0F, 320, 240);
    return static_cast<float>(mean_luma(image, {0, 0, image.width, image.height}));
}

std::vector<std::string_view> scene_names()
{
    std::vector<std::string_view> names;
    for (const SceneRef& scene : built_in()) {
        names.push_back(scene->name);
    }
    return names;
}

SceneRef find_scene(std::string_view name)
{
    const auto found = std::ranges::find(built_in(), name, [](const SceneRef& scene) { return scene->name; });
    return found != built_in().end() ? *found : nullptr;
}

Place place_of(const Cutout& cutout, std::int64_t frame)
{
    const Mover& mover = *cutout.mover;
    const double turns = std::fmod(static_cast<double>(frame) * kFrameSeconds / mover.seconds, 1.0);
    const auto angle = static_cast<float>(2.0 * std::numbers::pi * turns);
    return {cutout.x + static_cast<int>(std::lround(mover.across * std::sin(angle) * cutout.scale)),
            cutout.y - static_cast<int>(std::lround(mover.down * std::cos(angle) * cutout.scale))};
}

std::shared_ptr<const Drawn> draw_scene(const SceneRef& wanted, float magnification, int width, int height, bool moving)
{
    constexpr std::size_t kKept = 16;       // drawings
    constexpr int kLargestKept = 2'000'000; // pixels

    const SceneRef scene = wanted ? wanted : built_in().front();
    const auto is_wanted = [&](const Drawing& d) {
        return d.scene == scene && d.magnification == magnification && d.moving == moving &&
               d.drawn->planes.width == width && d.drawn->planes.height == height;
    };
    {
        const std::lock_guard lock(drawings_mutex);
        if (const auto found = std::ranges::find_if(drawings, is_wanted); found != drawings.end()) {
            drawings.splice(drawings.begin(), drawings, found);
            return found->drawn;
        }
    }
    const Image image = draw(*scene, magnification, width, height, moving);
    Drawn drawn{{width, height, {}}, {}};
    Planes& planes = drawn.planes;
    for (std::vector<float>& channel : planes.channel) {
        channel.reserve(image.pixels.size());
    }
    for (const Colour& c : image.pixels) {
        planes.channel[0].push_back(c.red * scene->scale);
        planes.channel[1].push_back(c.green * scene->scale);
        planes.channel[2].push_back(c.blue * scene->scale);
    }
    if (moving && scene->mover != nullptr) {
        drawn.cutout = cut_out(*scene, magnification, width, height);
    }
    auto made = std::make_shared<const Drawn>(std::move(drawn));
    if (width <= kLargestKept / height) {
        const std::lock_guard lock(drawings_mutex);
        drawings.push_front({scene, magnification, moving, made});
        if (drawings.size() > kKept) {
            drawings.pop_back();
        }
    }
    return made;
}

void forget_drawings()
{
    const std::lock_guard lock(drawings_mutex);
    drawings.clear();
}

} // namespace sim::picture
