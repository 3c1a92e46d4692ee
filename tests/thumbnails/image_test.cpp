// Reading TIFF pages, reducing them to thumbnails, and the PNG helpers.
#include "gnr_projectdb/thumbnails/thumb_image.h"
#include "thumb_fixture.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>
#include <png.h>
#include <random>

namespace {

// A 16-bit page whose value grows with x and y, with a bright block.
STestPage Pattern(int width, int height, int bits) {
    STestPage p{width, height, bits, {}};
    p.pixels.resize(static_cast<std::size_t>(width) * height);
    const int top = bits == 8 ? 255 : 65535;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            int v = (x * 150 / width + y * 60 / height) * top / 255;
            if (x >= width / 2 && x < width * 3 / 4 && y >= height / 4 && y < height / 2) v = top * 240 / 255;
            p.pixels[static_cast<std::size_t>(y) * width + x] = static_cast<std::uint16_t>(v);
        }
    return p;
}

SYxGreyPage AsGrey(const STestPage& t) {
    SYxGreyPage g;
    g.iWidth = t.width;
    g.iHeight = t.height;
    g.iBits = t.bits;
    g.pixels = t.pixels;
    return g;
}

}  // namespace

TEST(ThumbImage, SizeKeepsTheAspectRatioAndNeverEnlarges) {
    struct {
        int w, h, level, ew, eh;
    } cases[] = {
        {1000, 600, 128, 128, 77}, {600, 1000, 256, 154, 256}, {512, 512, 512, 512, 512},
        {100, 40, 128, 100, 40},   {5000, 3, 128, 128, 1},     {3, 5000, 512, 1, 512},
    };
    for (const auto& c : cases) {
        int w = 0, h = 0;
        YxThumb_ThumbSize(c.w, c.h, c.level, &w, &h);
        EXPECT_EQ(c.ew, w) << c.w << "x" << c.h << " @" << c.level;
        EXPECT_EQ(c.eh, h) << c.w << "x" << c.h << " @" << c.level;
    }
}

TEST(ThumbImage, AreaAverageMatchesTheOriginalRegions) {
    // 8-bit: values are kept, so each thumbnail region's mean must equal the
    // mean of the source area it covers.
    const STestPage page = Pattern(1000, 600, 8);
    std::vector<std::uint8_t> grey;
    int w = 0, h = 0;
    YxThumb_Render(AsGrey(page), 128, &grey, &w, &h);
    ASSERT_EQ(128, w);
    ASSERT_EQ(77, h);
    const double sx = 1000.0 / w, sy = 600.0 / h;
    struct {
        int x0, y0, x1, y1;
    } regions[] = {{0, 0, 32, 19}, {70, 22, 90, 36}, {100, 50, 128, 77}, {10, 40, 60, 70}};
    for (const auto& r : regions) {
        double source = 0;
        const int X0 = static_cast<int>(std::lround(r.x0 * sx)), X1 = static_cast<int>(std::lround(r.x1 * sx));
        const int Y0 = static_cast<int>(std::lround(r.y0 * sy)), Y1 = static_cast<int>(std::lround(r.y1 * sy));
        for (int y = Y0; y < Y1; ++y)
            for (int x = X0; x < X1; ++x) source += page.pixels[static_cast<std::size_t>(y) * 1000 + x];
        source /= double(X1 - X0) * (Y1 - Y0);
        EXPECT_NEAR(source, Mean(grey, w, r.x0, r.y0, r.x1, r.y1), 2.0) << r.x0 << "," << r.y0;
    }
    // The bright block keeps its value inside and its edges.
    EXPECT_EQ(240, grey[static_cast<std::size_t>(30) * w + 80]);
}

