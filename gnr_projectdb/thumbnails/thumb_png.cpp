// PNG encoding and decoding through libpng's simplified interface (no
// longjmp across our frames). Files are written to a temporary name beside
// the target and renamed, so a failed write leaves no partial file.
#include "gnr_projectdb/thumbnails.h"

#include "framework/yxfilesystem.h"
#include "gnr_projectdb/thumbnails/thumb_image.h"

#include <png.h>

#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace {

bool GreyArgumentsOk(const std::uint8_t* grey, std::size_t size, int width, int height) {
    return grey && width > 0 && height > 0 &&
           static_cast<std::int64_t>(width) * height <= kYxThumbMaxPixels &&
           size >= static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
}

}  // namespace

int YxThumb_EncodePng(const std::uint8_t* grey, std::size_t size, int width, int height, bool fast,
                      std::vector<std::uint8_t>* png) {
    if (!png || !GreyArgumentsOk(grey, size, width, height)) return YXPDB_E_THUMB_ARGUMENT;
    png_image image;
    std::memset(&image, 0, sizeof image);
    image.version = PNG_IMAGE_VERSION;
    if (fast) image.flags |= PNG_IMAGE_FLAG_FAST;
    image.width = static_cast<png_uint_32>(width);
    image.height = static_cast<png_uint_32>(height);
    image.format = PNG_FORMAT_GRAY;
    png_alloc_size_t bytes = 0;
    if (!png_image_write_to_memory(&image, nullptr, &bytes, 0, grey, width, nullptr) || bytes == 0) {
        png_image_free(&image);
        return YXPDB_E_IMAGE;
    }
    std::vector<std::uint8_t> encoded(bytes);
    if (!png_image_write_to_memory(&image, encoded.data(), &bytes, 0, grey, width, nullptr)) {
        png_image_free(&image);
        return YXPDB_E_IMAGE;
    }
    encoded.resize(bytes);
    *png = std::move(encoded);
    return 0;
}

int YxProjectDb_Thumb_EncodePng(const std::uint8_t* grey, std::size_t size, int width, int height,
                                std::vector<std::uint8_t>* png) {
    return YxThumb_EncodePng(grey, size, width, height, false, png);
}

int YxProjectDb_Thumb_WritePng(const wchar_t* path, const std::uint8_t* grey, std::size_t size, int width,
                               int height) {
    if (!path || !*path) return YXPDB_E_THUMB_ARGUMENT;
    std::vector<std::uint8_t> png;
    const int rc = YxProjectDb_Thumb_EncodePng(grey, size, width, height, &png);
    if (rc != 0) return rc;
    const std::string target = YxFs_NativeUtf8(path);
    const std::string temp = target + ".tmp" + std::to_string(static_cast<long>(getpid()));
    std::FILE* f = std::fopen(temp.c_str(), "wb");
    if (!f) return YXPDB_E_IMAGE;
    const bool written = std::fwrite(png.data(), 1, png.size(), f) == png.size();
    const bool closed = std::fclose(f) == 0;
    if (!written || !closed || std::rename(temp.c_str(), target.c_str()) != 0) {
        std::remove(temp.c_str());
        return YXPDB_E_IMAGE;
    }
    return 0;
}

int YxProjectDb_Thumb_DecodePng(const void* data, std::size_t size, std::vector<std::uint8_t>* grey, int* width,
                                int* height) {
    if (!data || !grey || !width || !height) return YXPDB_E_THUMB_ARGUMENT;
    png_image image;
    std::memset(&image, 0, sizeof image);
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_memory(&image, data, size)) {
        png_image_free(&image);
        return YXPDB_E_IMAGE;
    }
    if (image.width == 0 || image.height == 0 ||
        static_cast<std::int64_t>(image.width) * image.height > kYxThumbMaxPixels) {
        png_image_free(&image);
        return YXPDB_E_IMAGE;
    }
    image.format = PNG_FORMAT_GRAY;
    std::vector<std::uint8_t> pixels(PNG_IMAGE_SIZE(image));
    if (!png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr)) {
        png_image_free(&image);
        return YXPDB_E_IMAGE;
    }
    *width = static_cast<int>(image.width);
    *height = static_cast<int>(image.height);
    *grey = std::move(pixels);
    return 0;
}
