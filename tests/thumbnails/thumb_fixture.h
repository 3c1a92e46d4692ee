// Shared parts of the thumbnail tests: grey pages written as TIFF files with
// libtiff, and a jobs database with one run whose frames point into them.
#pragma once

#include "framework/yxfilesystem.h"
#include "gnr_projectdb/connection.h"
#include "gnr_projectdb/db.h"
#include "gnr_projectdb/records_file.h"
#include "gnr_projectdb/records_frame.h"
#include "gnr_projectdb/records_generic.h"
#include "gnr_projectdb/records_jobrun.h"
#include "gnr_projectdb/thumbnails.h"
#include "test_support.h"

#include <sqlite3.h>
#include <tiffio.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

struct STestPage {
    int width = 0;
    int height = 0;
    int bits = 16;
    std::vector<std::uint16_t> pixels;
};

inline STestPage ConstantPage(int width, int height, int bits, std::uint16_t value) {
    return {width, height, bits, std::vector<std::uint16_t>(static_cast<std::size_t>(width) * height, value)};
}

struct STiffLayout {
    bool bigTiff = false;
    bool tiled = false;
    int rowsPerStrip = 16;
    std::uint16_t compression = COMPRESSION_NONE;
    std::uint16_t photometric = PHOTOMETRIC_MINISBLACK;
};

// Writes the pages as one TIFF file; false on any libtiff failure.
inline bool WriteTiff(const std::string& path, const std::vector<STestPage>& pages, const STiffLayout& layout = {}) {
    TIFF* tif = TIFFOpen(path.c_str(), layout.bigTiff ? "w8" : "w");
    if (!tif) return false;
    bool ok = true;
    for (const STestPage& p : pages) {
        TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(p.width));
        TIFFSetField(tif, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(p.height));
        TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, static_cast<std::uint16_t>(p.bits));
        TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, static_cast<std::uint16_t>(1));
        TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, layout.photometric);
        TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
        TIFFSetField(tif, TIFFTAG_COMPRESSION, layout.compression);
        if (pages.size() > 1) {
            TIFFSetField(tif, TIFFTAG_SUBFILETYPE, FILETYPE_PAGE);
        }
        const int bytes = p.bits / 8;
        auto sample = [&](int x, int y, std::uint8_t* out) {
            const std::uint16_t v = p.pixels[static_cast<std::size_t>(y) * p.width + x];
            if (bytes == 1) *out = static_cast<std::uint8_t>(v);
            else std::memcpy(out, &v, 2);
        };
        if (layout.tiled) {
            const int tw = 16, th = 16;
            TIFFSetField(tif, TIFFTAG_TILEWIDTH, tw);
            TIFFSetField(tif, TIFFTAG_TILELENGTH, th);
            std::vector<std::uint8_t> tile(static_cast<std::size_t>(tw) * th * bytes);
            for (int ty = 0; ty < p.height && ok; ty += th)
                for (int tx = 0; tx < p.width && ok; tx += tw) {
                    std::fill(tile.begin(), tile.end(), 0);
                    for (int y = 0; y < th && ty + y < p.height; ++y)
                        for (int x = 0; x < tw && tx + x < p.width; ++x)
                            sample(tx + x, ty + y, &tile[(static_cast<std::size_t>(y) * tw + x) * bytes]);
                    ok = TIFFWriteTile(tif, tile.data(), static_cast<std::uint32_t>(tx), static_cast<std::uint32_t>(ty),
                                       0, 0) >= 0;
                }
        } else {
            TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, static_cast<std::uint32_t>(layout.rowsPerStrip));
            std::vector<std::uint8_t> row(static_cast<std::size_t>(p.width) * bytes);
            for (int y = 0; y < p.height && ok; ++y) {
                for (int x = 0; x < p.width; ++x) sample(x, y, &row[static_cast<std::size_t>(x) * bytes]);
                ok = TIFFWriteScanline(tif, row.data(), static_cast<std::uint32_t>(y), 0) == 1;
            }
        }
        ok = ok && TIFFWriteDirectory(tif) == 1;
    }
    TIFFClose(tif);
    return ok;
}

inline double Mean(const std::vector<std::uint8_t>& grey, int width, int x0, int y0, int x1, int y1) {
    double sum = 0;
    for (int y = y0; y < y1; ++y)
        for (int x = x0; x < x1; ++x) sum += grey[static_cast<std::size_t>(y) * width + x];
    return sum / ((x1 - x0) * (y1 - y0));
}