TEST(ThumbImage, SixteenBitNarrowRangeIsStretched) {
    // Values 1000..1100 only: without a stretch this would be black.
    STestPage page{300, 200, 16, {}};
    for (int y = 0; y < 200; ++y)
        for (int x = 0; x < 300; ++x) page.pixels.push_back(static_cast<std::uint16_t>(1000 + x / 3));
    std::vector<std::uint8_t> grey;
    int w = 0, h = 0;
    YxThumb_Render(AsGrey(page), 128, &grey, &w, &h);
    ASSERT_EQ(128, w);
    ASSERT_EQ(85, h);
    EXPECT_LE(*std::min_element(grey.begin(), grey.end()), 3);
    EXPECT_GE(*std::max_element(grey.begin(), grey.end()), 252);
    EXPECT_NEAR(127.5, Mean(grey, w, 0, 0, w, h), 4.0);
    // Left to right it grows.
    EXPECT_LT(Mean(grey, w, 0, 0, 10, h), Mean(grey, w, 60, 0, 70, h));
    EXPECT_LT(Mean(grey, w, 60, 0, 70, h), Mean(grey, w, 118, 0, 128, h));
}

TEST(ThumbImage, PercentilesIgnoreRareOutliers) {
    STestPage page = ConstantPage(100, 100, 16, 500);
    for (int i = 0; i < 5000; ++i) page.pixels[static_cast<std::size_t>(i)] = 400;  // lower half: 400
    page.pixels[7] = 0;          // one dark outlier (0.01 %)
    page.pixels[9000] = 65535;   // one hot pixel
    int lo = 0, hi = 0;
    YxThumb_Percentiles(AsGrey(page), 0.001, 0.999, &lo, &hi);
    EXPECT_EQ(400, lo);
    EXPECT_EQ(500, hi);
    // A flat page does not divide by zero and gives one grey.
    std::vector<std::uint8_t> grey;
    int w = 0, h = 0;
    YxThumb_Render(AsGrey(ConstantPage(50, 50, 16, 7)), 128, &grey, &w, &h);
    ASSERT_EQ(2500u, grey.size());
    EXPECT_EQ(grey.front(), grey.back());
}

class ThumbTiffTest : public ::testing::Test {
protected:
    CYxTempDir dir;
};

TEST_F(ThumbTiffTest, ReadsEveryLayoutPageByPage) {
    std::vector<STestPage> pages = {Pattern(70, 45, 16), Pattern(33, 80, 16), ConstantPage(20, 20, 16, 4242)};
    STiffLayout layouts[5];
    layouts[1].bigTiff = true;
    layouts[2].tiled = true;
    layouts[3].compression = COMPRESSION_LZW;
    layouts[3].rowsPerStrip = 7;
    layouts[4].compression = COMPRESSION_ADOBE_DEFLATE;
    layouts[4].tiled = true;
    layouts[4].bigTiff = true;
    int n = 0;
    for (const STiffLayout& layout : layouts) {
        const std::string path = dir.FileUtf8(("l" + std::to_string(n++) + ".tif").c_str());
        ASSERT_TRUE(WriteTiff(path, pages, layout));
        for (int i = 0; i < 3; ++i) {
            SYxGreyPage page;
            ASSERT_EQ(0, YxThumb_ReadTiffPage(path, i, &page)) << path << " page " << i;
            EXPECT_EQ(pages[i].width, page.iWidth);
            EXPECT_EQ(pages[i].height, page.iHeight);
            EXPECT_EQ(16, page.iBits);
            EXPECT_TRUE(pages[i].pixels == page.pixels) << path << " page " << i;
        }
        SYxGreyPage untouched;
        untouched.iWidth = 99;
        EXPECT_EQ(YXPDB_E_IMAGE, YxThumb_ReadTiffPage(path, 3, &untouched));
        EXPECT_EQ(99, untouched.iWidth);
    }
}

