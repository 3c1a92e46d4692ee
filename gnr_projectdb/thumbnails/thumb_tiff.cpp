// Reading one grey page of a TIFF file through libtiff. libtiff's messages
// go to a handler of the open file, never to stderr, and its allocations are
// bounded, so a damaged file only makes the read fail.
#include "gnr_projectdb/thumbnails/thumb_image.h"

#include "gnr_projectdb/status.h"

#include <tiffio.h>

#include <cstring>
#include <memory>
#include <sys/stat.h>

namespace {

int QuietHandler(TIFF*, void*, const char*, const char*, va_list) { return 1; }

struct STiffCloser {
    void operator()(TIFF* t) const noexcept { TIFFClose(t); }
};
struct SOptionsFree {
    void operator()(TIFFOpenOptions* o) const noexcept { TIFFOpenOptionsFree(o); }
};

// Copies `rows` rows of `cols` samples starting at (x, y) from a decoded
// block whose rows are `blockCols` samples wide.
void CopyBlock(const std::uint8_t* block, int blockCols, int bytesPerSample, int x, int y, int cols, int rows,
               SYxGreyPage& page) {
    for (int r = 0; r < rows; ++r) {
        std::uint16_t* dst = page.pixels.data() + static_cast<std::size_t>(y + r) * page.iWidth + x;
        const std::uint8_t* src = block + static_cast<std::size_t>(r) * blockCols * bytesPerSample;
        if (bytesPerSample == 1) {
            for (int c = 0; c < cols; ++c) dst[c] = src[c];
        } else {
            std::memcpy(dst, src, static_cast<std::size_t>(cols) * 2);
        }
    }
}

int ReadStrips(TIFF* tif, int bytesPerSample, SYxGreyPage& page) {
    std::uint32_t rowsPerStrip = 0;
    if (!TIFFGetFieldDefaulted(tif, TIFFTAG_ROWSPERSTRIP, &rowsPerStrip) || rowsPerStrip == 0)
        return YXPDB_E_IMAGE;
    if (rowsPerStrip > static_cast<std::uint32_t>(page.iHeight)) rowsPerStrip = static_cast<std::uint32_t>(page.iHeight);
    const tmsize_t stripSize = TIFFStripSize(tif);
    const tmsize_t needFull = static_cast<tmsize_t>(rowsPerStrip) * page.iWidth * bytesPerSample;
    if (stripSize <= 0 || stripSize < needFull) return YXPDB_E_IMAGE;
    std::vector<std::uint8_t> buffer(static_cast<std::size_t>(stripSize));
    const std::uint32_t strips = TIFFNumberOfStrips(tif);
    for (int y = 0; y < page.iHeight; y += static_cast<int>(rowsPerStrip)) {
        const std::uint32_t strip = TIFFComputeStrip(tif, static_cast<std::uint32_t>(y), 0);
        if (strip >= strips) return YXPDB_E_IMAGE;
        const int rows = std::min<int>(static_cast<int>(rowsPerStrip), page.iHeight - y);
        const tmsize_t got = TIFFReadEncodedStrip(tif, strip, buffer.data(), stripSize);
        if (got < static_cast<tmsize_t>(rows) * page.iWidth * bytesPerSample) return YXPDB_E_IMAGE;
        CopyBlock(buffer.data(), page.iWidth, bytesPerSample, 0, y, page.iWidth, rows, page);
    }
    return 0;
}

int ReadTiles(TIFF* tif, int bytesPerSample, SYxGreyPage& page) {
    std::uint32_t tw = 0, th = 0;
    if (!TIFFGetField(tif, TIFFTAG_TILEWIDTH, &tw) || !TIFFGetField(tif, TIFFTAG_TILELENGTH, &th) || tw == 0 ||
        th == 0 || tw > 65536 || th > 65536)
        return YXPDB_E_IMAGE;
    const tmsize_t tileSize = TIFFTileSize(tif);
    const tmsize_t need = static_cast<tmsize_t>(tw) * th * bytesPerSample;
    if (tileSize <= 0 || tileSize < need) return YXPDB_E_IMAGE;
    std::vector<std::uint8_t> buffer(static_cast<std::size_t>(tileSize));
    for (std::uint32_t y = 0; y < static_cast<std::uint32_t>(page.iHeight); y += th) {
        for (std::uint32_t x = 0; x < static_cast<std::uint32_t>(page.iWidth); x += tw) {
            const std::uint32_t tile = TIFFComputeTile(tif, x, y, 0, 0);
            if (TIFFReadEncodedTile(tif, tile, buffer.data(), tileSize) < need) return YXPDB_E_IMAGE;
            const int cols = std::min<int>(static_cast<int>(tw), page.iWidth - static_cast<int>(x));
            const int rows = std::min<int>(static_cast<int>(th), page.iHeight - static_cast<int>(y));
            CopyBlock(buffer.data(), static_cast<int>(tw), bytesPerSample, static_cast<int>(x), static_cast<int>(y),
                      cols, rows, page);
        }
    }
    return 0;
}

}  // namespace

