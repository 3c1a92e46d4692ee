// The demo's camera images: multi-page 16-bit TIFF files in the run folder
// that agree with the file and frame rows, show cells on a dark background
// that move a little between time points, carry the segmented nuclei that
// the database records, and follow the seed.
#include "test_query.h"
#include "test_support.h"
#include "tool_runner.h"

#include <gtest/gtest.h>
#include <tiffio.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace {

struct SPage {
    std::uint32_t width = 0, height = 0;
    std::uint16_t bits = 0, samples = 0, photometric = 0, format = 0;
    std::vector<std::uint16_t> pixels;  // 16-bit pages only
};

// Every page of a TIFF file as libtiff reads it; a failure (and no pages)
// when the file does not open.
std::vector<SPage> ReadTiff(const std::string& path) {
    std::vector<SPage> pages;
    TIFF* tif = TIFFOpen(path.c_str(), "r");
    if (!tif) {
        ADD_FAILURE() << "libtiff cannot open " << path;
        return pages;
    }
    do {
        SPage p;
        TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &p.width);
        TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &p.height);
        TIFFGetFieldDefaulted(tif, TIFFTAG_BITSPERSAMPLE, &p.bits);
        TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLESPERPIXEL, &p.samples);
        TIFFGetField(tif, TIFFTAG_PHOTOMETRIC, &p.photometric);
        TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLEFORMAT, &p.format);
        if (p.bits == 16 && p.samples == 1 && static_cast<std::size_t>(TIFFScanlineSize(tif)) == p.width * 2u) {
            p.pixels.resize(static_cast<std::size_t>(p.width) * p.height);
            for (std::uint32_t y = 0; y < p.height; ++y)
                if (TIFFReadScanline(tif, &p.pixels[static_cast<std::size_t>(y) * p.width], y, 0) < 0) {
                    ADD_FAILURE() << path << ": cannot read row " << y << " of page " << pages.size();
                    break;
                }
        }
        pages.push_back(std::move(p));
    } while (TIFFReadDirectory(tif));
    TIFFClose(tif);
    return pages;
}

// A number as SQLite prints it, whatever the process locale.
double Number(const std::string& text) {
    double v = 0;
    const auto r = std::from_chars(text.data(), text.data() + text.size(), v);
    EXPECT_TRUE(r.ec == std::errc() && r.ptr == text.data() + text.size()) << text;
    return v;
}

double Median(std::vector<std::uint16_t> v) {
    std::nth_element(v.begin(), v.begin() + static_cast<std::ptrdiff_t>(v.size() / 2), v.end());
    return v[v.size() / 2];
}

struct SSpot {
    double x = 0, y = 0;
    int pixels = 0;
};

// The 4-connected regions brighter than `threshold`, with their centroids.
std::vector<SSpot> Spots(const SPage& page, double threshold) {
    const int w = static_cast<int>(page.width), h = static_cast<int>(page.height);
    std::vector<char> seen(page.pixels.size(), 0);
    std::vector<SSpot> spots;
    std::vector<int> stack;
    for (int start = 0; start < w * h; ++start) {
        if (seen[static_cast<std::size_t>(start)] || page.pixels[static_cast<std::size_t>(start)] <= threshold) continue;
        SSpot s;
        stack.push_back(start);
        seen[static_cast<std::size_t>(start)] = 1;
        while (!stack.empty()) {
            const int i = stack.back();
            stack.pop_back();
            const int x = i % w, y = i / w;
            s.x += x;
            s.y += y;
            ++s.pixels;
            const int next[4][2] = {{x - 1, y}, {x + 1, y}, {x, y - 1}, {x, y + 1}};
            for (const auto& n : next) {
                if (n[0] < 0 || n[0] >= w || n[1] < 0 || n[1] >= h) continue;
                const std::size_t j = static_cast<std::size_t>(n[1] * w + n[0]);
                if (seen[j] || page.pixels[j] <= threshold) continue;
                seen[j] = 1;
                stack.push_back(static_cast<int>(j));
            }
        }
        s.x /= s.pixels;
        s.y /= s.pixels;
        spots.push_back(s);
    }
    return spots;
}

