// Photographs as scenes: libpng and libjpeg-turbo read them.
#include "host/durable_file.h"
#include "picture/colour.h"
#include "picture/stages.h"

#include <png.h>
#include <turbojpeg.h>

#include <algorithm>
#include <array>
#include <memory>

namespace sim::picture
{

namespace
{

constexpr std::size_t kLargestFile = 256U << 20U; // bytes
constexpr std::size_t kMostPixels = 64'000'000;
constexpr int kLongestKept = 1600; // pixels of a side

/// An eight-bit picture as its file holds it.
struct Coded {
    int width = 0;
    int height = 0;
    std::vector<unsigned char> rgb;
};

/// Makes room for a picture of this size. Returns what is wrong with the size.
std::string make_room(Coded& coded, long width, long height)
{
    if (width < 1 || height < 1 || static_cast<std::size_t>(width) > kMostPixels / static_cast<std::size_t>(height)) {
        return std::to_string(width) + " x " + std::to_string(height) + " pixels are more than 64 million";
    }
    coded.width = static_cast<int>(width);
    coded.height = static_cast<int>(height);
    coded.rgb.resize(3 * static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    return {};
}

std::string read_png(const std::string& file, Coded& coded)
{
    png_image png{};
    png.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_memory(&png, file.data(), file.size()) == 0) {
        return png.message;
    }
    std::string failed = make_room(coded, png.width, png.height);
    if (failed.empty()) {
        png.format = PNG_FORMAT_RGB;
        const png_color black{0, 0, 0}; // behind what is transparent
        if (png_image_finish_read(&png, &black, coded.rgb.data(), 0, nullptr) == 0) {
            failed = png.message;
        }
    }
    png_image_free(&png);
    return failed;
}

std::string read_jpeg(const std::string& file, Coded& coded)
{
    const std::unique_ptr<void, decltype(&tjDestroy)> reader(tjInitDecompress(), tjDestroy);
    const auto* const data = reinterpret_cast<const unsigned char*>(file.data());
    const auto size = static_cast<unsigned long>(file.size());
    int width = 0;
    int height = 0;
    int subsampling = 0;
    int colours = 0;
    if (tjDecompressHeader3(reader.get(), data, size, &width, &height, &subsampling, &colours) != 0) {
        return tjGetErrorStr2(reader.get());
    }
    std::string failed = make_room(coded, width, height);
    if (failed.empty() && tjDecompress2(reader.get(), data, size, coded.rgb.data(), width, 0, height, TJPF_RGB,
                                        TJFLAG_STOPONWARNING | TJFLAG_LIMITSCANS) != 0) {
        failed = tjGetErrorStr2(reader.get());
    }
    return failed;
}

/// Linear light, each pixel the mean of as many as make the longer side fit.
Image to_light(const Coded& coded)
{
    std::array<float, 256> light{};
    for (std::size_t i = 0; i < light.size(); ++i) {
        light[i] = srgb_light(static_cast<float>(i) / 255.0F);
    }
    const int part = (std::max(coded.width, coded.height) + kLongestKept - 1) / kLongestKept;
    Image image{std::max(coded.width / part, 1), std::max(coded.height / part, 1), {}};
    image.pixels.resize(index_of(0, image.height, image.width));
    for (int y = 0; y < image.height; ++y) {
        for (int x = 0; x < image.width; ++x) {
            Colour sum{};
            int count = 0;
            for (int sy = y * part; sy < std::min((y + 1) * part, coded.height); ++sy) {
                for (int sx = x * part; sx < std::min((x + 1) * part, coded.width); ++sx, ++count) {
                    const unsigned char* const c = coded.rgb.data() + 3 * index_of(sx, sy, coded.width);
                    sum = sum + Colour{light[c[0]], light[c[1]], light[c[2]]};
                }
            }
            image.pixels[index_of(x, y, image.width)] = sum * (1.0F / static_cast<float>(count));
        }
    }
    return image;
}

} // namespace

SceneRef load_photo(const std::string& path, std::string& failed)
{
    const auto fail = [&](const std::string& why) {
        failed = path + ": " + why;
        return nullptr;
    };
    std::string file;
    if (const int error = host::read_file(path, kLargestFile, file); error != 0) {
        return fail(sim::host::error_text(error));
    }
    Coded coded;
    const bool png = file.starts_with("\x89PNG");
    if (!png && !file.starts_with("\xFF\xD8")) {
        return fail("neither a PNG nor a JPEG picture");
    }
    if (const std::string why = png ? read_png(file, coded) : read_jpeg(file, coded); !why.empty()) {
        return fail(why);
    }
    Scene scene{path.substr(path.rfind('/') + 1), nullptr, to_light(coded), 1.0F};
    const float mean = mean_level(scene);
    if (!(mean > 1.0e-4F)) {
        return fail("a black picture");
    }
    scene.scale = kReferenceLevel / mean;
    return std::make_shared<const Scene>(std::move(scene));
}

} // namespace sim::picture
