// Pictures as files: PNG with libpng, JPEG with libjpeg-turbo.
#include "host/durable_file.h"
#include "picture/colour.h"

#include <png.h>
#include <turbojpeg.h>

#include <algorithm>
#include <memory>
#include <string_view>

namespace sim::picture
{

namespace
{

using Bytes = std::vector<unsigned char>;

constexpr int kJpegQuality = 90; // of files

/// Red, green and blue of every pixel, row by row.
Bytes to_bytes(const Image& image)
{
    Bytes bytes(3 * image.pixels.size());
    unsigned char* byte = bytes.data();
    for (const Colour& c : image.pixels) {
        byte[0] = static_cast<unsigned char>(to_byte(c.red));
        byte[1] = static_cast<unsigned char>(to_byte(c.green));
        byte[2] = static_cast<unsigned char>(to_byte(c.blue));
        byte += 3;
    }
    return bytes;
}

} // namespace

Bytes encode_png(const Image& image)
{
    if (image.pixels.empty()) {
        return {};
    }
    const Bytes rgb = to_bytes(image);
    png_image png{};
    png.version = PNG_IMAGE_VERSION;
    png.width = static_cast<png_uint_32>(image.width);
    png.height = static_cast<png_uint_32>(image.height);
    png.format = PNG_FORMAT_RGB;
    png.flags = PNG_IMAGE_FLAG_FAST;
    png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(png);
    Bytes bytes(size);
    const bool encoded = png_image_write_to_memory(&png, bytes.data(), &size, 0, rgb.data(), 0, nullptr) != 0;
    bytes.resize(encoded ? size : 0);
    return bytes;
}

Bytes encode_jpeg(const Image& image, int quality)
{
    if (image.pixels.empty()) {
        return {};
    }
    const Bytes rgb = to_bytes(image);
    const std::unique_ptr<void, decltype(&tjDestroy)> encoder(tjInitCompress(), tjDestroy);
    unsigned char* jpeg = nullptr;
    unsigned long size = 0;
    const bool encoded =
        encoder != nullptr && tjCompress2(encoder.get(), rgb.data(), image.width, 0, image.height, TJPF_RGB, &jpeg,
                                          &size, TJSAMP_420, std::clamp(quality, 1, 100), TJFLAG_FASTDCT) == 0;
    Bytes bytes = encoded ? Bytes(jpeg, jpeg + size) : Bytes{};
    tjFree(jpeg);
    return bytes;
}

std::string save(const std::string& path, const Image& image)
{
    if (image.pixels.empty()) {
        return path + ": there is no picture to write";
    }
    const bool jpeg = path.ends_with(".jpg") || path.ends_with(".jpeg");
    const Bytes bytes = jpeg ? encode_jpeg(image, kJpegQuality) : encode_png(image);
    if (bytes.empty()) {
        return path + ": the picture cannot be encoded";
    }
    return host::write_durably(path, std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
}

} // namespace sim::picture