// One image file of the demo database, as its row describes it.
struct SImageFile {
    std::string key, path;
    int width = 0, height = 0, planes = 0, bits = 0, frameCount = 0;
};

std::vector<SImageFile> ImageFiles(const std::string& out) {
    std::vector<SImageFile> files;
    for (const std::string& row : YxTest_Query(
             out + "/demo.gnrdb",
             "SELECT f.iKey, p.wszFolderName || '/' || replace(r.wszFolderName, '\\', '/') || '/' || f.wszFileName, "
             "f.iWidth, f.iHeight, f.iPlanes, f.iBitsPerComponent, f.iFrameCount FROM file f "
             "JOIN jobrun r ON r.iKey=f.iJobrunKeyRef JOIN project p ON p.iKey=r.iProjKeyRef ORDER BY f.iKey")) {
        std::vector<std::string> c;
        std::size_t from = 0;
        for (std::size_t bar; (bar = row.find('|', from)) != std::string::npos; from = bar + 1)
            c.push_back(row.substr(from, bar - from));
        c.push_back(row.substr(from));
        if (c.size() != 7) {
            ADD_FAILURE() << row;
            continue;
        }
        files.push_back({c[0], out + "/demo Projects/" + c[1], std::stoi(c[2]), std::stoi(c[3]), std::stoi(c[4]),
                         std::stoi(c[5]), std::stoi(c[6])});
    }
    return files;
}

void RunDemo(const std::string& out, const std::string& seed) {
    const SToolResult r = RunTool({"demo", out, "--seed", seed});
    ASSERT_EQ(0, r.exitCode) << r.out << r.err;
}

class DemoImages : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        s_dir = new CYxTempDir;
        s_out = s_dir->Path() + "/demo";
        RunDemo(s_out, "7");
    }
    static void TearDownTestSuite() {
        delete s_dir;
        s_dir = nullptr;
    }
    static CYxTempDir* s_dir;
    static std::string s_out;
};
CYxTempDir* DemoImages::s_dir = nullptr;
std::string DemoImages::s_out;

TEST_F(DemoImages, FilesAgreeWithTheirRows) {
    const std::vector<SImageFile> files = ImageFiles(s_out);
    ASSERT_EQ(4u, files.size());
    for (const SImageFile& f : files) {
        SCOPED_TRACE(f.path);
        EXPECT_EQ(2, f.planes);
        EXPECT_EQ(16, f.bits);
        const std::vector<SPage> pages = ReadTiff(f.path);
        // Both planes of every frame of the file, one page each.
        ASSERT_EQ(static_cast<std::size_t>(f.frameCount * f.planes), pages.size());
        for (const SPage& p : pages) {
            EXPECT_EQ(static_cast<std::uint32_t>(f.width), p.width);
            EXPECT_EQ(static_cast<std::uint32_t>(f.height), p.height);
            EXPECT_EQ(16, p.bits);
            EXPECT_EQ(1, p.samples);
            EXPECT_EQ(PHOTOMETRIC_MINISBLACK, p.photometric);
            EXPECT_EQ(SAMPLEFORMAT_UINT, p.format);
            EXPECT_EQ(p.pixels.size(), static_cast<std::size_t>(p.width) * p.height);
        }
        // The file's frames take each index in it exactly once.
        std::vector<std::string> expected;
        for (int i = 0; i < f.frameCount; ++i) expected.push_back(std::to_string(i));
        EXPECT_EQ(expected, YxTest_Query(s_out + "/demo.gnrdb",
                                         "SELECT iFileFrameIndex FROM frame WHERE iFileKeyRef=" + f.key +
                                             " ORDER BY iFileFrameIndex"));
    }
    EXPECT_EQ(std::vector<std::string>{"0"},
              YxTest_Query(s_out + "/demo.gnrdb", "SELECT count(*) FROM frame WHERE iFileKeyRef IS NULL"));
}

