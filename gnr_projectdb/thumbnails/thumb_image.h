// The pictures behind thumbnails: one grey page read from a TIFF file, and
// its reduction to an 8-bit thumbnail (contrast stretch for 16-bit pages,
// area averaging). Plain functions without shared state: safe on any thread.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// One grey page as read: 8- or 16-bit samples widened to 16 bits, row by
// row, black = 0 (a white-is-zero page is inverted on reading).
struct SYxGreyPage {
    int iWidth = 0;
    int iHeight = 0;
    int iBits = 0;   // 8 or 16
    std::vector<std::uint16_t> pixels;
};

// Most pixels of a page that is read (larger pages are refused).
constexpr std::int64_t kYxThumbMaxPixels = std::int64_t(1) << 28;

// Reads page `page` (from 0) of the TIFF file at pathUtf8 (classic or
// BigTIFF, strips or tiles). 0, or YXPDB_E_IMAGE for a file that cannot be
// opened, a missing page, a format other than one 8- or 16-bit unsigned grey
// sample per pixel, or damaged data; *out is left alone on failure.
int YxThumb_ReadTiffPage(const std::string& pathUtf8, int page, SYxGreyPage* out);

// The values at the low and high percentile (fractions, e.g. 0.001 and
// 0.999) of the page's samples.
void YxThumb_Percentiles(const SYxGreyPage& page, double low, double high, int* lowValue, int* highValue);

// The size of the thumbnail of a width x height page at a level: the long
// side becomes `level` unless the page is smaller, the short side keeps the
// aspect ratio (at least 1).
void YxThumb_ThumbSize(int width, int height, int level, int* outWidth, int* outHeight);

// Reduces the page to its thumbnail at `level` by area averaging. A 16-bit
// page is stretched linearly between its 0.1 % and 99.9 % percentiles to
// 0..255; an 8-bit page keeps its values. grey receives outWidth * outHeight
// bytes.
void YxThumb_Render(const SYxGreyPage& page, int level, std::vector<std::uint8_t>* grey, int* outWidth,
                    int* outHeight);

// PNG bytes of 8-bit grey pixels; fast trades size for speed (thumbnails,
// which are read back many times). Codes as YxProjectDb_Thumb_EncodePng.
int YxThumb_EncodePng(const std::uint8_t* grey, std::size_t size, int width, int height, bool fast,
                      std::vector<std::uint8_t>* png);