int YxThumb_ReadTiffPage(const std::string& pathUtf8, int page, SYxGreyPage* out) {
    if (!out || page < 0 || page > 0xFFFF) return YXPDB_E_IMAGE;
    std::unique_ptr<TIFFOpenOptions, SOptionsFree> options(TIFFOpenOptionsAlloc());
    if (!options) return YXPDB_E_IMAGE;
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), QuietHandler, nullptr);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), QuietHandler, nullptr);
    TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), kYxThumbMaxPixels * 2 + 1024);
    // "m": no memory mapping, so a file that shrinks while it is read gives
    // a read error rather than a bus error.
    std::unique_ptr<TIFF, STiffCloser> tif(TIFFOpenExt(pathUtf8.c_str(), "rm", options.get()));
    if (!tif) return YXPDB_E_IMAGE;
    if (page > 0 && !TIFFSetDirectory(tif.get(), static_cast<tdir_t>(page))) return YXPDB_E_IMAGE;

    std::uint32_t width = 0, height = 0;
    std::uint16_t bits = 0, samples = 0, photometric = PHOTOMETRIC_MINISBLACK, format = SAMPLEFORMAT_UINT;
    if (!TIFFGetField(tif.get(), TIFFTAG_IMAGEWIDTH, &width) || !TIFFGetField(tif.get(), TIFFTAG_IMAGELENGTH, &height))
        return YXPDB_E_IMAGE;
    TIFFGetFieldDefaulted(tif.get(), TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetFieldDefaulted(tif.get(), TIFFTAG_SAMPLESPERPIXEL, &samples);
    TIFFGetFieldDefaulted(tif.get(), TIFFTAG_SAMPLEFORMAT, &format);
    if (!TIFFGetField(tif.get(), TIFFTAG_PHOTOMETRIC, &photometric)) photometric = PHOTOMETRIC_MINISBLACK;
    if (width == 0 || height == 0 || width > 1u << 20 || height > 1u << 20 ||
        static_cast<std::int64_t>(width) * height > kYxThumbMaxPixels)
        return YXPDB_E_IMAGE;
    if (samples != 1 || (bits != 8 && bits != 16) || format != SAMPLEFORMAT_UINT ||
        (photometric != PHOTOMETRIC_MINISBLACK && photometric != PHOTOMETRIC_MINISWHITE))
        return YXPDB_E_IMAGE;

    // The pixels claimed must fit the file: uncompressed as they are, any
    // compression at most about 1000 : 1 (deflate's limit). A few damaged
    // bytes in the size fields must not cost a huge allocation.
    std::uint16_t compression = COMPRESSION_NONE;
    TIFFGetFieldDefaulted(tif.get(), TIFFTAG_COMPRESSION, &compression);
    struct stat st;
    if (fstat(TIFFFileno(tif.get()), &st) != 0) return YXPDB_E_IMAGE;
    const double raw = static_cast<double>(width) * height * (bits / 8);
    const double fileSize = static_cast<double>(st.st_size);
    if (compression == COMPRESSION_NONE ? fileSize < raw : fileSize * 1100.0 < raw) return YXPDB_E_IMAGE;

    SYxGreyPage result;
    result.iWidth = static_cast<int>(width);
    result.iHeight = static_cast<int>(height);
    result.iBits = bits;
    result.pixels.assign(static_cast<std::size_t>(width) * height, 0);
    const int bytesPerSample = bits / 8;
    const int rc = TIFFIsTiled(tif.get()) ? ReadTiles(tif.get(), bytesPerSample, result)
                                          : ReadStrips(tif.get(), bytesPerSample, result);
    if (rc != 0) return rc;
    if (photometric == PHOTOMETRIC_MINISWHITE) {
        const std::uint16_t top = bits == 8 ? 255 : 65535;
        for (std::uint16_t& v : result.pixels) v = static_cast<std::uint16_t>(top - v);
    }
    *out = std::move(result);
    return 0;
}