TEST_F(DemoImages, ShowCellsThatMoveALittle) {
    for (const SImageFile& f : ImageFiles(s_out)) {
        SCOPED_TRACE(f.path);
        const std::vector<SPage> pages = ReadTiff(f.path);
        ASSERT_EQ(static_cast<std::size_t>(f.frameCount * f.planes), pages.size());
        std::vector<SSpot> before;
        for (int t = 0; t < f.frameCount; ++t) {
            SCOPED_TRACE("time point " + std::to_string(t));
            const SPage& dapi = pages[static_cast<std::size_t>(t * f.planes)];
            const SPage& gfp = pages[static_cast<std::size_t>(t * f.planes + 1)];
            ASSERT_FALSE(dapi.pixels.empty());
            // A dark background (most of the picture), with noise.
            const double background = Median(dapi.pixels);
            EXPECT_GT(background, 20);
            EXPECT_LT(background, 500);
            const std::size_t darkish = static_cast<std::size_t>(
                std::count_if(dapi.pixels.begin(), dapi.pixels.end(), [&](std::uint16_t v) { return v < background; }));
            EXPECT_GT(darkish, dapi.pixels.size() / 4) << "no noise around the median";
            // A few dozen bright spots well above it, covering a small part of the picture.
            const double threshold = background + 150;
            const std::vector<SSpot> spots = Spots(dapi, threshold);
            EXPECT_GE(spots.size(), 12u);
            EXPECT_LE(spots.size(), 60u);
            int bright = 0;
            for (const SSpot& s : spots) bright += s.pixels;
            EXPECT_LT(bright, static_cast<int>(dapi.pixels.size() / 8));
            const std::uint16_t peak = *std::max_element(dapi.pixels.begin(), dapi.pixels.end());
            EXPECT_GT(peak, 10 * background);
            // The second plane is another picture of the same field.
            EXPECT_NE(dapi.pixels, gfp.pixels);
            EXPECT_GE(Spots(gfp, threshold).size(), 5u);
            // From one time point to the next the spots move, but only a
            // little: most of them have a close neighbour in the previous
            // picture, not all at the same place.
            if (!before.empty()) {
                int near = 0, moved = 0;
                for (const SSpot& s : spots) {
                    double best = 1e9;
                    for (const SSpot& b : before) best = std::min(best, std::hypot(s.x - b.x, s.y - b.y));
                    if (best < 6) ++near;
                    if (best > 0.3) ++moved;
                }
                EXPECT_GE(near * 10, static_cast<int>(spots.size()) * 7) << near << " of " << spots.size();
                EXPECT_GT(moved, 0);
            }
            before = spots;
        }
    }
}

// The segmentation recorded in the database was made on the pixels that
// the files hold: an object's area is the count of its bright pixels, all
// inside its box, and its mean intensity theirs. Those bright pixels are
// the `area` brightest of the box, whatever the threshold was.
TEST_F(DemoImages, RecordedNucleiAreThoseOfTheImages) {
    std::map<std::string, std::vector<SPage>> pagesOfFile;
    std::map<std::string, int> planesOfFile;
    for (const SImageFile& f : ImageFiles(s_out)) {
        pagesOfFile[f.key] = ReadTiff(f.path);
        planesOfFile[f.key] = f.planes;
    }
    const std::vector<std::string> rows = YxTest_Query(
        s_out + "/demo.gnrdb",
        "SELECT fr.iFileKeyRef, fr.iFileFrameIndex, o.iBBoxL, o.iBBoxT, o.iBBoxR, o.iBBoxB, o.iPixelCount, "
        "(SELECT p.dValue FROM binobjprop p JOIN propdef d ON d.iKey=p.iPropdefKeyRef "
        " WHERE p.iBinobjKeyRef=o.iKey AND d.wszFeatureName='Area'), "
        "(SELECT p.dValue FROM binobjprop p JOIN propdef d ON d.iKey=p.iPropdefKeyRef "
        " WHERE p.iBinobjKeyRef=o.iKey AND d.wszFeatureName='Mean intensity') "
        "FROM binobj o JOIN frame fr ON fr.iJobrunKeyRef=o.iJobrunKeyRef AND fr.iFrameIndex=o.iFrameIndex");
    ASSERT_EQ(240u, rows.size());
    for (const std::string& row : rows) {
        SCOPED_TRACE(row);
        std::vector<std::string> c;
        std::size_t from = 0;
        for (std::size_t bar; (bar = row.find('|', from)) != std::string::npos; from = bar + 1)
            c.push_back(row.substr(from, bar - from));
        c.push_back(row.substr(from));
        ASSERT_EQ(9u, c.size());
        const std::vector<SPage>& pages = pagesOfFile[c[0]];
        const std::size_t page = static_cast<std::size_t>(std::stoi(c[1]) * planesOfFile[c[0]]);  // the DAPI plane
        ASSERT_LT(page, pages.size());
        const SPage& dapi = pages[page];
        const int l = std::stoi(c[2]), t = std::stoi(c[3]), r = std::stoi(c[4]), b = std::stoi(c[5]);
        const int area = std::stoi(c[6]);
        ASSERT_GT(area, 20);
        ASSERT_TRUE(l >= 0 && t >= 0 && l < r && t < b && r <= static_cast<int>(dapi.width) &&
                    b <= static_cast<int>(dapi.height));
        EXPECT_DOUBLE_EQ(area, Number(c[7]));
        std::vector<std::uint16_t> box;
        for (int y = t; y < b; ++y)
            for (int x = l; x < r; ++x) box.push_back(dapi.pixels[static_cast<std::size_t>(y) * dapi.width + x]);
        ASSERT_LE(area, static_cast<int>(box.size()));
        std::sort(box.rbegin(), box.rend());
        double sum = 0;
        for (int i = 0; i < area; ++i) sum += box[static_cast<std::size_t>(i)];
        EXPECT_NEAR(sum / area, Number(c[8]), 1e-6);
        // A nucleus is far brighter than the background around it.
        EXPECT_GT(sum / area, 3 * Median(dapi.pixels));
    }
}