TEST_F(ThumbTiffTest, EightBitAndWhiteIsZero) {
    const STestPage page = Pattern(40, 30, 8);
    const std::string plain = dir.FileUtf8("p8.tif"), inverted = dir.FileUtf8("w8.tif");
    STiffLayout white;
    white.photometric = PHOTOMETRIC_MINISWHITE;
    ASSERT_TRUE(WriteTiff(plain, {page}));
    ASSERT_TRUE(WriteTiff(inverted, {page}, white));
    SYxGreyPage a, b;
    ASSERT_EQ(0, YxThumb_ReadTiffPage(plain, 0, &a));
    ASSERT_EQ(0, YxThumb_ReadTiffPage(inverted, 0, &b));
    EXPECT_EQ(8, a.iBits);
    EXPECT_TRUE(page.pixels == a.pixels);
    for (std::size_t i = 0; i < a.pixels.size(); ++i) ASSERT_EQ(255 - a.pixels[i], b.pixels[i]) << i;
}

TEST_F(ThumbTiffTest, RefusesWhatIsNotOneGreySample) {
    const std::string path = dir.FileUtf8("rgb.tif");
    TIFF* tif = TIFFOpen(path.c_str(), "w");
    ASSERT_NE(nullptr, tif);
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, 4u);
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, 4u);
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, 3);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    std::uint8_t row[12] = {};
    for (std::uint32_t y = 0; y < 4; ++y) TIFFWriteScanline(tif, row, y, 0);
    TIFFClose(tif);
    SYxGreyPage page;
    EXPECT_EQ(YXPDB_E_IMAGE, YxThumb_ReadTiffPage(path, 0, &page));
    EXPECT_EQ(YXPDB_E_IMAGE, YxThumb_ReadTiffPage(dir.FileUtf8("missing.tif"), 0, &page));
    std::ofstream(dir.FileUtf8("text.tif")) << "not a tiff at all";
    EXPECT_EQ(YXPDB_E_IMAGE, YxThumb_ReadTiffPage(dir.FileUtf8("text.tif"), 0, &page));
}

TEST_F(ThumbTiffTest, TruncatedAndMutatedFilesFailCleanly) {
    const std::string good = dir.FileUtf8("good.tif");
    STiffLayout lzw;
    lzw.compression = COMPRESSION_LZW;
    ASSERT_TRUE(WriteTiff(good, {Pattern(64, 48, 16), Pattern(30, 30, 16)}, lzw));
    std::ifstream in(good, std::ios::binary);
    const std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    ASSERT_GT(bytes.size(), 1000u);
    const std::string bad = dir.FileUtf8("bad.tif");
    auto tryRead = [&](const std::vector<char>& data, const std::string& what) {
        std::ofstream(bad, std::ios::binary | std::ios::trunc).write(data.data(), static_cast<std::streamsize>(data.size()));
        for (int p = 0; p < 2; ++p) {
            SYxGreyPage page;
            const int rc = YxThumb_ReadTiffPage(bad, p, &page);
            ASSERT_TRUE(rc == 0 || rc == YXPDB_E_IMAGE) << what << " rc " << rc;
            if (rc == 0) {
                ASSERT_EQ(static_cast<std::size_t>(page.iWidth) * page.iHeight, page.pixels.size()) << what;
            }
        }
    };
    int failures = 0;
    for (std::size_t cut = 0; cut < bytes.size(); cut += 97) {
        tryRead(std::vector<char>(bytes.begin(), bytes.begin() + static_cast<long>(cut)), "cut " + std::to_string(cut));
        SYxGreyPage page;
        if (YxThumb_ReadTiffPage(bad, 0, &page) != 0) ++failures;
    }
    EXPECT_GT(failures, 0);   // cutting the file must break some reads
    std::mt19937 random(12345);
    for (int round = 0; round < 300; ++round) {
        std::vector<char> mutated = bytes;
        const int flips = 1 + static_cast<int>(random() % 8);
        for (int f = 0; f < flips; ++f)
            mutated[random() % mutated.size()] = static_cast<char>(random() & 0xFF);
        tryRead(mutated, "mutation round " + std::to_string(round));
    }
}

