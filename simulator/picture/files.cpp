// Pictures as files: PNG with libpng, JPEG with libjpeg-turbo.
#include "host/durable_file.h"
#include "picture/colour.h"

#include <png.h>
#include <turbojpeg.h>
#include <zlib.h>

#include <algorithm>
#include <csetjmp>
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

void append(png_structp png, png_bytep data, std::size_t length)
{
    auto& bytes = *static_cast<Bytes*>(png_get_io_ptr(png));
    bytes.insert(bytes.end(), data, data + length);
}

/// Filtered rows, and of repetitions only runs: others are rare in a noisy picture, and looking for them takes most of
/// the time. False when libpng fails; it jumps back then, past nothing that would have to be destroyed.
bool encode_rows(png_structp png, png_infop info, const unsigned char* rgb, int width, int height)
{
    if (setjmp(png_jmpbuf(png)) != 0) {
        return false;
    }
    png_set_IHDR(png, info, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height), 8, PNG_COLOR_TYPE_RGB,
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_FILTER_SUB);
    png_set_compression_level(png, 1);
    png_set_compression_strategy(png, Z_RLE);
    png_write_info(png, info);
    for (int y = 0; y < height; ++y) {
        png_write_row(png, rgb + static_cast<std::size_t>(y) * 3U * static_cast<std::size_t>(width));
    }
    png_write_end(png, nullptr);
    return true;
}

} // namespace

Bytes encode_png(const Image& image)
{
    Bytes bytes;
    if (image.pixels.empty()) {
        return bytes;
    }
    const Bytes rgb = to_bytes(image);
    bytes.reserve(rgb.size());
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_write_fn(png, &bytes, append, nullptr);
    const bool encoded = encode_rows(png, info, rgb.data(), image.width, image.height);
    png_destroy_write_struct(&png, &info);
    return encoded ? bytes : Bytes{};
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