TEST(DemoImageSeed, SameSeedSamePixelsOtherSeedOthers) {
    CYxTempDir dir;
    const std::string a = dir.Path() + "/a", b = dir.Path() + "/b", c = dir.Path() + "/c";
    RunDemo(a, "11");
    RunDemo(b, "11");
    RunDemo(c, "12");
    const std::vector<SImageFile> fa = ImageFiles(a), fb = ImageFiles(b), fc = ImageFiles(c);
    ASSERT_EQ(4u, fa.size());
    ASSERT_EQ(fa.size(), fb.size());
    ASSERT_EQ(fa.size(), fc.size());
    for (std::size_t i = 0; i < fa.size(); ++i) {
        const std::vector<SPage> pa = ReadTiff(fa[i].path), pb = ReadTiff(fb[i].path), pc = ReadTiff(fc[i].path);
        ASSERT_EQ(24u, pa.size());
        ASSERT_EQ(pa.size(), pb.size());
        ASSERT_EQ(pa.size(), pc.size());
        for (std::size_t k = 0; k < pa.size(); ++k) {
            EXPECT_EQ(pa[k].pixels, pb[k].pixels) << fa[i].path << " page " << k;
            EXPECT_NE(pa[k].pixels, pc[k].pixels) << fa[i].path << " page " << k;
        }
    }
    // So are the nuclei found on them.
    const std::string objects = "SELECT iFrameIndex, iBinObjId, iBBoxL, iBBoxT, iBBoxR, iBBoxB, iPixelCount "
                                "FROM binobj ORDER BY iFrameIndex, iBinObjId";
    EXPECT_EQ(YxTest_Query(a + "/demo.gnrdb", objects), YxTest_Query(b + "/demo.gnrdb", objects));
    EXPECT_NE(YxTest_Query(a + "/demo.gnrdb", objects), YxTest_Query(c + "/demo.gnrdb", objects));
}

TEST(DemoImageSeed, ASeedThatIsNoNumberIsWrongUse) {
    CYxTempDir dir;
    for (const char* bad : {"x", "-1", "+3", "4294967296", "12abc", ""}) {
        SCOPED_TRACE(bad);
        const SToolResult r = RunTool({"demo", dir.Path() + "/d", "--seed", bad});
        EXPECT_EQ(2, r.exitCode);
        EXPECT_EQ(1u, r.ErrLines().size()) << r.err;
    }
    // Nothing was recorded.
    EXPECT_FALSE(YxTest_RunCommand("test -e '" + dir.Path() + "/d/demo.gnrdb'") == 0);
}

}  // namespace