TEST(ThumbPng, EncodeDecodeRoundTripAndFiles) {
    std::vector<std::uint8_t> grey(37 * 23);
    for (std::size_t i = 0; i < grey.size(); ++i) grey[i] = static_cast<std::uint8_t>(i * 7);
    std::vector<std::uint8_t> png;
    ASSERT_EQ(0, YxProjectDb_Thumb_EncodePng(grey.data(), grey.size(), 37, 23, &png));
    ASSERT_GT(png.size(), 8u);
    EXPECT_EQ(0x89, png[0]);
    std::vector<std::uint8_t> back;
    int w = 0, h = 0;
    ASSERT_EQ(0, YxProjectDb_Thumb_DecodePng(png.data(), png.size(), &back, &w, &h));
    EXPECT_EQ(37, w);
    EXPECT_EQ(23, h);
    EXPECT_TRUE(grey == back);

    CYxTempDir dir;
    ASSERT_EQ(0, YxProjectDb_Thumb_WritePng(dir.File("sheet.png"), grey.data(), grey.size(), 37, 23));
    std::ifstream in(dir.FileUtf8("sheet.png"), std::ios::binary);
    const std::vector<std::uint8_t> file((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_TRUE(file == png);
    // A folder that does not exist: failure, and nothing left behind.
    EXPECT_EQ(YXPDB_E_IMAGE,
              YxProjectDb_Thumb_WritePng(dir.File("no/such/dir/x.png"), grey.data(), grey.size(), 37, 23));

    EXPECT_EQ(YXPDB_E_THUMB_ARGUMENT, YxProjectDb_Thumb_EncodePng(grey.data(), 10, 37, 23, &png));
    EXPECT_EQ(YXPDB_E_THUMB_ARGUMENT, YxProjectDb_Thumb_EncodePng(grey.data(), grey.size(), 0, 23, &png));
    EXPECT_EQ(YXPDB_E_THUMB_ARGUMENT, YxProjectDb_Thumb_EncodePng(nullptr, 0, 1, 1, &png));
    EXPECT_EQ(YXPDB_E_THUMB_ARGUMENT, YxProjectDb_Thumb_WritePng(nullptr, grey.data(), grey.size(), 37, 23));
}

TEST(ThumbPng, DamagedBytesAreRefusedAndOutputsKept) {
    std::vector<std::uint8_t> grey(16 * 16, 100), png;
    ASSERT_EQ(0, YxProjectDb_Thumb_EncodePng(grey.data(), grey.size(), 16, 16, &png));
    std::vector<std::uint8_t> out = {1, 2, 3};
    int w = -1, h = -1;
    const char text[] = "definitely not a png";
    EXPECT_EQ(YXPDB_E_IMAGE, YxProjectDb_Thumb_DecodePng(text, sizeof text, &out, &w, &h));
    EXPECT_EQ(YXPDB_E_IMAGE, YxProjectDb_Thumb_DecodePng(png.data(), png.size() / 2, &out, &w, &h));
    EXPECT_EQ(3u, out.size());
    EXPECT_EQ(-1, w);
    EXPECT_EQ(YXPDB_E_THUMB_ARGUMENT, YxProjectDb_Thumb_DecodePng(nullptr, 0, &out, &w, &h));
    // Colour PNG is read as grey.
    png_image image;
    std::memset(&image, 0, sizeof image);
    image.version = PNG_IMAGE_VERSION;
    image.width = 2;
    image.height = 1;
    image.format = PNG_FORMAT_RGB;
    const std::uint8_t rgb[6] = {255, 255, 255, 0, 0, 0};
    png_alloc_size_t size = 0;
    ASSERT_TRUE(png_image_write_to_memory(&image, nullptr, &size, 0, rgb, 0, nullptr));
    std::vector<std::uint8_t> colour(size);
    ASSERT_TRUE(png_image_write_to_memory(&image, colour.data(), &size, 0, rgb, 0, nullptr));
    ASSERT_EQ(0, YxProjectDb_Thumb_DecodePng(colour.data(), size, &out, &w, &h));
    ASSERT_EQ(2u, out.size());
    EXPECT_EQ(255, out[0]);
    EXPECT_EQ(0, out[1]);
}