// Decodes a thumbnail's PNG; fails the test when it does not decode.
inline std::vector<std::uint8_t> DecodeThumb(const SYxThumbnail& t) {
    std::vector<std::uint8_t> grey;
    int w = 0, h = 0;
    EXPECT_EQ(0, YxProjectDb_Thumb_DecodePng(t.png.data(), t.png.size(), &grey, &w, &h));
    EXPECT_EQ(t.iWidth, w);
    EXPECT_EQ(t.iHeight, h);
    return grey;
}

// A jobs database with one run (uuid kRun) in project folder "P".
class ThumbDbTest : public ::testing::Test {
protected:
    static constexpr const wchar_t* kRun = L"0123456789abcdef0123456789abcdef";

    void SetUp() override {
        jobsPath = dir.File("acq.gnrdb");
        ASSERT_EQ(0, YxProjectDb_Db_Jobs_Create(jobsPath));
        h = YxProjectDb_Db_Jobs_Connect(jobsPath);
        ASSERT_NE(0u, h);
        SYxProjectDbRow_project proj;
        proj.wszName = L"P";
        proj.wszFolderName = L"P";
        ASSERT_EQ(0, YxProjectDb_Row_Insert(h, proj, &projKey));
        runKey = AddRun(kRun, L"run1");
    }
    void TearDown() override {
        thumbs.reset();
        if (h) YxProjectDb_Db_Disconnect(h);
    }

    std::int64_t AddRun(const wchar_t* uuid, const wchar_t* folder) {
        SYxProjectDbRow_jobrun run;
        run.iProjKeyRef = projKey;
        run.wszFolderName = folder;
        run.wszUuid = uuid;
        std::int64_t key = 0;
        EXPECT_EQ(0, YxProjectDb_Row_Import(h, run, &key));   // keeps the uuid
        CYxStringW folderPath;
        EXPECT_EQ(0, YxProjectDb_Jobrun_GetAbsPath(h, key, folderPath));
        EXPECT_EQ(0, YxFs_CreateDirectories(folderPath));
        return key;
    }
    // Absolute path (UTF-8) of a file in the run's folder.
    std::string RunFile(const wchar_t* name, std::int64_t run = 0) {
        CYxStringW folderPath;
        EXPECT_EQ(0, YxProjectDb_Jobrun_GetAbsPath(h, run ? run : runKey, folderPath));
        return YxFs_NativeUtf8(YxFs_AddTrailingSeparator(folderPath) + name);
    }
    // A file row with `planes` planes and frames firstFrame.. pointing at its
    // frame indexes 0, 1, ... (frameCount of them).
    std::int64_t AddFile(const wchar_t* name, int planes, int firstFrame, int frameCount, std::int64_t run = 0) {
        const std::int64_t r = run ? run : runKey;
        std::int64_t fileKey = 0;
        EXPECT_EQ(0, YxProjectDb_File_Insert(h, r, name, 64, 64, planes, 1, 16, frameCount, 0.5, 1.0, &fileKey));
        for (int i = 0; i < frameCount; ++i) EXPECT_EQ(0, YxProjectDb_Frame_Insert(h, r, firstFrame + i, fileKey, i));
        return fileKey;
    }
    void OpenThumbs() {
        thumbs.reset();
        ASSERT_EQ(0, CYxThumbnailDb::Open(jobsPath, &thumbs));
    }
    // One value of a query on the thumbnail file (a connection of its own).
    std::string ThumbQuery(const std::string& sql) {
        sqlite3* db = nullptr;
        std::string out = "<none>";
        if (sqlite3_open_v2(thumbs->GetFileName().ToUtf8().c_str(), &db, SQLITE_OPEN_READWRITE, nullptr) ==
            SQLITE_OK) {
            sqlite3_busy_timeout(db, 10000);
            sqlite3_stmt* s = nullptr;
            if (sqlite3_prepare_v2(db, sql.c_str(), -1, &s, nullptr) == SQLITE_OK) {
                const int rc = sqlite3_step(s);
                if (rc == SQLITE_ROW) {
                    const char* t = reinterpret_cast<const char*>(sqlite3_column_text(s, 0));
                    out = t ? t : "NULL";
                } else if (rc == SQLITE_DONE) {
                    out = "<done>";
                }
            }
            sqlite3_finalize(s);
        }
        sqlite3_close(db);
        return out;
    }

    CYxTempDir dir;
    CYxStringW jobsPath;
    YxProjectDbHandle h = 0;
    std::int64_t projKey = 0, runKey = 0;
    std::unique_ptr<CYxThumbnailDb> thumbs;
};
